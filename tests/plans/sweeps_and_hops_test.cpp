#include <gtest/gtest.h>

#include "frames/sweep_frames.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/hops.hpp"
#include "plans/level_sweeps.hpp"
#include "support/session_fixture.hpp"

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

// Undivided below 125 MHz for a sweep's phase word, but the hop's band scale is 0 at and below
// 125 MHz.
TEST(PhaseWords, BandScalingAt125MHz) {
    EXPECT_EQ(complexPhaseWord(90, 124.99e6), 4096);
    EXPECT_EQ(complexPhaseWord(90, 125e6), 655);
    EXPECT_EQ(PhaseBandScale(125e6, 4096), 0);
    EXPECT_EQ(PhaseBandScale(125.000001e6, 4096), 655);
}

}  // namespace
}  // namespace synthor::testing
