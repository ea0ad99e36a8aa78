// The texts of the control panel's status bar. Panel 1 doubles as the panel's memory of the
// current mode (the set buttons read it back to resume the mode), so these are compared exactly.
#pragma once

#include <array>
#include <string_view>

namespace synthor::panel {

// Status-bar panel numbers, 1-based as the panel addresses them.
namespace statuspanel {
inline constexpr int Mode = 1;
inline constexpr int Trigger = 2;
inline constexpr int Serial = 3;
inline constexpr int Software = 4;
inline constexpr int Hardware = 5;
inline constexpr int PanelVersion = 6;
inline constexpr int Lock = 7;
inline constexpr int Count = 7;
}  // namespace statuspanel

// Panel 1: the operating status.
namespace status {
inline constexpr std::string_view CW = "Status: CW";
inline constexpr std::string_view Off = "Status: Off";
inline constexpr std::string_view Loading = "Status: Loading";
inline constexpr std::string_view FreqSweep = "Status: Freq sweep";
inline constexpr std::string_view LevelSweep = "Status: Level sweep";
inline constexpr std::string_view ComplexSweep = "Status: CPLX";
inline constexpr std::string_view FreqHop = "Status: Freq hop";
inline constexpr std::string_view PhaseHop = "Status: Phase hop";
inline constexpr std::string_view LevelHop = "Status: Level hop";
inline constexpr std::string_view Fm400 = "Status: FM 400Hz";
inline constexpr std::string_view Fm1k = "Status: FM 1kHz";
inline constexpr std::string_view FmExt = "Status: Ext FM";
inline constexpr std::string_view Am400 = "Status: AM 400Hz";
inline constexpr std::string_view Am1k = "Status: AM 1kHz";
inline constexpr std::string_view AmExt = "Status: AM Ext";

// Every panel-1 text, for sizing the status bar.
inline constexpr std::array<std::string_view, 15> kAll = {
    CW,       Off,   Loading, FreqSweep, LevelSweep, ComplexSweep, FreqHop, PhaseHop,
    LevelHop, Fm400, Fm1k,    FmExt,     Am400,      Am1k,         AmExt,
};

}  // namespace status

// Panel 2: the trigger, indexed by trigger mode (0 free run, 1 rising edge, 2 falling edge).
namespace trigger {
inline constexpr std::string_view FreeRun = "Trig: Free run";
inline constexpr std::string_view RisingEdge = "Trig: Ext +edge";
inline constexpr std::string_view FallingEdge = "Trig: Ext -edge";
inline constexpr std::array<std::string_view, 3> kByMode = {FreeRun, RisingEdge, FallingEdge};
}  // namespace trigger

// Panel 7: the lock state, indexed by the lock code's bits (bit 0 PLL, bit 2 AGC).
namespace lock {
inline constexpr std::string_view Locked = "Locked";
inline constexpr std::string_view Unlocked = "Unlocked!";
inline constexpr std::string_view AgcUnlocked = "AGC unlocked!";
inline constexpr std::string_view BothUnlocked = "PLL and AGC Unlocked!";
// The text for lock bits (the reply to "Y9" AND 5).
constexpr std::string_view textOf(int bits) {
    return (bits & 4) ? ((bits & 1) ? BothUnlocked : AgcUnlocked)
                      : ((bits & 1) ? Unlocked : Locked);
}
}  // namespace lock

// Prefixes of panels 3 to 6, and the panel's own version shown in panel 6.
inline constexpr std::string_view kSerialPrefix = "SN: ";
inline constexpr std::string_view kSoftwarePrefix = "SW: V";
inline constexpr std::string_view kHardwarePrefix = "HW ID: ";
inline constexpr std::string_view kPanelVersionPrefix = "UI SW: ";
inline constexpr std::string_view kPanelVersion = "V0.3 May 14";

}  // namespace synthor::panel
