// The script language: splitting, quoting, comments and number-or-text arguments.
#include <gtest/gtest.h>

#include "cli/script.hpp"

namespace synthor::cli {
namespace {

struct LineCase {
    const char* line;
    const char* name;  // nullptr: no call
    std::vector<Variant> args;
    bool warns = false;
};

class ScriptLine : public ::testing::TestWithParam<LineCase> {};

TEST_P(ScriptLine, ReadsAsExpected) {
    const LineCase& c = GetParam();
    const ParsedLine p = parseScriptLine(c.line);
    EXPECT_EQ(!p.warning.empty(), c.warns) << c.line;
    if (!c.name) {
        EXPECT_FALSE(p.call.has_value()) << c.line;
        return;
    }
    ASSERT_TRUE(p.call.has_value()) << c.line;
    EXPECT_EQ(p.call->name, c.name);
    EXPECT_EQ(p.call->args, c.args) << c.line;
}

using S = std::string;

INSTANTIATE_TEST_SUITE_P(
    Lines, ScriptLine,
    ::testing::Values(
        LineCase{"", nullptr, {}}, LineCase{"   \t ", nullptr, {}},
        LineCase{"# only a comment", nullptr, {}}, LineCase{"DLLVer", "DLLVer", {}},
        LineCase{"SetFrequency 1000 0", "SetFrequency", {1000.0, 0.0}},
        LineCase{"  SetFrequency\t-1.5e3   +2.  # trailing", "SetFrequency", {-1500.0, 2.0}},
        LineCase{"SetSigGen cw .5 1E-1", "SetSigGen", {S("cw"), 0.5, 0.1}},
        LineCase{"x \"1000\"", "x", {S("1000")}},  // quoted numbers stay text
        LineCase{"x \"a b\" c", "x", {S("a b"), S("c")}},
        LineCase{"x \"say \"\"hi\"\"\"", "x", {S("say \"hi\"")}}, LineCase{"x \"\"", "x", {S("")}},
        LineCase{"x \"a#b\" # c", "x", {S("a#b")}}, LineCase{"x ab\"c d\"e", "x", {S("abc de")}},
        LineCase{"x 1e 0x10 1.2.3 -", "x", {S("1e"), S("0x10"), S("1.2.3"), S("-")}},
        LineCase{"x \"open to the end", "x", {S("open to the end")}, true},
        LineCase{"x 1e999", "x", {S("1e999")}}));

TEST(ArgumentWord, CommandLineWordsFollowTheSameRules) {
    EXPECT_EQ(parseArgumentWord("1000"), Variant(1000.0));
    EXPECT_EQ(parseArgumentWord("a b"), Variant(S("a b")));
    EXPECT_EQ(parseArgumentWord("\"1000\""), Variant(S("1000")));
    EXPECT_EQ(parseArgumentWord("\"x"), Variant(S("\"x")));
}

}  // namespace
}  // namespace synthor::cli
