// Arguments as an automation host passes them, and their conversion to the types methods need.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace synthor {

// An optional argument the host did not pass (a COM host's VT_ERROR / DISP_E_PARAMNOTFOUND).
struct Missing {
    bool operator==(const Missing&) const = default;
};

// Empty, Boolean (-1 true), Integer, Long, Single, Double, String, or Missing.
using Variant = std::variant<std::monostate, bool, std::int16_t, std::int32_t, float, double,
                             std::string, Missing>;

// Conversions as the host runtime makes them: Empty is 0 or "", True is -1, text must spell a
// number whole (else error 13), integers round half to even (error 6 out of range). A Missing
// argument converts to nothing: error 13, as a host's conversion of an omitted argument.
double toDouble(const Variant& v);
float toSingle(const Variant& v);
std::int16_t toInteger(const Variant& v);
std::int32_t toLong(const Variant& v);
std::string toText(const Variant& v);

}  // namespace synthor
