// The automation class `Synthor_01_vexa` in portable C++: the methods hosts call, over one shared
// session. The COM server and the command-line tool both reach it through `automationMethods`.
//
// Methods answer a missing instrument or a bad value with a result text. Runtime errors reach
// the caller only where a conversion fails: a text that is not a number (13), a serial number
// beyond 16 bits (6), a lock query without a reply byte (5).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "runtime/variant.hpp"
#include "session/session.hpp"

namespace synthor {

class Synthor_01_vexa {
  public:
    explicit Synthor_01_vexa(Session& session) : session_(session) {}

    // Opens the instrument by its USB description, reads its identity and calibration and
    // returns its serial number; 0 when the open does not answer "OK".
    std::int16_t FND();
    // As FND, opening by USB serial number.
    std::int16_t FNDSN(const std::string& serial);
    // "OK" or "Close Failed"; the instrument counts as gone either way.
    std::string CloseSigGen();
    // Parks the output (193 MHz, -25 dBm) and shows the panel's off display; "OK".
    std::string GenOff();
    // Shows the control panel until it is hidden again; "OK". Without an instrument, or without a
    // window front end to show it in, "Error. No instrument connected.".
    std::string ShowUI();
    // Continuous wave at `frequency` MHz (0.3 to 8192) and `level` dBm (-25 to 17); "OK".
    std::string SetFrequency(const Variant& frequency, const Variant& level);
    // Phase of the continuous wave, in degrees (magnitude, at most 360); "OK".
    std::string SetPhase(const Variant& phase);
    std::string DLLVer();  // "V1.0 Jan 2019", no instrument needed
    // "Locked", "Unlocked!", "AGC unlocked!" or "PLL and AGC Unlocked!".
    std::string LockStatus();

    // Plan methods and the command-string interface (defined in plan_methods.cpp).
    // Reads a frequency sweep plan file ("?" asks with the dialog); "OK" or "Error reading file.".
    std::string ReadFplan(const Variant& fileName);
    // Builds and uploads a frequency plan from start and step (MHz), points and dwell (µs); the
    // level argument is not used (plans run at 0.0 dBm). "OK" or MakeFreqPlan's error text.
    std::string SetFreqPlan(const Variant& start, const Variant& step, const Variant& points,
                            const Variant& dwell, const Variant& level);
    // Starts the valid frequency plan at the panel's dwell; "OK" or "Error. No freq plan.".
    std::string GoFreqSweep();
    // Resets the frequency plan and the panel's sweep boxes; always "".
    std::string ClearFPlan();
    // One command of the command-string interface (plans/command_string.hpp).
    std::string SetSigGen(const Variant& command, const Variant& p1, const Variant& p2,
                          const Variant& p3, const Variant& p4, const Variant& p5);

    Session& session() { return session_; }

  private:
    std::int16_t found(const std::string& openResult);

    Session& session_;
};

// One published method: its name, how many arguments it takes (trailing optional ones are passed
// as Empty) and how to call it with host variants. `invoke` is empty for a method this build does
// not provide yet.
struct AutomationMethod {
    std::string_view name;
    int minArgs;
    int maxArgs;
    Variant (*invoke)(Synthor_01_vexa& object, std::span<const Variant> args);
};

// The methods in their published order (dispatch identifiers follow this order).
std::span<const AutomationMethod> automationMethods();

// The method of that name, compared case-insensitively; nullptr if there is none.
const AutomationMethod* findAutomationMethod(std::string_view name);

}  // namespace synthor
