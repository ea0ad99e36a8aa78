// The D2XX entry points with their C signatures, over one process-wide simulated instrument
// configured from the VEXASIM_* environment variables on first use.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>

#include "link/trace.hpp"
#include "sim/environment.hpp"

#ifdef _WIN32
#define VEXASIM_CALL __stdcall
#define VEXASIM_EXPORT
#else
#define VEXASIM_CALL
#define VEXASIM_EXPORT __attribute__((visibility("default")))
#endif

using FT_STATUS = std::uint32_t;
using FT_HANDLE = void*;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using USHORT = std::uint16_t;
using UCHAR = std::uint8_t;

namespace {

using synthor::d2xx::DriverTable;
using synthor::sim::Instrument;

struct DropIn {
    std::mutex mutex;  // hosts may call from several threads; the instrument is not reentrant
    std::unique_ptr<Instrument> instrument;
    DriverTable table;
    std::vector<synthor::d2xx::DeviceInfo> listed;  // FT_CreateDeviceInfoList's snapshot
};

DropIn* makeDropIn() {
    std::vector<std::string> problems;
    auto settings = synthor::sim::readDropInSettings(
        [](const char* name) -> const char* { return std::getenv(name); }, problems);
    for (const std::string& problem : problems)
        std::fprintf(stderr, "vexasim: %s\n", problem.c_str());

    auto* dropIn = new DropIn;
    dropIn->instrument = std::make_unique<Instrument>(std::move(settings.config));
    dropIn->table = dropIn->instrument->driverTable();
    if (!settings.tracePath.empty()) {
        auto out = std::make_shared<std::ofstream>(settings.tracePath);
        if (*out) {
            dropIn->table =
                synthor::traced(std::move(dropIn->table), synthor::streamTraceSink(out));
        } else {
            std::fprintf(stderr, "vexasim: VEXASIM_TRACE: cannot write %s; no trace\n",
                         settings.tracePath.c_str());
        }
    }
    return dropIn;
}

// Created on first use and never destroyed, so that a host calling in while the process shuts
// down still finds it.
DropIn& dropIn() {
    static DropIn* const instance = makeDropIn();
    return *instance;
}

// The one place where the C boundary is guarded: an exception becomes FT_OTHER_ERROR.
template <typename Call>
FT_STATUS guarded(Call call) noexcept {
    try {
        DropIn& d = dropIn();
        const std::lock_guard lock(d.mutex);
        return call(d.table);
    } catch (...) {
        return synthor::d2xx::OtherError;
    }
}

}  // namespace

extern "C" {

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_OpenEx(void* pArg1, DWORD Flags, FT_HANDLE* pHandle) {
    return guarded(
        [&](DriverTable& t) { return t.openEx(static_cast<const char*>(pArg1), Flags, pHandle); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_Close(FT_HANDLE ftHandle) {
    return guarded([&](DriverTable& t) { return t.close(ftHandle); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_CyclePort(FT_HANDLE ftHandle) {
    return guarded([&](DriverTable& t) { return t.cyclePort(ftHandle); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_SetTimeouts(FT_HANDLE ftHandle, ULONG ReadTimeout,
                                                     ULONG WriteTimeout) {
    return guarded(
        [&](DriverTable& t) { return t.setTimeouts(ftHandle, ReadTimeout, WriteTimeout); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_SetUSBParameters(FT_HANDLE ftHandle,
                                                          ULONG ulInTransferSize,
                                                          ULONG ulOutTransferSize) {
    return guarded([&](DriverTable& t) {
        return t.setUsbParameters(ftHandle, ulInTransferSize, ulOutTransferSize);
    });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_SetLatencyTimer(FT_HANDLE ftHandle, UCHAR ucLatency) {
    return guarded([&](DriverTable& t) { return t.setLatencyTimer(ftHandle, ucLatency); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_SetFlowControl(FT_HANDLE ftHandle, USHORT FlowControl,
                                                        UCHAR XonChar, UCHAR XoffChar) {
    return guarded(
        [&](DriverTable& t) { return t.setFlowControl(ftHandle, FlowControl, XonChar, XoffChar); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_Write(FT_HANDLE ftHandle, void* lpBuffer,
                                               DWORD dwBytesToWrite, DWORD* lpBytesWritten) {
    return guarded([&](DriverTable& t) {
        return t.write(ftHandle, lpBuffer, dwBytesToWrite, lpBytesWritten);
    });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_Read(FT_HANDLE ftHandle, void* lpBuffer,
                                              DWORD dwBytesToRead, DWORD* lpBytesReturned) {
    return guarded(
        [&](DriverTable& t) { return t.read(ftHandle, lpBuffer, dwBytesToRead, lpBytesReturned); });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_Purge(FT_HANDLE ftHandle, ULONG Mask) {
    return guarded([&](DriverTable& t) { return t.purge(ftHandle, Mask); });
}

// The device list: FT_CreateDeviceInfoList takes a snapshot that FT_GetDeviceInfoDetail reads,
// an FT232R (type 5, ID 0x04036001) with the simulated description and serial.
VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_CreateDeviceInfoList(DWORD* lpdwNumDevs) {
    if (!lpdwNumDevs) return synthor::d2xx::InvalidParameter;
    return guarded([&](DriverTable& t) {
        auto& listed = dropIn().listed;
        listed.clear();
        const FT_STATUS s = t.listDevices(listed);
        *lpdwNumDevs = static_cast<DWORD>(listed.size());
        return s;
    });
}

VEXASIM_EXPORT FT_STATUS VEXASIM_CALL FT_GetDeviceInfoDetail(DWORD dwIndex, DWORD* lpdwFlags,
                                                             DWORD* lpdwType, DWORD* lpdwID,
                                                             DWORD* lpdwLocId, void* lpSerialNumber,
                                                             void* lpDescription,
                                                             FT_HANDLE* pftHandle) {
    return guarded([&](DriverTable&) {
        DropIn& d = dropIn();
        if (dwIndex >= d.listed.size()) return synthor::d2xx::DeviceNotFound;
        const auto& info = d.listed[dwIndex];
        const auto copy = [](void* to, const std::string& text, std::size_t size) {
            if (!to) return;
            const std::size_t n = std::min(text.size(), size - 1);
            std::memcpy(to, text.data(), n);
            static_cast<char*>(to)[n] = '\0';
        };
        if (lpdwFlags) *lpdwFlags = d.instrument->isOpen() ? 1 : 0;  // FT_FLAGS_OPENED
        if (lpdwType) *lpdwType = 5;                                 // FT_DEVICE_232R
        if (lpdwID) *lpdwID = 0x04036001;
        if (lpdwLocId) *lpdwLocId = 0;
        copy(lpSerialNumber, info.serial, 16);
        copy(lpDescription, info.description, 64);
        if (pftHandle) *pftHandle = nullptr;
        return synthor::d2xx::Ok;
    });
}

}  // extern "C"
