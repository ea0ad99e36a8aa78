// Arguments as an automation host passes them, and their conversion to the types methods need.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace synthor {

// Empty, Boolean (-1 true), Integer, Long, Single, Double, String.
using Variant =
    std::variant<std::monostate, bool, std::int16_t, std::int32_t, float, double, std::string>;

// Conversions as the host runtime makes them: Empty is 0 or "", True is -1, text must spell a
// number whole (else error 13), integers round half to even (error 6 out of range).
double toDouble(const Variant& v);
float toSingle(const Variant& v);
std::int16_t toInteger(const Variant& v);
std::int32_t toLong(const Variant& v);
std::string toText(const Variant& v);

}  // namespace synthor
