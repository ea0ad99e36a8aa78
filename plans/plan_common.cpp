#include "plans/plan_common.hpp"

#include <limits>

#include "runtime/convert.hpp"
#include "runtime/errors.hpp"

namespace synthor {

std::int32_t absLong(std::int32_t v) {
    if (v == std::numeric_limits<std::int32_t>::min()) raise(errnum::Overflow);
    return v < 0 ? -v : v;
}

const char* startLetters(const Session& s, const StartFrameKind& kind) {
    return s.plans.StepTrigger != 0 && s.link.TriggerModeActive != 0 ? kind.stepped
                                                                     : kind.freeRunning;
}

float roundLevel(float level) {
    return static_cast<float>(roundHalfEven(level, 1));
}

}  // namespace synthor
