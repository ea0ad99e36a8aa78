// The tool end to end in-process: options, exit statuses, output rules, against the simulator.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli/runner.hpp"

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

TEST(Tool, DllVerWorksWithoutAnInstrument) {
    const Result r = runTool({"--sim", "DLLVer"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "V1.0 Jan 2019\n");
}

TEST(Tool, CallNamesAreCaseInsensitive) {
    EXPECT_EQ(runTool({"--sim", "dllver"}).out, "V1.0 Jan 2019\n");
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

TEST(Tool, TraceFileIsWrittenFromTheFirstDriverCall) {
    const auto path = std::filesystem::temp_directory_path() / "synthor-run-test-trace.txt";
    std::filesystem::remove(path);
    EXPECT_EQ(runTool({"--sim", "--trace", path.string(), "DLLVer"}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0u);  // DLLVer makes no driver call
    std::filesystem::remove(path);
}

struct UsageCase {
    std::vector<std::string> args;
    const char* says;
};

class Usage : public ::testing::TestWithParam<UsageCase> {};

TEST_P(Usage, IsRefusedWithStatusTwo) {
    const Result r = runTool(GetParam().args);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(GetParam().says), std::string::npos) << r.err;
    EXPECT_TRUE(r.out.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Errors, Usage,
    ::testing::Values(UsageCase{{}, "nothing to do"}, UsageCase{{"--sim"}, "nothing to do"},
                      UsageCase{{"--bogus", "DLLVer"}, "unknown option --bogus"},
                      UsageCase{{"--trace"}, "--trace needs a value"},
                      UsageCase{{"--sim-status", "R", "DLLVer"}, "need --sim"},
                      UsageCase{{"--sim", "--sim-status", "RS", "DLLVer"}, "one character"},
                      UsageCase{{"--sim", "--sim-lock", "256", "DLLVer"}, "--sim-lock"},
                      UsageCase{{"--sim", "--sim-lock", "0xZZ", "DLLVer"}, "--sim-lock"},
                      UsageCase{{"--sim", "--sim-fault", "bogus", "DLLVer"}, "bogus"},
                      UsageCase{{"--sim", "--sim-eeprom", "/nonexistent.bin", "DLLVer"},
                                "nonexistent"},
                      UsageCase{{"--sim", "--script", "/nonexistent/script.txt"}, "cannot read"},
                      UsageCase{{"--sim", "--script", "-", "DLLVer"}, "not both"}));

TEST(Tool, SimLockAcceptsDecimalAndHex) {
    EXPECT_EQ(runTool({"--sim", "--sim-lock", "0x05", "DLLVer"}).status, 0);
    EXPECT_EQ(runTool({"--sim", "--sim-lock", "255", "DLLVer"}).status, 0);
}

TEST(Tool, WithoutTheDriverLibraryOpensFailWithADiagnostic) {
    // No driver library is installed where tests run, so nothing can be found.
    const Result r = runTool({"--script", "-"}, "DLLVer\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "V1.0 Jan 2019\n");
}

}  // namespace
}  // namespace synthor::cli
