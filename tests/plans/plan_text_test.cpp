#include "plans/plan_text.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace synthor {
namespace {

std::vector<std::string> fieldsOf(std::string_view line) {
    const std::string n = normalisePlanLine(line);
    std::vector<std::string> out;
    for (auto f : splitFields(n))
        out.emplace_back(f);
    return out;
}

using Fields = std::vector<std::string>;

struct LineCase {
    const char* line;
    Fields fields;
};

TEST(PlanLine, SeparatorsAndTheirMixtures) {
    const LineCase cases[] = {
        {"1 1000", {"1", "1000"}},
        {"1, 1000", {"1", "1000"}},
        {"1 ,1000", {"1", "1000"}},
        {"1,,1000", {"1", "1000"}},
        {"1,1000", {"1", "1000"}},
        {"3     1002", {"3", "1002"}},
        {" 1 1000", {"", "1", "1000"}},  // a leading blank adds a field
        {"1 1000 ", {"1", "1000", ""}},  // so does a trailing one
        {",1,1000", {"", "1", "1000"}},
        {"1\t1000", {"1\t1000"}},         // a tab separates nothing
        {"1Chr$(9)1000", {"1", "1000"}},  // the literal text does
        {"1chr$(9)1000", {"1chr$(9)1000"}},
        {"1 0 -10", {"1", "0", "-10"}},
        {"[LEVEL]", {"[LEVEL]"}},
        {"1,,,1000", {"1", "1000"}},  // three commas are a three-blank run
    };
    for (const LineCase& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(fieldsOf(c.line), c.fields);
    }
}

TEST(PlanLine, BlankRunsUpTo38CollapseAnd39LeavesTwoSeparators) {
    for (int n = 1; n <= 38; ++n) {
        const std::string line = "1" + std::string(static_cast<std::size_t>(n), ' ') + "1000";
        EXPECT_EQ(fieldsOf(line), (Fields{"1", "1000"})) << n;
    }
    const std::string line39 = "1" + std::string(39, ' ') + "1000";
    EXPECT_EQ(fieldsOf(line39), (Fields{"1", "", "1000"}));
}

TEST(PlanLine, CascadeOrderIsFiveFourThreeTwo) {
    // Seven blanks: five become one, leaving three; three become one.
    EXPECT_EQ(normalisePlanLine("a       b"), "a,b");
    // Commas turn into blanks first, so ", ," is a three-blank run.
    EXPECT_EQ(normalisePlanLine("a, ,b"), "a,b");
}

TEST(PlanText, ItemsEndAtCommasAndLineEndsAndLoseBlanksAndQuotes) {
    PlanText t("  [level] ,\"20\" x,  abc  \r\n\"q,uoted\"\r\nlast");
    EXPECT_EQ(t.nextItem(), "[level]");
    EXPECT_EQ(t.nextItem(), "20");
    EXPECT_EQ(t.nextItem(), "abc");
    EXPECT_EQ(t.nextItem(), "q,uoted");
    EXPECT_EQ(t.nextItem(), "last");
    EXPECT_EQ(t.nextItem(), std::nullopt);
}

TEST(PlanText, EmptyLinesAreEmptyItems) {
    PlanText t("a\n\nb\r\r\nc");
    EXPECT_EQ(t.nextItem(), "a");
    EXPECT_EQ(t.nextItem(), "");
    EXPECT_EQ(t.nextItem(), "b");
    EXPECT_EQ(t.nextItem(), "");
    EXPECT_EQ(t.nextItem(), "c");
    EXPECT_TRUE(t.atEnd());
}

TEST(PlanText, LinesFollowTheLastItem) {
    PlanText t("[PLAN],1 1000\r\n2 1001\n\n3 1002\r4 1003");
    EXPECT_EQ(t.nextItem(), "[PLAN]");
    std::vector<std::string> lines;
    while (auto l = t.nextLine())
        lines.emplace_back(*l);
    EXPECT_EQ(lines, (std::vector<std::string>{"1 1000", "2 1001", "", "3 1002", "4 1003"}));
}

}  // namespace
}  // namespace synthor
