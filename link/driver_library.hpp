// Fills the driver table from the D2XX driver library at run time (ftd2xx.dll on Windows,
// libftd2xx.so elsewhere). A missing library or entry point never crashes the host: the loader
// returns a table whose opens fail with "device not found" and says why in `diagnostic`.
#pragma once

#include <string>

#include "link/d2xx.hpp"

namespace synthor {

struct DriverLoad {
    d2xx::DriverTable table;
    bool available = false;  // false: the table only fails, see diagnostic
    std::string diagnostic;  // empty when everything was found
};

// The file name the system's library search is asked for.
const char* defaultDriverLibraryName();

// Loads the driver library (by default the system's, found through the usual search path).
// FT_CyclePort is optional: some platforms' drivers lack it; without it a port cycle fails with
// "not supported" and the diagnostic says so. FT_CreateDeviceInfoList and FT_GetDeviceInfoDetail
// are optional too: without them the table lists nothing. Every other entry point is required.
DriverLoad loadDriverLibrary(const std::string& path = defaultDriverLibraryName());

// A table with nothing behind it: opens fail with status 2, every other call with status 1.
d2xx::DriverTable unavailableDriver();

}  // namespace synthor
