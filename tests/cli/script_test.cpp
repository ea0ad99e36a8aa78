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

using S = std::string;

TEST(ScriptLine, ReadsAsExpected) {
    const LineCase cases[] = {
        {"", nullptr, {}},
        {"   \t ", nullptr, {}},
        {"# only a comment", nullptr, {}},
        {"DLLVer", "DLLVer", {}},
        {"SetFrequency 1000 0", "SetFrequency", {1000.0, 0.0}},
        {"  SetFrequency\t-1.5e3   +2.  # trailing", "SetFrequency", {-1500.0, 2.0}},
        {"SetSigGen cw .5 1E-1", "SetSigGen", {S("cw"), 0.5, 0.1}},
        {"x \"1000\"", "x", {S("1000")}},  // quoted numbers stay text
        {"x \"a b\" c", "x", {S("a b"), S("c")}},
        {"x \"say \"\"hi\"\"\"", "x", {S("say \"hi\"")}},
        {"x \"\"", "x", {S("")}},
        {"x \"a#b\" # c", "x", {S("a#b")}},
        {"x ab\"c d\"e", "x", {S("abc de")}},
        {"x 1e 0x10 1.2.3 -", "x", {S("1e"), S("0x10"), S("1.2.3"), S("-")}},
        {"x \"open to the end", "x", {S("open to the end")}, true},
        {"x 1e999", "x", {S("1e999")}}};
    for (const LineCase& c : cases) {
        const ParsedLine p = parseScriptLine(c.line);
        EXPECT_EQ(!p.warning.empty(), c.warns) << c.line;
        EXPECT_EQ(p.call.has_value(), c.name != nullptr) << c.line;
        if (!p.call || !c.name) continue;
        EXPECT_EQ(p.call->name, c.name);
        EXPECT_EQ(p.call->args, c.args) << c.line;
    }
}

TEST(ArgumentWord, CommandLineWordsFollowTheSameRules) {
    EXPECT_EQ(parseArgumentWord("1000"), Variant(1000.0));
    EXPECT_EQ(parseArgumentWord("a b"), Variant(S("a b")));
    EXPECT_EQ(parseArgumentWord("\"1000\""), Variant(S("1000")));
    EXPECT_EQ(parseArgumentWord("\"x"), Variant(S("\"x")));
}

}  // namespace
}  // namespace synthor::cli
