// The script language of the command-line tool: a call name and its arguments per line.
//
// Arguments are separated by blanks; `#` outside quotes starts a comment. A double-quoted argument
// is text (`""` inside stands for one quote) and may touch other characters ("a"b is the text ab).
// A bare argument that reads whole as a decimal number is a number; any other is text.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/variant.hpp"

namespace synthor::cli {

// The longest script line, in bytes; a longer one stops the script as unreadable.
inline constexpr std::size_t kMaxScriptLine = 16384;

struct ScriptCall {
    std::string name;
    std::vector<Variant> args;
};

struct ParsedLine {
    std::optional<ScriptCall> call;  // nothing for a blank or comment-only line
    std::string warning;             // set when the line was odd but still read (open quote)
};

ParsedLine parseScriptLine(std::string_view line);

// The words of a script line as written, before numbers are told from text: quotes removed,
// comment dropped. `warning` is set for an unclosed quote.
struct ScriptWord {
    std::string text;
    bool quoted = false;
};
std::vector<ScriptWord> splitScriptLine(std::string_view line, std::string& warning);

// One argument as given on the command line (the shell has already split words): a word that
// reads whole as a decimal number is a number, a word in literal double quotes is text, any
// other word is text as it stands.
Variant parseArgumentWord(std::string_view word);

// True when the text is a decimal number: sign, digits, point, exponent.
bool isDecimalNumber(std::string_view text);

}  // namespace synthor::cli
