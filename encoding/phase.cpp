#include "encoding/phase.hpp"

#include "runtime/convert.hpp"

namespace synthor {

double phaseDivisor(double fMHz) {
    for (const PhaseDivisor& d : kPhaseDivisors) {
        if (fMHz >= d.fromMHz) return d.divisor;
    }
    return 0.0;
}

std::int32_t phaseWordOf(float degrees) {
    const float word = degrees * 16384.0F / 360.0F;
    return clng(word);
}

std::int32_t bandScaledPhaseWord(std::int32_t word, double fMHz) {
    const double divisor = phaseDivisor(fMHz);
    if (divisor == 0.0) return word;
    return clng(fix(word / divisor + 0.5));
}

}  // namespace synthor
