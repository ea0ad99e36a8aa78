// Level sweeps (one frequency, the levels of the level plan) and complex sweeps (one frequency,
// the phase and level pairs of the complex plan).
#pragma once

#include <string>
#include <string_view>

#include "session/session.hpp"

namespace synthor {

// "ON" checks the whole level plan, then uploads it and starts it; anything else stops it and
// returns "True". Refusals, all before anything is sent: "Error. Incorrect freq value." (fixed
// frequency outside 0.3..8192 MHz), "Error. Incorrect level value." (a level, rounded to 0.1 dB,
// outside -25..17), "Error. Incorrect dwell value." (dwell magnitude outside 26..65500). "OK"
// once started.
std::string GoSigGenLevSweep(Session& s, std::string_view sw);

// "ON" stores the fixed frequency as the continuous-wave point (at the first point's level),
// uploads every phase and level pair and starts the sweep: "OK", or "Error. No plan." when no
// complex plan was read. Anything else stops it: "OK".
std::string GoSigGenCplxSweep(Session& s, std::string_view sw);

// A phase in degrees as a 14-bit phase word, divided for the output band at freqHz: above 360
// is taken as 360; from 125 MHz up the word is divided by the band's divisor (6.25 at 125 MHz
// doubling to 200 from 4 GHz), 0.5 added and the result truncated.
std::int32_t complexPhaseWord(float phase, double freqHz);

}  // namespace synthor
