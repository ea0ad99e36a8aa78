// Plan files and frequency sweeps at their largest: a 9001-point plan file read and parsed, and
// a 9001-point frequency sweep built, band-tabled and uploaded to the simulated instrument.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "automation/synthor_01_vexa.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/plan_files.hpp"
#include "runtime/clock.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor {
namespace {

// Answers every file dialog with one path and every message box with OK.
class FilePrompts final : public Prompts {
  public:
    MsgResult msgBox(std::string_view, int style, std::string_view) override {
        return defaultAnswer(style);
    }
    std::optional<std::string> openFile(const OpenFileRequest&) override { return path; }
    std::string path;
};

struct PlanSession {
    PlanSession() : session(instrument.driverTable(), prompts, clock), object(session) {
        if (object.FND() != 1234) std::abort();
    }
    sim::Instrument instrument;
    FilePrompts prompts;
    SystemClock clock;
    Session session;
    Synthor_01_vexa object;
};

// A frequency sweep file of 9001 points, 100 MHz up in 0.9 MHz steps, in the example's mixed
// separators.
std::string writePlanFile() {
    const auto path = std::filesystem::temp_directory_path() / "synthor_bench_plan_9001.dat";
    std::ofstream out(path, std::ios::binary);
    out << "[FREQUENCYSWEEP]\r\n[LEVEL]\r\n-5\r\n[DWELL]\r\n1000\r\n[PLAN]\r\n";
    for (int i = 0; i < kPlanPoints; ++i) {
        const char* separator = i % 3 == 0 ? " " : i % 3 == 1 ? ", " : "     ";
        out << i + 1 << separator << 100.0 + 0.9 * i << "\r\n";
    }
    return path.string();
}

void BM_ReadPlanFile_9001(benchmark::State& state) {
    PlanSession s;
    s.prompts.path = writePlanFile();
    for (auto _ : state) {
        // Through the dialog: read and parsed, not uploaded.
        if (!LoadFreqSweepPlan(s.session, false, std::string())) state.SkipWithError("not read");
        benchmark::DoNotOptimize(s.session.plans.freq.FreqPlanHz.data());
    }
    if (s.session.plans.freq.FreqPlanCount != kPlanPoints) state.SkipWithError("wrong count");
    std::filesystem::remove(s.prompts.path);
}
BENCHMARK(BM_ReadPlanFile_9001)->Unit(benchmark::kMillisecond);

void BM_FreqSweepUpload_9001(benchmark::State& state) {
    PlanSession s;
    for (auto _ : state) {
        // 100 MHz to 8155 MHz: every band of the band-change table.
        if (MakeFreqPlan(s.session, 100, 0.895, kPlanPoints, 100, 0) != "OK") {
            state.SkipWithError("plan refused");
        }
    }
    state.SetItemsProcessed(state.iterations() * kPlanPoints);
}
BENCHMARK(BM_FreqSweepUpload_9001)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace synthor
