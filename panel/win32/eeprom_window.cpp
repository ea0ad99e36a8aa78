// `EEPROMdata`: caption, label and progress bar at their twip positions (15 twips a pixel), over
// a drawn background.
#include "panel/win32/eeprom_window.hpp"

#include <commctrl.h>

#include <string>

namespace synthor::win32 {
namespace {

constexpr char kClassName[] = "SynthorEEPROMdata";
constexpr int kTwips = 15;

int px(int twips) {
    return twips / kTwips;
}

// The background picture: a blue gradient with the instrument's name.
void paintBackground(HWND window) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(window, &ps);
    RECT client;
    GetClientRect(window, &client);
    for (int y = 0; y < client.bottom; ++y) {
        int shade = 40 + 120 * y / (client.bottom ? client.bottom : 1);
        HBRUSH brush = CreateSolidBrush(RGB(shade / 3, shade / 2, 90 + shade));
        RECT line{0, y, client.right, y + 1};
        FillRect(dc, &line, brush);
        DeleteObject(brush);
    }
    HFONT title = CreateFontA(-22, 0, 0, 0, FW_BOLD, TRUE, 0, 0, DEFAULT_CHARSET, 0, 0,
                              ANTIALIASED_QUALITY, 0, "Arial");
    HGDIOBJ old = SelectObject(dc, title);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    RECT text{0, 30, client.right, 90};
    DrawTextA(dc, "VexaSource Agile Synthesizer", -1, &text, DT_CENTER | DT_SINGLELINE);
    SelectObject(dc, old);
    DeleteObject(title);
    EndPaint(window, &ps);
}

LRESULT CALLBACK windowProc(HWND window, UINT message, WPARAM w, LPARAM l) {
    switch (message) {
        case WM_PAINT:
            paintBackground(window);
            return 0;
        case WM_CTLCOLORSTATIC:
            SetBkMode(reinterpret_cast<HDC>(w), TRANSPARENT);
            SetTextColor(reinterpret_cast<HDC>(w), RGB(255, 255, 255));
            return reinterpret_cast<LRESULT>(GetStockObject(NULL_BRUSH));
        case WM_CLOSE:
            return 0;  // the load closes it, not the user
    }
    return DefWindowProcA(window, message, w, l);
}

void pump() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

}  // namespace

EepromWindow::EepromWindow(panel::EepromData& model) : model_(model) {
    model_.onChange = [this] { redraw(); };
}

EepromWindow::~EepromWindow() {
    model_.onChange = nullptr;
    if (window_) DestroyWindow(window_);
    if (font_) DeleteObject(font_);
}

void EepromWindow::create() {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSA wc{};
    wc.lpfnWndProc = windowProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursor(nullptr, IDC_ARROW);
    wc.lpszClassName = kClassName;
    RegisterClassA(&wc);  // fails harmlessly when already registered

    DWORD style = WS_POPUP | WS_CAPTION | WS_BORDER;
    RECT frame{0, 0, px(5850), px(2595)};
    AdjustWindowRect(&frame, style, FALSE);
    int width = frame.right - frame.left, height = frame.bottom - frame.top;
    window_ = CreateWindowExA(WS_EX_TOPMOST | WS_EX_TOOLWINDOW, kClassName,
                              std::string(panel::EepromData::kCaption).c_str(), style,
                              (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
                              (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height, nullptr,
                              nullptr, instance, nullptr);
    font_ = CreateFontA(-13, 0, 0, 0, FW_BOLD, 0, 0, 0, DEFAULT_CHARSET, 0, 0, DEFAULT_QUALITY, 0,
                        "Arial");
    HWND label = CreateWindowExA(0, "STATIC", std::string(panel::EepromData::kLabel).c_str(),
                                 WS_CHILD | WS_VISIBLE, px(120), px(1920), px(2655), px(375),
                                 window_, nullptr, instance, nullptr);
    SendMessageA(label, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
    bar_ = CreateWindowExA(0, PROGRESS_CLASSA, "", WS_CHILD | WS_VISIBLE, px(2760), px(1920),
                           px(3015), px(375), window_, nullptr, instance, nullptr);
    SendMessageA(bar_, PBM_SETRANGE32, 0, 100);
}

void EepromWindow::redraw() {
    if (!model_.visible()) {
        if (window_) ShowWindow(window_, SW_HIDE);
        return;
    }
    if (!window_) create();
    SendMessageA(bar_, PBM_SETPOS, static_cast<WPARAM>(model_.value()), 0);
    if (!IsWindowVisible(window_)) {
        ShowWindow(window_, SW_SHOWNOACTIVATE);
        UpdateWindow(window_);
    }
    pump();
}

}  // namespace synthor::win32
