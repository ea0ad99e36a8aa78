// The drop-in driver library's settings, read from VEXASIM_* environment variables named after
// the command-line tool's --sim-* options.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sim/sim_instrument.hpp"

namespace synthor::sim {

struct DropInSettings {
    Config config;
    std::string tracePath;  // VEXASIM_TRACE; empty: no trace
};

// Looks a variable up; null when it is not set.
using EnvironmentLookup = std::function<const char*(const char* name)>;

// Reads VEXASIM_EEPROM, VEXASIM_USB_SERIAL, VEXASIM_STATUS, VEXASIM_VERSION, VEXASIM_LOCK
// (decimal or 0x-hex), VEXASIM_FAULTS (comma-separated fault settings), VEXASIM_USB (full or high:
// the bus of the wire-time model) and VEXASIM_TRACE. An unset
// or empty variable keeps its default. A bad value adds one line to `problems` and keeps the
// default; in VEXASIM_FAULTS each bad setting is reported and skipped, the others apply.
DropInSettings readDropInSettings(const EnvironmentLookup& lookup,
                                  std::vector<std::string>& problems);

}  // namespace synthor::sim
