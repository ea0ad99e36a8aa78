// Phase words: degrees as 14-bit words (16384 per turn), divided by the output band's
// multiplication factor from 125 MHz up, as the phase setting, complex sweeps and hops send them.
#pragma once

#include <cstdint>

namespace synthor {

// A 14-bit phase word: degrees x 16384 / 360 in single precision, rounded half to even.
std::int32_t phaseWordOf(float degrees);

// The word divided by the band's factor at fMHz (200 from 4000 MHz, 100 from 2000, 50 from 1000,
// 25 from 500, 12.5 from 250, 6.25 from 125), plus 0.5, truncated; unchanged below 125 MHz.
std::int32_t bandScaledPhaseWord(std::int32_t word, double fMHz);

}  // namespace synthor
