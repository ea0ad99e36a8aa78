// Phase words: degrees as 14-bit words (16384 per turn), divided by the output band's
// multiplication factor from 125 MHz up, as the phase setting, complex sweeps and hops send them.
#pragma once

#include <array>
#include <cstdint>

namespace synthor {

struct PhaseDivisor {
    double fromMHz;
    double divisor;
};
// Tested from the highest band down.
inline constexpr std::array<PhaseDivisor, 6> kPhaseDivisors = {{
    {4000, 200},
    {2000, 100},
    {1000, 50},
    {500, 25},
    {250, 12.5},
    {125, 6.25},
}};

// The divisor of the first row whose frequency fMHz reaches; 0 below 125 MHz.
double phaseDivisor(double fMHz);

// A 14-bit phase word: degrees x 16384 / 360 in single precision, rounded half to even.
std::int32_t phaseWordOf(float degrees);

// The word divided by the band's factor at fMHz, plus 0.5, truncated; unchanged below 125 MHz.
std::int32_t bandScaledPhaseWord(std::int32_t word, double fMHz);

}  // namespace synthor
