// Fills the driver table from libftdi1 (the open FTDI library over libusb), loaded at run time
// like the D2XX library: where libftdi1 is absent the loader returns a table whose opens fail
// with "device not found" and says why in `diagnostic`.
//
// D2XX behaviour kept: FT_OpenEx by description (flag 2) or serial (flag 1), exact match, across
// FTDI's product IDs; D2XX statuses; a device open already fails with "not opened"; reads wait
// for the count asked for or the read time-out; writes write everything or fail after the write
// time-out; FT_CyclePort resets the USB port and, when the device re-enumerated, finds it again
// by its serial number and reopens it with the settings it had.
#pragma once

#include <functional>
#include <string>

#include "link/driver_library.hpp"

namespace synthor {

// Called with a message for the user when an FTDI device exists but cannot be opened for lack
// of permission (the message names the fix). Said once per device.
using DriverNotice = std::function<void(const std::string&)>;

// The file name the system's library search is asked for ("libftdi1.so.2").
const char* libftdiLibraryName();

// The product IDs of FTDI's vendor ID 0x0403 that opens and listings look at.
inline constexpr int kFtdiVendor = 0x0403;
inline constexpr int kFtdiProducts[] = {0x6001, 0x6010, 0x6011, 0x6014, 0x6015};

// The udev rule shipped with the tool, named in the permission message.
inline constexpr const char* kUdevRuleName = "60-synthor.rules";

DriverLoad loadLibftdiDriver(const std::string& path = libftdiLibraryName(),
                             DriverNotice notice = {});

// The driver a `--driver` name picks: "libftdi", "d2xx", or "auto" (libftdi1 where it loads on
// Linux, else D2XX; D2XX on Windows). An unknown name gives an unavailable table.
DriverLoad loadDriver(const std::string& name, DriverNotice notice = {});

}  // namespace synthor
