// `EEPROMdata` as a Win32 window: draws the progress window's model (caption, label, the 0..100
// bar, shown or hidden) each time the model changes, and lets it repaint while the load runs.
#pragma once

#include <windows.h>

#include "panel/eeprom_data.hpp"

namespace synthor::win32 {

class EepromWindow {
  public:
    explicit EepromWindow(panel::EepromData& model);
    ~EepromWindow();
    EepromWindow(const EepromWindow&) = delete;
    EepromWindow& operator=(const EepromWindow&) = delete;

  private:
    void create();
    void redraw();

    panel::EepromData& model_;
    HWND window_ = nullptr;
    HWND bar_ = nullptr;
    HFONT font_ = nullptr;
};

}  // namespace synthor::win32
