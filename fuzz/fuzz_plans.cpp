// Arbitrary bytes as a plan file, through the text layer and all five readers, on a session
// opened on the simulated instrument. Nothing may crash, hang or run past a plan store; every
// count a reader stores stays within 0..9001, and a normalised plan line holds no blank.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "automation/synthor_01_vexa.hpp"
#include "plans/plan_files.hpp"
#include "plans/plan_text.hpp"
#include "runtime/clock.hpp"
#include "sim/sim_instrument.hpp"

namespace {

using namespace synthor;

class FilePrompts final : public Prompts {
  public:
    MsgResult msgBox(std::string_view, int style, std::string_view) override {
        return defaultAnswer(style);
    }
    std::optional<std::string> openFile(const OpenFileRequest&) override { return path; }
    std::string path;
};

// A clock whose every reading is a millisecond later, so delays end without waiting.
class SteppingClock final : public Clock {
  public:
    std::uint32_t timeGetTime() override { return now_++; }
    void sleep(std::uint32_t ms) override { now_ += ms; }

  private:
    std::uint32_t now_ = 1000;
};

struct Fixture {
    Fixture() : session(instrument.driverTable(), prompts, clock), object(session) {
        if (object.FND() == 0) std::abort();
        prompts.path = (std::filesystem::temp_directory_path() /
                        ("synthor_fuzz_plan_" + std::to_string(std::rand()) + ".dat"))
                           .string();
    }
    sim::Instrument instrument;
    FilePrompts prompts;
    SteppingClock clock;
    Session session;
    Synthor_01_vexa object;
};

void check(bool condition) {
    if (!condition) std::abort();
}

void checkCounts(const Session& s) {
    check(s.plans.freq.FreqPlanCount >= 0 && s.plans.freq.FreqPlanCount <= kPlanPoints);
    check(s.plans.level.LevelPlanCount >= 0 && s.plans.level.LevelPlanCount <= kPlanPoints);
    check(s.plans.complex.ComplexPlanCount >= 0 && s.plans.complex.ComplexPlanCount <= kPlanPoints);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fixture f;
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    PlanText lines(text);
    while (const auto line = lines.nextLine()) {
        check(normalisePlanLine(*line).find(' ') == std::string::npos);
    }
    PlanText items(text);
    while (items.nextItem()) {
    }

    {
        std::ofstream out(f.prompts.path, std::ios::binary | std::ios::trunc);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
    }
    Session& s = f.session;
    // Keep the previous-count upload of a given file small and in range.
    s.plans.freq.FreqPlanCount = 0;
    LoadFreqSweepPlan(s, true, f.prompts.path);
    checkCounts(s);
    LoadFreqSweepPlan(s, false, std::string());
    checkCounts(s);
    s.plans.freq.FreqPlanCount = 0;
    ReadFreqPlan2(s, f.prompts.path);
    checkCounts(s);
    ReadPowerPlan(s);
    ReadPowerPlan2(s, f.prompts.path);
    ReadComplexPlan(s, f.prompts.path);
    ReadComplexPlan(s, "?");
    checkCounts(s);
    return 0;
}
