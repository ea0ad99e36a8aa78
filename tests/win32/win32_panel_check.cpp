// Runs under wine:
//   win32_panel_check eeprom        shows EEPROMdata at 40% for 8 s
//   win32_panel_check where NAME    prints the form's client size and the control's rectangle
//   win32_panel_check gdiplus DIR   saves pictures through cGdiPlus into DIR and checks the
//                                   exporter's decisions; ends with "N passed, M failed"
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>

#include "form/form_geometry.hpp"
#include "imaging/gdiplus/gdi_plus.hpp"
#include "panel/win32/eeprom_window.hpp"

namespace {

using namespace synthor;

int passed = 0, failed = 0;

void check(bool ok, const std::string& what) {
    (ok ? passed : failed)++;
    if (!ok) std::cout << "FAILED: " << what << '\n';
}

// A 24-bit picture with a few coloured bands, so encoders have something to compress.
HBITMAP testBitmap() {
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, 120, 80);
    HGDIOBJ old = SelectObject(dc, bitmap);
    for (int x = 0; x < 120; ++x)
        for (int y = 0; y < 80; ++y)
            SetPixel(dc, x, y, RGB(x * 2, y * 3, (x * y) % 256));
    SelectObject(dc, old);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

// An 8-bit picture with a 256-grey colour table: GDI+ makes an indexed bitmap of it.
HBITMAP indexedBitmap() {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    } info{};
    info.header = {sizeof(BITMAPINFOHEADER), 120, 80, 1, 8, BI_RGB, 0, 0, 0, 256, 0};
    for (int i = 0; i < 256; ++i) {
        auto grey = static_cast<BYTE>(i);
        info.colours[i] = {grey, grey, grey, 0};
    }
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS,
                                      &bits, nullptr, 0);
    auto* rows = static_cast<BYTE*>(bits);
    for (int i = 0; i < 120 * 80; ++i)
        rows[i] = static_cast<BYTE>(i % 120 * 2);
    return bitmap;
}

int runGdiPlus(const std::filesystem::path& dir) {
    struct Event {
        long gdiError = 0;
        std::string text;
        int count = 0;
    } event;
    imaging::cGdiPlus gdi([&](long, long gdiError, const std::string& text) {
        event = {gdiError, text, event.count + 1};
    });
    imaging::Picture picture{testBitmap(), nullptr};

    // GDI+ lists its patterns as wide text; they must reach the index whole.
    const auto& index = gdi.extensionIndex();
    check(index.find("jpeg") >= 0 && index.find("JPEG") == index.find("jpg") &&
              index.find("tif") == index.find("TIFF") && index.find("png") >= 0,
          "GDI+'s extension lists make the index");

    // The script decodes these with an independent decoder.
    for (const char* name : {"p.bmp", "p.png", "p.tif", "p.TIFF", "p.jpg", "p.JPEG", "p.jpe"})
        gdi.PictureBoxToFile(picture, (dir / name).string(), 80);
    gdi.PictureBoxToFile(picture, (dir / "q10.jpg").string(), 10);
    gdi.PictureBoxToFile(picture, (dir / "q95.jpg").string(), 95);
    // wine writes a GIF correctly only from an indexed bitmap; Windows from any.
    gdi.PictureBoxToFile({indexedBitmap(), nullptr}, (dir / "p.gif").string(), 80);
    check(event.count == 0, "good saves raise no Error");

    // No extension, or an unknown one: nothing written, no event.
    std::filesystem::create_directories(dir / "out.dir");
    gdi.PictureBoxToFile(picture, (dir / "out.dir\\picture").string(), 80);
    gdi.PictureBoxToFile(picture, (dir / "p.xyz").string(), 80);
    gdi.PictureBoxToFile(picture, (dir / "noext").string(), 80);
    check(std::filesystem::is_empty(dir / "out.dir") && !std::filesystem::exists(dir / "p.xyz") &&
              event.count == 0,
          "names without a known extension save nothing");

    // A save into a folder that does not exist fails inside GDI+ and raises Error.
    gdi.PictureBoxToFile(picture, (dir / "missing" / "p.png").string(), 80);
    check(event.count == 1 && event.gdiError != 0 &&
              event.text == imaging::cGdiPlus::GdiErrorString(event.gdiError),
          "a failing save raises Error with its status and text (got " +
              std::to_string(event.gdiError) + " " + event.text + ")");

    struct Text {
        long status;
        const char* text;
    };
    for (auto [status, text] :
         {Text{1, "Generic Error"}, Text{7, "Win32 Error"}, Text{13, "Unknown Image Format"},
          Text{20, "Property Not Supported"}, Text{0, "Unknown GDI+ Error"},
          Text{-1, "Unknown GDI+ Error"}, Text{21, "Unknown GDI+ Error"}})
        check(imaging::cGdiPlus::GdiErrorString(status) == text,
              "GdiErrorString(" + std::to_string(status) + ")");

    std::cout << passed << " passed, " << failed << " failed" << std::endl;
    return failed == 0 ? 0 : 1;
}

int showEeprom() {
    panel::EepromData model;
    win32::EepromWindow window(model);
    model.show();
    model.setValue(40);
    for (int i = 0; i < 80; ++i) {
        MSG msg;
        while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageA(&msg);
        Sleep(100);
    }
    return 0;
}

int where(const std::string& name) {
    const auto& g = panel::formGeometry();
    auto r = g.rect(name);
    std::cout << g.clientWidth << ' ' << g.clientHeight << ' ' << r.x << ' ' << r.y << ' '
              << r.width << ' ' << r.height << std::endl;
    return r.width > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "eeprom") return showEeprom();
    if (argc < 3) mode.clear();
    if (mode == "gdiplus") return runGdiPlus(argv[2]);
    if (mode == "where") return where(argv[2]);
    std::cerr << "usage: win32_panel_check gdiplus DIR | eeprom | where NAME\n";
    return 2;
}
