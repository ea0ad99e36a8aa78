// How long the point writer takes per point: band plan, companion frequency, two level words
// and one memory-write frame handed through the link to the simulated instrument.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "bench/opened_session.hpp"
#include "encoding/level.hpp"
#include "runtime/clock.hpp"
#include "session/plan_store.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor {
namespace {

// One continuous-wave point per iteration, stepping through the whole range so every band,
// both interpolation paths and the band-class flags are exercised.
void BM_PointWriter_OnePoint(benchmark::State& state) {
    OpenedSession<> s;
    double f = 300000;
    for (auto _ : state) {
        s.session.freqLevel.setFrequencyAndLevel(kCwAddress, 1, f, 1000, kCompanionOffset, 0,
                                                 kLevelB);
        f += 910987.0;
        if (f > 8.192e9) f = 300000;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PointWriter_OnePoint);

// A full plan upload: 9001 points from 100 MHz in 0.9 MHz steps (up to 8.2 GHz).
void BM_PointWriter_PlanOf9001(benchmark::State& state) {
    OpenedSession<> s;
    for (auto _ : state) {
        s.session.freqLevel.setFrequencyAndLevel(kPlanAddress, kPlanPoints, 100e6, 0.9e6,
                                                 kCompanionOffset, 0, kLevelB);
    }
    state.SetItemsProcessed(state.iterations() * kPlanPoints);
}
BENCHMARK(BM_PointWriter_PlanOf9001)->Unit(benchmark::kMillisecond);

// The level word alone, for the share of the per-point time it takes.
void BM_LevelWord(benchmark::State& state) {
    OpenedSession<> s;
    double f = 300000;
    for (auto _ : state) {
        benchmark::DoNotOptimize(levelWord(s.session.cal, f, 0, 1));
        f += 910987.0;
        if (f > 8.192e9) f = 300000;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LevelWord);

}  // namespace
}  // namespace synthor
