// The tool end to end in-process: options, exit statuses, output rules, against the simulator.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "cli/runner.hpp"
#include "support/sandbox.hpp"

namespace synthor::cli {
namespace {

struct Result {
    int status;
    std::string out;
    std::string err;
};

Result runTool(std::vector<std::string> args, const std::string& input = "") {
    std::istringstream in(input);
    std::ostringstream out, err;
    const int status = run(args, in, out, err);
    return {status, out.str(), err.str()};
}

// DLLVer needs no instrument and makes no driver call; the trace file is still made. Call names
// are case-insensitive and --sim-lock takes decimal or hex.
TEST(Tool, DllVerRunsWithoutAnInstrumentAndTheTraceFileIsMade) {
    const synthor::testing::Sandbox sandbox;
    const auto path = sandbox.path("trace.txt");
    const Result r = runTool({"--sim", "--sim-lock", "0x05", "--trace", path.string(), "dllver"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "V1.0 Jan 2019\n");
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
    EXPECT_EQ(runTool({"--sim", "--sim-lock", "255", "DLLVer"}).status, 0);
}

TEST(Tool, ScriptWithUnknownCallsAndOddQuotingRunsToItsEnd) {
    const Result r = runTool({"--sim", "--script", "-"},
                             "# a comment\n"
                             "NoSuchCall 1 2\n"
                             "\n"
                             "DLLVer \"unterminated\n"
                             "Frobnicate \"a\"\"b\" c#d\n"
                             "DLLVer\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out,
              "raised 450: Wrong number of arguments or invalid property assignment\n"
              "V1.0 Jan 2019\n");
    EXPECT_NE(r.err.find("line 2: unknown call NoSuchCall"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("line 4: a quoted argument has no closing quote"), std::string::npos);
    EXPECT_NE(r.err.find("line 5: unknown call Frobnicate"), std::string::npos);
}

TEST(Tool, UsageErrorsAreRefusedWithStatusTwo) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "nothing to do"},
        {{"--bogus", "DLLVer"}, "unknown option --bogus"},
        {{"--trace"}, "--trace needs a value"},
        {{"--sim-status", "R", "DLLVer"}, "need --sim"},
        {{"--sim", "--sim-status", "RS", "DLLVer"}, "one character"},
        {{"--sim", "--sim-lock", "256", "DLLVer"}, "--sim-lock"},
        {{"--sim", "--sim-fault", "bogus", "DLLVer"}, "bogus"},
        {{"--sim", "--sim-eeprom", "/nonexistent.bin", "DLLVer"}, "nonexistent"},
        {{"--sim", "--script", "/nonexistent/script.txt"}, "cannot read"},
        {{"--sim", "--script", "-", "DLLVer"}, "not both"}};
    for (const auto& [args, says] : cases) {
        const Result r = runTool(args);
        EXPECT_EQ(r.status, 2) << says;
        EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
        EXPECT_TRUE(r.out.empty()) << says;
    }
}

TEST(Tool, WithoutTheDriverLibraryOpensFailWithADiagnostic) {
    // No driver library is on the search path where tests run (the drop-in one sits in the
    // build folder), so the first open says why once and every open fails.
    if (std::getenv("LD_LIBRARY_PATH")) GTEST_SKIP() << "a library path is set";
    const Result r = runTool({"--driver", "d2xx", "--script", "-"}, "DLLVer\nFND\nFND\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "V1.0 Jan 2019\n0\n0\n");
    const auto first = r.err.find("no instrument can be opened");
    EXPECT_NE(first, std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("no instrument can be opened", first + 1), std::string::npos) << r.err;
}

}  // namespace
}  // namespace synthor::cli
