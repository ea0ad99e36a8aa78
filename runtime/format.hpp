// Numbers as text, the way the host runtime writes them.
#pragma once

#include <string>
#include <string_view>

namespace synthor {

// General number format: the shortest decimal form with up to `digits` significant digits
// (15 for doubles, 7 for singles); 0 is "0"; values from 1E+15 (doubles) up or below 1E-04 in the
// form "1.5E+20", "1E-05". The same in every locale.
std::string formatGeneral(double x, int digits = 15);

// Digit patterns such as "###0.00000", "#0.0" or "0": '0' is a digit always shown, '#' one shown
// only when significant; the count of places after the point sets the decimals. Rounds half away
// from zero on the value's 15-significant-digit decimal form, as the runtime's formatting does;
// a value that shows as zero has no minus sign. The point is '.' in every locale.
std::string formatPattern(double x, std::string_view pattern);

}  // namespace synthor
