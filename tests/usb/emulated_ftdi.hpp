// An FTDI FT232R emulated below libusb with umockdev: a test bed with usbdevfs device nodes whose
// requests (control, bulk OUT, bulk IN, reset) are answered here, the bulk endpoints carrying
// bytes to and from a simulated instrument. Every IN transfer starts each 64-byte packet with the
// chip's two modem-status bytes, as the real chip does. The test process must run under
// umockdev's preload library (LD_PRELOAD=libumockdev-preload.so.0).
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "sim/sim_instrument.hpp"

typedef struct _UMockdevTestbed UMockdevTestbed;
typedef struct _UMockdevIoctlBase UMockdevIoctlBase;

namespace synthor::testing {

class EmulatedChip {
  public:
    EmulatedChip(int bus, std::string serial, sim::Config config);
    ~EmulatedChip();
    EmulatedChip(const EmulatedChip&) = delete;
    EmulatedChip& operator=(const EmulatedChip&) = delete;

    sim::Instrument instrument;
    const int bus;
    const std::string serial;
    std::string devnode() const;

    // Replies become readable this long after the write that asked for them.
    std::atomic<int> replyDelayMs{0};
    // Each IN transfer carries at most this many reply bytes (0: as many as fit).
    std::atomic<int> pieceBytes{0};
    // With nothing to send, hold IN transfers until a reply is due (NAK them) instead of
    // answering with the status bytes alone as an FT232R does.
    std::atomic<bool> holdEmptyIn{false};
    // Bulk IN transfers asked for so far.
    std::atomic<int> inTransfers{0};

    // The usbdevfs side, answering on umockdev's worker thread.
    struct Pending;
    struct Handler;

  private:
    friend class EmulatedBus;
    // Gone, every request fails with ENODEV; back, the handles opened before stay dead.
    void unplug();
    void plugIn();

    std::unique_ptr<Handler> handler_;
};

class EmulatedBus {
  public:
    EmulatedBus();
    ~EmulatedBus();
    EmulatedBus(const EmulatedBus&) = delete;
    EmulatedBus& operator=(const EmulatedBus&) = delete;

    // An FT232R (0403:6001) with the instrument's description and `serial`, on the next bus.
    EmulatedChip& add(const std::string& serial, sim::Config config = {});

    // The chip leaves the bus (its requests fail, it is no longer listed) and comes back.
    void unplug(EmulatedChip& chip);
    void plugIn(EmulatedChip& chip);

    // Takes the permission to open the chip's device node from this process, as a missing
    // udev rule does (for root too, by running file access as an unprivileged user).
    void denyAccess(const EmulatedChip& chip);

  private:
    void appear(const EmulatedChip& chip);

    UMockdevTestbed* testbed_;
    std::string root_;
    std::vector<std::unique_ptr<EmulatedChip>> chips_;
    bool dropped_ = false;
};

}  // namespace synthor::testing
