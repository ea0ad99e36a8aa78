// The program-message parser: one line of text into its message units (headers, query marks and
// parameters), with no knowledge of the command set and no I/O. IEEE 488.2 syntax: units
// separated by ";", a common header "*NAME", or mnemonics joined by ":" (a leading ":" goes back
// to the root), an optional "?", then parameters separated by ",". A unit that does not parse
// carries its error and the parser resumes after the next ";".
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace synthor::scpi {

struct Param {
    enum class Kind { Numeric, Character, String, Block, Expression };
    Kind kind = Kind::Numeric;
    double value = 0.0;  // Numeric: the number as written, without its suffix
    std::string text;    // Numeric: the suffix, upper case; Character: the word, upper case;
                         // String: the contents without the quotes
};

struct Unit {
    bool common = false;             // "*IDN?" and the like; `nodes` holds the one name
    bool rooted = false;             // a leading ":"
    std::vector<std::string> nodes;  // mnemonics as written, upper case, suffix digits kept
    bool query = false;
    std::vector<Param> params;
    int error = 0;  // non-zero: the unit did not parse (syntax -102, data type -104, ...)
    std::string detail;
};

std::vector<Unit> parseMessage(std::string_view line);

}  // namespace synthor::scpi
