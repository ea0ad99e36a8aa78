#include "runtime/convert.hpp"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "runtime/errors.hpp"

namespace synthor {
namespace {

// Nearest integer, ties to even, without relying on the floating-point environment. Below 2^52
// the integer part comes from a truncating conversion (one instruction, unlike a call to floor);
// from 2^52 up every double is already whole.
double nearestEven(double x) {
    if (!(std::fabs(x) < 4503599627370496.0)) return x;
    const auto whole = static_cast<std::int64_t>(x);
    std::int64_t fl = whole;
    if (static_cast<double>(whole) > x) --fl;  // floor for negative fractions
    const double diff = x - static_cast<double>(fl);
    if (diff < 0.5) return static_cast<double>(fl);
    if (diff > 0.5) return static_cast<double>(fl + 1);
    return static_cast<double>(fl % 2 == 0 ? fl : fl + 1);
}

template <typename T>
T roundChecked(double x) {
    if (std::isnan(x)) raise(errnum::Overflow);
    const double r = nearestEven(x);
    if (r < static_cast<double>(std::numeric_limits<T>::min()) ||
        r > static_cast<double>(std::numeric_limits<T>::max())) {
        raise(errnum::Overflow);
    }
    return static_cast<T>(r);
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Length of the decimal number at the start of `s` (0 when there is none).
std::size_t numberPrefixLength(std::string_view s) {
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    std::size_t digits = 0;
    while (i < s.size() && isDigit(s[i]))
        ++i, ++digits;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && isDigit(s[i]))
            ++i, ++digits;
    }
    if (digits == 0) return 0;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
        std::size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
        if (j < s.size() && isDigit(s[j])) {
            while (j < s.size() && isDigit(s[j]))
                ++j;
            i = j;
        }
    }
    return i;
}

// Reads a text that numberPrefixLength accepted whole. Beyond the double range the runtime
// reports overflow; below it the number reads as zero.
double parseNumber(std::string_view s) {
    std::string text(s);
    for (char& c : text) {
        if (c == 'd' || c == 'D') c = 'e';
    }
    const char* first = text.data();
    const char* last = text.data() + text.size();
    if (*first == '+') ++first;
    double value = 0.0;
    if (std::from_chars(first, last, value).ec != std::errc::result_out_of_range) return value;

    // Out of range: decide by the decimal exponent of the leading significant digit.
    const auto e = text.find('e');
    const std::string_view mantissa = std::string_view(text).substr(0, e);
    long exponent = 0;
    if (e != std::string::npos) {
        const char* p = text.data() + e + 1;
        if (*p == '+') ++p;
        long parsed = 0;
        if (std::from_chars(p, last, parsed).ec == std::errc::result_out_of_range) {
            parsed = *p == '-' ? std::numeric_limits<long>::min() / 2
                               : std::numeric_limits<long>::max() / 2;
        }
        exponent = parsed;
    }
    const auto point = std::min(mantissa.find('.'), mantissa.size());
    const auto firstSignificant = mantissa.find_first_of("123456789");
    if (firstSignificant == std::string_view::npos) return 0.0;
    const long position = firstSignificant < point ? static_cast<long>(point - firstSignificant) - 1
                                                   : -static_cast<long>(firstSignificant - point);
    if (position + exponent > 0) raise(errnum::Overflow);
    return 0.0;
}

}  // namespace

std::int16_t cint(double x) {
    return roundChecked<std::int16_t>(x);
}
std::int32_t clng(double x) {
    return roundChecked<std::int32_t>(x);
}
std::uint8_t cbyte(double x) {
    return roundChecked<std::uint8_t>(x);
}

float csng(double x) {
    if (std::isfinite(x) && std::fabs(x) > static_cast<double>(FLT_MAX)) raise(errnum::Overflow);
    return static_cast<float>(x);
}

double fix(double x) {
    return std::trunc(x);
}

double roundHalfEven(double x, int digits) {
    if (digits <= 0) return nearestEven(x);
    const double scale = std::pow(10.0, digits);
    return nearestEven(x * scale) / scale;
}

double val(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && isBlank(text[start]))
        ++start;
    const std::string_view rest = text.substr(start);
    const std::size_t n = numberPrefixLength(rest);
    return n == 0 ? 0.0 : parseNumber(rest.substr(0, n));
}

std::optional<double> parseWholeNumber(std::string_view text) {
    std::size_t start = 0;
    std::size_t end = text.size();
    while (start < end && isBlank(text[start]))
        ++start;
    while (end > start && isBlank(text[end - 1]))
        --end;
    const std::string_view body = text.substr(start, end - start);
    if (body.empty() || numberPrefixLength(body) != body.size()) return std::nullopt;
    return parseNumber(body);
}

char chr(std::int32_t code) {
    if (code < 0 || code > 255) raise(errnum::InvalidCall);
    return static_cast<char>(static_cast<unsigned char>(code));
}

int asc(std::string_view text) {
    if (text.empty()) raise(errnum::InvalidCall);
    return static_cast<unsigned char>(text.front());
}

}  // namespace synthor
