#include "runtime/text.hpp"

#include <algorithm>
#include <charconv>

namespace synthor {
namespace {

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr char kHexDigits[] = "0123456789ABCDEF";

void appendHex(std::string& out, std::uint8_t b) {
    out.push_back(kHexDigits[b >> 4]);
    out.push_back(kHexDigits[b & 15]);
}

}  // namespace

std::string ucase(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), upper);
    return out;
}

std::string lcase(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), lower);
    return out;
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

std::string_view trimBlanks(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool parseByte(std::string_view text, std::uint8_t& value) {
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
        base = 16;
    }
    // from_chars takes no sign and no blanks, so "+4" and " 4" are refused like "-4".
    unsigned parsed = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), parsed, base);
    if (text.empty() || ec != std::errc{} || end != text.data() + text.size() || parsed > 255) {
        return false;
    }
    value = static_cast<std::uint8_t>(parsed);
    return true;
}

std::string hexByte(std::uint8_t b) {
    std::string out;
    appendHex(out, b);
    return out;
}

std::string hexBytes(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() * 3);
    for (const char c : bytes) {
        if (!out.empty()) out.push_back(' ');
        appendHex(out, static_cast<std::uint8_t>(c));
    }
    return out;
}

}  // namespace synthor
