// The control panel `FreqGen2` as a Win32 window over the session's form model. The window holds
// no behaviour: it forwards every click and every typed text to the model, then redraws every
// control from it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "panel/eeprom_data.hpp"
#include "session/session.hpp"

namespace synthor::win32 {

// Makes ShowUI show the panel as a modal window of this process: the panel's start-up runs
// (drawing `progress`, the model panel::attachHandlers returned, as the `EEPROMdata` window),
// and the call returns once the model's form is hidden again ("Exit" or the title-bar close).
// F12 in the window saves its picture to the file named by the environment variable
// SYNTHOR_SNAPSHOT (default FreqGen2.png). Call once, after panel::attachHandlers.
void attachWin32Panel(Session& session, panel::EepromData& progress);

// The panel's window once it has been created, else nullptr.
HWND win32PanelWindow();

// Saves a picture of the panel's window (frame included) through cGdiPlus; the quality is used
// for JPEG names. Returns the GDI+ status (0 when saved or when the extension names no encoder).
long saveWin32PanelPicture(const std::string& file, std::int32_t quality);

}  // namespace synthor::win32
