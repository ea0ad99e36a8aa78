#include "runtime/variant.hpp"

#include "runtime/convert.hpp"
#include "runtime/errors.hpp"
#include "runtime/format.hpp"

namespace synthor {

double toDouble(const Variant& v) {
    struct Visitor {
        double operator()(std::monostate) const { return 0.0; }
        double operator()(bool b) const { return b ? -1.0 : 0.0; }
        double operator()(std::int16_t i) const { return i; }
        double operator()(std::int32_t i) const { return i; }
        double operator()(float f) const { return f; }
        double operator()(double d) const { return d; }
        double operator()(const std::string& s) const {
            const auto n = parseWholeNumber(s);
            if (!n) raise(errnum::TypeMismatch);
            return *n;
        }
        double operator()(Missing) const { raise(errnum::TypeMismatch); }
    };
    return std::visit(Visitor{}, v);
}

float toSingle(const Variant& v) {
    return csng(toDouble(v));
}
std::int16_t toInteger(const Variant& v) {
    return cint(toDouble(v));
}
std::int32_t toLong(const Variant& v) {
    return clng(toDouble(v));
}

std::string toText(const Variant& v) {
    struct Visitor {
        std::string operator()(std::monostate) const { return {}; }
        std::string operator()(bool b) const { return b ? "True" : "False"; }
        std::string operator()(std::int16_t i) const { return std::to_string(i); }
        std::string operator()(std::int32_t i) const { return std::to_string(i); }
        std::string operator()(float f) const { return formatGeneral(f, 7); }
        std::string operator()(double d) const { return formatGeneral(d); }
        std::string operator()(const std::string& s) const { return s; }
        std::string operator()(Missing) const { raise(errnum::TypeMismatch); }
    };
    return std::visit(Visitor{}, v);
}

}  // namespace synthor
