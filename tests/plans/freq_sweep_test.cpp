#include "plans/freq_sweep.hpp"

#include <gtest/gtest.h>

#include "plan_fixture.hpp"
#include "plans/plan_files.hpp"

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

// Only the band table's frames (address 130080 and up).
Frames tableFrames(const Frames& frames) {
    Frames out;
    for (const auto& f : frames) {
        if (f.rfind("57 04 01 F", 0) == 0 || f.rfind("57 02 01 F", 0) == 0) out.push_back(f);
    }
    return out;
}

using FreqSweep = PlanTest;

// Each band change is an entry (address, point); the first is the wrap from the last point back
// to point 0. A plan inside one band code writes no table.
TEST_F(FreqSweep, BandChangesFrom100To4100MHzWithTheWrapEntry) {
    ASSERT_EQ(MakeFreqPlan(session, 100, 100, 41, 100, 0), "OK");
    auto sent = frames();
    // The wrap to point 0, then points 1 (200 MHz), 4 (500 MHz), 9, 19 and 39 (1, 2, 4 GHz).
    EXPECT_EQ(tableFrames(sent),
              (Frames{"57 04 01 FC 20 00 00 FF FF", "57 04 01 FC 22 00 01 FF FF",
                      "57 04 01 FC 24 00 04 FF FF", "57 04 01 FC 26 00 09 FF FF",
                      "57 04 01 FC 28 00 13 FF FF", "57 04 01 FC 2A 00 27 FF FF"}));
    ASSERT_EQ(sent.size(), 6u + 41u);
    EXPECT_NEAR(inst.readPoint(1024 + 14 * 40).a.frequencyHz.value_or(0), 4100e6, 1);
    ASSERT_EQ(MakeFreqPlan(session, 130, 10, 37, 100, 0), "OK");  // 130 to 490 MHz
    sent = frames();
    EXPECT_TRUE(tableFrames(sent).empty());
    EXPECT_EQ(sent.size(), 37u);
}

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

// Stopping answers "Error": the result is never set on a stop.
TEST_F(FreqSweep, GoSigGenFreqSweepStopAndMissingPlan) {
    EXPECT_EQ(GoSigGenFreqSweep(session, "OFF"), "Error");
    EXPECT_EQ(frames(), Frames{"59 41 00"});
    EXPECT_EQ(status(1), "Status: CW");
    EXPECT_EQ(GoSigGenFreqSweep(session, "ON"), "Error. No freq plan.");  // dialog cancelled
    EXPECT_EQ(prompts.dialogs.size(), 1u);
    // One stored point is refused; none is a subscript error.
    session.plans.FreqPlanPresent = kTrue;
    session.plans.freq.FreqPlanCount = 1;
    EXPECT_EQ(GoSigGenFreqSweep(session, "ON"), "Error. Incorrect Start/Stop freq values.");
    session.plans.freq.FreqPlanCount = 0;
    EXPECT_EQ(raisedBy([&] { GoSigGenFreqSweep(session, "ON"); }), errnum::Subscript);
}

// No band change, four points, then the start frame with the count and the dwell less 26. The
// level is rounded to 0.1 dB and clamped to 17; the plan is not asked for again.
TEST_F(FreqSweep, GoSigGenFreqSweepUploadsAndStartsTheFilePlan) {
    prompts.files.push_back(file("f.dat", std::string(kFreqSweepFile) + "4 1003\n"));
    ASSERT_EQ(GoSigGenFreqSweep(session, "ON"), "OK");
    EXPECT_EQ(session.plans.FreqPlanPresent, kTrue);
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 5u);
    EXPECT_EQ(sent.back(), "59 42 00 04 00 00 04 03 CE");
    EXPECT_EQ(text("Text1"), "1000.00000");
    EXPECT_EQ(text("Text5"), "0.0");
    EXPECT_EQ(status(1), "Status: Freq sweep");
    EXPECT_EQ(inst.runState().mode, sim::Mode::FrequencySweep);
    EXPECT_EQ(inst.runState().count, 4);
    session.plans.freq.FreqPlanLevel = 17.3F;
    ASSERT_EQ(GoSigGenFreqSweep(session, "ON"), "OK");
    EXPECT_EQ(text("Text5"), "17.0");
    EXPECT_EQ(prompts.dialogs.size(), 1u);
}

}  // namespace
}  // namespace synthor::testing
