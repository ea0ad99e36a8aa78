#include "plans/level_sweeps.hpp"

#include <cmath>

#include "plans/plan_common.hpp"
#include "plans/plan_messages.hpp"
#include "runtime/convert.hpp"
#include "runtime/format.hpp"

namespace synthor {
namespace {

constexpr double kLevelStep = 100.0;
constexpr double kCwStep = 1000.0;
constexpr std::string_view kComplexFreqPattern = "###0.0000";

}  // namespace

std::string GoSigGenLevSweep(Session& s, std::string_view sw) {
    if (sw != "ON") {
        send(s, modeSelectFrame(mode::Stop));
        s.panel.setStatus(panel::statuspanel::Mode, panel::status::CW);
        return std::string(planresult::True);
    }
    const LevelPlan& p = s.plans.level;
    const double f = std::fabs(p.LevelPlanFreqHz);
    if (f < kMinHz || f > kMaxHz) return std::string(planresult::IncorrectFreq);
    s.panel.setText("Text1", formatPattern(f / 1e6, kMHzPattern));
    for (std::int32_t i = 0; i < p.LevelPlanCount; ++i) {
        const float level = roundLevel(p.LevelPlanDbm[static_cast<std::size_t>(i)]);
        if (level < kMinLevel || level > kMaxLevel) return std::string(planresult::IncorrectLevel);
    }
    s.panel.setText("Text5", formatPattern(roundLevel(p.LevelPlanDbm[0]), kLevelPattern));
    const std::int32_t dwell = absLong(p.LevelPlanDwell);
    if (dwell < kMinDwell || dwell > kMaxDwell) return std::string(planresult::IncorrectDwell);

    s.link.gatherWrites([&] {
        for (std::int32_t i = 0; i < p.LevelPlanCount; ++i) {
            s.freqLevel.setFrequencyAndLevel(kPlanAddress + kPointSize * i, 1, f, kLevelStep,
                                             kCompanionOffset,
                                             p.LevelPlanDbm[static_cast<std::size_t>(i)], kLevelB);
        }
        send(s, modeSelectFrame(mode::LevelSweep));
        send(s, startFrame(startLetters(s, startframe::Level), p.LevelPlanCount,
                           dwell - startframe::Level.dwellOffset));
    });
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::LevelSweep);
    for (const std::string_view stop : panel::kStopButtons) {
        s.panel.setBold(stop, stop == "Command20");
    }
    return std::string(planresult::OK);
}

std::int32_t complexPhaseWord(float phase, double freqHz) {
    if (phase > 360.0F) phase = 360.0F;
    return bandScaledPhaseWord(phaseWordOf(phase), freqHz / 1e6);
}

std::string GoSigGenCplxSweep(Session& s, std::string_view sw) {
    if (sw != "ON") {
        send(s, modeSelectFrame(mode::Stop));
        s.panel.setStatus(panel::statuspanel::Mode, panel::status::CW);
        return std::string(planresult::OK);
    }
    if (s.plans.ComplexPlanPresent == kFalse) return std::string(planresult::NoPlan);
    const ComplexPlan& p = s.plans.complex;
    const double f = p.ComplexPlanFreqHz;
    s.panel.setText("Text1", formatPattern(f / 1e6, kComplexFreqPattern));

    s.link.gatherWrites([&] {
        // The carrier starts at the plan's first level; each point then carries its own level
        // word.
        s.freqLevel.setFrequencyAndLevel(kCwAddress, 1, f, kCwStep, kCompanionOffset,
                                         p.ComplexPlanDbm[0], kLevelB);
        send(s, pointStartFrame(kCwAddress));

        std::int32_t address = kPlanAddress;
        for (std::int32_t i = 0; i < p.ComplexPlanCount; ++i) {
            const auto at = static_cast<std::size_t>(i);
            const std::int32_t phaseWord = complexPhaseWord(p.ComplexPlanPhase[at], f);
            const std::int32_t levelWord = s.freqLevel.levelWord(f, p.ComplexPlanDbm[at], 1);
            send(s, complexPointFrame(address, phaseWord, levelWord));
            address += kComplexPointSize;
        }
        send(s, modeSelectFrame(mode::Modulation));
        send(s, startFrame(startLetters(s, startframe::Complex), p.ComplexPlanCount,
                           p.ComplexPlanDwell - startframe::Complex.dwellOffset));
    });
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::ComplexSweep);
    return std::string(planresult::OK);
}

}  // namespace synthor
