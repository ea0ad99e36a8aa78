// Joined writes end plans in the instrument state that frame-by-frame writes reach, wherever the
// write boundaries fall: each plan is sent again with the joined-write limit at every frame
// boundary of its frame-by-frame upload, so some write ends at each of them. (Every transcript
// runs with and without --coalesce too: tests/transcripts/runner.cpp.)
#include <gtest/gtest.h>

#include <functional>

#include "frames/sweep_frames.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/level_sweeps.hpp"
#include "plans/modulation.hpp"
#include "support/session_fixture.hpp"

namespace synthor::testing {
namespace {

using Plan = std::function<void(Session&)>;

// What the instrument ends with: the memory a plan can reach, the run state, and Sim.Output
// without its wire lines (the only ones joined writes may change).
struct Outcome {
    std::vector<std::uint8_t> memory;
    sim::RunState run;
    std::string output;
    std::vector<std::size_t> writeSizes;
    bool operator==(const Outcome& o) const {
        return memory == o.memory && run == o.run && output == o.output;
    }
};

const CalibrationTables& calibration() {
    static const CalibrationTables tables = [] {
        sim::Instrument inst;
        RecordingPrompts prompts;
        FakeClock clock;
        Session s(inst.driverTable(), prompts, clock);
        Synthor_01_vexa(s).FND();
        return s.cal;
    }();
    return tables;
}

// Runs `plan` on a fresh instrument opened with the calibration loaded; `limit` 0 writes frame
// by frame, otherwise writes are joined up to `limit` bytes.
Outcome upload(const Plan& plan, std::size_t limit) {
    sim::Instrument inst;
    RecordingPrompts prompts;
    FakeClock clock{1000, 1};
    Outcome o;
    Session s(traced(inst.driverTable(),
                     [&](const std::string& l) {
                         // "FT_Write 59 41 0F = 0": three characters a byte
                         if (l.rfind("FT_Write ", 0) == 0)
                             o.writeSizes.push_back((l.rfind(" = ") - 8) / 3);
                     }),
              prompts, clock);
    s.cal = calibration();
    EXPECT_EQ(s.link.OpenUSB(std::string(kDeviceDescription)), "OK");
    s.link.InstrumentFound = kTrue;
    s.link.Coalesce = limit > 0;
    s.link.CoalesceLimit = limit;
    o.writeSizes.clear();
    try {
        plan(s);
    } catch (const RuntimeError&) {
        // A point whose level raises stops the plan; the points before it stay written.
    }
    for (std::uint32_t a = kPlanAddress; a < kPlanAddress + 100 * kPointSize; ++a)
        o.memory.push_back(inst.memoryAt(a));
    for (std::uint32_t a = kCwAddress; a <= kBandTableLast + 1; ++a)
        o.memory.push_back(inst.memoryAt(a));
    o.run = inst.runState();
    o.output = inst.describeOutput();
    o.output.erase(o.output.rfind("driver calls: "));
    return o;
}

TEST(CoalescedPlans, EndInTheStateOfFrameByFrameWritesWhereverTheWritesAreCut) {
    const std::pair<const char*, Plan> plans[] = {
        {"frequency sweep across every band",
         [](Session& s) {
             MakeFreqPlan(s, 100, 400, 21, 100, 0);
             s.plans.FreqPlanPresent = kTrue;
             GoSigGenFreqSweep(s, "ON");
         }},
        {"frequency sweep stopped by a point without a level",
         [](Session& s) {
             MakeFreqPlan(s, 1000, 1, 8, 100, 0);
             s.plans.freq.FreqPlanHz[5] = 1e5;
             s.plans.FreqPlanPresent = kTrue;
             GoSigGenFreqSweep(s, "ON");
         }},
        {"complex sweep",
         [](Session& s) {
             ComplexPlan& p = s.plans.complex;
             for (int i = 0; i < 12; ++i) {
                 p.ComplexPlanPhase[static_cast<std::size_t>(i)] = 30.0F * static_cast<float>(i);
                 p.ComplexPlanDbm[static_cast<std::size_t>(i)] = -10.0F + static_cast<float>(i);
             }
             p.ComplexPlanCount = 12;
             p.ComplexPlanFreqHz = 4500e6;
             p.ComplexPlanDwell = 50;
             s.plans.ComplexPlanPresent = kTrue;
             GoSigGenCplxSweep(s, "ON");
         }},
        // The trigger exchange inside: its purge and read come between joined writes.
        {"FM table", [](Session& s) { startFmTone(s, 1000e6, 100e3, 0, 72, 5); }},
    };
    for (const auto& [name, plan] : plans) {
        const Outcome byFrame = upload(plan, 0);
        std::size_t boundary = 0;
        for (const std::size_t size : byFrame.writeSizes) {
            boundary += size;
            const Outcome joined = upload(plan, boundary);
            EXPECT_LE(joined.writeSizes.size(), byFrame.writeSizes.size()) << name;
            EXPECT_TRUE(joined == byFrame)
                << name << ", writes of at most " << boundary << " bytes:\n"
                << joined.output << "\nframe by frame:\n"
                << byFrame.output;
        }
    }
}

}  // namespace
}  // namespace synthor::testing
