// Text helpers with the runtime's rules: ASCII case conversion and case-insensitive comparison
// (names of calls, controls and keywords compare this way whatever the locale), blank trimming,
// byte settings and hexadecimal bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace synthor {

std::string ucase(std::string_view text);
std::string lcase(std::string_view text);
bool equalsIgnoreCase(std::string_view a, std::string_view b);

// The text without the blanks (spaces and tabs) at either end.
std::string_view trimBlanks(std::string_view text);

// A byte setting: decimal ("17") or 0x-hex ("0x11"), 0..255, digits only (no sign, no blanks).
bool parseByte(std::string_view text, std::uint8_t& value);

// One byte as two upper-case hexadecimal digits ("0A").
std::string hexByte(std::uint8_t b);
// Bytes as two-digit upper-case hexadecimal separated by single blanks ("59 49 01").
std::string hexBytes(std::string_view bytes);

}  // namespace synthor
