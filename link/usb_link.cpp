#include "link/usb_link.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "runtime/convert.hpp"
#include "runtime/errors.hpp"

namespace synthor {
namespace {

constexpr std::uint32_t kTimeoutMs = 4000;
constexpr std::uint32_t kTransferSize = 512;
constexpr std::uint8_t kLatencyMs = 1;
constexpr std::uint8_t kXon = 0x11;
constexpr std::uint8_t kXoff = 0x13;
constexpr std::size_t kReadBufferSize = 100;

bool isLiveReply(const std::string& reply) {
    return reply == "R" || reply == "S" || reply == "T";
}

}  // namespace

UsbLink::UsbLink(d2xx::DriverTable driver, Prompts& prompts, Clock& clock)
    : driver_(std::move(driver)),
      prompts_(prompts),
      clock_(clock),
      readBuffer_(kReadBufferSize, '\0') {}

std::string UsbLink::OpenUSB(const std::string& description) {
    return open(description, d2xx::OpenByDescription, 0);
}

std::string UsbLink::OpenUSBSN(const std::string& serial) {
    return open(serial, d2xx::OpenBySerialNumber, 0);
}

std::string UsbLink::open(const std::string& arg, std::uint32_t flags, int depth) {
    writeHeld();
    std::string result;
    if (driver_.openEx(arg.c_str(), flags, &USBHandle) == d2xx::Ok) {
        result = "OK";
    } else {
        CloseUSB();
        CyclePortUSB();
        if (driver_.openEx(arg.c_str(), flags, &USBHandle) != d2xx::Ok) return "Open Failed";
        // A successful retry leaves the result empty: callers testing for "OK" see no device.
    }

    std::string failure;
    if (driver_.setTimeouts(USBHandle, kTimeoutMs, kTimeoutMs) != d2xx::Ok) {
        failure = "SetTimeouts Failed";
    } else if (driver_.setUsbParameters(USBHandle, kTransferSize, kTransferSize) != d2xx::Ok) {
        failure = "Set USB Failed";
    } else if (driver_.setLatencyTimer(USBHandle, kLatencyMs) != d2xx::Ok) {
        failure = "Latency Timer Set Failed";
    } else if (driver_.setFlowControl(USBHandle, d2xx::FlowRtsCts, kXon, kXoff) != d2xx::Ok) {
        failure = "Flow Control Set Failed";
    } else {
        return result;
    }

    if (driver_.close(USBHandle) != d2xx::Ok) {
        if (flags == d2xx::OpenBySerialNumber) return "Close Failed";
        // By description a failed close tries to open a device described as "Close Failed" and
        // discards the outcome. That nested open may not recurse again, so a driver that fails
        // every configuration and close cannot exhaust the stack.
        if (depth == 0) open("Close Failed", d2xx::OpenByDescription, depth + 1);
    }
    return failure;
}

std::string UsbLink::CloseUSB() {
    writeHeld();
    return driver_.close(USBHandle) == d2xx::Ok ? "OK" : "Close Failed";
}

std::string UsbLink::CyclePortUSB() {
    writeHeld();
    return driver_.cyclePort(USBHandle) == d2xx::Ok ? "OK" : "Error";
}

std::string UsbLink::WriteUSB(std::string_view frame) {
    if (!Coalesce || gatherDepth_ == 0) return writeOnce(frame);
    if (!held_.empty() && held_.size() + frame.size() > CoalesceLimit) writeHeld();
    held_.append(frame);
    return "OK";
}

std::string UsbLink::writeOnce(std::string_view bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    BytesWritten = 0;
    if (driver_.write(USBHandle, bytes.data(), size, &BytesWritten) == d2xx::Ok) return "OK";
    ReconnectUSB();
    return driver_.write(USBHandle, bytes.data(), size, &BytesWritten) == d2xx::Ok ? "OK" : "Error";
}

void UsbLink::endGathering() {
    if (--gatherDepth_ == 0) writeHeld();
}

void UsbLink::writeHeld() {
    if (held_.empty()) return;
    // Nothing is held while these bytes are written, so the reconnect inside writes nothing.
    std::string bytes;
    bytes.swap(held_);
    writeOnce(bytes);
    bytes.clear();
    if (held_.empty()) held_.swap(bytes);  // keeps the buffer for the next frames
}

std::string UsbLink::ReadUSB(std::int32_t count) {
    writeHeld();
    std::string result;
    TotalRead = 0;
    const auto wanted = static_cast<std::uint32_t>(std::max<std::int32_t>(count, 0));
    if (readBuffer_.size() < wanted) readBuffer_.resize(wanted);
    do {
        BytesRead = 0;
        // Every pass asks for the full count again, not for what is still missing.
        ReadStatus = driver_.read(USBHandle, readBuffer_.data(), wanted, &BytesRead);
        if (ReadStatus != d2xx::Ok && ReadStatus != d2xx::IoError) {
            ReadError = kTrue;
        } else if (BytesRead > 0) {
            const auto n = std::min<std::size_t>(BytesRead, readBuffer_.size());
            result.append(readBuffer_.data(), n);
            TotalRead += static_cast<std::int32_t>(n);
        } else {
            ReadTimedOut = kTrue;
        }
    } while (TotalRead != count && ReadTimedOut != kTrue && ReadError != kTrue);
    return result;
}

std::string UsbLink::PurgeUSB() {
    writeHeld();
    if (driver_.purge(USBHandle, d2xx::PurgeRx) != d2xx::Ok) return "Error";
    return driver_.purge(USBHandle, d2xx::PurgeTx) == d2xx::Ok ? "OK" : "Error";
}

void UsbLink::ReconnectUSB() {
    if (CyclePortUSB() != "OK") {
        OpenUSB(ReconnectDescription);
        PurgeUSB();
    }
}

void UsbLink::CheckResponse() {
    NoResponse = kFalse;
    WriteUSB("Q");
    if (isLiveReply(ReadUSB(1))) return;
    if (OpenUSB(std::string(kDeviceDescription)) != "OK") {
        NoResponse = kTrue;
        return;
    }
    Delay(500);
    PurgeUSB();
    WriteUSB("Q");
    if (!isLiveReply(ReadUSB(1))) NoResponse = kTrue;
}

void UsbLink::SetTrigger() {
    PurgeUSB();
    Delay(20);
    CheckResponse();
    if (NoResponse == kTrue) {
        prompts_.msgBox("No Response", msgstyle::Critical, "Trigger mode");
        return;
    }
    const char frame[] = {'Y', 'T', chr(TriggerModeRequested)};
    WriteUSB(std::string_view(frame, sizeof frame));
    TriggerModeActive = TriggerModeRequested;
}

void UsbLink::Delay(std::int16_t ms) {
    writeHeld();  // the wait follows what was written
    const auto start = static_cast<std::int32_t>(clock_.timeGetTime());
    const std::int64_t target = static_cast<std::int64_t>(start) + ms;
    if (target > std::numeric_limits<std::int32_t>::max() ||
        target < std::numeric_limits<std::int32_t>::min()) {
        raise(errnum::Overflow);
    }
    // Waits until the clock has passed the target; sleeps rather than spins between readings.
    // A clock that wraps below the start during the wait (the signed value turns negative after
    // about 24.8 days of uptime) ends the wait instead of holding the host until it comes round.
    for (;;) {
        const auto now = static_cast<std::int32_t>(clock_.timeGetTime());
        if (static_cast<double>(now) > static_cast<double>(target) || now < start) return;
        clock_.sleep(static_cast<std::uint32_t>(target - now + 1));
    }
}

}  // namespace synthor
