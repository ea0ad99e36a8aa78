#include "plans/freq_sweep.hpp"

#include <gtest/gtest.h>

#include "plans/plan_files.hpp"
#include "support/session_fixture.hpp"

namespace synthor::testing {
namespace {

TEST(SweepBandCode, EdgesAreInclusiveAnd250MHzIsNoChange) {
    const std::pair<double, int> cases[] = {
        {299999.9, 0}, {300000, 1}, {124999999, 1}, {1.25e8, 2}, {2.5e8, 2},   {499999999, 2},
        {5e8, 3},      {1e9, 4},    {2e9, 5},       {4e9, 6},    {8.192e9, 6},
    };
    for (const auto& [f, code] : cases)
        EXPECT_EQ(sweepBandCode(f), code) << f;
}

using FreqSweep = PlanTest;

// Alternating 100 and 200 MHz gives one entry per point. 494 entries fill the table without a
// message; the 495th ends it at 131068, with the end mark at 131070 and a message.
TEST_F(FreqSweep, TheBandTableHoldsAtMost494Entries) {
    for (const int count : {495, 600}) {  // 495 points, first and last alike: 494 changes
        for (int i = 0; i < count; ++i)
            session.plans.freq.FreqPlanHz[static_cast<std::size_t>(i)] = i % 2 ? 2e8 : 1e8;
        session.plans.freq.FreqPlanCount = count;
        UploadBandTable(session);
        const auto sent = frames();
        if (count == 495) {
            ASSERT_EQ(sent.size(), 494u);
            EXPECT_EQ(sent.back(), "57 04 01 FF FA 01 EE FF FF");  // 131066, point 494
            EXPECT_TRUE(prompts.boxes.empty());
        } else {
            ASSERT_EQ(sent.size(), 496u);
            EXPECT_EQ(sent[494], "57 04 01 FF FC 01 EE FF FF");
            EXPECT_EQ(sent[495], "57 02 01 FF FE FF FF");
            EXPECT_EQ(prompts.boxes,
                      (std::vector<Box>{{"Error generating sweep plan. Too many band changes.", 48,
                                         "Signal Gen"}}));
        }
    }
}

// Level and dwell are clamped before the other checks; the end is checked one step beyond the
// last point. "Error" alone for a bad count.
TEST_F(FreqSweep, MakeFreqPlanRefusalsSendNothing) {
    const char* start = "Error. Invalid start freq.";
    const std::tuple<double, double, int, const char*> cases[] = {
        {1000, 1, 0, "Error"},
        {1000, 0.1, 9002, "Error"},
        {0.29, 1, 2, start},
        {8192.01, 1, 2, start},
        {8000, 10, 20, "Error. End freq > 8192 MHz."},
    };
    for (const auto& [from, step, points, result] : cases) {
        EXPECT_EQ(MakeFreqPlan(session, from, step, points, -70000, 20), result);
        EXPECT_TRUE(frames().empty()) << result;
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, 15.0F);
        EXPECT_EQ(session.plans.freq.FreqPlanDwell, 65500);
    }
    EXPECT_EQ(MakeFreqPlan(session, 8000, 10, 19, 10, -30), "OK");
    EXPECT_EQ(session.plans.freq.FreqPlanLevel, -25.0F);
    EXPECT_EQ(session.plans.freq.FreqPlanDwell, 26);
    // A falling plan is built but not swept.
    ASSERT_EQ(MakeFreqPlan(session, 2000, -10, 5, 100, 0), "OK");
    EXPECT_EQ(session.plans.freq.FreqPlanHz[4], 1960e6);
    session.plans.FreqPlanPresent = kTrue;
    frames();
    EXPECT_EQ(GoSigGenFreqSweep(session, "ON"), "Error. Incorrect Start/Stop freq values.");
    EXPECT_TRUE(frames().empty());
}

// The panel's start takes its dwell box (clamped, rounded half to even, shown back), sends it
// less 26, and a point count of 0; it never steps.
TEST_F(FreqSweep, StartFreqSweepTakesTheDwellBoxAndAZeroCount) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"-70000", "65500", "FF C2"}, {"10", "26", "00 00"},     {"abc", "26", "00 00"},
        {"100.5", "100", "00 4A"},    {"101.5", "102", "00 4C"},
    };
    session.plans.StepTrigger = 1;
    session.link.TriggerModeActive = 1;
    for (const auto& [typed, shown, dwell] : cases) {
        session.panel.typeText("Text11", typed);
        StartFreqSweep(session);
        EXPECT_EQ(text("Text11"), shown);
        EXPECT_EQ(frames(), Frames{std::string("59 42 00 04 00 00 00 ") + dwell}) << typed;
    }
    EXPECT_EQ(status(1), "Status: Freq sweep");
    EXPECT_TRUE(session.panel.bold("Command12"));
}

}  // namespace
}  // namespace synthor::testing
