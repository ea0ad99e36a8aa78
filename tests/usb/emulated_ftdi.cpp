#include "usb/emulated_ftdi.hpp"

#include <errno.h>
#include <linux/ioctl.h>
#include <linux/usbdevice_fs.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <umockdev.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <stdexcept>

namespace synthor::testing {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPacket = 64;  // full-speed bulk packet; each IN packet starts with 2 status bytes
constexpr unsigned char kModemStatus[2] = {0x01, 0x60};

// Device, configuration, interface and the two bulk endpoints (IN 0x81, OUT 0x02) of an
// FT232R, as sysfs shows them in "descriptors".
constexpr const char* kDescriptors =
    "12010002000000080304016000060102030109022000010100a02d"
    "0904000002ffffff0207058102400000070502024000";

std::string utf16Descriptor(const std::string& text) {
    std::string out(2, '\0');
    for (const char c : text) {
        out += c;
        out += '\0';
    }
    out[0] = static_cast<char>(out.size());
    out[1] = 3;
    return out;
}

}  // namespace

struct EmulatedChip::Pending {
    std::string bytes;
    Clock::time_point readyAt;
};

struct EmulatedChip::Handler {
    EmulatedChip& chip;
    UMockdevIoctlBase* base = nullptr;
    d2xx::Handle sim = nullptr;
    std::mutex mutex;
    std::deque<UMockdevIoctlData*> flying;  // submitted URBs, reaped in order
    std::deque<UMockdevIoctlData*> discarded;
    std::deque<Pending> replies;
    bool present = true;
    int generation = 0;

    explicit Handler(EmulatedChip& c) : chip(c) {}

    // Moves what the instrument has answered into the chip's receive buffer.
    void collectReplies() {
        unsigned char buf[4096];
        std::uint32_t got = 0;
        while (chip.instrument.read(sim, buf, sizeof buf, &got) == d2xx::Ok && got > 0) {
            replies.push_back({std::string(reinterpret_cast<char*>(buf), got),
                               Clock::now() + std::chrono::milliseconds(chip.replyDelayMs)});
        }
    }

    // Up to `limit` reply bytes that are due now.
    std::string takeReplies(std::size_t limit) {
        std::string out;
        const auto now = Clock::now();
        while (!replies.empty() && out.size() < limit && replies.front().readyAt <= now) {
            Pending& p = replies.front();
            const std::size_t n = std::min(limit - out.size(), p.bytes.size());
            out += p.bytes.substr(0, n);
            p.bytes.erase(0, n);
            if (p.bytes.empty()) replies.pop_front();
        }
        return out;
    }

    // A control request: `setup` is the 8-byte setup packet; IN data goes to `data`. Returns
    // the data length or -1 to stall.
    int control(const unsigned char* setup, unsigned char* data, int room) {
        const int type = setup[0], request = setup[1];
        const int value = setup[2] | setup[3] << 8;
        const int length = std::min<int>(setup[6] | setup[7] << 8, room);
        if (type == 0x80 && request == 6 && (value >> 8) == 3) {  // GET_DESCRIPTOR, string
            const int index = value & 0xFF;
            const std::string text = index == 0   ? std::string("\x04\x03\x09\x04", 4)
                                     : index == 1 ? utf16Descriptor("FTDI")
                                     : index == 2 ? utf16Descriptor(sim::kDeviceDescription)
                                     : index == 3 ? utf16Descriptor(chip.serial)
                                                  : std::string();
            if (text.empty()) return -1;
            const int n = std::min<int>(length, static_cast<int>(text.size()));
            std::memcpy(data, text.data(), static_cast<std::size_t>(n));
            return n;
        }
        if (type == 0x40) {  // vendor requests: reset/purge, modem, flow, baud, latency, ...
            if (request == 0 && value != 0) {
                // Purge: 2 empties what waits for the host, 1 what the host sent.
                if (value & 2) {
                    replies.clear();
                    chip.instrument.purge(sim, d2xx::PurgeRx);
                }
                if (value & 1) chip.instrument.purge(sim, d2xx::PurgeTx);
            }
            return 0;
        }
        if (type == 0xC0) {  // vendor reads (modem status, latency, EEPROM): zeros will do
            std::memset(data, 0, static_cast<std::size_t>(length));
            return length;
        }
        return -1;
    }

    // Fills a reaped URB the way the device answers it.
    void answer(usbdevfs_urb* urb, unsigned char* buffer) {
        urb->status = 0;
        if (urb->type == USBDEVFS_URB_TYPE_CONTROL) {
            const int n = control(buffer, buffer + 8, urb->buffer_length - 8);
            urb->status = n < 0 ? -EPIPE : 0;
            urb->actual_length = std::max(n, 0);
        } else if (urb->endpoint == 0x02) {
            urb->actual_length = urb->buffer_length;
        } else {
            ++chip.inTransfers;
            const int piece = chip.pieceBytes;
            const int packets = std::max(1, urb->buffer_length / kPacket);
            std::string data = takeReplies(static_cast<std::size_t>(
                std::min(piece > 0 ? piece : INT32_MAX, packets * (kPacket - 2))));
            int at = 0;
            std::size_t taken = 0;
            do {
                std::memcpy(buffer + at, kModemStatus, 2);
                const std::size_t n = std::min<std::size_t>(kPacket - 2, data.size() - taken);
                std::memcpy(buffer + at + 2, data.data() + taken, n);
                at += 2 + static_cast<int>(n);
                taken += n;
            } while (taken < data.size());
            urb->actual_length = at;
        }
    }

    bool ioctl(UMockdevIoctlClient* client) {
        const unsigned long request = umockdev_ioctl_client_get_request(client);
        UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
        const std::lock_guard lock(mutex);
        const int born = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(client), "generation"));
        if (!present || born != generation) {
            umockdev_ioctl_client_complete(client, -1, ENODEV);
            return true;
        }
        switch (request) {
            case USBDEVFS_GET_CAPABILITIES: {
                UMockdevIoctlData* d =
                    umockdev_ioctl_data_resolve(arg, 0, sizeof(guint32), nullptr);
                *reinterpret_cast<guint32*>(d->data) =
                    USBDEVFS_CAP_BULK_CONTINUATION | USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
                    USBDEVFS_CAP_REAP_AFTER_DISCONNECT | USBDEVFS_CAP_ZERO_PACKET;
                umockdev_ioctl_client_complete(client, 0, 0);
                g_object_unref(d);
                return true;
            }
            case USBDEVFS_GETDRIVER:  // no kernel driver bound
                umockdev_ioctl_client_complete(client, -1, ENODATA);
                return true;
            case USBDEVFS_RESET:
                // A port reset drops what waited to be read and any half-received frame.
                replies.clear();
                chip.instrument.cyclePort(sim);
                umockdev_ioctl_client_complete(client, 0, 0);
                return true;
            case USBDEVFS_CLAIMINTERFACE:
            case USBDEVFS_RELEASEINTERFACE:
            case USBDEVFS_SETCONFIGURATION:
            case USBDEVFS_SETINTERFACE:
            case USBDEVFS_CLEAR_HALT:
            case USBDEVFS_RESETEP:
            case USBDEVFS_DISCONNECT_CLAIM:
            case USBDEVFS_IOCTL:
                umockdev_ioctl_client_complete(client, 0, 0);
                return true;
            case USBDEVFS_SUBMITURB: {
                UMockdevIoctlData* urbData =
                    umockdev_ioctl_data_resolve(arg, 0, sizeof(usbdevfs_urb), nullptr);
                auto* urb = reinterpret_cast<usbdevfs_urb*>(urbData->data);
                UMockdevIoctlData* buf =
                    umockdev_ioctl_data_resolve(urbData, offsetof(usbdevfs_urb, buffer),
                                                static_cast<gsize>(urb->buffer_length), nullptr);
                if (urb->type == USBDEVFS_URB_TYPE_BULK && urb->endpoint == 0x02) {
                    std::uint32_t written = 0;
                    chip.instrument.write(sim, buf->data,
                                          static_cast<std::uint32_t>(urb->buffer_length), &written);
                    collectReplies();
                }
                g_object_unref(buf);
                flying.push_back(urbData);
                umockdev_ioctl_client_complete(client, 0, 0);
                return true;
            }
            case USBDEVFS_REAPURB:
            case USBDEVFS_REAPURBNDELAY: {
                std::deque<UMockdevIoctlData*>& from = discarded.empty() ? flying : discarded;
                if (from.empty()) {
                    umockdev_ioctl_client_complete(client, -1, EAGAIN);
                    return true;
                }
                UMockdevIoctlData* urbData = from.front();
                from.pop_front();
                auto* urb = reinterpret_cast<usbdevfs_urb*>(urbData->data);
                if (&from == &discarded) {
                    urb->status = -ENOENT;
                } else {
                    UMockdevIoctlData* buf = umockdev_ioctl_data_resolve(
                        urbData, offsetof(usbdevfs_urb, buffer),
                        static_cast<gsize>(urb->buffer_length), nullptr);
                    answer(urb, buf->data);
                    g_object_unref(buf);
                }
                UMockdevIoctlData* slot =
                    umockdev_ioctl_data_resolve(arg, 0, sizeof(void*), nullptr);
                umockdev_ioctl_data_set_ptr(slot, 0, urbData);
                umockdev_ioctl_client_complete(client, 0, 0);
                g_object_unref(slot);
                g_object_unref(urbData);
                return true;
            }
            case USBDEVFS_DISCARDURB: {
                const gulong address = *reinterpret_cast<gulong*>(arg->data);
                const auto it = std::find_if(flying.begin(), flying.end(),
                                             [&](auto* d) { return d->client_addr == address; });
                if (it == flying.end()) {
                    umockdev_ioctl_client_complete(client, -1, EINVAL);
                } else {
                    discarded.push_back(*it);
                    flying.erase(it);
                    umockdev_ioctl_client_complete(client, 0, 0);
                }
                return true;
            }
            default:
                std::fprintf(stderr, "emulated FTDI: unhandled ioctl 0x%lx\n", request);
                umockdev_ioctl_client_complete(client, -1, ENOTTY);
                return true;
        }
    }
};

namespace {

gboolean onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer handler) {
    return static_cast<EmulatedChip::Handler*>(handler)->ioctl(client);
}

void onConnected(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer handler) {
    auto* h = static_cast<EmulatedChip::Handler*>(handler);
    const std::lock_guard lock(h->mutex);
    g_object_set_data(G_OBJECT(client), "generation", GINT_TO_POINTER(h->generation));
}

}  // namespace

EmulatedChip::EmulatedChip(int busNumber, std::string serialNumber, sim::Config config)
    : instrument(std::move(config)),
      bus(busNumber),
      serial(std::move(serialNumber)),
      handler_(std::make_unique<Handler>(*this)) {
    instrument.openEx(sim::kDeviceDescription, d2xx::OpenByDescription, &handler_->sim);
    handler_->base = umockdev_ioctl_base_new();
    g_signal_connect_after(handler_->base, "handle-ioctl", G_CALLBACK(onIoctl), handler_.get());
    g_signal_connect(handler_->base, "client-connected", G_CALLBACK(onConnected), handler_.get());
}

EmulatedChip::~EmulatedChip() {
    for (auto* d : handler_->flying)
        g_object_unref(d);
    for (auto* d : handler_->discarded)
        g_object_unref(d);
    g_object_unref(handler_->base);
}

std::string EmulatedChip::devnode() const {
    char path[64];
    std::snprintf(path, sizeof path, "/dev/bus/usb/%03d/001", bus);
    return path;
}

void EmulatedChip::unplug() {
    const std::lock_guard lock(handler_->mutex);
    handler_->present = false;
    handler_->replies.clear();
}

void EmulatedChip::plugIn() {
    const std::lock_guard lock(handler_->mutex);
    handler_->present = true;
    ++handler_->generation;
}

EmulatedBus::EmulatedBus() : testbed_(umockdev_testbed_new()) {
    gchar* root = umockdev_testbed_get_root_dir(testbed_);
    root_ = root;
    g_free(root);
}

EmulatedBus::~EmulatedBus() {
    if (dropped_) setfsuid(0);
    chips_.clear();
    g_object_unref(testbed_);
}

EmulatedChip& EmulatedBus::add(const std::string& serial, sim::Config config) {
    const int bus = static_cast<int>(chips_.size()) + 1;
    auto chip = std::make_unique<EmulatedChip>(bus, serial, std::move(config));
    // The handler goes first, so that the device can be opened as soon as it appears.
    GError* error = nullptr;
    if (!umockdev_testbed_attach_ioctl(testbed_, chip->devnode().c_str(), chip->handler_->base,
                                       &error))
        throw std::runtime_error(std::string("attach_ioctl: ") + error->message);
    chips_.push_back(std::move(chip));
    appear(*chips_.back());
    return *chips_.back();
}

void EmulatedBus::appear(const EmulatedChip& chip) {
    char record[1024];
    std::snprintf(record, sizeof record,
                  "P: /devices/usb%d\nN: bus/usb/%03d/001\nE: SUBSYSTEM=usb\nE: DRIVER=usb\n"
                  "E: BUSNUM=%03d\nE: DEVNUM=001\nE: DEVNAME=%s\nE: DEVTYPE=usb_device\n"
                  "A: bConfigurationValue=1\\n\nA: busnum=%d\\n\nA: devnum=1\\n\n"
                  "A: speed=12\\n\nA: idVendor=0403\\n\nA: idProduct=6001\\n\n"
                  "A: serial=%s\\n\nH: descriptors=%s\n",
                  chip.bus, chip.bus, chip.bus, chip.devnode().c_str(), chip.bus,
                  chip.serial.c_str(), kDescriptors);
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(testbed_, record, &error))
        throw std::runtime_error(std::string("add_from_string: ") + error->message);
}

void EmulatedBus::unplug(EmulatedChip& chip) {
    chip.unplug();
    const std::string sys = "/sys/devices/usb" + std::to_string(chip.bus);
    umockdev_testbed_uevent(testbed_, sys.c_str(), "remove");
    umockdev_testbed_remove_device(testbed_, sys.c_str());
}

void EmulatedBus::plugIn(EmulatedChip& chip) {
    chip.plugIn();
    appear(chip);
}

void EmulatedBus::denyAccess(const EmulatedChip& chip) {
    // The test bed opens up to every user but the device node stays its owner's; root then
    // gives up its file privileges on this thread for the rest of the test.
    namespace fs = std::filesystem;
    const auto all = fs::perms::group_all | fs::perms::others_all;
    fs::permissions(root_, all, fs::perm_options::add);
    for (const auto& entry : fs::recursive_directory_iterator(root_))
        if (!entry.is_symlink()) fs::permissions(entry.path(), all, fs::perm_options::add);
    fs::permissions(root_ + chip.devnode(), fs::perms::owner_read | fs::perms::owner_write);
    if (geteuid() == 0) {
        setfsuid(65534);
        dropped_ = true;
    }
}

}  // namespace synthor::testing
