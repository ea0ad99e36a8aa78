#include "panel/handlers.hpp"

#include <cmath>
#include <memory>

#include "panel/panel_context.hpp"
#include "plans/plan_common.hpp"
#include "runtime/convert.hpp"
#include "runtime/format.hpp"

namespace synthor::panel {

EepromData& attachHandlers(Session& session) {
    const auto context = std::make_shared<PanelContext>(session);
    attachStartup(context);
    attachCarrierControls(context);
    attachModulationControls(context);
    attachSweepControls(context);
    session.calibrationProgress = &context->eeprom;
    return context->eeprom;
}

void handle(const Context& c, std::string_view control, Action action) {
    c->form.onClick(control, [c, action = std::move(action)] { action(*c); });
}

double number(const PanelContext& c, std::string_view box) {
    return val(c.form.text(box));
}

void writeBack(PanelContext& c, std::string_view box, double value, std::string_view pattern) {
    c.form.setText(box, formatPattern(value, pattern));
}

void unbold(PanelContext& c, std::initializer_list<std::string_view> stops) {
    for (const std::string_view stop : stops)
        c.form.setBold(stop, false);
}

void unboldAllStops(PanelContext& c) {
    for (const std::string_view stop : kStopButtons)
        c.form.setBold(stop, false);
}

void show(PanelContext& c, const PlanMessage& m) {
    showMessage(c.s.prompts, m);
}

void showRefusal(PanelContext& c, std::string_view text) {
    c.s.prompts.msgBox(text, planmsg::kStyle, planmsg::kTitle);
}

double checkedFrequency(PanelContext& c, double hz) {
    if (hz < kMinHz) {
        show(c, planmsg::FrequencyLow);
        hz = kMinHz;
    }
    if (hz > kMaxHz) {
        show(c, planmsg::FrequencyHigh);
        hz = kMaxHz;
    }
    return hz;
}

double panelFrequency(PanelContext& c) {
    const double hz = checkedFrequency(c, number(c, "Text1") * 1e6);
    writeBack(c, "Text1", hz / 1e6, kMHzPattern);
    return hz;
}

float panelLevel(PanelContext& c) {
    const double level =
        clampTo(roundHalfEven(number(c, "Text5"), 1), double{kMinLevel}, double{kMaxLevel});
    writeBack(c, "Text5", level, kLevelPattern);
    return csng(level);
}

void writeCwPoint(PanelContext& c, double hz, float level) {
    c.s.freqLevel.setFrequencyAndLevel(kCwAddress, 1, hz, 1000.0, kCompanionOffset, level, kLevelB);
    c.s.CWFrequency = hz;
}

bool instrumentAnswers(PanelContext& c, std::string_view title) {
    c.s.link.CheckResponse();
    if (c.s.link.NoResponse == kFalse) return true;
    c.s.prompts.msgBox("No Response", msgstyle::Critical, title);
    return false;
}

}  // namespace synthor::panel
