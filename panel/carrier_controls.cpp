// The carrier controls: set, up and down for frequency, phase and level, and RF off.
#include <array>
#include <cmath>

#include "encoding/phase.hpp"
#include "panel/panel_context.hpp"
#include "plans/plan_common.hpp"
#include "runtime/convert.hpp"
#include "session/carrier.hpp"

namespace synthor::panel {
namespace {

constexpr double kMaxLevelStep = 17;
constexpr double kFullTurn = 360;
constexpr double kMaxPhaseStep = 180;
constexpr double kPhaseBandFloorMHz = 125;  // phase words are divided by the band above this
constexpr std::string_view kPhasePattern = "##0.00";
constexpr std::string_view kStepPattern = "#0.00";

// The frequency and level buttons differ only in these.
struct CarrierButton {
    std::string_view name;
    bool unboldsAll;    // all five Stop buttons, or only the frequency sweep's
    bool roundTo10Hz;   // the up/down buttons work on a 10 Hz grid
    int frequencyStep;  // +1 up, -1 down, 0 none
    int levelStep;
    bool refreshesDisplay;  // lock display, "ON" caption, "Status: Off" back to CW
};

constexpr std::array<CarrierButton, 6> kCarrierButtons = {{
    {"Command1", true, false, 0, 0, true},
    {"Command2", false, true, +1, 0, false},
    {"Command3", false, true, -1, 0, false},
    {"Command7", true, false, 0, 0, true},
    {"Command8", false, true, 0, +1, true},
    {"Command9", false, true, 0, -1, true},
}};

double roundTo10Hz(double hz) {
    return std::floor(hz / 10 + 0.5) * 10;
}

// Leaves modulation off and restarts the mode panel 1 named before.
void resumeAfterCarrier(PanelContext& c, std::string_view kept) {
    c.form.select("Option1");
    c.form.select("Option10");
    resumeMode(c, kept);
}

void setCarrier(PanelContext& c, const CarrierButton& b) {
    if (b.unboldsAll) {
        unboldAllStops(c);
    } else {
        unbold(c, {"Command12"});
    }
    double hz = number(c, "Text1") * 1e6;
    if (b.roundTo10Hz) hz = roundTo10Hz(hz);
    if (b.frequencyStep != 0)
        hz += b.frequencyStep * roundTo10Hz(std::fabs(number(c, "Text2")) * 1e6);
    hz = checkedFrequency(c, hz);
    writeBack(c, "Text1", hz / 1e6, kMHzPattern);

    double level = roundHalfEven(number(c, "Text5"), 1);
    if (b.levelStep != 0) {
        const double step = std::min(double{csng(std::fabs(number(c, "Text6")))}, kMaxLevelStep);
        writeBack(c, "Text6", step, kLevelPattern);
        level += b.levelStep * step;
    }
    level = clampTo(level, double{kMinLevel}, double{kMaxLevel});
    writeBack(c, "Text5", level, kLevelPattern);

    writeCwPoint(c, hz, csng(level));
    if (!instrumentAnswers(c, planmsg::kTitle)) return;
    c.s.link.WriteUSB(pointStartFrame(kCwAddress));
    std::string kept = c.form.status(statuspanel::Mode);
    c.form.select("Option1");
    c.form.select("Option10");
    if (b.refreshesDisplay) {
        showLockStatus(c, readLockStatus(c), hz);
        c.form.setText("Command23", "ON");
        if (kept == status::Off) {
            kept = status::CW;
            c.form.setStatus(statuspanel::Mode, status::CW);
        }
    }
    resumeMode(c, kept);
}

// Set phase works in fractions of a degree, up and down in whole degrees.
void setPhase(PanelContext& c, int direction) {
    double degrees = 0;
    if (direction == 0) {
        unboldAllStops(c);
        degrees = std::min(double{csng(std::fabs(number(c, "Text3")))}, kFullTurn);
    } else {
        unbold(c, {"Command12"});
        degrees = std::min(roundHalfEven(std::fabs(number(c, "Text3"))), kFullTurn);
        const double step = std::min(roundHalfEven(std::fabs(number(c, "Text4"))), kMaxPhaseStep);
        writeBack(c, "Text4", step, kStepPattern);
        degrees += direction * step;
        if (degrees > kFullTurn) degrees -= kFullTurn;
        if (degrees < 0) degrees += kFullTurn;
    }
    writeBack(c, "Text3", degrees, kPhasePattern);
    std::int32_t word = phaseWordOf(csng(degrees));
    const double mhz = number(c, "Text1");
    if (mhz > kPhaseBandFloorMHz) word = bandScaledPhaseWord(word, std::fabs(mhz));
    send(c.s, phaseFrame(word));
    // A copy: turning modulation off rewrites panel 1 before the mode is resumed.
    const std::string kept = c.form.status(statuspanel::Mode);
    resumeAfterCarrier(c, kept);
}

}  // namespace

void attachCarrierControls(const Context& c) {
    for (const CarrierButton& b : kCarrierButtons)
        handle(c, b.name, [&b](PanelContext& p) { setCarrier(p, b); });
    handle(c, "Command4", [](PanelContext& p) { setPhase(p, 0); });
    handle(c, "Command5", [](PanelContext& p) { setPhase(p, +1); });
    handle(c, "Command6", [](PanelContext& p) { setPhase(p, -1); });
    handle(c, "Command23", [](PanelContext& p) { SwitchOff(p.s); });
}

}  // namespace synthor::panel
