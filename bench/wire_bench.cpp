// What the big transfers cost on the wire, from the simulated instrument's wire-time model: a
// 9001-point frequency, level and complex sweep, the 400 Hz FM table and the calibration load,
// on a full- or high-speed bus, frame by frame or coalesced. Counters per run: driver calls,
// bytes, the modelled wire time, the bytes-at-bus-rate limit and the ratio of the two.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <functional>

#include "bench/opened_session.hpp"
#include "plans/command_string.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/level_sweeps.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor {
namespace {

// Time passes only when slept on, so the trigger exchange's delay costs no real time.
class SteppedClock final : public Clock {
  public:
    std::uint32_t timeGetTime() override { return now_; }
    void sleep(std::uint32_t ms) override { now_ += ms; }

  private:
    std::uint32_t now_ = 1000;
};

sim::Config onBus(sim::UsbSpeed speed) {
    sim::Config config;
    config.usb = speed;
    return config;
}

// Runs `work` once per iteration, with ranges (high speed, coalesced); `prepare` fills the
// plan store first. The counters are those of the last run.
void measure(benchmark::State& state, const std::function<void(Session&)>& prepare,
             const std::function<void(Session&)>& work) {
    const auto speed = state.range(0) ? sim::UsbSpeed::High : sim::UsbSpeed::Full;
    OpenedSession<SteppedClock> s(onBus(speed));
    s.session.link.Coalesce = state.range(1) != 0;
    prepare(s.session);
    sim::WireUse before, after;
    for (auto _ : state) {
        before = s.instrument.wireUse();
        work(s.session);
        after = s.instrument.wireUse();
    }
    const double bytes = static_cast<double>(after.bytes - before.bytes);
    const double wireMs = static_cast<double>(after.nanoseconds - before.nanoseconds) / 1e6;
    const double limitMs = bytes / static_cast<double>(sim::busTiming(speed).bytesPerSecond) * 1e3;
    state.counters["calls"] = static_cast<double>(after.calls - before.calls);
    state.counters["bytes"] = bytes;
    state.counters["wire_ms"] = wireMs;
    state.counters["limit_ms"] = limitMs;
    state.counters["x_limit"] = limitMs > 0 ? wireMs / limitMs : 0;
}

void expectOk(const std::string& result) {
    if (result != "OK") std::abort();
}

void nothing(Session&) {}

void BM_Wire_FreqSweep_9001(benchmark::State& state) {
    measure(
        state,
        [](Session& s) {
            // 100 MHz to 8155 MHz: every band of the band-change table.
            expectOk(MakeFreqPlan(s, 100, 0.895, kPlanPoints, 100, 0));
            s.plans.FreqPlanPresent = kTrue;
        },
        [](Session& s) { expectOk(GoSigGenFreqSweep(s, "ON")); });
}

void BM_Wire_LevelSweep_9001(benchmark::State& state) {
    measure(
        state,
        [](Session& s) {
            LevelPlan& p = s.plans.level;
            for (std::size_t i = 0; i < kPlanPoints; ++i)
                p.LevelPlanDbm[i] = -25.0F + 0.1F * static_cast<float>(i % 421);
            p.LevelPlanCount = kPlanPoints;
            p.LevelPlanFreqHz = 2400e6;
            p.LevelPlanDwell = 100;
        },
        [](Session& s) { expectOk(GoSigGenLevSweep(s, "ON")); });
}

void BM_Wire_ComplexSweep_9001(benchmark::State& state) {
    measure(
        state,
        [](Session& s) {
            ComplexPlan& p = s.plans.complex;
            for (std::size_t i = 0; i < kPlanPoints; ++i) {
                p.ComplexPlanPhase[i] = static_cast<float>(i % 360);
                p.ComplexPlanDbm[i] = -10.0F + static_cast<float>(i % 20);
            }
            p.ComplexPlanCount = kPlanPoints;
            p.ComplexPlanFreqHz = 4500e6;
            p.ComplexPlanDwell = 50;
            s.plans.ComplexPlanPresent = kTrue;
        },
        [](Session& s) { expectOk(GoSigGenCplxSweep(s, "ON")); });
}

// The 72-point table of the 400 Hz tone, with its mode select, trigger exchange and start.
void BM_Wire_FmTable(benchmark::State& state) {
    measure(state, nothing, [](Session& s) {
        const Variant params[] = {1000.0, 100.0, 0.0, std::string("400HZ"), std::string("ON")};
        expectOk(SetSigGen(s, std::string("FM"), params));
    });
}

// FND's calibration load: 480 request-reply exchanges, which joining writes cannot shorten.
void BM_Wire_CalibrationLoad(benchmark::State& state) {
    measure(state, nothing, [](Session& s) {
        LoadCalData(s.link, s.cal, *s.calibrationProgress);
        if (s.cal.CalTable4.empty()) std::abort();
    });
}

void busAndCoalescing(benchmark::internal::Benchmark* b) {
    b->ArgNames({"high", "coalesce"})->ArgsProduct({{0, 1}, {0, 1}});
    b->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Wire_FreqSweep_9001)->Apply(busAndCoalescing);
BENCHMARK(BM_Wire_LevelSweep_9001)->Apply(busAndCoalescing);
BENCHMARK(BM_Wire_ComplexSweep_9001)->Apply(busAndCoalescing);
BENCHMARK(BM_Wire_FmTable)->Apply(busAndCoalescing);
BENCHMARK(BM_Wire_CalibrationLoad)->Apply(busAndCoalescing);

}  // namespace
}  // namespace synthor
