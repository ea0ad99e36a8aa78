#include <gtest/gtest.h>

#include "frames/sweep_frames.hpp"
#include "plan_fixture.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/hops.hpp"
#include "plans/level_sweeps.hpp"

namespace synthor::testing {
namespace {

class Sweeps : public PlanTest {
  protected:
    void levelPlan(std::vector<float> levels, double freqHz = 2400e6, int dwell = 500) {
        LevelPlan& p = session.plans.level;
        std::copy(levels.begin(), levels.end(), p.LevelPlanDbm.begin());
        p.LevelPlanCount = static_cast<std::int32_t>(levels.size());
        p.LevelPlanFreqHz = freqHz;
        p.LevelPlanDwell = dwell;
    }
};

// Stopping a level sweep answers "True".
TEST_F(Sweeps, LevelSweepEndToEnd) {
    ASSERT_EQ(sig("READPOWERPLAN", {file("l.dat", kLevelSweepFile)}), "OK");
    ASSERT_EQ(sig("LEVSWEEP", {"on"}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 5u);
    EXPECT_EQ(sent[3], "59 41 0F");
    EXPECT_EQ(sent[4], "58 00 04 00 00 03 01 DA");  // 3 points, dwell 500 - 26
    for (int i = 0; i < 3; ++i) {
        const sim::PointReading r = inst.readPoint(1024 + 14 * i);
        EXPECT_NEAR(r.a.frequencyHz.value_or(0), 2400e6, 1);
        EXPECT_NEAR(r.a.levelDbm.value_or(99), -10 + 0.5 * i, 0.1);
    }
    EXPECT_EQ(inst.runState().mode, sim::Mode::LevelSweep);
    EXPECT_EQ(text("Text5"), "-10.0");
    EXPECT_EQ(status(1), "Status: Level sweep");
    EXPECT_TRUE(session.panel.bold("Command20"));
    EXPECT_EQ(sig("LEVSWEEP", {"off"}), "True");
    EXPECT_EQ(frames(), Frames{"59 41 00"});
    EXPECT_EQ(status(1), "Status: CW");
}

// Levels are checked rounded to 0.1 dB; frequency and dwell by magnitude.
TEST_F(Sweeps, LevelSweepChecksEverythingBeforeSending) {
    const char *ok = "OK", *level = "Error. Incorrect level value.",
               *freq = "Error. Incorrect freq value.", *dwell = "Error. Incorrect dwell value.";
    const std::tuple<float, double, int, const char*> cases[] = {
        {17.04F, 1e9, 100, ok},     {17.06F, 1e9, 100, level}, {-25.04F, 1e9, 100, ok},
        {-25.06F, 1e9, 100, level}, {0, 299999, 100, freq},    {0, -1e9, 100, ok},
        {0, 8.193e9, 100, freq},    {0, 1e9, 25, dwell},       {0, 1e9, -26, ok},
        {0, 1e9, 65501, dwell},
    };
    for (const auto& [second, f, d, result] : cases) {
        levelPlan({0, second}, f, d);
        EXPECT_EQ(GoSigGenLevSweep(session, "ON"), result) << second << " " << f << " " << d;
        EXPECT_EQ(frames().size(), result == ok ? 4u : 0u);
    }
}

// Only a step trigger with an active external trigger gives the stepped start frames.
TEST_F(Sweeps, StartFrameVariantsFollowStepTriggerAndTheActiveTrigger) {
    const std::tuple<int, int, bool> cases[] = {
        {0, 0, false}, {1, 0, false}, {0, 1, false}, {1, 1, true}, {1, 5, true},
    };
    ASSERT_EQ(MakeFreqPlan(session, 1000, 1, 3, 100, 0), "OK");
    session.plans.FreqPlanPresent = kTrue;
    ASSERT_EQ(sig("READCOMPLEXPLAN", {file("c.dat", kComplexSweepFile)}), "OK");
    levelPlan({0, 1});
    for (const auto& [step, trigger, stepped] : cases) {
        SCOPED_TRACE(std::to_string(step) + " " + std::to_string(trigger));
        ASSERT_EQ(sig("STEPTRIGGER", {std::int16_t(step)}), "OK");
        ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(trigger)}), "OK");
        EXPECT_EQ(session.link.TriggerModeActive, std::min(trigger, 2));
        frames();
        ASSERT_EQ(sig("FREQSWEEP", {"On"}), "OK");
        EXPECT_EQ(frames().back().substr(0, 5), stepped ? "59 62" : "59 42");
        ASSERT_EQ(sig("LEVSWEEP", {"ON"}), "OK");
        EXPECT_EQ(frames().back().substr(0, 2), stepped ? "78" : "58");
        ASSERT_EQ(sig("COMPLEXSWEEP", {"on"}), "OK");
        EXPECT_EQ(frames().back().substr(0, 5), stepped ? "59 64" : "59 44");
        EXPECT_EQ(inst.runState().stepped, stepped);
    }
}

// The carrier at the first level, then one point per line with its phase word and level word,
// and the start frame with the dwell less 15. Phase words: 90 degrees at 4500 MHz is
// 4096 / 200 + 0.5 = 20.98, sent as 20; 400 degrees is taken as 360: 82.42, sent as 82.
TEST_F(Sweeps, ComplexSweepEndToEnd) {
    EXPECT_EQ(sig("COMPLEXSWEEP", {"ON"}), "Error. No plan.");
    EXPECT_EQ(sig("READCOMPLEXPLAN", {file("f.dat", kFreqSweepFile)}),
              "Error reading frequency plan.");
    const auto plan =
        "[COMPLEXSWEEP]\n[FREQUENCY]\n4500\n[DWELL]\n20\n[PLAN]\n1 90 -10\n2 400 -12\n";
    ASSERT_EQ(sig("READCOMPLEXPLAN", {file("c.dat", plan)}), "OK");
    frames();
    ASSERT_EQ(sig("COMPLEXSWEEP", {"ON"}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 6u);
    EXPECT_EQ(sent[0].substr(0, 14), "57 0E 01 FC 10");
    EXPECT_EQ(sent[1], "59 49 01 FC 10");
    const auto& fl = session.freqLevel;
    EXPECT_EQ(sent[2], hexBytes(complexPointFrame(1024, 20, fl.levelWord(4500e6, -10, 1))));
    EXPECT_EQ(sent[3], hexBytes(complexPointFrame(1028, 82, fl.levelWord(4500e6, -12, 1))));
    EXPECT_EQ(sent[4], "59 41 01");
    EXPECT_EQ(sent[5], "59 44 00 04 00 00 02 00 05");
    EXPECT_EQ(text("Text1"), "4500.0000");
    EXPECT_EQ(status(1), "Status: CPLX");
    EXPECT_EQ(inst.runState().mode, sim::Mode::ComplexSweep);
    EXPECT_EQ(sig("COMPLEXSWEEP", {"off"}), "OK");
    EXPECT_EQ(frames(), Frames{"59 41 00"});
}

// Undivided below 125 MHz for a sweep's phase word, but the hop's band scale is 0 at and below
// 125 MHz.
TEST(PhaseWords, BandScalingAt125MHz) {
    EXPECT_EQ(complexPhaseWord(90, 124.99e6), 4096);
    EXPECT_EQ(complexPhaseWord(90, 125e6), 655);
    EXPECT_EQ(PhaseBandScale(125e6, 4096), 0);
    EXPECT_EQ(PhaseBandScale(125.000001e6, 4096), 655);
}

// The hop is written as a two-point plan with its band table, and always runs free.
TEST_F(Sweeps, FrequencyHopEndToEndAndRefusals) {
    const char *freq = "Error. Invalid frequency value.", *dwell = "Error. Invalid dwell time.",
               *level = "Error. Invalid Level value.";
    const std::tuple<double, double, float, int, const char*> refusals[] = {
        {1000, 1000, 0, 100, freq},      {2000, 1000, 0, 100, freq},
        {0.29, 1000, 0, 100, freq},      {1000, 8192.1, 0, 100, freq},
        {1000, 1010, 0, 25, dwell},      {1000, 1010, 0, 65501, dwell},
        {1000, 1010, 17.1F, 100, level}, {1000, 1010, -25.1F, 100, level},
    };
    for (const auto& [f1, f2, lv, d, result] : refusals)
        EXPECT_EQ(GoSigGenFHop(session, f1, f2, lv, d, "ON"), result) << f1 << " " << f2;
    EXPECT_TRUE(frames().empty());
    ASSERT_EQ(sig("STEPTRIGGER", {std::int16_t(1)}), "OK");
    ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(1)}), "OK");
    frames();
    ASSERT_EQ(sig("FREQHOP", {100.0, 200.0, 0.0F, 100, "ON"}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 5u);
    EXPECT_EQ(sent[0], "57 04 01 FC 20 00 00 FF FF");
    EXPECT_EQ(sent[1], "57 04 01 FC 22 00 01 FF FF");
    EXPECT_EQ(sent.back(), "59 42 00 04 00 00 02 00 4A");
    EXPECT_NEAR(inst.readPoint(1038).a.frequencyHz.value_or(0), 200e6, 1);
    EXPECT_EQ(status(1), "Status: Freq hop");
}

// The first phase may be up to 360 but the second only up to 350, refused with the texts spelt
// as they are; phases equal after scaling are refused, which at or below 125 MHz is every pair.
// The dwell is sent less 7.
TEST_F(Sweeps, PhaseHopChecksAndFrame) {
    session.CWFrequency = 1000e6;
    const char *phase = "Error. Incorret phasae value.", *dwell = "Error. Incorrect Dwell time.",
               *same = "Error. Phase values cannot be the same.";
    const std::tuple<int, int, int, const char*> cases[] = {
        {10, 355, 100, phase}, {361, 10, 100, phase}, {-361, 10, 100, phase},
        {360, 350, 100, "OK"}, {355, 10, 24, dwell},  {355, 10, 65501, dwell},
        {0, 10, 100, same},
    };
    for (const auto& [p1, p2, d, result] : cases)
        EXPECT_EQ(GoSigGenPhHop(session, p1, p2, d, "ON"), result) << p1 << " " << p2;
    frames();
    ASSERT_EQ(sig("PHASEHOP", {355, -10, 25, "ON"}), "OK");
    // First: word 16156 scaled to 323; second: 10 degrees scaled to 0 and converted to 0.
    EXPECT_EQ(frames(), Frames{"59 52 01 43 00 00 00 12"});
    EXPECT_EQ(inst.runState().mode, sim::Mode::PhaseHop);
    EXPECT_EQ(status(1), "Status: Phase hop");
    for (double f : {100e6, 125e6}) {
        session.CWFrequency = f;
        EXPECT_EQ(GoSigGenPhHop(session, 180, 90, 100, "ON"), same);
    }
}

// Levels are clamped and shown; refusals come with a message box as well.
TEST_F(Sweeps, LevelHopClampsShowsAndRefusesWithMessages) {
    ASSERT_EQ(sig("LEVELHOP", {1000.0, 20.0F, -30.0F, 100, "ON"}), "OK");
    EXPECT_EQ(text("Text17"), "17.0");
    EXPECT_EQ(text("Text18"), "-25.0");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(inst.readPoint(1024).a.levelWord, session.freqLevel.levelWord(1000e6, 17.0F, 1));
    EXPECT_EQ(sent[2], "59 41 0F");
    EXPECT_EQ(sent[3], "58 00 04 00 00 02 00 4A");
    EXPECT_EQ(status(1), "Status: Level hop");
    const char* freq = "Error. Invalid frequency value.";
    const char* dwell = "Dwell time must be between 26 and 65500 us.";
    EXPECT_EQ(GoSigGenLevelHop(session, 0.2, 0, 0, 100, "ON"), freq);
    EXPECT_EQ(GoSigGenLevelHop(session, 1000, 0, 0, 25, "ON"), dwell);
    EXPECT_EQ(prompts.boxes,
              (std::vector<Box>{{freq, 48, "Signal Gen"}, {dwell, 48, "Signal Gen"}}));
    EXPECT_TRUE(frames().empty());
}

// Only "ON" starts a hop, so "on" stops it; stopping returns the trigger to free run.
TEST_F(Sweeps, StoppingAnyHopReturnsTheTriggerToFreeRun) {
    for (const char* hop : {"FREQHOP", "PHASEHOP", "LEVELHOP"}) {
        SCOPED_TRACE(hop);
        ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(2)}), "OK");
        session.panel.select("Option6");
        frames();
        const bool phase = std::string(hop) == "PHASEHOP";
        EXPECT_EQ(sig(hop, phase ? std::vector<Variant>{0, 0, 0, "on"}
                                 : std::vector<Variant>{0, 0, 0, 0, "on"}),
                  "OK");
        const auto sent = frames();
        ASSERT_GE(sent.size(), 3u);
        EXPECT_EQ(sent.front(), "59 41 00");
        EXPECT_EQ(sent.back(), "59 54 00");
        EXPECT_EQ(session.link.TriggerModeActive, 0);
        EXPECT_EQ(status(1), "Status: CW");
        EXPECT_EQ(status(2), "Trig: Free run");
        EXPECT_TRUE(session.panel.value("Option4"));
        EXPECT_EQ(inst.runState().trigger, 0);
    }
}

}  // namespace
}  // namespace synthor::testing
