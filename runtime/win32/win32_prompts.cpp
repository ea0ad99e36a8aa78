#include "runtime/win32/win32_prompts.hpp"

#include <windows.h>
// commdlg.h needs windows.h first.
#include <commdlg.h>

#include "runtime/win32/wide_text.hpp"

namespace synthor::win32 {

MsgResult Win32Prompts::msgBox(std::string_view text, int style, std::string_view title) {
    // The style numbers are the system's own button and icon flags.
    const int button = MessageBoxW(GetActiveWindow(), widen(text).c_str(), widen(title).c_str(),
                                   static_cast<UINT>(style) | MB_TASKMODAL);
    // 0 means the box could not be shown: answer as nobody were there.
    return button == 0 ? defaultAnswer(style) : static_cast<MsgResult>(button);
}

std::optional<std::string> Win32Prompts::openFile(const OpenFileRequest& request) {
    // "Name|pattern|Name|pattern|" becomes the dialog's NUL-separated, doubly terminated list.
    std::wstring filter = widen(request.filter);
    for (auto& c : filter) {
        if (c == L'|') c = L'\0';
    }
    filter.push_back(L'\0');
    filter.push_back(L'\0');
    const std::wstring initialDir = widen(request.initialDir);

    wchar_t file[MAX_PATH * 4] = L"";
    OPENFILENAMEW ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = GetActiveWindow();
    ofn.lpstrFilter = filter.c_str();
    ofn.nFilterIndex = static_cast<DWORD>(request.filterIndex);
    ofn.lpstrFile = file;
    ofn.nMaxFile = static_cast<DWORD>(std::size(file));
    ofn.lpstrInitialDir = initialDir.empty() ? nullptr : initialDir.c_str();
    ofn.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    if (!GetOpenFileNameW(&ofn)) return std::nullopt;
    return narrow(file);
}

void Win32Prompts::doEvents() {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (msg.message == WM_QUIT) {
            // Leave the quit request for the host's own loop.
            PostQuitMessage(static_cast<int>(msg.wParam));
            return;
        }
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

}  // namespace synthor::win32
