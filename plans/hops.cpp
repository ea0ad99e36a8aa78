#include "plans/hops.hpp"

#include "plans/freq_sweep.hpp"
#include "plans/plan_common.hpp"
#include "plans/plan_messages.hpp"
#include "plans/trigger.hpp"
#include "runtime/convert.hpp"
#include "runtime/format.hpp"

namespace synthor {
namespace {

constexpr std::int32_t kMinPhaseHopDwell = 25;
constexpr std::int32_t kFirstPhaseLimit = 361;   // refused from here
constexpr std::int32_t kSecondPhaseLimit = 350;  // refused above
constexpr double kLevelStep = 100.0;

// Every hop stops the same way, and returns the trigger to free run.
std::string stopHop(Session& s) {
    send(s, modeSelectFrame(mode::Stop));
    ResetTrigger(s);
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::CW);
    return std::string(planresult::OK);
}

bool inFrequencyRange(double mhz) {
    return mhz >= kMinMHz && mhz <= kMaxMHz;
}

}  // namespace

std::string GoSigGenFHop(Session& s, double firstMHz, double secondMHz, float level,
                         std::int32_t dwell, std::string_view sw) {
    if (sw != "ON") return stopHop(s);
    if (!inFrequencyRange(firstMHz) || !inFrequencyRange(secondMHz) || secondMHz <= firstMHz) {
        return std::string(planresult::InvalidFrequencyValue);
    }
    if (dwell < kMinDwell || dwell > kMaxDwell) return std::string(planresult::InvalidDwellTime);
    if (level < kMinLevel || level > kMaxLevel) return std::string(planresult::InvalidLevelValue);

    FreqPlan& p = s.plans.freq;
    const double first = firstMHz * 1e6;
    const double second = secondMHz * 1e6;
    p.FreqPlanHz[0] = first;
    p.FreqPlanHz[1] = second;
    p.FreqPlanCount = 2;
    s.link.gatherWrites([&] {
        UploadBandTable(s);
        s.freqLevel.setFrequencyAndLevel(kPlanAddress, 2, first, second - first, kCompanionOffset,
                                         level, kLevelB);
        // Always free-running, whatever the trigger settings.
        send(s, startFrame(startframe::Frequency.freeRunning, 2,
                           dwell - startframe::Frequency.dwellOffset));
    });
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::FreqHop);
    return std::string(planresult::OK);
}

std::int32_t PhaseBandScale(double freqHz, std::int32_t value) {
    const double f = freqHz / 1e6;
    if (f <= 125.0) return 0;
    return bandScaledPhaseWord(value, f);
}

std::string GoSigGenPhHop(Session& s, std::int32_t firstPhase, std::int32_t secondPhase,
                          std::int32_t dwell, std::string_view sw) {
    if (sw != "ON") return stopHop(s);
    const double f = s.CWFrequency;
    const std::int32_t p1 = absLong(firstPhase);
    if (p1 >= kFirstPhaseLimit) return std::string(planresult::IncorrectPhase);
    const std::int32_t first = PhaseBandScale(f, clng(p1 * 16384.0 / 360.0));
    const std::int32_t p2 = absLong(secondPhase);
    if (p2 > kSecondPhaseLimit) return std::string(planresult::IncorrectPhase);
    // The second phase is scaled in degrees and converted afterwards.
    const std::int32_t scaledDegrees = PhaseBandScale(f, p2);
    if (first == scaledDegrees) return std::string(planresult::SamePhases);
    const std::int32_t second = clng(scaledDegrees * 16384.0 / 360.0);
    if (dwell < kMinPhaseHopDwell || dwell > kMaxDwell) {
        return std::string(planresult::IncorrectDwellTime);
    }
    send(s, phaseHopFrame(first, second, dwell - kPhaseHopDwellOffset));
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::PhaseHop);
    return std::string(planresult::OK);
}

std::string GoSigGenLevelHop(Session& s, double freqMHz, float firstLevel, float secondLevel,
                             std::int32_t dwell, std::string_view sw) {
    if (sw != "ON") return stopHop(s);
    if (!inFrequencyRange(freqMHz)) {
        showMessage(s.prompts, planmsg::LevelHopFrequency);
        return std::string(planmsg::LevelHopFrequency.text);
    }
    if (dwell < kMinDwell || dwell > kMaxDwell) {
        showMessage(s.prompts, planmsg::LevelHopDwell);
        return std::string(planmsg::LevelHopDwell.text);
    }
    const float l1 = clampTo(roundLevel(firstLevel), kMinLevel, kMaxLevel);
    const float l2 = clampTo(roundLevel(secondLevel), kMinLevel, kMaxLevel);
    s.panel.setText("Text17", formatPattern(l1, kLevelPattern));
    s.panel.setText("Text18", formatPattern(l2, kLevelPattern));

    const double f = freqMHz * 1e6;
    s.link.gatherWrites([&] {
        s.freqLevel.setFrequencyAndLevel(kPlanAddress, 1, f, kLevelStep, kCompanionOffset, l1,
                                         kLevelB);
        s.freqLevel.setFrequencyAndLevel(kPlanAddress + kPointSize, 1, f, kLevelStep,
                                         kCompanionOffset, l2, kLevelB);
        send(s, modeSelectFrame(mode::LevelSweep));
        send(s,
             startFrame(startframe::Level.freeRunning, 2, dwell - startframe::Level.dwellOffset));
    });
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::LevelHop);
    return std::string(planresult::OK);
}

}  // namespace synthor
