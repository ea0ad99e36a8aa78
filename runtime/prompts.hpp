// Message boxes, the file-open dialog and the event pump, as interfaces: the Win32 and Qt panels,
// the command-line tool and tests each answer them their own way.
#pragma once

#include <deque>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace synthor {

// Style numbers of a message box: buttons + icon.
namespace msgstyle {
inline constexpr int OkOnly = 0;
inline constexpr int OkCancel = 1;
inline constexpr int RetryCancel = 5;
inline constexpr int Critical = 16;
inline constexpr int Question = 32;
inline constexpr int Exclamation = 48;
inline constexpr int Information = 64;
}  // namespace msgstyle

// The button a message box was closed with.
enum class MsgResult { Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

struct OpenFileRequest {
    std::string initialDir;
    std::string filter;  // "Name|pattern|Name|pattern|"
    int filterIndex = 1;
};

class Prompts {
  public:
    virtual ~Prompts() = default;
    // Shows a modal message box and returns the button that closed it.
    virtual MsgResult msgBox(std::string_view text, int style, std::string_view title) = 0;
    // Asks for a file to open; nothing when the dialog is cancelled.
    virtual std::optional<std::string> openFile(const OpenFileRequest& request) = 0;
    // Lets pending window messages run (a no-op without a window system).
    virtual void doEvents() {}
};

// The answer a non-interactive front end gives: Cancel on a retry/cancel box, OK otherwise.
MsgResult defaultAnswer(int style);

// Prompts answered without a person: each box is written as `msgbox STYLE "TITLE" "TEXT"` and
// answered with defaultAnswer; each dialog takes the next of `answers` (`dialog PATH`), or is
// cancelled when none is left (`dialog cancel`). The command-line tool and unattended hosts use it.
class LoggedPrompts final : public Prompts {
  public:
    LoggedPrompts(std::ostream& out, std::deque<std::string> answers = {})
        : out_(out), answers_(std::move(answers)) {}

    MsgResult msgBox(std::string_view text, int style, std::string_view title) override;
    std::optional<std::string> openFile(const OpenFileRequest& request) override;

  private:
    std::ostream& out_;
    std::deque<std::string> answers_;
};

}  // namespace synthor
