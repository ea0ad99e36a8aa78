// Message boxes, the file-open dialog and the event pump on Windows, shown to the person at the
// desk. Boxes and dialogs are owned by the caller's active window, so they stay in front of it.
#pragma once

#include "runtime/prompts.hpp"

namespace synthor::win32 {

class Win32Prompts final : public Prompts {
  public:
    MsgResult msgBox(std::string_view text, int style, std::string_view title) override;
    std::optional<std::string> openFile(const OpenFileRequest& request) override;
    void doEvents() override;
};

}  // namespace synthor::win32
