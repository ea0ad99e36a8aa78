// The panel's start-up, its closing and "Exit", the hardware-information read, return to CW,
// the lock display and resuming the mode panel 1 names.
#include <array>
#include <cmath>

#include "panel/panel_context.hpp"
#include "plans/plan_common.hpp"
#include "runtime/convert.hpp"
#include "session/carrier.hpp"

namespace synthor::panel {
namespace {

constexpr std::string_view kNoInstrument =
    "No instrument detected. Check instrument connection and power.";
constexpr std::string_view kNoInstrumentTitle = "SigGen Control";
// The PLL-unlocked bit means nothing at and below this frequency.
constexpr double kPllLockFloorHz = 125000000;

// Opens the instrument unless it is open, asking to retry after each failure. False when the
// person cancels.
bool openInstrument(PanelContext& c) {
    UsbLink& link = c.s.link;
    if (link.InstrumentFound != kFalse) return true;
    for (;;) {
        c.s.prompts.doEvents();
        if (link.OpenUSB(std::string(kDeviceDescription)) == "OK") {
            link.InstrumentFound = kTrue;
            return true;
        }
        if (c.s.prompts.msgBox(kNoInstrument, msgstyle::RetryCancel, kNoInstrumentTitle) !=
            MsgResult::Retry) {
            return false;
        }
    }
}

void loadCalibration(PanelContext& c) {
    c.eeprom.show();
    LoadCalData(c.s.link, c.s.cal, *c.s.calibrationProgress);
    c.eeprom.hide();
}

void startUp(PanelContext& c) {
    c.form.ModeActive = false;
    c.form.ModulationOn = false;
    c.form.setStatus(statuspanel::Mode, status::CW);
    if (!openInstrument(c)) return;
    loadCalibration(c);
    if (c.s.link.InstrumentFound != kFalse) c.s.link.WriteUSB("H");
    // The panel's hardware read starts at address 0, one block before the identity FND reads.
    Identity info;
    ReadIdentity(c.s.link, info, 0);
    c.form.setStatus(statuspanel::Serial, std::string(kSerialPrefix) + info[2]);
    c.form.setStatus(statuspanel::Software, std::string(kSoftwarePrefix) + info[10]);
    c.form.setStatus(statuspanel::Hardware, std::string(kHardwarePrefix) + info[15]);
    c.form.setStatus(statuspanel::PanelVersion,
                     std::string(kPanelVersionPrefix) + std::string(kPanelVersion));
}

// What the title-bar close and "Exit" share up to the trigger reset: modulation is switched
// off after a status query, and the trigger goes back to free run.
void leaveModulationAndTrigger(PanelContext& c) {
    if (c.form.ModulationOn) {
        c.s.link.WriteUSB("Q");
        c.s.link.ReadUSB(1);
        c.form.select("Option1");
    }
    c.s.link.TriggerModeRequested = 0;
    c.s.link.SetTrigger();
}

void queryUnload(PanelContext& c) {
    leaveModulationAndTrigger(c);
    c.form.select("Option4");
    c.form.setStatus(statuspanel::Mode, status::CW);
    unbold(c, {"Command12", "Command14", "Command16"});
    c.form.ModeActive = false;
}

void exitPanel(PanelContext& c) {
    leaveModulationAndTrigger(c);
    c.form.select("Option4");
    c.form.select("Option7");
    c.form.setStatus(statuspanel::Mode, status::CW);
    unbold(c, {"Command12", "Command14", "Command16", "Command18", "Command20"});
    c.form.select("Option1");
    c.form.select("Option10");
    c.form.hide();
}

}  // namespace

void restoreCW(PanelContext& c) {
    const double hz = clampTo(number(c, "Text1") * 1e6, kMinHz, kMaxHz);
    writeBack(c, "Text1", hz / 1e6, kMHzPattern);
    const float level = panelLevel(c);
    writeCwPoint(c, hz, level);
    if (instrumentAnswers(c, planmsg::kTitle)) c.s.link.WriteUSB(pointStartFrame(kCwAddress));
}

std::int16_t readLockStatus(PanelContext& c) {
    return QueryLockState(c.s);
}

void showLockStatus(PanelContext& c, std::int16_t status, double hz) {
    if (status == 1 && hz <= kPllLockFloorHz) status = 0;
    const std::string_view text = lockText(status);
    if (!text.empty()) c.form.setStatus(statuspanel::Lock, text);
}

void resumeMode(PanelContext& c, std::string_view statusText) {
    if (statusText == status::FreqSweep) return void(c.form.click("Command11"));
    if (statusText == status::LevelSweep) return void(c.form.click("Command19"));
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kModulations = {{
        {status::Fm400, "Option2"},
        {status::Fm1k, "Option3"},
        {status::FmExt, "Option13"},
        {status::Am400, "Option11"},
        {status::Am1k, "Option12"},
        {status::AmExt, "Option14"},
    }};
    for (const auto& [text, option] : kModulations) {
        if (statusText == text) return runModulation(c, option);
    }
}

void attachStartup(const Context& c) {
    c->form.onLoad([c] { startUp(*c); });
    c->form.onQueryUnload([c] { queryUnload(*c); });
    handle(c, "Command10", exitPanel);
}

}  // namespace synthor::panel
