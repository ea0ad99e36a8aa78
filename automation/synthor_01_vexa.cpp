#include "automation/synthor_01_vexa.hpp"

#include <array>
#include <cctype>
#include <cmath>

#include "calibration/sig_gen_routines.hpp"
#include "encoding/phase.hpp"
#include "frames/packing.hpp"
#include "runtime/convert.hpp"
#include "runtime/format.hpp"
#include "runtime/text.hpp"
#include "session/carrier.hpp"

namespace synthor {
namespace {

const std::string kNoInstrumentFound = "Error. No instrument found.";
const std::string kNoInstrumentConnected = "Error. No instrument connected.";

constexpr double kMinFrequency = 300000;
constexpr double kMaxFrequency = 8.192e9;
constexpr double kMinLevel = -25;
constexpr double kMaxLevel = 17;
constexpr double kCwStep = 1000.0;

constexpr float kPhaseFullScale = 360;  // larger phases are sent as a full turn

}  // namespace

std::int16_t Synthor_01_vexa::found(const std::string& openResult) {
    Session& s = session_;
    std::int16_t serial = 0;
    if (openResult == "OK") {
        Identity identity;
        ReadIdentity(s.link, identity);
        serial = cint(val(identity[2]));
        s.link.InstrumentFound = kTrue;
        LoadCalData(s.link, s.cal, *s.calibrationProgress);
    } else {
        s.link.InstrumentFound = kFalse;
    }
    s.SerialNumber = serial;
    return serial;
}

std::int16_t Synthor_01_vexa::FND() {
    return found(session_.link.OpenUSB(std::string(kDeviceDescription)));
}

std::int16_t Synthor_01_vexa::FNDSN(const std::string& serial) {
    return found(session_.link.OpenUSBSN(serial));
}

std::string Synthor_01_vexa::CloseSigGen() {
    UsbLink& link = session_.link;
    if (link.InstrumentFound == kFalse) return kNoInstrumentFound;
    std::string result = link.CloseUSB();
    link.InstrumentFound = kFalse;
    return result;
}

std::string Synthor_01_vexa::GenOff() {
    if (session_.link.InstrumentFound == kFalse) return kNoInstrumentFound;
    return synthor::SwitchOff(session_);
}

std::string Synthor_01_vexa::ShowUI() {
    // Without a window front end there is no panel to show: the call answers as it does
    // without an instrument.
    if (session_.link.InstrumentFound == kFalse || !session_.showModal)
        return kNoInstrumentConnected;
    session_.showModal();
    return "OK";
}

std::string Synthor_01_vexa::SetFrequency(const Variant& frequency, const Variant& level) {
    Session& s = session_;
    if (s.link.InstrumentFound == kFalse) return kNoInstrumentConnected;
    const double f = toDouble(frequency) * 1e6;
    if (f < kMinFrequency || f > kMaxFrequency) return "Error. Invalid frequency.";
    const double dBm = toDouble(level);
    if (dBm < kMinLevel || dBm > kMaxLevel) return "Error. Invalid power.";
    if (s.link.InstrumentFound == kFalse) return kNoInstrumentConnected;
    s.CWFrequency = f;
    s.freqLevel.setFrequencyAndLevel(kCwAddress, 1, f, kCwStep, kCompanionOffset, csng(dBm),
                                     kLevelB);
    s.link.WriteUSB(pointStartFrame(kCwAddress));
    return "OK";
}

std::string Synthor_01_vexa::SetPhase(const Variant& phase) {
    Session& s = session_;
    if (s.link.InstrumentFound == kFalse) return kNoInstrumentConnected;
    if (s.CWFrequency < kMinFrequency || s.CWFrequency > kMaxFrequency) {
        return "Error. Frequency not set." + formatGeneral(s.CWFrequency);
    }
    float p = csng(std::fabs(toDouble(phase)));
    if (p > kPhaseFullScale) p = kPhaseFullScale;
    const float fMHz = csng(s.CWFrequency / 1e6);  // the band is chosen in single precision
    const TwoBytes w = splitTwo(bandScaledPhaseWord(phaseWordOf(p), fMHz));
    s.link.WriteUSB(std::string{'Y', 'Q', static_cast<char>(w.high), static_cast<char>(w.low)});
    return "OK";
}

std::string Synthor_01_vexa::DLLVer() {
    return "V1.0 Jan 2019";
}

std::string Synthor_01_vexa::LockStatus() {
    if (session_.link.InstrumentFound == kFalse) return kNoInstrumentConnected;
    const std::string_view text = lockText(QueryLockState(session_));
    return std::string(text.empty() ? "Unknown" : text);
}

namespace {

using Args = std::span<const Variant>;

const std::array<AutomationMethod, 14> kMethods = {{
    {"FND", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.FND(); }},
    {"FNDSN", 1, 1, [](Synthor_01_vexa& o, Args a) -> Variant { return o.FNDSN(toText(a[0])); }},
    {"CloseSigGen", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.CloseSigGen(); }},
    {"GenOff", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.GenOff(); }},
    {"ShowUI", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.ShowUI(); }},
    {"SetFrequency", 2, 2,
     [](Synthor_01_vexa& o, Args a) -> Variant { return o.SetFrequency(a[0], a[1]); }},
    {"SetPhase", 1, 1, [](Synthor_01_vexa& o, Args a) -> Variant { return o.SetPhase(a[0]); }},
    {"ReadFplan", 1, 1, [](Synthor_01_vexa& o, Args a) -> Variant { return o.ReadFplan(a[0]); }},
    {"SetFreqPlan", 5, 5,
     [](Synthor_01_vexa& o, Args a) -> Variant {
         return o.SetFreqPlan(a[0], a[1], a[2], a[3], a[4]);
     }},
    {"GoFreqSweep", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.GoFreqSweep(); }},
    {"ClearFPlan", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.ClearFPlan(); }},
    {"DLLVer", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.DLLVer(); }},
    {"LockStatus", 0, 0, [](Synthor_01_vexa& o, Args) -> Variant { return o.LockStatus(); }},
    {"SetSigGen", 1, 6,
     [](Synthor_01_vexa& o, Args a) -> Variant {
         const Variant empty;
         const auto arg = [&](std::size_t i) -> const Variant& {
             return i < a.size() ? a[i] : empty;
         };
         return o.SetSigGen(arg(0), arg(1), arg(2), arg(3), arg(4), arg(5));
     }},
}};

}  // namespace

std::span<const AutomationMethod> automationMethods() {
    return kMethods;
}

const AutomationMethod* findAutomationMethod(std::string_view name) {
    for (const auto& m : kMethods) {
        if (equalsIgnoreCase(m.name, name)) return &m;
    }
    return nullptr;
}

}  // namespace synthor
