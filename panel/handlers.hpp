// Attaching the control panel's behaviour to a session: every event handler of the form
// `FreqGen2` (start-up, closing, each button, option and check box) and the `EEPROMdata`
// progress model the start-up shows while calibration loads. Every place that builds a session
// with a panel (the command-line tool, the COM server, the window front ends) calls this once.
#pragma once

#include "panel/eeprom_data.hpp"
#include "session/session.hpp"

namespace synthor::panel {

// Attaches the handlers to `session.panel` and points the session's calibration progress at
// the returned progress window model, which lives as long as the session. Call once per session.
EepromData& attachHandlers(Session& session);

}  // namespace synthor::panel
