#include <gtest/gtest.h>

#include "plan_fixture.hpp"
#include "plans/command_string.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/hops.hpp"
#include "plans/level_sweeps.hpp"
#include "plans/sweep_frames.hpp"

namespace synthor::testing {
namespace {

using Box = RecordingPrompts::Box;

class Sweeps : public PlanTest {
  protected:
    std::string sig(const char* command, std::vector<Variant> params = {}) {
        return SetSigGen(session, std::string(command), params);
    }
    void levelPlan(std::vector<float> levels, double freqHz = 2400e6, int dwell = 500) {
        LevelPlan& p = session.plans.level;
        for (std::size_t i = 0; i < levels.size(); ++i)
            p.LevelPlanDbm[i] = levels[i];
        p.LevelPlanCount = static_cast<std::int32_t>(levels.size());
        p.LevelPlanFreqHz = freqHz;
        p.LevelPlanDwell = dwell;
    }
    std::string hex(const std::string& frame) { return hexBytes(frame); }
};

TEST_F(Sweeps, LevelSweepEndToEnd) {
    ASSERT_EQ(sig("READPOWERPLAN", {file("l.dat", kLevelSweepFile)}), "OK");
    ASSERT_EQ(sig("LEVSWEEP", {"on"}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 5u);
    EXPECT_EQ(sent[1].substr(0, 14), "57 0E 00 04 0E");
    EXPECT_EQ(sent[3], "59 41 0F");
    EXPECT_EQ(sent[4], "58 00 04 00 00 03 01 DA");  // 3 points, dwell 500 - 26
    for (int i = 0; i < 3; ++i) {
        const sim::PointReading r = inst.readPoint(1024 + 14 * i);
        EXPECT_NEAR(r.a.frequencyHz.value_or(0), 2400e6, 1);
        EXPECT_NEAR(r.a.levelDbm.value_or(99), -10 + 0.5 * i, 0.1);
    }
    EXPECT_EQ(inst.runState().mode, sim::Mode::LevelSweep);
    EXPECT_EQ(session.panel.text("Text1"), "2400.00000");
    EXPECT_EQ(session.panel.text("Text5"), "-10.0");
    EXPECT_EQ(status(1), "Status: Level sweep");
    EXPECT_TRUE(session.panel.bold("Command20"));
    EXPECT_EQ(sig("LEVSWEEP", {"off"}), "True");
    EXPECT_EQ(frames(), std::vector<std::string>{"59 41 00"});
    EXPECT_EQ(status(1), "Status: CW");
}

TEST_F(Sweeps, LevelSweepChecksEverythingBeforeSending) {
    struct Case {
        std::vector<float> levels;
        double freq;
        int dwell;
        const char* result;
    };
    const Case cases[] = {
        {{0, 17.04F}, 1e9, 100, "OK"},
        {{0, 17.06F}, 1e9, 100, "Error. Incorrect level value."},
        {{-25.04F, 0}, 1e9, 100, "OK"},
        {{-25.06F, 0}, 1e9, 100, "Error. Incorrect level value."},
        {{0, 0}, 299999, 100, "Error. Incorrect freq value."},
        {{0, 0}, -1e9, 100, "OK"},  // magnitude
        {{0, 0}, 8.193e9, 100, "Error. Incorrect freq value."},
        {{0, 0}, 1e9, 25, "Error. Incorrect dwell value."},
        {{0, 0}, 1e9, -26, "OK"},
        {{0, 0}, 1e9, 65501, "Error. Incorrect dwell value."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.result);
        levelPlan(c.levels, c.freq, c.dwell);
        EXPECT_EQ(GoSigGenLevSweep(session, "ON"), c.result);
        EXPECT_EQ(frames().size(), std::string(c.result) == "OK" ? 4u : 0u);
    }
}

TEST_F(Sweeps, StartFrameVariantsFollowStepTriggerAndTheActiveTrigger) {
    struct Case {
        int step, trigger;
        const char *freq, *level, *complex;
    };
    const Case cases[] = {
        {0, 0, "59 42", "58", "59 44"}, {1, 0, "59 42", "58", "59 44"},
        {0, 1, "59 42", "58", "59 44"}, {1, 1, "59 62", "78", "59 64"},
        {1, 5, "59 62", "78", "59 64"},
    };
    ASSERT_TRUE(MakeFreqPlan(session, 1000, 1, 3, 100, 0) == "OK");
    session.plans.FreqPlanPresent = kTrue;
    ASSERT_EQ(sig("READCOMPLEXPLAN", {file("c.dat", kComplexSweepFile)}), "OK");
    levelPlan({0, 1});
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.step) + " " + std::to_string(c.trigger));
        ASSERT_EQ(sig("STEPTRIGGER", {std::int16_t(c.step)}), "OK");
        ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(c.trigger)}), "OK");
        EXPECT_EQ(session.link.TriggerModeActive, c.trigger == 0 ? 0 : c.trigger == 1 ? 1 : 2);
        frames();
        ASSERT_EQ(sig("FREQSWEEP", {"On"}), "OK");
        EXPECT_EQ(frames().back().substr(0, 5), c.freq);
        ASSERT_EQ(sig("LEVSWEEP", {"ON"}), "OK");
        EXPECT_EQ(frames().back().substr(0, std::string(c.level).size()), c.level);
        ASSERT_EQ(sig("COMPLEXSWEEP", {"on"}), "OK");
        EXPECT_EQ(frames().back().substr(0, 5), c.complex);
        EXPECT_EQ(inst.runState().stepped, c.step && c.trigger);
    }
}

TEST_F(Sweeps, ComplexSweepEndToEnd) {
    EXPECT_EQ(sig("COMPLEXSWEEP", {"ON"}), "Error. No plan.");
    EXPECT_EQ(sig("READCOMPLEXPLAN", {file("f.dat", kFreqSweepFile)}),
              "Error reading frequency plan.");
    ASSERT_EQ(
        sig("READCOMPLEXPLAN", {file("c.dat",
                                     "[COMPLEXSWEEP]\n[FREQUENCY]\n4500\n[DWELL]\n20\n[PLAN]\n"
                                     "1 90 -10\n2 400 -12\n")}),
        "OK");
    frames();
    ASSERT_EQ(sig("COMPLEXSWEEP", {"ON"}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 6u);
    EXPECT_EQ(sent[0].substr(0, 14), "57 0E 01 FC 10");  // the carrier at the first level
    EXPECT_EQ(sent[1], "59 49 01 FC 10");
    const auto& fl = session.freqLevel;
    // 90 degrees at 4500 MHz: 4096 / 200 + 0.5 = 20.98, sent as 20.
    EXPECT_EQ(sent[2], hex(complexPointFrame(1024, 20, fl.levelWord(4500e6, -10, 1))));
    // 400 degrees is taken as 360: 16384 / 200 + 0.5 = 82.42, sent as 82.
    EXPECT_EQ(sent[3], hex(complexPointFrame(1028, 82, fl.levelWord(4500e6, -12, 1))));
    EXPECT_EQ(sent[4], "59 41 01");
    EXPECT_EQ(sent[5], "59 44 00 04 00 00 02 00 05");  // dwell 20 - 15
    EXPECT_EQ(session.panel.text("Text1"), "4500.0000");
    EXPECT_EQ(status(1), "Status: CPLX");
    EXPECT_EQ(inst.runState().mode, sim::Mode::ComplexSweep);
    EXPECT_EQ(sig("COMPLEXSWEEP", {"off"}), "OK");
    EXPECT_EQ(frames(), std::vector<std::string>{"59 41 00"});
}

TEST(ComplexPhaseWord, BandScaling) {
    const std::tuple<float, double, int> cases[] = {
        {90, 100e6, 4096}, {400, 100e6, 16384}, {90, 124.99e6, 4096}, {90, 125e6, 655},
        {90, 1000e6, 82},  {90, 4500e6, 20},    {0, 1000e6, 0},       {360, 250e6, 1311},
    };
    for (const auto& [phase, f, word] : cases) {
        EXPECT_EQ(complexPhaseWord(phase, f), word) << phase << " at " << f;
    }
}

TEST(PhaseBandScaleTable, ZeroAtAndBelow125MHz) {
    const std::tuple<double, int, int> cases[] = {
        {100e6, 4096, 0}, {125e6, 4096, 0},     {125.000001e6, 4096, 655},
        {250e6, 100, 8},  {1000e6, 16156, 323}, {4000e6, 4096, 20},
    };
    for (const auto& [f, value, scaled] : cases)
        EXPECT_EQ(PhaseBandScale(f, value), scaled) << f;
}

TEST_F(Sweeps, FrequencyHopEndToEndAndRefusals) {
    const std::tuple<double, double, float, int, const char*> refusals[] = {
        {1000, 1000, 0, 100, "Error. Invalid frequency value."},
        {2000, 1000, 0, 100, "Error. Invalid frequency value."},
        {0.29, 1000, 0, 100, "Error. Invalid frequency value."},
        {1000, 8192.1, 0, 100, "Error. Invalid frequency value."},
        {1000, 1010, 0, 25, "Error. Invalid dwell time."},
        {1000, 1010, 0, 65501, "Error. Invalid dwell time."},
        {1000, 1010, 17.1F, 100, "Error. Invalid Level value."},
        {1000, 1010, -25.1F, 100, "Error. Invalid Level value."},
    };
    for (const auto& [f1, f2, level, dwell, result] : refusals) {
        EXPECT_EQ(GoSigGenFHop(session, f1, f2, level, dwell, "ON"), result) << f1 << " " << dwell;
    }
    EXPECT_TRUE(frames().empty());

    ASSERT_EQ(sig("STEPTRIGGER", {std::int16_t(1)}), "OK");
    ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(1)}), "OK");
    frames();
    ASSERT_EQ(sig("FREQHOP", {100.0, 200.0, 0.0F, 100, "ON"}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 5u);
    EXPECT_EQ(sent[0], "57 04 01 FC 20 00 00 FF FF");
    EXPECT_EQ(sent[1], "57 04 01 FC 22 00 01 FF FF");
    EXPECT_EQ(sent.back(), "59 42 00 04 00 00 02 00 4A");  // free-running always
    EXPECT_NEAR(inst.readPoint(1038).a.frequencyHz.value_or(0), 200e6, 1);
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 2);
    EXPECT_EQ(status(1), "Status: Freq hop");
}

TEST_F(Sweeps, PhaseHopChecksAndFrame) {
    session.CWFrequency = 1000e6;
    const std::tuple<int, int, int, const char*> cases[] = {
        {10, 355, 100, "Error. Incorret phasae value."},
        {361, 10, 100, "Error. Incorret phasae value."},
        {-361, 10, 100, "Error. Incorret phasae value."},
        {360, 350, 100, "OK"},
        {0, 10, 100, "Error. Phase values cannot be the same."},
        {355, 10, 24, "Error. Incorrect Dwell time."},
        {355, 10, 65501, "Error. Incorrect Dwell time."},
    };
    for (const auto& [p1, p2, dwell, result] : cases) {
        EXPECT_EQ(GoSigGenPhHop(session, p1, p2, dwell, "ON"), result) << p1 << " " << p2;
    }
    frames();
    ASSERT_EQ(sig("PHASEHOP", {355, -10, 25, "ON"}), "OK");
    // First: word 16156 scaled to 323; second: 10 degrees scaled to 0 and converted to 0.
    EXPECT_EQ(frames(), std::vector<std::string>{"59 52 01 43 00 00 00 12"});
    EXPECT_EQ(inst.runState().mode, sim::Mode::PhaseHop);
    EXPECT_EQ(status(1), "Status: Phase hop");
    // At or below 125 MHz every pair is refused.
    for (double f : {100e6, 125e6}) {
        session.CWFrequency = f;
        EXPECT_EQ(GoSigGenPhHop(session, 180, 90, 100, "ON"),
                  "Error. Phase values cannot be the same.");
    }
}

TEST_F(Sweeps, LevelHopClampsShowsAndRefusesWithMessages) {
    ASSERT_EQ(sig("LEVELHOP", {1000.0, 20.0F, -30.0F, 100, "ON"}), "OK");
    EXPECT_EQ(session.panel.text("Text17"), "17.0");
    EXPECT_EQ(session.panel.text("Text18"), "-25.0");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(sent[0].substr(0, 14), "57 0E 00 04 00");
    EXPECT_EQ(sent[1].substr(0, 14), "57 0E 00 04 0E");
    const int word = session.freqLevel.levelWord(1000e6, 17.0F, 1);
    EXPECT_EQ(inst.readPoint(1024).a.levelWord, word);
    EXPECT_EQ(sent[2], "59 41 0F");
    EXPECT_EQ(sent[3], "58 00 04 00 00 02 00 4A");
    EXPECT_EQ(status(1), "Status: Level hop");

    EXPECT_EQ(GoSigGenLevelHop(session, 0.2, 0, 0, 100, "ON"), "Error. Invalid frequency value.");
    EXPECT_EQ(GoSigGenLevelHop(session, 1000, 0, 0, 25, "ON"),
              "Dwell time must be between 26 and 65500 us.");
    EXPECT_EQ(prompts.boxes, (std::vector<Box>{
                                 {"Error. Invalid frequency value.", 48, "Signal Gen"},
                                 {"Dwell time must be between 26 and 65500 us.", 48, "Signal Gen"},
                             }));
    EXPECT_TRUE(frames().empty());
}

TEST_F(Sweeps, StoppingAnyHopReturnsTheTriggerToFreeRun) {
    for (const char* hop : {"FREQHOP", "PHASEHOP", "LEVELHOP"}) {
        SCOPED_TRACE(hop);
        ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(2)}), "OK");
        session.panel.select("Option6");
        EXPECT_EQ(status(2), "Trig: Ext -edge");
        frames();
        // Only "ON" starts a hop; "on" stops it.
        const std::string sw = "on";
        const std::vector<Variant> params = std::string(hop) == "PHASEHOP"
                                                ? std::vector<Variant>{0, 0, 0, sw}
                                                : std::vector<Variant>{0, 0, 0, 0, sw};
        EXPECT_EQ(sig(hop, params), "OK");
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
