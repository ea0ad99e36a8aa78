#include "plans/freq_sweep.hpp"

#include <gtest/gtest.h>

#include "plan_fixture.hpp"
#include "plans/plan_files.hpp"
#include "runtime/errors.hpp"

namespace synthor::testing {
namespace {

using Box = RecordingPrompts::Box;

TEST(SweepBandCode, EdgesAreInclusiveAnd250MHzIsNoChange) {
    const std::pair<double, int> cases[] = {
        {299999.9, 0}, {300000, 1}, {124999999, 1}, {1.25e8, 2}, {2.5e8, 2},   {499999999, 2},
        {5e8, 3},      {1e9, 4},    {2e9, 5},       {4e9, 6},    {8.192e9, 6},
    };
    for (const auto& [f, code] : cases)
        EXPECT_EQ(sweepBandCode(f), code) << f;
}

// Only the band table's frames (address 130080 and up).
std::vector<std::string> tableFrames(const std::vector<std::string>& frames) {
    std::vector<std::string> out;
    for (const auto& f : frames) {
        if (f.rfind("57 04 01 F", 0) == 0 || f.rfind("57 02 01 F", 0) == 0) out.push_back(f);
    }
    return out;
}

using FreqSweep = PlanTest;

TEST_F(FreqSweep, EmptyPlanWritesOnlyTheEndMark) {
    UploadBandTable(session);
    EXPECT_EQ(frames(), std::vector<std::string>{"57 02 01 FC 20 FF FF"});
}

TEST_F(FreqSweep, BandChangesFrom100To4100MHzWithTheWrapEntry) {
    ASSERT_EQ(MakeFreqPlan(session, 100, 100, 41, 100, 0), "OK");
    const auto sent = frames();
    EXPECT_EQ(tableFrames(sent), (std::vector<std::string>{
                                     "57 04 01 FC 20 00 00 FF FF",  // wrap: point 0
                                     "57 04 01 FC 22 00 01 FF FF",  // 200 MHz
                                     "57 04 01 FC 24 00 04 FF FF",  // 500 MHz
                                     "57 04 01 FC 26 00 09 FF FF",  // 1 GHz
                                     "57 04 01 FC 28 00 13 FF FF",  // 2 GHz
                                     "57 04 01 FC 2A 00 27 FF FF",  // 4 GHz
                                 }));
    ASSERT_EQ(sent.size(), 6u + 41u);
    EXPECT_NEAR(inst.readPoint(1024 + 14 * 40).a.frequencyHz.value_or(0), 4100e6, 1);
}

TEST_F(FreqSweep, PlanInsideOneBandCodeWritesNoTable) {
    ASSERT_EQ(MakeFreqPlan(session, 130, 10, 37, 100, 0), "OK");  // 130 to 490 MHz
    const auto sent = frames();
    EXPECT_TRUE(tableFrames(sent).empty());
    EXPECT_EQ(sent.size(), 37u);
}

// Alternating 100 and 200 MHz: one entry per point.
void alternate(FreqPlan& p, int count) {
    for (int i = 0; i < count; ++i)
        p.FreqPlanHz[static_cast<std::size_t>(i)] = i % 2 ? 2e8 : 1e8;
    p.FreqPlanCount = count;
}

TEST_F(FreqSweep, At494EntriesTheTableIsFullWithoutMessage) {
    alternate(session.plans.freq, 495);  // first and last alike: no wrap, 494 changes
    UploadBandTable(session);
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 494u);
    EXPECT_EQ(sent.back(), "57 04 01 FF FA 01 EE FF FF");  // 131066, point 494
    EXPECT_TRUE(prompts.boxes.empty());
}

TEST_F(FreqSweep, The495thEntryEndsTheTableWithAMessage) {
    alternate(session.plans.freq, 600);
    UploadBandTable(session);
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 496u);
    EXPECT_EQ(sent[494], "57 04 01 FF FC 01 EE FF FF");  // 131068, point 494
    EXPECT_EQ(sent[495], "57 02 01 FF FE FF FF");        // end mark at 131070
    const Box expected{"Error generating sweep plan. Too many band changes.", 48, "Signal Gen"};
    EXPECT_EQ(prompts.boxes, std::vector<Box>{expected});
}

struct Refusal {
    double start, step;
    int points;
    const char* result;
};

TEST_F(FreqSweep, MakeFreqPlanRefusalsSendNothing) {
    const Refusal cases[] = {
        {1000, 1, 0, "Error"},
        {1000, 0.1, 9002, "Error"},
        {1000, 1, -1, "Error"},
        {0.29, 1, 2, "Error. Invalid start freq."},
        {8192.01, 1, 2, "Error. Invalid start freq."},
        {8000, 10, 20, "Error. End freq > 8192 MHz."},  // checks one step beyond 8190
    };
    for (const Refusal& c : cases) {
        SCOPED_TRACE(c.result);
        EXPECT_EQ(MakeFreqPlan(session, c.start, c.step, c.points, -70000, 20), c.result);
        EXPECT_TRUE(frames().empty());
        // Level and dwell are clamped before the checks.
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, 15.0F);
        EXPECT_EQ(session.plans.freq.FreqPlanDwell, 65500);
    }
    EXPECT_EQ(MakeFreqPlan(session, 8000, 10, 19, 10, -30), "OK");
    EXPECT_EQ(session.plans.freq.FreqPlanLevel, -25.0F);
    EXPECT_EQ(session.plans.freq.FreqPlanDwell, 26);
}

TEST_F(FreqSweep, FallingPlanIsBuiltButNotSwept) {
    ASSERT_EQ(MakeFreqPlan(session, 2000, -10, 5, 100, 0), "OK");
    EXPECT_EQ(session.plans.freq.FreqPlanHz[4], 1960e6);
    session.plans.FreqPlanPresent = kTrue;
    frames();
    EXPECT_EQ(GoSigGenFreqSweep(session, "ON"), "Error. Incorrect Start/Stop freq values.");
    EXPECT_TRUE(frames().empty());
}

TEST_F(FreqSweep, StartFreqSweepTakesTheDwellBoxAndAZeroCount) {
    const std::pair<const char*, const char*> cases[] = {
        {"-70000", "65500"}, {"10", "26"}, {"abc", "26"}, {"100.5", "100"}, {"101.5", "102"},
    };
    session.plans.StepTrigger = 1;
    session.link.TriggerModeActive = 1;  // the module path never steps
    for (const auto& [typed, shown] : cases) {
        SCOPED_TRACE(typed);
        session.panel.typeText("Text11", typed);
        StartFreqSweep(session);
        EXPECT_EQ(session.panel.text("Text11"), shown);
        const int code = std::stoi(shown) - 26;
        char hex[8];
        std::snprintf(hex, sizeof hex, "%02X %02X", code >> 8, code & 0xFF);
        EXPECT_EQ(frames(), std::vector<std::string>{"59 42 00 04 00 00 00 " + std::string(hex)});
    }
    EXPECT_EQ(status(1), "Status: Freq sweep");
    EXPECT_TRUE(session.panel.bold("Command12"));
}

TEST_F(FreqSweep, ShowAndResetThePanelsSweepBoxes) {
    ASSERT_EQ(MakeFreqPlan(session, 1000.0006, 0.25, 3, 100, 0), "OK");
    ShowFreqPlan(session);
    EXPECT_EQ(session.panel.text("Text8"), "1000.001");
    EXPECT_EQ(session.panel.text("Text9"), "1000.501");
    EXPECT_EQ(session.panel.text("Text10"), "-");
    EXPECT_FALSE(session.panel.enabled("Text10"));
    session.plans.freq.FreqPlanValid = kTrue;
    session.panel.typeText("Text11", "5");
    session.panel.typeText("Text5", "9");
    ResetFreqPlan(session);
    EXPECT_EQ(session.plans.freq.FreqPlanValid, 0);
    for (const auto& [box, text] : {std::pair{"Text8", "1000.000"},
                                    {"Text9", "2000.000"},
                                    {"Text10", "10.00"},
                                    {"Text11", "100"},
                                    {"Text5", "0.0"}}) {
        EXPECT_EQ(session.panel.text(box), text) << box;
        EXPECT_TRUE(session.panel.enabled(box)) << box;
    }
}

TEST_F(FreqSweep, GoSigGenFreqSweepStopAndMissingPlan) {
    EXPECT_EQ(GoSigGenFreqSweep(session, "OFF"), "Error");  // the result is never set on a stop
    EXPECT_EQ(frames(), std::vector<std::string>{"59 41 00"});
    EXPECT_EQ(status(1), "Status: CW");
    EXPECT_EQ(GoSigGenFreqSweep(session, "ON"), "Error. No freq plan.");  // dialog cancelled
    EXPECT_EQ(prompts.dialogs.size(), 1u);
}

TEST_F(FreqSweep, GoSigGenFreqSweepUploadsAndStartsTheFilePlan) {
    prompts.files.push_back(file("f.dat", std::string(kFreqSweepFile) + "4 1003\n"));
    ASSERT_EQ(GoSigGenFreqSweep(session, "ON"), "OK");
    EXPECT_EQ(session.plans.FreqPlanPresent, kTrue);
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 5u);  // no band change; four points; the start frame
    EXPECT_EQ(sent.back(), "59 42 00 04 00 00 04 03 CE");  // 4 points, dwell 1000 - 26
    EXPECT_EQ(session.panel.text("Text1"), "1000.00000");
    EXPECT_EQ(session.panel.text("Text5"), "0.0");
    EXPECT_EQ(status(1), "Status: Freq sweep");
    EXPECT_TRUE(session.panel.bold("Command12"));
    const sim::RunState run = inst.runState();
    EXPECT_EQ(run.mode, sim::Mode::FrequencySweep);
    EXPECT_EQ(run.count, 4);
    // The level is rounded to 0.1 dB and clamped to 17; the plan is not asked for again.
    session.plans.freq.FreqPlanLevel = 17.3F;
    ASSERT_EQ(GoSigGenFreqSweep(session, "ON"), "OK");
    EXPECT_EQ(session.panel.text("Text5"), "17.0");
    EXPECT_EQ(prompts.dialogs.size(), 1u);
}

TEST_F(FreqSweep, ASingleStoredPointIsRefusedAndNoPointsIsASubscriptError) {
    session.plans.FreqPlanPresent = kTrue;
    session.plans.freq.FreqPlanCount = 1;
    EXPECT_EQ(GoSigGenFreqSweep(session, "ON"), "Error. Incorrect Start/Stop freq values.");
    session.plans.freq.FreqPlanCount = 0;
    try {
        GoSigGenFreqSweep(session, "ON");
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), errnum::Subscript);
    }
}

}  // namespace
}  // namespace synthor::testing
