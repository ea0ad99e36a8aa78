// Number conversions with the host runtime's rules: half-to-even rounding into integers with the
// overflow error, single precision, floor and truncation, and numeric-prefix reading of text.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace synthor {

// Rounds to the nearest integer, ties to even, and checks the target range (error 6 outside it).
std::int16_t cint(double x);
std::int32_t clng(double x);
std::uint8_t cbyte(double x);

// Single precision, with error 6 for values beyond its range.
float csng(double x);

// Integer part toward zero (Fix).
double fix(double x);

// Rounds to `digits` decimals, ties to even.
double roundHalfEven(double x, int digits = 0);

// Reads the longest leading decimal number of the text (blanks first are skipped; sign, digits,
// point, exponent); text that does not start with a number reads as 0. Locale-independent.
double val(std::string_view text);

// The number the whole text spells (surrounding blanks allowed), or nothing.
std::optional<double> parseWholeNumber(std::string_view text);

// The one-character byte string of a character code; error 5 outside 0..255.
char chr(std::int32_t code);
// The character code of the first character; error 5 for empty text.
int asc(std::string_view text);

}  // namespace synthor
