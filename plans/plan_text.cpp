#include "plans/plan_text.hpp"

namespace synthor {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}
bool isLineEnd(char c) {
    return c == '\r' || c == '\n';
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && isBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

}  // namespace

void PlanText::consumeLineEnd() {
    if (pos_ < text_.size() && text_[pos_] == '\r') ++pos_;
    if (pos_ < text_.size() && text_[pos_] == '\n') ++pos_;
}

std::optional<std::string> PlanText::nextItem() {
    if (atEnd()) return std::nullopt;
    while (pos_ < text_.size() && isBlank(text_[pos_]))
        ++pos_;

    std::string item;
    if (pos_ < text_.size() && text_[pos_] == '"') {
        const std::size_t close = text_.find('"', pos_ + 1);
        const std::size_t end = close == std::string_view::npos ? text_.size() : close;
        item = std::string(text_.substr(pos_ + 1, end - pos_ - 1));
        pos_ = close == std::string_view::npos ? text_.size() : close + 1;
        while (pos_ < text_.size() && text_[pos_] != ',' && !isLineEnd(text_[pos_]))
            ++pos_;
    } else {
        const std::size_t start = pos_;
        while (pos_ < text_.size() && text_[pos_] != ',' && !isLineEnd(text_[pos_]))
            ++pos_;
        item = std::string(trimBlanks(text_.substr(start, pos_ - start)));
    }
    if (pos_ < text_.size() && text_[pos_] == ',') {
        ++pos_;
    } else {
        consumeLineEnd();
    }
    return item;
}

std::optional<std::string_view> PlanText::nextLine() {
    if (atEnd()) return std::nullopt;
    const std::size_t start = pos_;
    while (pos_ < text_.size() && !isLineEnd(text_[pos_]))
        ++pos_;
    const std::string_view line = text_.substr(start, pos_ - start);
    consumeLineEnd();
    return line;
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
