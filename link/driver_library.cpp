#include "link/driver_library.hpp"

#ifdef _WIN32
#include <windows.h>
#define SYNTHOR_D2XX_CALL __stdcall
#else
#include <dlfcn.h>
#define SYNTHOR_D2XX_CALL
#endif

namespace synthor {
namespace {

using d2xx::Handle;
using d2xx::Status;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// The entry points' C signatures (DWORD and ULONG are 32-bit on every supported platform).
using OpenExFn = Status(SYNTHOR_D2XX_CALL*)(void*, uint32_t, Handle*);
using HandleFn = Status(SYNTHOR_D2XX_CALL*)(Handle);
using TwoUlongFn = Status(SYNTHOR_D2XX_CALL*)(Handle, uint32_t, uint32_t);
using LatencyFn = Status(SYNTHOR_D2XX_CALL*)(Handle, uint8_t);
using FlowFn = Status(SYNTHOR_D2XX_CALL*)(Handle, uint16_t, uint8_t, uint8_t);
using WriteFn = Status(SYNTHOR_D2XX_CALL*)(Handle, void*, uint32_t, uint32_t*);
using ReadFn = Status(SYNTHOR_D2XX_CALL*)(Handle, void*, uint32_t, uint32_t*);
using PurgeFn = Status(SYNTHOR_D2XX_CALL*)(Handle, uint32_t);
using CreateListFn = Status(SYNTHOR_D2XX_CALL*)(uint32_t*);
using ListDetailFn = Status(SYNTHOR_D2XX_CALL*)(uint32_t, uint32_t*, uint32_t*, uint32_t*,
                                                uint32_t*, void*, void*, Handle*);

// A text field of FT_GetDeviceInfoDetail: NUL-terminated within its buffer.
std::string fieldText(const char* field, std::size_t size) {
    std::size_t n = 0;
    while (n < size && field[n] != '\0')
        ++n;
    return std::string(field, n);
}

#ifdef _WIN32
using LibHandle = HMODULE;

std::string lastErrorText() {
    const DWORD code = GetLastError();
    char* text = nullptr;
    FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, 0, reinterpret_cast<LPSTR>(&text), 0, nullptr);
    std::string out = text ? text : ("error " + std::to_string(code));
    if (text) LocalFree(text);
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
        out.pop_back();
    return out;
}

LibHandle openLibrary(const std::string& path, std::string& why) {
    // No "missing DLL" or "insert disk" dialogs while probing for the driver.
    DWORD oldMode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &oldMode);
    LibHandle lib = LoadLibraryA(path.c_str());
    if (!lib) why = lastErrorText();
    SetThreadErrorMode(oldMode, nullptr);
    return lib;
}

void* symbol(LibHandle lib, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(lib, name));
}
#else
using LibHandle = void*;

LibHandle openLibrary(const std::string& path, std::string& why) {
    LibHandle lib = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!lib) {
        const char* err = dlerror();
        why = err ? err : "unknown error";
    }
    return lib;
}

void* symbol(LibHandle lib, const char* name) {
    return dlsym(lib, name);
}
#endif

template <typename Fn>
Fn entry(LibHandle lib, const char* name, std::string& missing) {
    void* p = symbol(lib, name);
    if (!p) missing += (missing.empty() ? "" : ", ") + std::string(name);
    return reinterpret_cast<Fn>(p);
}

}  // namespace

const char* defaultDriverLibraryName() {
#ifdef _WIN32
    return "ftd2xx.dll";
#else
    return "libftd2xx.so";
#endif
}

d2xx::DriverTable unavailableDriver() {
    d2xx::DriverTable t;
    t.openEx = [](const char*, uint32_t, Handle*) { return d2xx::DeviceNotFound; };
    t.close = [](Handle) { return d2xx::InvalidHandle; };
    t.cyclePort = [](Handle) { return d2xx::InvalidHandle; };
    t.setTimeouts = [](Handle, uint32_t, uint32_t) { return d2xx::InvalidHandle; };
    t.setUsbParameters = [](Handle, uint32_t, uint32_t) { return d2xx::InvalidHandle; };
    t.setLatencyTimer = [](Handle, uint8_t) { return d2xx::InvalidHandle; };
    t.setFlowControl = [](Handle, uint16_t, uint8_t, uint8_t) { return d2xx::InvalidHandle; };
    t.write = [](Handle, const void*, uint32_t, uint32_t*) { return d2xx::InvalidHandle; };
    t.read = [](Handle, void*, uint32_t, uint32_t*) { return d2xx::InvalidHandle; };
    t.purge = [](Handle, uint32_t) { return d2xx::InvalidHandle; };
    return t;
}

DriverLoad loadDriverLibrary(const std::string& path) {
    DriverLoad out;
    std::string why;
    LibHandle raw = openLibrary(path, why);
    if (!raw) {
        out.table = unavailableDriver();
        out.diagnostic = "USB driver library " + path + " could not be loaded (" + why +
                         "); no instrument can be opened.";
        return out;
    }
    // The driver library stays loaded for the life of the process: a vendor driver may keep
    // threads of its own running, and tables copied anywhere keep pointing into it.
    std::string missing;
    const auto openEx = entry<OpenExFn>(raw, "FT_OpenEx", missing);
    const auto close = entry<HandleFn>(raw, "FT_Close", missing);
    const auto setTimeouts = entry<TwoUlongFn>(raw, "FT_SetTimeouts", missing);
    const auto setUsb = entry<TwoUlongFn>(raw, "FT_SetUSBParameters", missing);
    const auto setLatency = entry<LatencyFn>(raw, "FT_SetLatencyTimer", missing);
    const auto setFlow = entry<FlowFn>(raw, "FT_SetFlowControl", missing);
    const auto write = entry<WriteFn>(raw, "FT_Write", missing);
    const auto read = entry<ReadFn>(raw, "FT_Read", missing);
    const auto purge = entry<PurgeFn>(raw, "FT_Purge", missing);
    if (!missing.empty()) {
        out.table = unavailableDriver();
        out.diagnostic =
            "USB driver library " + path + " lacks " + missing + "; no instrument can be opened.";
        return out;
    }
    std::string optional;
    const auto cycle = entry<HandleFn>(raw, "FT_CyclePort", optional);
    const auto createList = entry<CreateListFn>(raw, "FT_CreateDeviceInfoList", optional);
    const auto listDetail = entry<ListDetailFn>(raw, "FT_GetDeviceInfoDetail", optional);
    if (!cycle) {
        out.diagnostic =
            "USB driver library " + path + " has no FT_CyclePort; port cycles will report failure.";
    }

    d2xx::DriverTable& t = out.table;
    t.openEx = [openEx](const char* arg, uint32_t flags, Handle* h) {
        return openEx(const_cast<char*>(arg), flags, h);
    };
    t.close = [close](Handle h) { return close(h); };
    t.cyclePort = [cycle](Handle h) { return cycle ? cycle(h) : d2xx::NotSupported; };
    t.setTimeouts = [setTimeouts](Handle h, uint32_t r, uint32_t w) {
        return setTimeouts(h, r, w);
    };
    t.setUsbParameters = [setUsb](Handle h, uint32_t i, uint32_t o) { return setUsb(h, i, o); };
    t.setLatencyTimer = [setLatency](Handle h, uint8_t ms) { return setLatency(h, ms); };
    t.setFlowControl = [setFlow](Handle h, uint16_t f, uint8_t on, uint8_t off) {
        return setFlow(h, f, on, off);
    };
    t.write = [write](Handle h, const void* data, uint32_t n, uint32_t* done) {
        return write(h, const_cast<void*>(data), n, done);
    };
    t.read = [read](Handle h, void* data, uint32_t n, uint32_t* done) {
        return read(h, data, n, done);
    };
    t.purge = [purge](Handle h, uint32_t mask) { return purge(h, mask); };
    if (createList && listDetail) {
        t.listDevices = [createList, listDetail](std::vector<d2xx::DeviceInfo>& devices) {
            devices.clear();
            uint32_t count = 0;
            if (const Status s = createList(&count); s != d2xx::Ok) return s;
            for (uint32_t i = 0; i < count && i < 1024; ++i) {
                uint32_t flags = 0, type = 0, id = 0, location = 0;
                char serial[16] = {}, description[64] = {};
                Handle h = nullptr;
                const Status s =
                    listDetail(i, &flags, &type, &id, &location, serial, description, &h);
                if (s != d2xx::Ok) return s;
                devices.push_back({fieldText(description, sizeof description),
                                   fieldText(serial, sizeof serial), "d2xx"});
            }
            return d2xx::Ok;
        };
    }
    out.available = true;
    return out;
}

}  // namespace synthor
