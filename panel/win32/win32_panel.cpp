// The Win32 `FreqGen2`: one window per model control at the shared form geometry, made by one
// renderer that switches on the control's kind; a refresh that copies every control's state from
// the model after each event; the modal loop behind ShowUI.
#include "panel/win32/win32_panel.hpp"

#include <commctrl.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <memory>
#include <vector>

#include "form/form_geometry.hpp"
#include "imaging/gdiplus/gdi_plus.hpp"
#include "panel/win32/eeprom_window.hpp"

namespace synthor::win32 {
namespace {

using panel::ControlKind;

constexpr char kClassName[] = "SynthorFreqGen2";
constexpr int kFirstId = 1000;  // control i of the layout has id kFirstId + i
constexpr DWORD kFormStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;

class PanelWindow {
  public:
    PanelWindow(Session& session, panel::EepromData& progress)
        : session_(session), eeprom_(progress) {}
    ~PanelWindow();

    void showModal();
    HWND window() const { return window_; }
    long savePicture(const std::string& file, std::int32_t quality);

  private:
    static LRESULT CALLBACK windowProc(HWND window, UINT message, WPARAM w, LPARAM l);
    LRESULT handle(UINT message, WPARAM w, LPARAM l);
    void create();
    HWND render(const panel::Control& control, const panel::Rect& rect, int id);
    void forward(std::size_t index, int code);
    void refresh();
    void wakeIfHidden();

    Session& session_;
    HWND window_ = nullptr;
    HWND tips_ = nullptr;
    std::vector<HWND> windows_;  // per model control; nullptr for the file dialog
    std::vector<bool> drawnBold_;
    HFONT font_ = nullptr;
    HFONT bold_ = nullptr;
    bool refreshing_ = false;
    EepromWindow eeprom_;
};

std::unique_ptr<PanelWindow> thePanel;

std::string windowText(HWND window) {
    std::string text(static_cast<std::size_t>(GetWindowTextLengthA(window)) + 1, '\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextA(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

HFONT makeFont(int weight) {
    // 8 points at 96 DPI; the system substitutes a font of its own when this one is missing.
    return CreateFontA(-11, 0, 0, 0, weight, 0, 0, 0, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                       CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH | FF_SWISS,
                       std::string(panel::kFontName).c_str());
}

PanelWindow::~PanelWindow() {
    if (window_) DestroyWindow(window_);
    if (font_) DeleteObject(font_);
    if (bold_) DeleteObject(bold_);
}

void PanelWindow::create() {
    INITCOMMONCONTROLSEX icc{sizeof(icc), ICC_BAR_CLASSES | ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&icc);
    HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSA wc{};
    wc.lpfnWndProc = windowProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursor(nullptr, IDC_ARROW);
    wc.hIcon = LoadIcon(nullptr, IDI_APPLICATION);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.lpszClassName = kClassName;
    RegisterClassA(&wc);

    const auto& geometry = panel::formGeometry();
    RECT frame{0, 0, geometry.clientWidth, geometry.clientHeight};
    AdjustWindowRect(&frame, kFormStyle, FALSE);
    int width = frame.right - frame.left, height = frame.bottom - frame.top;
    window_ = CreateWindowExA(0, kClassName, std::string(panel::kFormCaption).c_str(), kFormStyle,
                              (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
                              (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height, nullptr,
                              nullptr, instance, this);
    font_ = makeFont(FW_NORMAL);
    bold_ = makeFont(FW_BOLD);
    tips_ = CreateWindowExA(WS_EX_TOPMOST, TOOLTIPS_CLASSA, nullptr, WS_POPUP | TTS_ALWAYSTIP, 0, 0,
                            0, 0, window_, nullptr, instance, nullptr);

    const auto& controls = session_.panel.controls();
    windows_.assign(controls.size(), nullptr);
    drawnBold_.assign(controls.size(), false);
    for (std::size_t i = 0; i < controls.size(); ++i) {
        HWND child = render(controls[i], geometry.controls[i], kFirstId + static_cast<int>(i));
        if (!child) continue;
        windows_[i] = child;
        SendMessageA(child, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
        if (!controls[i].tooltip().empty()) {
            std::string tip(controls[i].tooltip());
            TTTOOLINFOA info{};
            info.cbSize = TTTOOLINFOA_V2_SIZE;
            info.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
            info.hwnd = window_;
            info.uId = reinterpret_cast<UINT_PTR>(child);
            info.lpszText = tip.data();
            SendMessageA(tips_, TTM_ADDTOOL, 0, reinterpret_cast<LPARAM>(&info));
        }
    }
}

// The one renderer: a child window for a model control, by its kind.
HWND PanelWindow::render(const panel::Control& control, const panel::Rect& r, int id) {
    const char* windowClass = "BUTTON";
    DWORD style = WS_CHILD | WS_VISIBLE;
    DWORD exStyle = 0;
    switch (control.kind()) {
        case ControlKind::Frame:
            style |= BS_GROUPBOX;
            break;
        case ControlKind::Label:
            windowClass = "STATIC";
            style |= SS_LEFT | SS_NOPREFIX;
            break;
        case ControlKind::Line:
            windowClass = "STATIC";
            style |= SS_ETCHEDHORZ;
            break;
        case ControlKind::TextBox:
            windowClass = "EDIT";
            style |= WS_TABSTOP | ES_AUTOHSCROLL;
            exStyle = WS_EX_CLIENTEDGE;
            break;
        case ControlKind::CommandButton:
            style |= WS_TABSTOP | BS_PUSHBUTTON;
            break;
        case ControlKind::OptionButton:
            style |= WS_TABSTOP | BS_RADIOBUTTON;  // the model selects, not the button
            break;
        case ControlKind::CheckBox:
            style |= WS_TABSTOP | BS_CHECKBOX;
            break;
        case ControlKind::StatusBar: {
            HWND bar = CreateWindowExA(0, STATUSCLASSNAMEA, "", WS_CHILD | WS_VISIBLE, 0, 0, 0, 0,
                                       window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                       GetModuleHandleA(nullptr), nullptr);
            std::array<int, 7> edges{};
            const auto& panels = panel::formGeometry().statusPanels;
            for (std::size_t p = 0; p < edges.size(); ++p)
                edges[p] = panels[p].right();
            edges.back() = -1;
            SendMessageA(bar, SB_SETPARTS, edges.size(), reinterpret_cast<LPARAM>(edges.data()));
            return bar;
        }
        case ControlKind::FileDialog:
            return nullptr;  // a dialog, shown by the prompts when a plan loader asks
    }
    return CreateWindowExA(exStyle, windowClass, control.text().c_str(), style, r.x, r.y, r.width,
                           r.height, window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                           GetModuleHandleA(nullptr), nullptr);
}

// Copies every control's state from the model.
void PanelWindow::refresh() {
    refreshing_ = true;
    const auto& controls = session_.panel.controls();
    for (std::size_t i = 0; i < controls.size(); ++i) {
        HWND child = windows_[i];
        const auto& control = controls[i];
        if (!child) continue;
        if (control.kind() == ControlKind::StatusBar) {
            for (int p = 1; p <= 7; ++p)
                SendMessageA(child, SB_SETTEXTA, static_cast<WPARAM>(p - 1),
                             reinterpret_cast<LPARAM>(session_.panel.status(p).c_str()));
            continue;
        }
        if (control.kind() != ControlKind::Line && windowText(child) != control.text())
            SetWindowTextA(child, control.text().c_str());
        if (control.kind() == ControlKind::OptionButton || control.kind() == ControlKind::CheckBox)
            SendMessageA(child, BM_SETCHECK, control.value() ? BST_CHECKED : BST_UNCHECKED, 0);
        if (control.kind() == ControlKind::CommandButton && drawnBold_[i] != control.bold()) {
            drawnBold_[i] = control.bold();
            SendMessageA(child, WM_SETFONT,
                         reinterpret_cast<WPARAM>(control.bold() ? bold_ : font_), TRUE);
        }
        if ((IsWindowEnabled(child) != FALSE) != control.enabled())
            EnableWindow(child, control.enabled());
    }
    refreshing_ = false;
}

// Hands a child's notification to the model, then redraws from it.
void PanelWindow::forward(std::size_t index, int code) {
    auto& form = session_.panel;
    const auto& control = form.controls()[index];
    std::string name(control.name());
    try {
        if (control.kind() == ControlKind::TextBox) {
            if (code != EN_CHANGE || refreshing_) return;
            form.typeText(name, windowText(windows_[index]));
        } else if (code == BN_CLICKED) {
            form.click(name);
        } else {
            return;
        }
    } catch (const std::exception& e) {
        session_.prompts.msgBox(e.what(), msgstyle::Critical, panel::kFormName);
    }
    refresh();
    wakeIfHidden();
}

// The modal loop checks the model after each message; make sure one comes once it is hidden.
void PanelWindow::wakeIfHidden() {
    if (!session_.panel.visible()) PostMessageA(window_, WM_NULL, 0, 0);
}

LRESULT PanelWindow::handle(UINT message, WPARAM w, LPARAM l) {
    switch (message) {
        case WM_COMMAND: {
            int id = LOWORD(w);
            if (l != 0 && id >= kFirstId &&
                static_cast<std::size_t>(id - kFirstId) < windows_.size())
                forward(static_cast<std::size_t>(id - kFirstId), HIWORD(w));
            return 0;
        }
        case WM_CLOSE:
            // The title-bar close hides the panel; the window and the connection stay.
            session_.panel.close();
            refresh();
            wakeIfHidden();
            return 0;
    }
    return DefWindowProcA(window_, message, w, l);
}

LRESULT CALLBACK PanelWindow::windowProc(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<PanelWindow*>(reinterpret_cast<CREATESTRUCTA*>(l)->lpCreateParams);
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
        self->window_ = window;
    }
    auto* self = reinterpret_cast<PanelWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    return self ? self->handle(message, w, l) : DefWindowProcA(window, message, w, l);
}

void PanelWindow::showModal() {
    auto& form = session_.panel;
    if (!window_) create();

    // The start-up runs before the window appears; its calibration load shows EEPROMdata.
    try {
        form.load();
    } catch (const std::exception& e) {
        session_.prompts.msgBox(e.what(), msgstyle::Critical, panel::kFormName);
    }

    form.show();
    refresh();
    ShowWindow(window_, SW_SHOWNORMAL);
    SetForegroundWindow(window_);
    UpdateWindow(window_);

    MSG msg;
    while (form.visible()) {
        int got = GetMessageA(&msg, nullptr, 0, 0);
        if (got <= 0) {
            if (got == 0) PostQuitMessage(static_cast<int>(msg.wParam));  // for the host's loop
            break;
        }
        if (msg.message == WM_KEYDOWN && msg.wParam == VK_F12) {
            const char* file = std::getenv("SYNTHOR_SNAPSHOT");
            savePicture(file && *file ? file : "FreqGen2.png", 90);
            continue;
        }
        if (!IsDialogMessageA(window_, &msg)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
    }
    ShowWindow(window_, SW_HIDE);
}

long PanelWindow::savePicture(const std::string& file, std::int32_t quality) {
    RedrawWindow(window_, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    long status = 0;
    imaging::cGdiPlus gdi(
        [&status](long, long gdiError, const std::string&) { status = gdiError; });
    imaging::Picture picture{imaging::captureWindow(window_), nullptr};
    gdi.PictureBoxToFile(picture, file, quality);
    DeleteObject(picture.bitmap);
    return status;
}

}  // namespace

void attachWin32Panel(Session& session, panel::EepromData& progress) {
    thePanel = std::make_unique<PanelWindow>(session, progress);
    session.showModal = [] { thePanel->showModal(); };
}

HWND win32PanelWindow() {
    return thePanel ? thePanel->window() : nullptr;
}

long saveWin32PanelPicture(const std::string& file, std::int32_t quality) {
    return thePanel && thePanel->window() ? thePanel->savePicture(file, quality) : 0;
}

}  // namespace synthor::win32
