// The program-message parser on its own: units, parameter kinds and values, and where it
// resumes after a unit that does not parse.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "scpi/errors.hpp"
#include "scpi/parser.hpp"

using namespace synthor::scpi;
using Kind = Param::Kind;

namespace {

// A unit in short: "HEADER[?] kind:value..." or "!CODE" for a unit that did not parse.
std::string describe(const Unit& u) {
    if (u.error != 0) return "!" + std::to_string(u.error);
    std::string s = u.common ? "*" : u.rooted ? ":" : "";
    for (std::size_t i = 0; i < u.nodes.size(); ++i)
        s += (i ? ":" : "") + u.nodes[i];
    if (u.query) s += "?";
    for (const Param& p : u.params) {
        switch (p.kind) {
            case Kind::Numeric: {
                char buf[40];
                std::snprintf(buf, sizeof buf, " n%g", p.value);
                s += buf + (p.text.empty() ? "" : "/" + p.text);
                break;
            }
            case Kind::Character:
                s += " c" + p.text;
                break;
            case Kind::String:
                s += " s<" + p.text + ">";
                break;
            case Kind::Block:
                s += " block";
                break;
            case Kind::Expression:
                s += " expr";
                break;
        }
    }
    return s;
}

struct Case {
    const char* line;
    std::vector<std::string> units;
};

class ParserTest : public ::testing::TestWithParam<Case> {};

TEST_P(ParserTest, Units) {
    std::vector<std::string> got;
    for (const Unit& u : parseMessage(GetParam().line))
        got.push_back(describe(u));
    EXPECT_EQ(got, GetParam().units) << GetParam().line;
}

INSTANTIATE_TEST_SUITE_P(
    Messages, ParserTest,
    ::testing::Values(
        Case{"freq:cw 1.5E+3 kHz\r", {"FREQ:CW n1500/KHZ"}},
        Case{":sour:freq? max", {":SOUR:FREQ? cMAX"}},
        Case{"FREQ 2.4GHZ ; POW -1e-1DBM", {"FREQ n2.4/GHZ", "POW n-0.1/DBM"}},
        Case{"FREQ 1 e 3", {"FREQ n1000"}},  // blanks inside the exponent
        Case{"FREQ 1E", {"FREQ n1/E"}},      // an "E" without digits is a suffix
        Case{"*IDN?;;*OPC?;", {"*IDN?", "*OPC?"}}, Case{"X 'a;b''c',\"d\"", {"X s<a;b'c> s<d>"}},
        Case{"X #HFF,#q17,#B101", {"X n255 n15 n5"}}, Case{"X #3abc;*OPC?", {"X block", "*OPC?"}},
        Case{"X (@1,2),.5", {"X expr n0.5"}}, Case{"X 1e999,-1e-999", {"X ninf n0"}},
        Case{"X,1;*OPC?", {"!-102", "*OPC?"}},
        Case{"X 'open;*OPC?", {"!-102"}},  // an open quote runs to the end of the line
        Case{"X 1 2;Y", {"!-102", "Y"}}, Case{"X #Z1;Y", {"!-102", "Y"}},
        Case{"X -;Y", {"!-102", "Y"}}, Case{"9X;Y?", {"!-102", "Y?"}}));

TEST(ErrorQueue, QuotesInDetailsAreDoubled) {
    ErrorQueue q;
    q.push(err::SettingsConflict, "say \"hi\"");
    EXPECT_EQ(q.pop(), "-221,\"Settings conflict;say \"\"hi\"\"\"");
    EXPECT_EQ(q.pop(), "0,\"No error\"");
}

}  // namespace
