#include "runtime/format.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

namespace synthor {
namespace {

// The runtime shows at most 15 significant digits of a double.
constexpr int kSignificantDigits = 15;

// Decimal digits and exponent of |x| with `digits` significant digits: |x| ~ 0.DIGITS x 10^(exp+1).
// std::to_chars is used because it ignores the C locale's decimal separator.
struct Decimal {
    std::string digits;
    int exponent = 0;
};

Decimal decimalOf(double x, int digits) {
    char buf[64];
    const auto r = std::to_chars(buf, buf + sizeof buf, std::fabs(x), std::chars_format::scientific,
                                 digits - 1);
    const std::string text(buf, r.ptr);
    const auto e = text.find('e');
    Decimal d;
    for (std::size_t i = 0; i < e; ++i) {
        if (text[i] != '.') d.digits.push_back(text[i]);
    }
    d.exponent = std::atoi(text.c_str() + e + 1);
    return d;
}

// Adds one unit in the last place of a string of decimal digits, growing it on a carry out.
void incrementDigits(std::string& number) {
    for (auto i = number.size(); i-- > 0;) {
        if (number[i] != '9') {
            ++number[i];
            return;
        }
        number[i] = '0';
    }
    number.insert(number.begin(), '1');
}

}  // namespace

std::string formatGeneral(double x, int digits) {
    if (x == 0.0) return "0";
    char buf[64];
    const auto r = std::to_chars(buf, buf + sizeof buf, x, std::chars_format::general, digits);
    std::string s(buf, r.ptr);
    // to_chars writes "1.5e+20" and "1e-05"; the runtime writes "1.5E+20" and "1E-05".
    if (const auto e = s.find('e'); e != std::string::npos) s[e] = 'E';
    return s;
}

std::string formatPattern(double x, std::string_view pattern) {
    const auto point = pattern.find('.');
    const std::string_view intPattern = pattern.substr(0, point);
    const int decimals =
        point == std::string_view::npos ? 0 : static_cast<int>(pattern.size() - point - 1);
    std::size_t minIntDigits = 0;
    for (char c : intPattern) {
        if (c == '0') ++minIntDigits;
    }

    // `scaled` holds round(|x| x 10^decimals) as decimal digits, rounded half away from zero on
    // the 15-digit decimal form of x (so 2.675 shows as 2.68 with two decimals).
    std::string scaled;
    if (x != 0.0 && std::isfinite(x)) {
        const Decimal d = decimalOf(x, kSignificantDigits);
        const int keep = d.exponent + 1 + decimals;  // digits left of the rounding position
        if (keep >= 0) {
            scaled =
                d.digits.substr(0, static_cast<std::size_t>(std::min(keep, kSignificantDigits)));
            if (static_cast<int>(scaled.size()) < keep) scaled.append(keep - scaled.size(), '0');
            if (keep < kSignificantDigits && d.digits[static_cast<std::size_t>(keep)] >= '5') {
                incrementDigits(scaled);
            }
        }
    }
    if (scaled.empty()) scaled.push_back('0');
    if (static_cast<int>(scaled.size()) < decimals + 1) {
        scaled = std::string(static_cast<std::size_t>(decimals + 1) - scaled.size(), '0') + scaled;
    }

    std::string whole = scaled.substr(0, scaled.size() - static_cast<std::size_t>(decimals));
    const std::string fraction = scaled.substr(whole.size());
    const auto firstNonZero = whole.find_first_not_of('0');
    whole = firstNonZero == std::string::npos ? std::string() : whole.substr(firstNonZero);
    if (whole.size() < minIntDigits) whole = std::string(minIntDigits - whole.size(), '0') + whole;

    // A value that shows as all zeros carries no sign.
    const bool shownZero = (whole + fraction).find_first_not_of('0') == std::string::npos;
    std::string out = x < 0 && !shownZero ? "-" : "";
    out += whole;
    if (decimals > 0) {
        out.push_back('.');
        out += fraction;
    }
    return out;
}

}  // namespace synthor
