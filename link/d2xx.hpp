// The driver boundary: the D2XX entry points the link uses, as one table of functions.
//
// The table is filled at run time from the driver library (ftd2xx.dll / libftd2xx.so, see
// driver_library.hpp), by the simulated instrument, or by a test fake; the wire trace wraps any
// of them. Everything above the table is unaware which. Buffers belong to the caller: `write`
// reads `count` bytes from `data`, `read` fills at most `count` bytes of `data`.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace synthor::d2xx {

using Handle = void*;          // FT_HANDLE
using Status = std::uint32_t;  // FT_STATUS

// Status codes the link and the simulator use.
inline constexpr Status Ok = 0;
inline constexpr Status InvalidHandle = 1;
inline constexpr Status DeviceNotFound = 2;
inline constexpr Status DeviceNotOpened = 3;
inline constexpr Status IoError = 4;
inline constexpr Status InvalidParameter = 6;
inline constexpr Status NotSupported = 17;
inline constexpr Status OtherError = 18;

// FT_OpenEx flags.
inline constexpr std::uint32_t OpenBySerialNumber = 1;
inline constexpr std::uint32_t OpenByDescription = 2;

// FT_Purge masks and FT_SetFlowControl modes (the link sets RTS/CTS).
inline constexpr std::uint32_t PurgeRx = 1;
inline constexpr std::uint32_t PurgeTx = 2;
inline constexpr std::uint16_t FlowRtsCts = 0x0100;
inline constexpr std::uint16_t FlowDtrDsr = 0x0200;
inline constexpr std::uint16_t FlowXonXoff = 0x0400;

// One device a driver can see, as `synthor --list` shows it.
struct DeviceInfo {
    std::string description;
    std::string serial;
    std::string driver;  // "sim", "d2xx", "libftdi"
};

struct DriverTable {
    // FT_OpenEx: `arg` is the description or serial number text, `flags` says which.
    std::function<Status(const char* arg, std::uint32_t flags, Handle* handle)> openEx;
    std::function<Status(Handle)> close;
    std::function<Status(Handle)> cyclePort;
    std::function<Status(Handle, std::uint32_t readMs, std::uint32_t writeMs)> setTimeouts;
    std::function<Status(Handle, std::uint32_t inSize, std::uint32_t outSize)> setUsbParameters;
    std::function<Status(Handle, std::uint8_t ms)> setLatencyTimer;
    std::function<Status(Handle, std::uint16_t flow, std::uint8_t xon, std::uint8_t xoff)>
        setFlowControl;
    std::function<Status(Handle, const void* data, std::uint32_t count, std::uint32_t* written)>
        write;
    std::function<Status(Handle, void* data, std::uint32_t count, std::uint32_t* received)> read;
    std::function<Status(Handle, std::uint32_t mask)> purge;
    // The devices the driver can see, whether or not they are open; optional: a table without it
    // lists nothing. Not part of the wire trace.
    std::function<Status(std::vector<DeviceInfo>& devices)> listDevices;
};

}  // namespace synthor::d2xx
