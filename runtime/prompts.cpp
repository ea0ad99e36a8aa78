#include "runtime/prompts.hpp"

#include <ostream>

namespace synthor {
namespace {

// A text in double quotes, an embedded quote doubled.
std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        out.push_back(c);
        if (c == '"') out.push_back('"');
    }
    return out + "\"";
}

}  // namespace

MsgResult defaultAnswer(int style) {
    return (style & 7) == msgstyle::RetryCancel ? MsgResult::Cancel : MsgResult::Ok;
}

MsgResult LoggedPrompts::msgBox(std::string_view text, int style, std::string_view title) {
    out_ << "msgbox " << style << ' ' << quoted(title) << ' ' << quoted(text) << '\n';
    out_.flush();
    return defaultAnswer(style);
}

std::optional<std::string> LoggedPrompts::openFile(const OpenFileRequest&) {
    if (answers_.empty()) {
        out_ << "dialog cancel\n";
        out_.flush();
        return std::nullopt;
    }
    std::string path = std::move(answers_.front());
    answers_.pop_front();
    out_ << "dialog " << path << '\n';
    out_.flush();
    return path;
}

}  // namespace synthor
