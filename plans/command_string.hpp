// The command-string interface behind `SetSigGen`: a keyword and up to five parameters drive
// every mode of the instrument. The keyword table and the modulation workers live here.
//
// Keywords are compared upper-cased and whole; an unknown keyword returns "". Parameters are
// converted with the runtime's variant conversions, in order, when the keyword needs them; a
// parameter that cannot be converted raises the runtime's type-mismatch (13) or overflow (6)
// error to the caller. A parameter the host did not pass is Missing: reading it raises 13.
//
// Switches: the sweep keywords upper-case theirs ("on" starts a sweep); the hop keywords pass
// theirs as given (only "ON" starts a hop, "on" stops it); the modulation keywords (FM, FMEXT,
// AM, AMEXT) upper-case theirs and their rate.
//
// Results chosen here: SETTRIGGER, STEPTRIGGER, a modulation stop and a started modulation
// return "OK"; READFREQPLAN returns "Error reading frequency plan." when the plan is not read.
// The CW worker accepts levels up to 17 dBm and records its frequency as the continuous-wave
// frequency (the phase hop's frequency). The phase worker takes the phase's magnitude.
// AMEXT carries out an out-of-range depth at its limit and returns the reset text
// ("Maximum modulation depth is 90%. Value reset." / "Minimum modulation depth is 5%. Value
// reset.") instead of "OK". FM and FMEXT take the deviation's magnitude, in kHz.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "runtime/variant.hpp"
#include "session/session.hpp"

namespace synthor {

inline constexpr std::size_t kSigGenParams = 5;

// Runs one command. `params` holds P1..P5; fewer are taken as Missing.
std::string SetSigGen(Session& s, const Variant& command, std::span<const Variant> params);

// The keywords in table order.
std::span<const std::string_view> sigGenKeywords();

}  // namespace synthor
