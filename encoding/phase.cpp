#include "encoding/phase.hpp"

#include <array>

#include "runtime/convert.hpp"

namespace synthor {
namespace {

struct PhaseDivisor {
    double fromMHz;
    double divisor;
};
// Tested from the highest band down.
constexpr std::array<PhaseDivisor, 6> kPhaseDivisors = {{
    {4000, 200},
    {2000, 100},
    {1000, 50},
    {500, 25},
    {250, 12.5},
    {125, 6.25},
}};

}  // namespace

std::int32_t phaseWordOf(float degrees) {
    const float word = degrees * 16384.0F / 360.0F;
    return clng(word);
}

std::int32_t bandScaledPhaseWord(std::int32_t word, double fMHz) {
    for (const PhaseDivisor& d : kPhaseDivisors) {
        if (fMHz >= d.fromMHz) return clng(fix(word / d.divisor + 0.5));
    }
    return word;
}

}  // namespace synthor
