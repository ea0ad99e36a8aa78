#include "plans/freq_sweep.hpp"

#include <array>
#include <cmath>
#include <vector>

#include "plans/plan_common.hpp"
#include "plans/plan_files.hpp"
#include "plans/plan_messages.hpp"
#include "runtime/convert.hpp"
#include "runtime/errors.hpp"
#include "runtime/format.hpp"

namespace synthor {
namespace {

struct SweepBand {
    double from;
    std::int16_t code;
};

// Tested from the top; 125 to 250 MHz and 250 to 500 MHz share a code on purpose.
constexpr std::array<SweepBand, 7> kSweepBands = {{
    {4e9, 6},
    {2e9, 5},
    {1e9, 4},
    {5e8, 3},
    {2.5e8, 2},
    {1.25e8, 2},
    {300000, 1},
}};

constexpr std::string_view kShowPattern = "###0.000";

// Per-point arguments of a frequency plan upload.
constexpr double kUploadStep = 10.0;

// FreqPlanHz[i], with the runtime's subscript error outside the store.
double planPoint(const FreqPlan& p, std::int32_t i) {
    if (i < 0 || i >= kPlanPoints) raise(errnum::Subscript);
    return p.FreqPlanHz[static_cast<std::size_t>(i)];
}

}  // namespace

std::int16_t sweepBandCode(double f) {
    for (const SweepBand& b : kSweepBands) {
        if (f >= b.from) return b.code;
    }
    return 0;
}

void UploadBandTable(Session& s) {
    s.link.gatherWrites([&] {
        const FreqPlan& p = s.plans.freq;
        std::int32_t a = kBandTableAddress;
        const std::int32_t count = p.FreqPlanCount;
        if (count == 0) {
            send(s, endMarkFrame(a));
            return;
        }
        std::vector<std::int16_t> codes(static_cast<std::size_t>(count));
        for (std::int32_t i = 0; i < count; ++i) {
            codes[static_cast<std::size_t>(i)] = sweepBandCode(planPoint(p, i));
        }
        // The instrument wraps from the last point to the first.
        if (codes.front() != codes.back()) {
            send(s, bandEntryFrame(a, 0));
            a += 2;
        }
        for (std::int32_t i = 1; i < count; ++i) {
            if (codes[static_cast<std::size_t>(i)] != codes[static_cast<std::size_t>(i - 1)]) {
                send(s, bandEntryFrame(a, i));
                a += 2;
            }
            if (a > kBandTableLast) {
                showMessage(s.prompts, planmsg::TooManyBandChanges);
                send(s, endMarkFrame(a));
                return;
            }
        }
    });
}

void UploadFreqPlanPoints(Session& s, std::int32_t count) {
    const FreqPlan& p = s.plans.freq;
    s.link.gatherWrites([&] {
        for (std::int32_t i = 0; i < count; ++i) {
            s.freqLevel.setFrequencyAndLevel(kPlanAddress + kPointSize * i, 1, planPoint(p, i),
                                             kUploadStep, kCompanionOffset, p.FreqPlanLevel,
                                             kLevelB);
        }
    });
}

std::string MakeFreqPlan(Session& s, double startMHz, double stepMHz, std::int32_t points,
                         std::int32_t dwell, float level) {
    FreqPlan& p = s.plans.freq;
    p.FreqPlanLevel = clampTo(level, kMinLevel, kPlanMaxLevel);
    p.FreqPlanDwell = clampTo(absLong(dwell), kMinDwell, kMaxDwell);
    // The detailed text for a bad count is not returned: the caller gets "Error".
    if (points < 1 || points > kPlanPoints) return std::string(planresult::Error);
    if (startMHz > kMaxMHz || startMHz < kMinMHz) {
        return std::string(planresult::InvalidStartFreq);
    }
    // One step beyond the last point is checked.
    if (startMHz + points * stepMHz > kMaxMHz) return std::string(planresult::EndFreqTooHigh);
    for (std::int32_t i = 0; i < points; ++i) {
        p.FreqPlanHz[static_cast<std::size_t>(i)] = i * (stepMHz * 1e6) + startMHz * 1e6;
    }
    p.FreqPlanCount = points;
    s.link.gatherWrites([&] {
        UploadBandTable(s);
        UploadFreqPlanPoints(s, p.FreqPlanCount);
    });
    return std::string(planresult::OK);
}

void StartFreqSweep(Session& s) {
    const double typed = std::fabs(val(s.panel.text("Text11")));
    const std::int32_t dwell = clng(clampTo(typed, double{kMinDwell}, double{kMaxDwell}));
    s.panel.setText("Text11", std::to_string(dwell));
    // The count is never filled in here: the start frame always carries 0 points.
    send(s, startFrame(startframe::Frequency.freeRunning, 0,
                       dwell - startframe::Frequency.dwellOffset));
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::FreqSweep);
    s.panel.setBold("Command12", true);
}

void ShowFreqPlan(Session& s) {
    const FreqPlan& p = s.plans.freq;
    s.panel.setText("Text8", formatPattern(planPoint(p, 0) / 1e6, kShowPattern));
    s.panel.setText("Text9", formatPattern(planPoint(p, p.FreqPlanCount - 1) / 1e6, kShowPattern));
    s.panel.setText("Text10", "-");
    for (const char* box : {"Text8", "Text9", "Text10"})
        s.panel.setEnabled(box, false);
}

void ResetFreqPlan(Session& s) {
    s.plans.freq.FreqPlanValid = kFalse;
    s.panel.setText("Text8", "1000.000");
    s.panel.setText("Text9", "2000.000");
    s.panel.setText("Text10", "10.00");
    s.panel.setText("Text11", "100");
    s.panel.setText("Text5", "0.0");
    for (const char* box : {"Text8", "Text9", "Text10"})
        s.panel.setEnabled(box, true);
}

std::string GoSigGenFreqSweep(Session& s, std::string_view sw) {
    std::string result(planresult::Error);
    if (sw != "ON") {
        send(s, modeSelectFrame(mode::Stop));
        s.panel.setStatus(panel::statuspanel::Mode, panel::status::CW);
        return result;
    }
    if (s.plans.FreqPlanPresent == kFalse) {
        if (!LoadFreqSweepPlan(s, false, std::string())) return std::string(planresult::NoFreqPlan);
        s.plans.FreqPlanPresent = kTrue;
    }
    FreqPlan& p = s.plans.freq;
    // Only rising plans are swept.
    if (planPoint(p, p.FreqPlanCount - 1) <= planPoint(p, 0)) {
        return std::string(planresult::StartStopFreq);
    }
    s.panel.setText("Text1", formatPattern(planPoint(p, 0) / 1e6, kMHzPattern));
    p.FreqPlanLevel = clampTo(roundLevel(p.FreqPlanLevel), kMinLevel, kMaxLevel);
    s.panel.setText("Text5", formatPattern(p.FreqPlanLevel, kLevelPattern));

    s.link.gatherWrites([&] {
        UploadBandTable(s);
        UploadFreqPlanPoints(s, p.FreqPlanCount);
        const std::int32_t dwell = clampTo(absLong(p.FreqPlanDwell), kMinDwell, kMaxDwell);
        send(s, startFrame(startLetters(s, startframe::Frequency), p.FreqPlanCount,
                           dwell - startframe::Frequency.dwellOffset));
    });
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::FreqSweep);
    s.panel.setBold("Command12", true);
    s.plans.FreqPlanPresent = kTrue;
    return std::string(planresult::OK);
}

}  // namespace synthor
