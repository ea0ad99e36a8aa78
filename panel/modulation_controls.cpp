// The modulation options: FM with the 400 Hz or 1 kHz tone or an external source, AM likewise,
// and the two "Off" options.
#include <array>
#include <cmath>

#include "panel/panel_context.hpp"
#include "plans/modulation.hpp"
#include "plans/plan_common.hpp"
#include "runtime/convert.hpp"

namespace synthor::panel {
namespace {

struct FmTone {
    std::string_view option;
    std::int32_t points;
    std::int32_t dwellCode;
    std::string_view status;
};
constexpr std::array<FmTone, 2> kFmTones = {{
    {"Option2", kFm400Points, kFm400DwellCode, status::Fm400},
    {"Option3", kFm1kPoints, kFm1kDwellCode, status::Fm1k},
}};

struct AmSource {
    std::string_view option;
    std::uint8_t function;
    std::string_view status;
};
constexpr std::array<AmSource, 3> kAmSources = {{
    {"Option11", setup::Am400Hz, status::Am400},
    {"Option12", setup::Am1kHz, status::Am1k},
    {"Option14", setup::AmExternal, status::AmExt},
}};

// The deviation box's magnitude in kHz, at most 200 (quietly), written back.
double deviationKHz(PanelContext& c, std::string_view pattern) {
    const double kHz = std::min(std::fabs(number(c, "Text7")), kMaxDeviationKHz);
    writeBack(c, "Text7", kHz, pattern);
    return kHz;
}

void modulationOn(PanelContext& c, std::string_view statusText) {
    c.form.ModeActive = true;
    c.form.ModulationOn = true;
    c.form.setStatus(statuspanel::Mode, statusText);
}

// FM ends any sweep or hop and switches AM off; plans from files are let go.
void afterFm(PanelContext& c) {
    unbold(c, {"Command20", "Command18", "Command16", "Command14", "Command12"});
    c.form.select("Option10");
    for (const std::string_view box : {"Check1", "Check2", "Check3"})
        c.form.setChecked(box, false);
    c.form.setText("Command23", "ON");
}

void fmTone(PanelContext& c, const FmTone& tone) {
    const double hz = panelFrequency(c);
    const float level = panelLevel(c);
    const double kHz = deviationKHz(c, "##0.000");
    startFmTone(c.s, hz, kHz * 1000.0, level, tone.points, tone.dwellCode);
    modulationOn(c, tone.status);
    afterFm(c);
}

void fmExternal(PanelContext& c) {
    const double hz = panelFrequency(c);
    const float level = panelLevel(c);
    const double kHz = deviationKHz(c, "##0.0");
    startFmExternal(c.s, hz, kHz * 1000.0, level);
    modulationOn(c, status::FmExt);
    afterFm(c);
}

void am(PanelContext& c, const AmSource& source) {
    const double hz = panelFrequency(c);
    float depth = csng(number(c, "Text24"));
    if (depth < kMinDepth) {
        show(c, planmsg::DepthLow);
        depth = kMinDepth;
    } else if (depth > kMaxDepth) {
        show(c, planmsg::DepthHigh);
        depth = kMaxDepth;
    }
    writeBack(c, "Text24", depth, kLevelPattern);
    const float level = panelLevel(c);
    startAm(c.s, hz, level, depth, source.function, source.status);
    modulationOn(c, source.status);
}

// FM off keeps ModulationOn and leaves the level sweep's Stop button bold; AM off clears the
// flag and all five.
void modulationOff(PanelContext& c, bool fm) {
    send(c.s, modeSelectFrame(mode::Stop));
    if (c.form.ModulationOn) restoreCW(c);
    if (fm) {
        unbold(c, {"Command12", "Command14", "Command16", "Command18"});
    } else {
        c.form.ModulationOn = false;
        unboldAllStops(c);
    }
    c.form.setStatus(statuspanel::Mode, status::CW);
}

Action optionAction(std::string_view option) {
    for (const FmTone& tone : kFmTones) {
        if (tone.option == option) return [&tone](PanelContext& p) { fmTone(p, tone); };
    }
    for (const AmSource& source : kAmSources) {
        if (source.option == option) return [&source](PanelContext& p) { am(p, source); };
    }
    return fmExternal;
}

}  // namespace

void runModulation(PanelContext& c, std::string_view option) {
    // Selecting an option that is not selected runs its handler; one that is selected already
    // would run nothing, so its handler is run here. Either way the frames go out once.
    if (c.form.value(option)) {
        optionAction(option)(c);
    } else {
        c.form.select(option);
    }
}

void attachModulationControls(const Context& c) {
    for (const std::string_view option :
         {"Option2", "Option3", "Option13", "Option11", "Option12", "Option14"}) {
        handle(c, option, optionAction(option));
    }
    handle(c, "Option1", [](PanelContext& p) { modulationOff(p, true); });
    handle(c, "Option10", [](PanelContext& p) { modulationOff(p, false); });
}

}  // namespace synthor::panel
