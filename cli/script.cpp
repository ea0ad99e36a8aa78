#include "cli/script.hpp"

#include "runtime/convert.hpp"
#include "runtime/errors.hpp"

namespace synthor::cli {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// A number, or the text itself when it spells a number beyond double range (the method that
// converts it then reports the overflow).
Variant numberOrText(std::string_view text) {
    try {
        return val(text);
    } catch (const RuntimeError&) {
        return std::string(text);
    }
}

}  // namespace

bool isDecimalNumber(std::string_view text) {
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t digits = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9')
        ++i, ++digits;
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9')
            ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        std::size_t expDigits = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9')
            ++i, ++expDigits;
        if (expDigits == 0) return false;
    }
    return i == text.size();
}

Variant parseArgumentWord(std::string_view word) {
    if (isDecimalNumber(word)) return numberOrText(word);
    const ParsedLine parsed = parseScriptLine(std::string("x ") + std::string(word));
    if (word.size() >= 2 && word.front() == '"' && word.back() == '"' && parsed.call &&
        parsed.call->args.size() == 1) {
        return parsed.call->args.front();
    }
    return std::string(word);
}

std::vector<ScriptWord> splitScriptLine(std::string_view line, std::string& warning) {
    std::vector<ScriptWord> words;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && isBlank(line[i]))
            ++i;
        if (i >= line.size() || line[i] == '#') break;
        ScriptWord word;
        while (i < line.size() && !isBlank(line[i]) && line[i] != '#') {
            if (line[i] != '"') {
                word.text.push_back(line[i++]);
                continue;
            }
            word.quoted = true;
            ++i;
            bool closed = false;
            while (i < line.size()) {
                if (line[i] == '"') {
                    if (i + 1 < line.size() && line[i + 1] == '"') {
                        word.text.push_back('"');
                        i += 2;
                        continue;
                    }
                    ++i;
                    closed = true;
                    break;
                }
                word.text.push_back(line[i++]);
            }
            if (!closed) warning = "a quoted argument has no closing quote; read to the line end";
        }
        words.push_back(std::move(word));
    }
    return words;
}

ParsedLine parseScriptLine(std::string_view line) {
    ParsedLine out;
    const std::vector<ScriptWord> words = splitScriptLine(line, out.warning);
    if (words.empty()) return out;

    ScriptCall call;
    call.name = words.front().text;
    for (std::size_t w = 1; w < words.size(); ++w) {
        const auto& [text, quoted] = words[w];
        if (!quoted && isDecimalNumber(text)) {
            call.args.push_back(numberOrText(text));
        } else {
            call.args.emplace_back(text);
        }
    }
    out.call = std::move(call);
    return out;
}

}  // namespace synthor::cli
