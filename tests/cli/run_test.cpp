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
    const char* name;
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
    ::testing::Values(
        UsageCase{"NoCall", {}, "nothing to do"},
        UsageCase{"SimButNoCall", {"--sim"}, "nothing to do"},
        UsageCase{"UnknownOption", {"--bogus", "DLLVer"}, "unknown option --bogus"},
        UsageCase{"OptionWithoutValue", {"--trace"}, "--trace needs a value"},
        UsageCase{"SimOptionWithoutSim", {"--sim-status", "R", "DLLVer"}, "need --sim"},
        UsageCase{"LongStatus", {"--sim", "--sim-status", "RS", "DLLVer"}, "one character"},
        UsageCase{"LockTooBig", {"--sim", "--sim-lock", "256", "DLLVer"}, "--sim-lock"},
        UsageCase{"LockBadHex", {"--sim", "--sim-lock", "0xZZ", "DLLVer"}, "--sim-lock"},
        UsageCase{"UnknownFault", {"--sim", "--sim-fault", "bogus", "DLLVer"}, "bogus"},
        UsageCase{"MissingEeprom",
                  {"--sim", "--sim-eeprom", "/nonexistent.bin", "DLLVer"},
                  "nonexistent"},
        UsageCase{
            "UnreadableScript", {"--sim", "--script", "/nonexistent/script.txt"}, "cannot read"},
        UsageCase{"ScriptAndCall", {"--sim", "--script", "-", "DLLVer"}, "not both"}),
    [](const ::testing::TestParamInfo<UsageCase>& c) { return std::string(c.param.name); });

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

TEST(Tool, FindAndSetACarrierEndToEndWithTheTrace) {
    const auto path = std::filesystem::temp_directory_path() / "synthor-run-test-e2e.txt";
    const Result r = runTool({"--sim", "--trace", path.string(), "--script", "-"},
                             "FND\nSetFrequency 1000 0\nSim.Output\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.substr(0, 8), "1234\nOK\n");
    EXPECT_NE(r.out.find("1000.000000 MHz, 0.0 dBm"), std::string::npos) << r.out;

    std::ifstream trace(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(trace, line);)
        lines.push_back(line);
    std::filesystem::remove(path);
    ASSERT_GT(lines.size(), 480u);  // identity and 480 calibration exchanges
    EXPECT_EQ(lines[0], "FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 0");
    EXPECT_EQ(lines[4], "FT_SetFlowControl 256 17 19 = 0");
    EXPECT_EQ(lines[7], "FT_Write 50 0B 00 02 = 0");  // the first identity block
    EXPECT_EQ(lines[lines.size() - 2].substr(0, 23), "FT_Write 57 0E 01 FC 10");
    EXPECT_EQ(lines.back(), "FT_Write 59 49 01 FC 10 = 0");
}

TEST(Tool, HeadlessPanelCalls) {
    const Result r = runTool({"--sim", "--script", "-"},
                             "Panel.Get Text1\n"
                             "Panel.Set text1 2400.5\n"
                             "Panel.Get Text1\n"
                             "Panel.Get Frame12\n"
                             "Panel.Value Option4\n"
                             "Panel.Bold Command12\n"
                             "Panel.Enabled Text8\n"
                             "Panel.Status 1\n"
                             "Panel.Status 8\n"
                             "Panel.Get NoSuchControl\n"
                             "Panel.Set Command1 x\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out,
              "1000.00\n2400.5\nSwtich RF Off\n1\n0\n1\nStatus: CW\n"
              "raised 9: Subscript out of range\n");
    EXPECT_NE(r.err.find("line 10: Panel.Get: no control named NoSuchControl"), std::string::npos);
    EXPECT_NE(r.err.find("line 11: Panel.Set: no text box named Command1"), std::string::npos);
}

}  // namespace
}  // namespace synthor::cli
