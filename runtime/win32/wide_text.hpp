// Narrow texts (the system's ANSI code page, as the library's file paths are) to and from the
// wide texts of Windows' APIs.
#pragma once

#include <string>
#include <string_view>

namespace synthor::win32 {

std::wstring widen(std::string_view text);
std::string narrow(std::wstring_view text);

}  // namespace synthor::win32
