// The runtime error number a call raises, or nothing when it returns.
#pragma once

#include <optional>

#include "runtime/errors.hpp"

namespace synthor::testing {

template <typename F>
std::optional<int> raisedBy(F&& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return std::nullopt;
}

}  // namespace synthor::testing
