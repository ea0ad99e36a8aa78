// Frequency, phase and level hops: the output switches between two values at a fixed dwell.
// Frequency and level hops are two-point sweeps; the phase hop has a frame of its own.
//
// In all three a switch other than "ON" (compared as given) stops the hop: mode select 0, the
// trigger back to free run, "Status: CW", result "OK". A started hop returns "OK".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "session/session.hpp"

namespace synthor {

// Hops between two frequencies (MHz) at one level. Refusals: "Error. Invalid frequency value."
// (either outside 0.3..8192, or the second not above the first), "Error. Invalid dwell time."
// (outside 26..65500 µs), "Error. Invalid Level value." (outside -25..17 dBm).
std::string GoSigGenFHop(Session& s, double firstMHz, double secondMHz, float level,
                         std::int32_t dwell, std::string_view sw);

// Hops between two phases at the continuous-wave frequency. The first phase is converted to a
// word and then band-scaled, the second band-scaled in degrees and then converted. Refusals:
// "Error. Incorret phasae value." (first 361 or more, second above 350, both as magnitudes),
// "Error. Phase values cannot be the same." (equal after scaling; always at or below 125 MHz),
// "Error. Incorrect Dwell time." (outside 25..65500 µs).
std::string GoSigGenPhHop(Session& s, std::int32_t firstPhase, std::int32_t secondPhase,
                          std::int32_t dwell, std::string_view sw);

// value / the output band's divisor at freqHz, plus 0.5, truncated; 0 at or below 125 MHz.
std::int32_t PhaseBandScale(double freqHz, std::int32_t value);

// Hops between two levels at one frequency. The levels are rounded to 0.1 dB, clamped to
// -25..17 dBm and shown in the panel's level-hop boxes. Refusals, each shown in a message box
// and returned: "Error. Invalid frequency value." (outside 0.3..8192 MHz) and "Dwell time must
// be between 26 and 65500 us.".
std::string GoSigGenLevelHop(Session& s, double freqMHz, float firstLevel, float secondLevel,
                             std::int32_t dwell, std::string_view sw);

}  // namespace synthor
