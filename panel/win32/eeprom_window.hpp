// `EEPROMdata`: the small window that shows the calibration load's progress while the panel
// starts up, captioned "Initialising", with its label and a 0..100 progress bar.
#pragma once

#include <windows.h>

#include "calibration/sig_gen_routines.hpp"

namespace synthor::win32 {

class EepromWindow final : public CalibrationProgress {
  public:
    EepromWindow() = default;
    ~EepromWindow() override;
    EepromWindow(const EepromWindow&) = delete;
    EepromWindow& operator=(const EepromWindow&) = delete;

    // Moves the bar (creating the window, hidden, on first use) and lets the window repaint.
    void setValue(float value) override;
    void show();
    void hide();
    HWND window() const { return window_; }

  private:
    void create();

    HWND window_ = nullptr;
    HWND bar_ = nullptr;
    HFONT font_ = nullptr;
};

}  // namespace synthor::win32
