#include "link/libftdi_driver.hpp"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#ifdef SYNTHOR_HAVE_LIBFTDI
#include <dlfcn.h>
#include <ftdi.h>
#include <libusb.h>
#endif

namespace synthor {

const char* libftdiLibraryName() {
    return "libftdi1.so.2";
}

DriverLoad loadDriver(const std::string& name, DriverNotice notice) {
#ifdef _WIN32
    if (name == "auto" || name == "d2xx") return loadDriverLibrary();
#else
    if (name == "d2xx") return loadDriverLibrary();
    if (name == "auto") {
        DriverLoad ftdi = loadLibftdiDriver(libftdiLibraryName(), std::move(notice));
        if (ftdi.available) return ftdi;
        DriverLoad d2xx = loadDriverLibrary();
        if (!d2xx.available) {
            // One sentence for both: what each loader said, without its closing words.
            const auto cause = [](std::string text) {
                const std::string tail = "; no instrument can be opened.";
                if (text.size() >= tail.size() &&
                    text.compare(text.size() - tail.size(), tail.size(), tail) == 0)
                    text.resize(text.size() - tail.size());
                return text;
            };
            d2xx.diagnostic = "no USB driver could be loaded: " + cause(ftdi.diagnostic) + "; " +
                              cause(d2xx.diagnostic) +
                              "; no instrument can be opened. Install libftdi1 (sudo apt "
                              "install libftdi1-2).";
        }
        return d2xx;
    }
#endif
    if (name == "libftdi") return loadLibftdiDriver(libftdiLibraryName(), std::move(notice));
    DriverLoad out;
    out.table = unavailableDriver();
    out.diagnostic = "unknown USB driver \"" + name + "\"; no instrument can be opened.";
    return out;
}

#ifndef SYNTHOR_HAVE_LIBFTDI

DriverLoad loadLibftdiDriver(const std::string&, DriverNotice) {
    DriverLoad out;
    out.table = unavailableDriver();
    out.diagnostic =
        "this build has no libftdi1 driver (use --driver d2xx); no instrument can be opened.";
    return out;
}

#else

namespace {

using d2xx::Handle;
using d2xx::Status;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;
using Clock = std::chrono::steady_clock;

using d2xx::InvalidParameter;
constexpr int kLibftdiNoPermission = -8;  // ftdi_usb_open_dev: "inappropriate permissions"
constexpr auto kIdlePoll = std::chrono::milliseconds(1);
constexpr auto kRefindWindow = std::chrono::milliseconds(300);
constexpr auto kRefindPause = std::chrono::milliseconds(50);

// libftdi1's entry points and the libusb ones it brings along, resolved from the loaded library.
struct Api {
    decltype(&ftdi_new) newContext;
    decltype(&ftdi_free) freeContext;
    decltype(&ftdi_usb_find_all) findAll;
    decltype(&ftdi_list_free) listFree;
    decltype(&ftdi_usb_open_dev) openDev;
    decltype(&ftdi_usb_close) closeDev;
    decltype(&ftdi_read_data) readData;
    decltype(&ftdi_write_data) writeData;
    decltype(&ftdi_read_data_set_chunksize) setReadChunk;
    decltype(&ftdi_write_data_set_chunksize) setWriteChunk;
    decltype(&ftdi_set_latency_timer) setLatency;
    decltype(&ftdi_setflowctrl) setFlow;
    decltype(&ftdi_setflowctrl_xonxoff) setFlowXonXoff;
    decltype(&ftdi_tciflush) flushRx;
    decltype(&ftdi_tcoflush) flushTx;
    decltype(&libusb_open) usbOpen;
    decltype(&libusb_close) usbClose;
    decltype(&libusb_get_device_descriptor) deviceDescriptor;
    decltype(&libusb_get_string_descriptor_ascii) stringAscii;
    decltype(&libusb_reset_device) resetDevice;
    decltype(&libusb_get_bus_number) busNumber;
    decltype(&libusb_get_device_address) deviceAddress;
};

template <typename Fn>
void resolve(void* lib, const char* name, Fn& fn, std::string& missing) {
    void* p = dlsym(lib, name);
    if (!p) missing += (missing.empty() ? "" : ", ") + std::string(name);
    fn = reinterpret_cast<Fn>(p);
}

// The settings applied through the table, applied again after the device is reopened.
struct Settings {
    uint32_t readMs = 5000, writeMs = 5000;
    std::optional<uint32_t> inSize, outSize;
    std::optional<uint8_t> latency;
    std::optional<uint16_t> flow;
    uint8_t xon = 0x11, xoff = 0x13;
};

struct Device {
    std::mutex mutex;             // one call at a time on a handle
    ftdi_context* ctx = nullptr;  // null while the device is gone
    std::string description, serial;
    uint8_t bus = 0, address = 0;  // where it was last opened
    Settings settings;
};

// One FTDI device seen on the bus.
struct Seen {
    libusb_device* dev = nullptr;
    int product = 0;
    uint8_t bus = 0, address = 0;
    bool readable = false;  // its strings could be read
    bool denied = false;    // opening it was refused for lack of permission
    std::string description, serial;
};

class Driver {
  public:
    Driver(const Api& api, DriverNotice notice) : api_(api), notice_(std::move(notice)) {}
    // The table is gone: devices still open are let go, as the process ending would.
    ~Driver() {
        for (auto& entry : devices_)
            closeContext(*entry.second);
    }
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    Status openEx(const char* arg, uint32_t flags, Handle* handle);
    Status close(Handle h);
    Status cyclePort(Handle h);
    Status setTimeouts(Handle h, uint32_t readMs, uint32_t writeMs);
    Status setUsbParameters(Handle h, uint32_t in, uint32_t out);
    Status setLatencyTimer(Handle h, uint8_t ms);
    Status setFlowControl(Handle h, uint16_t flow, uint8_t xon, uint8_t xoff);
    Status write(Handle h, const void* data, uint32_t count, uint32_t* written);
    Status read(Handle h, void* data, uint32_t count, uint32_t* received);
    Status purge(Handle h, uint32_t mask);
    Status list(std::vector<d2xx::DeviceInfo>& devices);

  private:
    // Every FTDI device present, with its strings where it can be opened; the devices stay
    // referenced until the scan is destroyed.
    class Scan {
      public:
        explicit Scan(Driver& d);
        ~Scan();
        Scan(const Scan&) = delete;
        Scan& operator=(const Scan&) = delete;
        std::vector<Seen> seen;
        // Opens `s` with the scan's libftdi context (a libusb device belongs to the context
        // that found it), which then belongs to the caller; negative libftdi status on failure.
        int open(const Seen& s, ftdi_context*& out);

      private:
        Driver& driver_;
        ftdi_context* ctx_ = nullptr;
        std::vector<ftdi_device_list*> lists_;
    };

    std::shared_ptr<Device> find(Handle h);
    bool inUse(const Seen& s);
    void sayDenied(const Seen& s);
    void closeContext(Device& d);
    // Sends every setting again, after the device was reset or reopened.
    Status apply(Device& d);
    Status sendFlow(Device& d);
    template <typename Op>
    Status onOpen(Handle h, Op op);

    Api api_;
    DriverNotice notice_;
    std::mutex mutex_;  // the handle registry and the notices said
    std::map<Handle, std::shared_ptr<Device> > devices_;
    // Handles are the addresses of bytes kept for the driver's life, so a closed handle never
    // comes back as another device's.
    std::vector<std::unique_ptr<char> > handleTokens_;
    std::set<std::string> noticed_;
};

Driver::Scan::Scan(Driver& d) : driver_(d) {
    const Api& api = d.api_;
    ctx_ = api.newContext();
    if (!ctx_) return;
    for (const int product : kFtdiProducts) {
        ftdi_device_list* list = nullptr;
        if (api.findAll(ctx_, &list, kFtdiVendor, product) < 0) continue;
        lists_.push_back(list);
        for (ftdi_device_list* p = list; p; p = p->next) {
            Seen s;
            s.dev = p->dev;
            s.product = product;
            s.bus = api.busNumber(p->dev);
            s.address = api.deviceAddress(p->dev);
            libusb_device_descriptor desc{};
            libusb_device_handle* h = nullptr;
            const int rc = api.usbOpen(p->dev, &h);
            if (rc == 0 && api.deviceDescriptor(p->dev, &desc) == 0) {
                unsigned char text[256];
                // A device whose strings cannot be read (it is going away) matches nothing.
                s.readable = true;
                auto str = [&](uint8_t index) {
                    if (index == 0) return std::string();
                    const int n = api.stringAscii(h, index, text, sizeof text);
                    if (n < 0) s.readable = false;
                    return n > 0 ? std::string(reinterpret_cast<char*>(text),
                                               static_cast<std::size_t>(n))
                                 : std::string();
                };
                s.description = str(desc.iProduct);
                s.serial = str(desc.iSerialNumber);
            }
            s.denied = rc == LIBUSB_ERROR_ACCESS;
            if (h) api.usbClose(h);
            seen.push_back(std::move(s));
        }
    }
    // In bus order, whatever order libusb found them in.
    std::sort(seen.begin(), seen.end(), [](const Seen& a, const Seen& b) {
        return a.bus != b.bus ? a.bus < b.bus : a.address < b.address;
    });
}

Driver::Scan::~Scan() {
    for (ftdi_device_list* list : lists_)
        driver_.api_.listFree(&list);
    if (ctx_) driver_.api_.freeContext(ctx_);
}

std::shared_ptr<Device> Driver::find(Handle h) {
    const std::lock_guard lock(mutex_);
    const auto it = devices_.find(h);
    return it == devices_.end() ? nullptr : it->second;
}

bool Driver::inUse(const Seen& s) {
    const std::lock_guard lock(mutex_);
    return std::any_of(devices_.begin(), devices_.end(), [&](const auto& entry) {
        const Device& d = *entry.second;
        return d.ctx && d.bus == s.bus && d.address == s.address;
    });
}

void Driver::sayDenied(const Seen& s) {
    char where[64];
    std::snprintf(where, sizeof where, "%04x:%04x on bus %u, device %u", kFtdiVendor, s.product,
                  s.bus, s.address);
    {
        const std::lock_guard lock(mutex_);
        if (!noticed_.insert(where).second) return;
    }
    if (!notice_) return;
    notice_(std::string("the FTDI device ") + where +
            " cannot be opened: permission denied. Install the udev rule " + kUdevRuleName +
            " (in the source's udev folder, or lib/udev/rules.d under the install prefix) into "
            "/etc/udev/rules.d, run \"sudo udevadm control --reload-rules && sudo udevadm "
            "trigger\", then plug the instrument in again.");
}

int Driver::Scan::open(const Seen& s, ftdi_context*& out) {
    if (!ctx_) return -1;
    // The kernel's serial driver is detached while the device is open and attached again at
    // close, so the port comes back for other programs after the session.
    ctx_->module_detach_mode = AUTO_DETACH_REATACH_SIO_MODULE;
    const int rc = driver_.api_.openDev(ctx_, s.dev);
    if (rc < 0) return rc;
    out = ctx_;
    ctx_ = nullptr;
    return rc;
}

void Driver::closeContext(Device& d) {
    if (!d.ctx) return;
    api_.closeDev(d.ctx);
    api_.freeContext(d.ctx);
    d.ctx = nullptr;
}

Status Driver::sendFlow(Device& d) {
    const Settings& s = d.settings;
    if (!s.flow) return d2xx::Ok;
    const int rc = *s.flow == d2xx::FlowXonXoff ? api_.setFlowXonXoff(d.ctx, s.xon, s.xoff)
                                                : api_.setFlow(d.ctx, *s.flow);
    return rc < 0 ? d2xx::IoError : d2xx::Ok;
}

Status Driver::apply(Device& d) {
    const Settings& s = d.settings;
    ftdi_context* c = d.ctx;
    if (s.inSize && api_.setReadChunk(c, *s.inSize) < 0) return d2xx::IoError;
    if (s.outSize && api_.setWriteChunk(c, *s.outSize) < 0) return d2xx::IoError;
    if (s.latency && api_.setLatency(c, *s.latency) < 0) return d2xx::IoError;
    return sendFlow(d);
}

template <typename Op>
Status Driver::onOpen(Handle h, Op op) {
    const auto d = find(h);
    if (!d) return d2xx::InvalidHandle;
    const std::lock_guard lock(d->mutex);
    return op(*d);
}

Status Driver::openEx(const char* arg, uint32_t flags, Handle* handle) {
    if (!arg || !handle) return InvalidParameter;
    if (flags != d2xx::OpenBySerialNumber && flags != d2xx::OpenByDescription)
        return InvalidParameter;
    const std::string wanted = arg;
    Scan scan(*this);
    bool busy = false, denied = false;
    for (const Seen& s : scan.seen) {
        if (s.denied) {
            sayDenied(s);
            denied = true;
        }
        if (!s.readable) continue;
        if ((flags == d2xx::OpenBySerialNumber ? s.serial : s.description) != wanted) continue;
        if (inUse(s)) {
            busy = true;
            continue;
        }
        ftdi_context* ctx = nullptr;
        const int rc = scan.open(s, ctx);
        if (rc < 0) {
            if (rc == kLibftdiNoPermission) sayDenied(s);
            busy = true;
            continue;
        }
        auto d = std::make_shared<Device>();
        d->ctx = ctx;
        d->description = s.description;
        d->serial = s.serial;
        d->bus = s.bus;
        d->address = s.address;
        apply(*d);
        const std::lock_guard lock(mutex_);
        handleTokens_.push_back(std::make_unique<char>());
        Handle const id = handleTokens_.back().get();
        devices_[id] = std::move(d);
        *handle = id;
        return d2xx::Ok;
    }
    return busy || denied ? d2xx::DeviceNotOpened : d2xx::DeviceNotFound;
}

Status Driver::close(Handle h) {
    std::shared_ptr<Device> d;
    {
        const std::lock_guard lock(mutex_);
        const auto it = devices_.find(h);
        if (it == devices_.end()) return d2xx::InvalidHandle;
        d = std::move(it->second);
        devices_.erase(it);
    }
    const std::lock_guard lock(d->mutex);
    closeContext(*d);
    return d2xx::Ok;
}

Status Driver::cyclePort(Handle h) {
    const auto d = find(h);
    if (!d) return d2xx::InvalidHandle;
    const std::lock_guard lock(d->mutex);
    if (d->ctx && api_.resetDevice(d->ctx->usb_dev) == 0) {
        // A port reset returns the chip to its defaults: the settings go out again.
        return apply(*d);
    }
    // The device re-enumerated or went away: find it again by its serial number.
    closeContext(*d);
    if (d->serial.empty()) return d2xx::DeviceNotFound;
    const auto until = Clock::now() + kRefindWindow;
    for (;;) {
        {
            Scan scan(*this);
            for (const Seen& s : scan.seen) {
                if (!s.readable || s.serial != d->serial || inUse(s)) continue;
                if (scan.open(s, d->ctx) < 0) return d2xx::DeviceNotOpened;
                d->bus = s.bus;
                d->address = s.address;
                return apply(*d);
            }
        }
        if (Clock::now() + kRefindPause > until) return d2xx::DeviceNotFound;
        std::this_thread::sleep_for(kRefindPause);
    }
}

Status Driver::setTimeouts(Handle h, uint32_t readMs, uint32_t writeMs) {
    return onOpen(h, [&](Device& d) {
        d.settings.readMs = readMs;
        d.settings.writeMs = writeMs;
        return d.ctx ? d2xx::Ok : d2xx::IoError;
    });
}

Status Driver::setUsbParameters(Handle h, uint32_t in, uint32_t out) {
    return onOpen(h, [&](Device& d) {
        // As D2XX: the IN transfer size is a multiple of 64 from 64 to 64 KiB.
        if (in < 64 || in > 65536 || in % 64 != 0) return InvalidParameter;
        if (!d.ctx) return d2xx::IoError;
        d.settings.inSize = in;
        if (out != 0) d.settings.outSize = out;
        if (api_.setReadChunk(d.ctx, in) < 0) return d2xx::IoError;
        if (out != 0 && api_.setWriteChunk(d.ctx, out) < 0) return d2xx::IoError;
        return d2xx::Ok;
    });
}

Status Driver::setLatencyTimer(Handle h, uint8_t ms) {
    return onOpen(h, [&](Device& d) {
        if (ms == 0) return InvalidParameter;
        if (!d.ctx) return d2xx::IoError;
        d.settings.latency = ms;
        return api_.setLatency(d.ctx, ms) < 0 ? d2xx::IoError : d2xx::Ok;
    });
}

Status Driver::setFlowControl(Handle h, uint16_t flow, uint8_t xon, uint8_t xoff) {
    return onOpen(h, [&](Device& d) {
        if (flow != 0 && flow != d2xx::FlowRtsCts && flow != d2xx::FlowDtrDsr &&
            flow != d2xx::FlowXonXoff)
            return InvalidParameter;
        if (!d.ctx) return d2xx::IoError;
        d.settings.flow = flow;
        d.settings.xon = xon;
        d.settings.xoff = xoff;
        return sendFlow(d);
    });
}

// The libusb time-out for the next transfer: what is left until `deadline` (at least 1 ms),
// or none (0) when the handle's time-out is 0.
int transferTimeout(uint32_t timeoutMs, Clock::time_point deadline) {
    if (timeoutMs == 0) return 0;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 1, INT_MAX));
}

Status Driver::write(Handle h, const void* data, uint32_t count, uint32_t* written) {
    if (!written || (!data && count > 0)) return InvalidParameter;
    return onOpen(h, [&](Device& d) {
        *written = 0;
        if (!d.ctx) return d2xx::IoError;
        const auto* bytes = static_cast<const unsigned char*>(data);
        const uint32_t timeoutMs = d.settings.writeMs;
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        // Chunk by chunk, each given what is left of the write time-out: all or failure.
        while (*written < count) {
            if (timeoutMs != 0 && Clock::now() >= deadline) return d2xx::IoError;
            d.ctx->usb_write_timeout = transferTimeout(timeoutMs, deadline);
            const uint32_t chunk =
                std::min({count - *written, std::max(d.ctx->writebuffer_chunksize, 1u),
                          static_cast<uint32_t>(INT_MAX)});
            const int n = api_.writeData(d.ctx, bytes + *written, static_cast<int>(chunk));
            if (n <= 0) return d2xx::IoError;
            *written += static_cast<uint32_t>(n);
        }
        return d2xx::Ok;
    });
}

Status Driver::read(Handle h, void* data, uint32_t count, uint32_t* received) {
    if (!received || (!data && count > 0)) return InvalidParameter;
    return onOpen(h, [&](Device& d) {
        *received = 0;
        if (!d.ctx) return d2xx::IoError;
        auto* bytes = static_cast<unsigned char*>(data);
        const auto deadline = Clock::now() + std::chrono::milliseconds(d.settings.readMs);
        // libftdi returns at once with what the chip has; ask again until the count is there
        // or the deadline passes, pausing between empty answers rather than spinning.
        while (*received < count) {
            d.ctx->usb_read_timeout = transferTimeout(d.settings.readMs, deadline);
            const int n =
                api_.readData(d.ctx, bytes + *received,
                              static_cast<int>(std::min<uint32_t>(count - *received, INT_MAX)));
            // A chip that holds the IN transfer rather than answering empty runs it into the
            // deadline: that is a time-out, not a failure.
            if (n == LIBUSB_ERROR_TIMEOUT) break;
            if (n < 0) return d2xx::IoError;
            *received += static_cast<uint32_t>(n);
            if (*received >= count) break;
            const auto now = Clock::now();
            if (d.settings.readMs != 0 && now >= deadline) break;
            if (n == 0) std::this_thread::sleep_for(kIdlePoll);
        }
        return d2xx::Ok;
    });
}

Status Driver::purge(Handle h, uint32_t mask) {
    if (mask == 0 || (mask & ~(d2xx::PurgeRx | d2xx::PurgeTx)) != 0) return InvalidParameter;
    return onOpen(h, [&](Device& d) {
        if (!d.ctx) return d2xx::IoError;
        if ((mask & d2xx::PurgeRx) && api_.flushRx(d.ctx) < 0) return d2xx::IoError;
        if ((mask & d2xx::PurgeTx) && api_.flushTx(d.ctx) < 0) return d2xx::IoError;
        return d2xx::Ok;
    });
}

Status Driver::list(std::vector<d2xx::DeviceInfo>& devices) {
    devices.clear();
    Scan scan(*this);
    for (const Seen& s : scan.seen) {
        if (s.denied) sayDenied(s);
        if (s.readable) devices.push_back({s.description, s.serial, "libftdi"});
    }
    return d2xx::Ok;
}

}  // namespace

DriverLoad loadLibftdiDriver(const std::string& path, DriverNotice notice) {
    DriverLoad out;
    void* lib = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!lib) {
        const char* err = dlerror();
        out.table = unavailableDriver();
        out.diagnostic = "libftdi1 (" + path + ") could not be loaded (" +
                         (err ? err : "unknown error") + "); no instrument can be opened.";
        return out;
    }
    // Stays loaded for the life of the process, as the D2XX library does.
    Api api{};
    std::string missing;
    resolve(lib, "ftdi_new", api.newContext, missing);
    resolve(lib, "ftdi_free", api.freeContext, missing);
    resolve(lib, "ftdi_usb_find_all", api.findAll, missing);
    resolve(lib, "ftdi_list_free", api.listFree, missing);
    resolve(lib, "ftdi_usb_open_dev", api.openDev, missing);
    resolve(lib, "ftdi_usb_close", api.closeDev, missing);
    resolve(lib, "ftdi_read_data", api.readData, missing);
    resolve(lib, "ftdi_write_data", api.writeData, missing);
    resolve(lib, "ftdi_read_data_set_chunksize", api.setReadChunk, missing);
    resolve(lib, "ftdi_write_data_set_chunksize", api.setWriteChunk, missing);
    resolve(lib, "ftdi_set_latency_timer", api.setLatency, missing);
    resolve(lib, "ftdi_setflowctrl", api.setFlow, missing);
    resolve(lib, "ftdi_setflowctrl_xonxoff", api.setFlowXonXoff, missing);
    resolve(lib, "ftdi_tciflush", api.flushRx, missing);
    resolve(lib, "ftdi_tcoflush", api.flushTx, missing);
    resolve(lib, "libusb_open", api.usbOpen, missing);
    resolve(lib, "libusb_close", api.usbClose, missing);
    resolve(lib, "libusb_get_device_descriptor", api.deviceDescriptor, missing);
    resolve(lib, "libusb_get_string_descriptor_ascii", api.stringAscii, missing);
    resolve(lib, "libusb_reset_device", api.resetDevice, missing);
    resolve(lib, "libusb_get_bus_number", api.busNumber, missing);
    resolve(lib, "libusb_get_device_address", api.deviceAddress, missing);
    if (!missing.empty()) {
        out.table = unavailableDriver();
        out.diagnostic = "libftdi1 (" + path + ") lacks " + missing +
                         " (libftdi1 1.5 or later is needed); no instrument can be opened.";
        return out;
    }

    auto d = std::make_shared<Driver>(api, std::move(notice));
    d2xx::DriverTable& t = out.table;
    t.openEx = [d](const char* a, uint32_t f, Handle* h) { return d->openEx(a, f, h); };
    t.close = [d](Handle h) { return d->close(h); };
    t.cyclePort = [d](Handle h) { return d->cyclePort(h); };
    t.setTimeouts = [d](Handle h, uint32_t r, uint32_t w) { return d->setTimeouts(h, r, w); };
    t.setUsbParameters = [d](Handle h, uint32_t i, uint32_t o) {
        return d->setUsbParameters(h, i, o);
    };
    t.setLatencyTimer = [d](Handle h, uint8_t ms) { return d->setLatencyTimer(h, ms); };
    t.setFlowControl = [d](Handle h, uint16_t f, uint8_t on, uint8_t off) {
        return d->setFlowControl(h, f, on, off);
    };
    t.write = [d](Handle h, const void* p, uint32_t n, uint32_t* done) {
        return d->write(h, p, n, done);
    };
    t.read = [d](Handle h, void* p, uint32_t n, uint32_t* done) { return d->read(h, p, n, done); };
    t.purge = [d](Handle h, uint32_t mask) { return d->purge(h, mask); };
    t.listDevices = [d](std::vector<d2xx::DeviceInfo>& v) { return d->list(v); };
    out.available = true;
    return out;
}

#endif

}  // namespace synthor
