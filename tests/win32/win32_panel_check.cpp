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

int runGdiPlus(const std::filesystem::path& dir) {
    struct Event {
        long gdiError = 0;
        std::string text;
        int count = 0;
    } event;
    imaging::cGdiPlus gdi([&](long, long gdiError, const std::string& text) {
        event = {gdiError, text, event.count + 1};
    });
    // The screen as it is: a 24- or 32-bit picture of the display's size.
    imaging::Picture picture{imaging::captureWindow(GetDesktopWindow()), nullptr};

    // GDI+ lists its patterns as wide text; they must reach the index whole.
    const auto& index = gdi.extensionIndex();
    check(index.find("jpeg") >= 0 && index.find("JPEG") == index.find("jpg") &&
              index.find("tif") == index.find("TIFF") && index.find("png") >= 0,
          "GDI+'s extension lists make the index");

    // The script decodes these with an independent decoder.
    for (const char* name : {"p.bmp", "p.png", "p.TIFF", "p.jpe"})
        gdi.PictureBoxToFile(picture, (dir / name).string(), 80);
    gdi.PictureBoxToFile(picture, (dir / "q10.JPEG").string(), 10);
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
