// Text helpers with the runtime's rules: ASCII case conversion and case-insensitive comparison
// (names of calls, controls and keywords compare this way whatever the locale).
#pragma once

#include <string>
#include <string_view>

namespace synthor {

std::string ucase(std::string_view text);
std::string lcase(std::string_view text);
bool equalsIgnoreCase(std::string_view a, std::string_view b);

}  // namespace synthor
