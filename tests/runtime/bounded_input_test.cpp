// The one opener and line reader behind every file the library and the tool read: what is
// refused at once (a FIFO without a writer is not waited on), and lines that stop at their limit
// however large the input.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "runtime/bounded_input.hpp"
#include "support/sandbox.hpp"

namespace synthor {
namespace {

TEST(BoundedInput, RefusesWhatItMustNotReadAndStopsLongLines) {
    namespace fs = std::filesystem;
    const synthor::testing::Sandbox sandbox;
    const fs::path& dir = sandbox.dir();
    const fs::path fifo = dir / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const fs::path sparse = dir / "sparse.dat";
    { std::ofstream{sparse}; }
    fs::resize_file(sparse, std::uintmax_t{100} << 30);  // 100 GiB of zeros, no line end

    struct Case {
        fs::path path;
        FileKind kind;
        const char* refusal;  // null: it opens
    };
    const Case cases[] = {
        {dir, FileKind::Regular, "a folder"},
        {dir, FileKind::Stream, "a folder"},
        {fifo, FileKind::Regular, "not a regular file"},
        {"/dev/zero", FileKind::Regular, "not a regular file"},
        {dir / "missing", FileKind::Regular, "No such file"},
        {sparse, FileKind::Regular, nullptr},
        {"/dev/zero", FileKind::Stream, nullptr},
    };
    for (const Case& c : cases) {
        std::string error;
        const auto source = openInput(c.path.string(), c.kind, error);
        if (c.refusal) {
            EXPECT_EQ(source, nullptr) << c.path;
            EXPECT_NE(error.find(c.refusal), std::string::npos) << error;
            continue;
        }
        ASSERT_NE(source, nullptr) << c.path << ": " << error;
        BoundedReader in(*source);
        std::string line;
        EXPECT_EQ(in.nextLine(line, 100), BoundedReader::Line::TooLong) << c.path;
        EXPECT_EQ(line.size(), 100u);
    }
}

}  // namespace
}  // namespace synthor
