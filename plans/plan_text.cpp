#include "plans/plan_text.hpp"

#include "runtime/text.hpp"

namespace synthor {
namespace {

bool isBlank(int c) {
    return c == ' ' || c == '\t';
}
bool isItemEnd(int c) {
    return c < 0 || c == ',' || c == '\r' || c == '\n';
}

}  // namespace

std::optional<std::string> PlanText::nextItem() {
    if (failed() || atEnd()) return std::nullopt;
    // Every byte the item takes counts against the limit, the blanks and quotes included.
    std::size_t taken = 0;
    const auto take = [&]() {
        if (++taken > kMaxPlanItem) failed_ = true;
        return in_.get();
    };
    while (!failed_ && isBlank(in_.peek()))
        take();

    std::string item;
    if (in_.peek() == '"') {
        take();
        // A quoted item runs to the closing quote, across line ends, or to the end of the text.
        for (int c = in_.peek(); !failed_ && c >= 0 && c != '"'; c = in_.peek())
            item.push_back(static_cast<char>(take()));
        if (in_.peek() == '"') take();
        while (!failed_ && !isItemEnd(in_.peek()))
            take();
    } else {
        while (!failed_ && !isItemEnd(in_.peek()))
            item.push_back(static_cast<char>(take()));
        const std::string_view trimmed = trimBlanks(item);
        if (trimmed.size() != item.size()) item = std::string(trimmed);
    }
    if (failed()) return std::nullopt;
    if (in_.peek() == ',') {
        in_.get();
    } else {
        in_.skipLineEnd();
    }
    return item;
}

std::optional<std::string> PlanText::nextLine() {
    if (failed()) return std::nullopt;
    std::string line;
    switch (in_.nextLine(line, kMaxPlanLine)) {
        case BoundedReader::Line::Read:
            return line;
        case BoundedReader::Line::End:
            return std::nullopt;
        case BoundedReader::Line::TooLong:
        case BoundedReader::Line::Failed:
            break;
    }
    failed_ = true;
    return std::nullopt;
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (true) {
        const std::size_t hit = text.find(from, pos);
        if (hit == std::string_view::npos) break;
        out.append(text.substr(pos, hit - pos));
        out.append(to);
        pos = hit + from.size();
    }
    out.append(text.substr(pos));
    return out;
}

namespace {

// replaceAll on the string itself; untouched (and not copied) when `from` does not occur.
void replaceInPlace(std::string& s, std::string_view from, std::string_view to) {
    if (s.find(from) == std::string::npos) return;
    s = replaceAll(s, from, to);
}

}  // namespace

std::string normalisePlanLine(std::string_view line) {
    std::string s(line);
    replaceInPlace(s, ",", " ");
    for (const std::string_view run : {"     ", "    ", "   ", "  "})
        replaceInPlace(s, run, " ");
    replaceInPlace(s, " ", ",");
    replaceInPlace(s, "Chr$(9)", ",");
    return s;
}

std::vector<std::string_view> splitFields(std::string_view normalised) {
    std::vector<std::string_view> fields;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = normalised.find(',', start);
        if (comma == std::string_view::npos) {
            fields.push_back(normalised.substr(start));
            return fields;
        }
        fields.push_back(normalised.substr(start, comma - start));
        start = comma + 1;
    }
}

}  // namespace synthor
