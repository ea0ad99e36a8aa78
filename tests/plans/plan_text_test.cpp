#include "plans/plan_text.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace synthor {
namespace {

using Fields = std::vector<std::string>;

Fields fieldsOf(std::string_view line) {
    const std::string n = normalisePlanLine(line);
    Fields out;
    for (auto f : splitFields(n))
        out.emplace_back(f);
    return out;
}

// Commas turn into blanks, then runs of five, four, three and two blanks become one separator
// in that order: seven blanks leave "a,b", ", ," is a three-blank run, and a run of 39 leaves two
// separators. A leading or trailing blank adds an empty field; a tab separates nothing, while
// the literal text "Chr$(9)" (in that case) does.
TEST(PlanLine, NormalisationCascade) {
    const std::pair<std::string, Fields> cases[] = {
        {"1 1000", {"1", "1000"}},       {"1 ,1000", {"1", "1000"}},
        {"1,,,1000", {"1", "1000"}},     {"a, ,b", {"a", "b"}},
        {"a       b", {"a", "b"}},       {" 1 1000", {"", "1", "1000"}},
        {"1 1000 ", {"1", "1000", ""}},  {"1\t1000", {"1\t1000"}},
        {"1Chr$(9)1000", {"1", "1000"}}, {"1chr$(9)1000", {"1chr$(9)1000"}},
        {"1 0 -10", {"1", "0", "-10"}},  {"1" + std::string(39, ' ') + "1000", {"1", "", "1000"}},
    };
    for (const auto& [line, fields] : cases)
        EXPECT_EQ(fieldsOf(line), fields) << '"' << line << '"';
    for (int n = 1; n <= 38; ++n) {
        EXPECT_EQ(fieldsOf("1" + std::string(static_cast<std::size_t>(n), ' ') + "1000"),
                  (Fields{"1", "1000"}))
            << n;
    }
}

// Items end at commas and line ends and lose surrounding blanks and quotes; empty lines are
// empty items; lines can follow the last item.
TEST(PlanText, ItemsAndLines) {
    PlanText t("  [level] ,\"20\" x,  abc  \r\n\"q,uoted\"\r\n\nb\r\r\nlast");
    for (const char* item : {"[level]", "20", "abc", "q,uoted", "", "b", "", "last"})
        EXPECT_EQ(t.nextItem(), item);
    EXPECT_EQ(t.nextItem(), std::nullopt);
    EXPECT_TRUE(t.atEnd());

    PlanText p("[PLAN],1 1000\r\n2 1001\n\n3 1002\r4 1003");
    EXPECT_EQ(p.nextItem(), "[PLAN]");
    Fields lines;
    while (auto l = p.nextLine())
        lines.emplace_back(*l);
    EXPECT_EQ(lines, (Fields{"1 1000", "2 1001", "", "3 1002", "4 1003"}));
}

}  // namespace
}  // namespace synthor
