// Routines the automation class and the control panel share over one session: switching the
// output off and asking the instrument for its lock state.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "session/session.hpp"

namespace synthor {

// Parks the output (193 MHz at -25 dBm as the continuous-wave point), puts it into effect and
// brings the panel into its off display (creating the panel, unshown, if needed). "OK".
std::string SwitchOff(Session& s);

// The instrument's lock bits: the reply to "Y9" AND 5 (1 PLL unlocked, 4 AGC unlocked). Raises
// the invalid-argument error when no reply byte arrives.
std::int16_t QueryLockState(Session& s);

// The text of a lock code: "Locked", "Unlocked!", "AGC unlocked!" or "PLL and AGC Unlocked!";
// empty for any other code.
std::string_view lockText(std::int16_t code);

}  // namespace synthor
