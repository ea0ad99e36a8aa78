// The sweep and hop controls: each Start button's checks, the Stop family, the mirrored trigger
// options and the "Get plan from file" check boxes. Sweeps and hops themselves are the plan
// routines'; the handlers feed them from the boxes.
#include <array>
#include <cmath>

#include "panel/panel_context.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/hops.hpp"
#include "plans/level_sweeps.hpp"
#include "plans/plan_common.hpp"
#include "plans/plan_files.hpp"
#include "plans/trigger.hpp"
#include "runtime/convert.hpp"
#include "runtime/format.hpp"

namespace synthor::panel {
namespace {

constexpr double kMaxSweepStartMHz = 8190;  // a sweep starts at most here, 2 MHz below the top
constexpr double kMinStepHz = 10;
constexpr std::string_view kStepMHzPattern = "#0.00000";
constexpr std::string_view kHopMHzPattern = "###0.000";
constexpr std::string_view kPhasePattern = "##0.00";
constexpr std::string_view kLevelPlanFreqPattern = "###0.0000";
constexpr double kLevelResolution = 0.1;

bool dwellAllowed(std::int32_t dwell) {
    return dwell >= kMinDwell && dwell <= kMaxDwell;
}

// The dwell box as whole microseconds; false after the dwell message when out of range.
bool boxDwell(PanelContext& c, std::string_view box, std::int32_t& dwell) {
    dwell = clng(number(c, box));
    if (dwellAllowed(dwell)) return true;
    show(c, planmsg::LevelHopDwell);
    return false;
}

void markRunning(PanelContext& c, std::string_view stop) {
    c.form.ModeActive = true;
    if (!stop.empty()) c.form.setBold(stop, true);
}

// A plan routine's answer: anything but "OK" is shown; true when it started.
bool started(PanelContext& c, const std::string& result) {
    if (result == planresult::OK) return true;
    showRefusal(c, result);
    return false;
}

void startFrequencySweep(PanelContext& c) {
    FreqPlan& plan = c.s.plans.freq;
    const bool fromFile = c.form.value("Check1") && c.s.plans.FreqPlanPresent != kFalse;
    std::int32_t points = plan.FreqPlanCount;
    double startHz = 0;
    double stepHz = 0;
    if (!fromFile) {
        const double startMHz = clampTo(std::fabs(number(c, "Text8")), kMinMHz, kMaxSweepStartMHz);
        writeBack(c, "Text8", startMHz, kMHzPattern);
        const double stopMHz = clampTo(std::fabs(number(c, "Text9")), kMinMHz, kMaxMHz);
        startHz = startMHz * 1e6;
        const double stopHz = stopMHz * 1e6;
        if (stopHz <= startHz) {
            show(c, planmsg::InvalidStop);
            return writeBack(c, "Text9", stopMHz, kMHzPattern);
        }
        stepHz = std::fabs(number(c, "Text10")) * 1e6;
        if (stepHz < kMinStepHz) return show(c, planmsg::StepTooSmall);
        if (startHz + stepHz > stopHz) return show(c, planmsg::StepTooLarge);
        const double count = roundHalfEven((stopHz - startHz) / stepHz) + 1;
        if (count > kPlanPoints) return show(c, planmsg::TooManySweepPoints);
        points = static_cast<std::int32_t>(count);
        writeBack(c, "Text10", stepHz / 1e6, kStepMHzPattern);
        writeBack(c, "Text8", startMHz, kMHzPattern);
        writeBack(c, "Text9", stopMHz, kMHzPattern);
    }
    std::int32_t dwell = 0;
    if (!boxDwell(c, "Text11", dwell)) return;
    const float level = panelLevel(c);
    c.form.setStatus(statuspanel::Mode, status::Loading);
    if (!fromFile) {
        for (std::int32_t i = 0; i < points; ++i)
            plan.FreqPlanHz[static_cast<std::size_t>(i)] = startHz + i * stepHz;
        plan.FreqPlanCount = points;
    }
    plan.FreqPlanLevel = level;
    UploadBandTable(c.s);
    UploadFreqPlanPoints(c.s, points);
    c.s.plans.StepTrigger = c.form.value("Check4") ? 1 : 0;
    send(c.s, startFrame(startLetters(c.s, startframe::Frequency), points,
                         dwell - startframe::Frequency.dwellOffset));
    c.form.setStatus(statuspanel::Mode, status::FreqSweep);
    markRunning(c, "Command12");
}

// Levels from the boxes: start, stop and step rounded to 0.1 dB (start and stop clamped to the
// level range), as many points as whole steps fit from start towards stop.
void startLevelSweep(PanelContext& c) {
    LevelPlan& plan = c.s.plans.level;
    const bool fromFile = c.form.value("Check2") && plan.LevelPlanValid != kFalse;
    if (!fromFile) {
        std::int32_t dwell = 0;
        if (!boxDwell(c, "Text23", dwell)) return;
        const auto boxLevel = [&](std::string_view box) {
            return clampTo(roundHalfEven(number(c, box), 1), double{kMinLevel}, double{kMaxLevel});
        };
        const double first = boxLevel("Text20");
        const double last = boxLevel("Text21");
        if (first == last) return show(c, planmsg::SameLevels);
        const double step = roundHalfEven(std::fabs(number(c, "Text22")), 1);
        const double steps =
            step < kLevelResolution ? 0 : fix(std::fabs(last - first) / step + 1e-9);
        if (steps < 1) return show(c, planmsg::TooFewLevels);
        writeBack(c, "Text20", first, kLevelPattern);
        writeBack(c, "Text21", last, kLevelPattern);
        writeBack(c, "Text22", step, kLevelPattern);
        const double signedStep = last > first ? step : -step;
        const auto count = static_cast<std::int32_t>(steps) + 1;
        for (std::int32_t i = 0; i < count; ++i)
            plan.LevelPlanDbm[static_cast<std::size_t>(i)] = csng(first + i * signedStep);
        plan.LevelPlanCount = count;
        plan.LevelPlanDwell = dwell;
        plan.LevelPlanFreqHz = number(c, "Text1") * 1e6;
    }
    c.s.plans.StepTrigger = c.form.value("Check5") ? 1 : 0;
    if (started(c, GoSigGenLevSweep(c.s, "ON"))) c.form.ModeActive = true;
}

void startFrequencyHop(PanelContext& c) {
    const double first = number(c, "Text12");
    if (first < kMinMHz || first > kMaxMHz) return show(c, planmsg::InvalidFrequency1);
    const double second = number(c, "Text13");
    if (second < kMinMHz || second > kMaxMHz || second <= first) {
        return show(c, planmsg::InvalidFrequency2);
    }
    std::int32_t dwell = 0;
    if (!boxDwell(c, "Text14", dwell)) return;
    writeBack(c, "Text12", first, kHopMHzPattern);
    writeBack(c, "Text13", second, kHopMHzPattern);
    const float level = panelLevel(c);
    if (started(c, GoSigGenFHop(c.s, first, second, level, dwell, "ON"))) {
        markRunning(c, "Command14");
    }
}

// Hops from the phase box's whole degrees by the phase-hop step, within one turn.
void startPhaseHop(PanelContext& c) {
    const double first = roundHalfEven(std::fabs(number(c, "Text3")));
    const double step = roundHalfEven(std::fabs(number(c, "Text15")));
    double second = first + step;
    if (second >= 360) second -= 360;
    writeBack(c, "Text3", first, kPhasePattern);
    writeBack(c, "Text15", step, kPhasePattern);
    const std::int32_t dwell = clng(number(c, "Text16"));
    const std::string result = GoSigGenPhHop(c.s, clng(first), clng(second), dwell, "ON");
    if (started(c, result)) markRunning(c, "Command16");
}

void startLevelHop(PanelContext& c) {
    const double mhz = number(c, "Text1");
    if (mhz < kMinMHz || mhz > kMaxMHz) return show(c, planmsg::InvalidSetFrequency);
    std::int32_t dwell = 0;
    if (!boxDwell(c, "Text19", dwell)) return;
    const float first = csng(number(c, "Text17"));
    const float second = csng(number(c, "Text18"));
    if (started(c, GoSigGenLevelHop(c.s, mhz, first, second, dwell, "ON"))) {
        markRunning(c, "Command18");
    }
}

void startComplexSweep(PanelContext& c) {
    if (c.s.plans.ComplexPlanPresent == kFalse) return show(c, planmsg::NoComplexPlan);
    c.s.plans.StepTrigger = c.form.value("Check6") ? 1 : 0;
    if (started(c, GoSigGenCplxSweep(c.s, "ON"))) c.form.ModeActive = true;
}

// The Stop family: what each button un-bolds and whether it returns to CW and resets the RF
// button. The phase hop's Stop asks for the status instead of selecting CW mode.
struct StopButton {
    std::string_view name;
    std::array<std::string_view, 5> unbolds;
    bool restoresCW;
};
constexpr std::array<StopButton, 6> kStopFamily = {{
    {"Command12", {"Command12", "Command14", "Command16", "Command18"}, true},
    {"Command14", {"Command12", "Command14", "Command16", "Command18"}, true},
    {"Command16", {"Command12", "Command14", "Command16"}, false},
    {"Command18", {"Command12", "Command14", "Command16", "Command18"}, true},
    {"Command20", {"Command20", "Command18", "Command16", "Command14", "Command12"}, true},
    {"Command22", {}, true},
}};

void stop(PanelContext& c, const StopButton& b) {
    if (b.restoresCW) {
        send(c.s, modeSelectFrame(mode::Stop));
    } else {
        send(c.s, "Q");
        c.s.link.ReadUSB(1);
    }
    for (const std::string_view name : b.unbolds) {
        if (!name.empty()) c.form.setBold(name, false);
    }
    if (b.restoresCW) restoreCW(c);
    c.form.setStatus(statuspanel::Mode, status::CW);
    if (b.restoresCW) c.form.setText("Command23", "ON");
}

const StopButton& stopButton(std::string_view name) {
    for (const StopButton& b : kStopFamily) {
        if (b.name == name) return b;
    }
    return kStopFamily.front();
}

// Trigger options: each sets and sends the trigger, then selects its twin in the other sweep
// frame, whose own handler sends once more; the twin's mirror back finds this option selected
// and runs nothing. Only the trigger reset guards itself (it selects its own free-run option).
void triggerOption(PanelContext& c, std::int16_t mode, std::string_view twin) {
    SetTriggerMode(c.s, mode);
    c.form.select(twin);
}

// "Get plan from file" of the frequency sweep.
void frequencyPlanBox(PanelContext& c) {
    const auto release = [&] {
        c.s.plans.FreqPlanPresent = kFalse;
        c.form.setText("Text8", "1000.000");
        c.form.setText("Text9", "2000.000");
        c.form.setText("Text10", "10.00");
        for (const std::string_view box : {"Text8", "Text9", "Text10"})
            c.form.setEnabled(box, true);
    };
    if (!c.form.value("Check1")) {
        release();
        return stop(c, stopButton("Command12"));
    }
    if (LoadFreqSweepPlan(c.s, false, std::string())) {
        c.s.plans.FreqPlanPresent = kTrue;
        ShowFreqPlan(c.s);
        return;
    }
    c.s.plans.FreqPlanPresent = kFalse;
    c.form.setChecked("Check1", false);
    for (const std::string_view box : {"Text8", "Text9", "Text10"})
        c.form.setEnabled(box, true);
}

// "Get plan from file" of the level sweep: a plan read shows its levels and frequency and the
// level boxes it replaces are disabled.
void levelPlanBox(PanelContext& c) {
    LevelPlan& plan = c.s.plans.level;
    const auto enableBoxes = [&](bool enabled) {
        for (const std::string_view box : {"Text20", "Text21", "Text22"})
            c.form.setEnabled(box, enabled);
    };
    if (!c.form.value("Check2")) {
        plan.LevelPlanValid = kFalse;
        c.form.setText("Text21", "-10.0  ");
        c.form.setText("Text22", "1.00");
        c.form.setText("Text1", "1000.00");
        enableBoxes(true);
        return stop(c, stopButton("Command20"));
    }
    if (ReadPowerPlan(c.s)) {
        plan.LevelPlanValid = kTrue;
        writeBack(c, "Text20", plan.LevelPlanDbm[0], kLevelPattern);
        writeBack(c, "Text21",
                  plan.LevelPlanDbm[static_cast<std::size_t>(std::max(plan.LevelPlanCount - 1, 0))],
                  kLevelPattern);
        writeBack(c, "Text1", plan.LevelPlanFreqHz / 1e6, kLevelPlanFreqPattern);
        enableBoxes(false);
        return;
    }
    plan.LevelPlanValid = kFalse;
    c.form.setChecked("Check2", false);
    enableBoxes(true);
}

void complexPlanBox(PanelContext& c) {
    if (!c.form.value("Check3")) {
        c.s.plans.ComplexPlanPresent = kFalse;
        return stop(c, stopButton("Command22"));
    }
    if (ReadComplexPlan(c.s, "?")) {
        c.s.plans.ComplexPlanPresent = kTrue;
        return;
    }
    c.s.plans.ComplexPlanPresent = kFalse;
    c.form.setChecked("Check3", false);
}

}  // namespace

void attachSweepControls(const Context& c) {
    handle(c, "Command11", startFrequencySweep);
    handle(c, "Command19", startLevelSweep);
    handle(c, "Command13", startFrequencyHop);
    handle(c, "Command15", startPhaseHop);
    handle(c, "Command17", startLevelHop);
    handle(c, "Command21", startComplexSweep);
    for (const StopButton& b : kStopFamily)
        handle(c, b.name, [&b](PanelContext& p) { stop(p, b); });
    struct Trigger {
        std::string_view option;
        std::int16_t mode;
        std::string_view twin;
    };
    static constexpr std::array<Trigger, 6> kTriggers = {{
        {"Option4", 0, "Option7"},
        {"Option5", 1, "Option8"},
        {"Option6", 2, "Option9"},
        {"Option7", 0, "Option4"},
        {"Option8", 1, "Option5"},
        {"Option9", 2, "Option6"},
    }};
    for (const Trigger& t : kTriggers)
        handle(c, t.option, [&t](PanelContext& p) { triggerOption(p, t.mode, t.twin); });
    handle(c, "Check1", frequencyPlanBox);
    handle(c, "Check2", levelPlanBox);
    handle(c, "Check3", complexPlanBox);
}

}  // namespace synthor::panel
