// The simulated instrument's driver calls and its reading of the frames written to it.
#include <algorithm>
#include <cstring>

#include "runtime/text.hpp"

#include "sim/instrument_state.hpp"

namespace synthor::sim {
namespace {

using d2xx::Handle;
using d2xx::Status;

std::uint32_t be24(const std::uint8_t* p) {
    return (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
}

std::uint16_t be16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

// Takes one injected failure of a call kind, if any is pending.
bool failNow(int& counter) {
    if (counter <= 0) return false;
    --counter;
    return true;
}

constexpr std::uint64_t kNsPerSecond = 1'000'000'000;
constexpr std::uint64_t kNsPerMs = 1'000'000;

}  // namespace

BusTiming busTiming(UsbSpeed speed) {
    // Full speed: 1 ms frames, about 1 MB/s of bulk data; high speed: 125 us microframes,
    // about 30 MB/s.
    return speed == UsbSpeed::High ? BusTiming{125'000, 30'000'000}
                                   : BusTiming{1'000'000, 1'000'000};
}

bool parseUsbSpeed(std::string_view text, UsbSpeed& speed) {
    const std::string name = lcase(std::string(text));
    if (name != "full" && name != "high") return false;
    speed = name == "high" ? UsbSpeed::High : UsbSpeed::Full;
    return true;
}

void Instrument::State::charge(std::uint64_t bytes, std::uint64_t waitMs) {
    const BusTiming bus = busTiming(config.usb);
    ++wire.calls;
    wire.bytes += bytes;
    wire.nanoseconds += bus.frameNs +
                        (bytes * kNsPerSecond + bus.bytesPerSecond - 1) / bus.bytesPerSecond +
                        waitMs * kNsPerMs;
}

Instrument::State::State(Config c) : config(std::move(c)), faults(config.faults) {
    if (config.eeprom.empty()) config.eeprom = defaultEeprom();
    config.eeprom.resize(kEepromSize, 0xFF);
    version.fill(' ');
    std::copy_n(config.version.begin(), std::min(config.version.size(), version.size()),
                version.begin());
    memory.assign(kPointMemorySize, 0);
}

void Instrument::State::reply(const std::uint8_t* bytes, std::size_t count) {
    if (faults.silent) return;
    if (replyHead > 0 && replyHead * 2 >= replies.size()) {
        replies.erase(0, replyHead);
        replyHead = 0;
    }
    const std::size_t room = kReplyBufferLimit - (replies.size() - replyHead);
    replies.append(reinterpret_cast<const char*>(bytes), std::min(count, room));
}

void Instrument::State::dropTransfers() {
    replies.clear();
    replyHead = 0;
    reader.reset();
}

void Instrument::State::onFrame(const Frame& frame) {
    ++run.frames;
    const std::uint8_t* a = frame.arguments.data();
    auto startPlan = [&](Mode mode, bool stepped) {
        run.mode = mode;
        run.stepped = stepped;
        run.setup.reset();
        run.startAddress = be24(a);
        run.count = be16(a + 3);
        run.dwellCode = be16(a + 5);
    };
    switch (frame.command) {
        case Command::WriteMemory: {
            const std::size_t count = a[0];
            const std::size_t address = be24(a + 1);
            if (address < memory.size()) {
                std::memcpy(memory.data() + address, a + 4,
                            std::min(count, memory.size() - address));
            }
            break;
        }
        case Command::ShowPoint:
            run.mode = Mode::ContinuousWave;
            run.stepped = false;
            run.pointAddress = be24(a);
            break;
        case Command::Phase:
            run.phaseWord = be16(a);
            break;
        case Command::ModeSelect:
            run.modeSelect = a[0];
            run.mode = a[0] == 0 ? Mode::ContinuousWave : Mode::ModeSelected;
            run.stepped = false;
            run.setup.reset();  // AM and external FM end at the next mode select
            break;
        case Command::LevelSweep:
        case Command::LevelSweepStepped:
            // With modulation selected the plan is the FM table, otherwise a level sweep.
            startPlan(run.modeSelect == 1 ? Mode::ModulationTable : Mode::LevelSweep,
                      frame.command == Command::LevelSweepStepped);
            break;
        case Command::FrequencySweep:
        case Command::FrequencySweepStepped:
            startPlan(Mode::FrequencySweep, frame.command == Command::FrequencySweepStepped);
            break;
        case Command::ComplexSweep:
        case Command::ComplexSweepStepped:
            startPlan(Mode::ComplexSweep, frame.command == Command::ComplexSweepStepped);
            break;
        case Command::PhaseHop:
            run.mode = Mode::PhaseHop;
            run.stepped = false;
            run.setup.reset();
            run.hop = {be16(a), be16(a + 2), be16(a + 4)};
            break;
        case Command::Setup:
            run.setup = std::array<std::uint8_t, 4>{a[0], a[1], a[2], a[3]};
            break;
        case Command::ReadMemory: {
            std::array<std::uint8_t, 255> out;
            const std::size_t count = a[0];
            const std::size_t address = be16(a + 1);
            for (std::size_t i = 0; i < count; ++i) {
                out[i] = config.eeprom[(address + i) % kEepromSize];
            }
            reply(out.data(), count);
            break;
        }
        case Command::Status: {
            const auto status = static_cast<std::uint8_t>(config.status);
            reply(&status, 1);
            break;
        }
        case Command::Version:
            reply(version.data(), version.size());
            break;
        case Command::Hello:
            break;
        case Command::Lock:
            reply(&config.lock, 1);
            break;
        case Command::Trigger:
            run.trigger = a[0];
            break;
    }
}

Instrument::Instrument(Config config) : state_(std::make_unique<State>(std::move(config))) {}

Instrument::~Instrument() = default;

d2xx::DriverTable Instrument::driverTable() {
    d2xx::DriverTable t;
    t.openEx = [this](const char* arg, std::uint32_t flags, Handle* h) {
        return openEx(arg, flags, h);
    };
    t.close = [this](Handle h) { return close(h); };
    t.cyclePort = [this](Handle h) { return cyclePort(h); };
    t.setTimeouts = [this](Handle h, std::uint32_t r, std::uint32_t w) {
        return setTimeouts(h, r, w);
    };
    t.setUsbParameters = [this](Handle h, std::uint32_t in, std::uint32_t out) {
        return setUsbParameters(h, in, out);
    };
    t.setLatencyTimer = [this](Handle h, std::uint8_t ms) { return setLatencyTimer(h, ms); };
    t.setFlowControl = [this](Handle h, std::uint16_t flow, std::uint8_t xon, std::uint8_t xoff) {
        return setFlowControl(h, flow, xon, xoff);
    };
    t.write = [this](Handle h, const void* data, std::uint32_t count, std::uint32_t* written) {
        return write(h, data, count, written);
    };
    t.read = [this](Handle h, void* data, std::uint32_t count, std::uint32_t* received) {
        return read(h, data, count, received);
    };
    t.purge = [this](Handle h, std::uint32_t mask) { return purge(h, mask); };
    t.listDevices = [this](std::vector<d2xx::DeviceInfo>& devices) {
        devices.push_back({kDeviceDescription, state_->config.usbSerial, "sim"});
        return d2xx::Ok;
    };
    return t;
}

std::uint8_t Instrument::memoryAt(std::uint32_t address) const {
    return address < state_->memory.size() ? state_->memory[address] : 0;
}

RunState Instrument::runState() const {
    RunState r = state_->run;
    r.skippedBytes = state_->reader.skippedBytes();
    return r;
}

LinkSettings Instrument::linkSettings() const {
    return state_->link;
}

bool Instrument::isOpen() const {
    return state_->open;
}

std::size_t Instrument::pendingReplyBytes() const {
    return state_->replies.size() - state_->replyHead;
}

const Faults& Instrument::pendingFaults() const {
    return state_->faults;
}

WireUse Instrument::wireUse() const {
    return state_->wire;
}

Status Instrument::openEx(const char* arg, std::uint32_t flags, Handle* handle) {
    State& s = *state_;
    const Status status = [&] {
        if (failNow(s.faults.open)) return d2xx::IoError;
        if (!handle) return kInvalidParameter;
        if (!arg) return d2xx::DeviceNotFound;
        const bool matches =
            (flags == d2xx::OpenByDescription && arg == std::string_view(kDeviceDescription)) ||
            (flags == d2xx::OpenBySerialNumber && arg == s.config.usbSerial);
        if (!matches) return d2xx::DeviceNotFound;
        if (s.open) return d2xx::DeviceNotOpened;
        return d2xx::Ok;
    }();
    if (status != d2xx::Ok) {
        s.charge(0);
        return status;
    }
    s.currentHandle = &s.handleSlots[s.opens++ % s.handleSlots.size()];
    s.open = true;
    s.dropTransfers();
    *handle = s.currentHandle;
    s.wire = {};
    s.charge(0);
    return d2xx::Ok;
}

Status Instrument::close(Handle handle) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.close)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    s.open = false;
    s.currentHandle = nullptr;
    s.dropTransfers();
    return d2xx::Ok;
}

Status Instrument::cyclePort(Handle handle) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.cycle)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    s.dropTransfers();
    return d2xx::Ok;
}

Status Instrument::setTimeouts(Handle handle, std::uint32_t readMs, std::uint32_t writeMs) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.timeouts)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    s.link.readTimeoutMs = readMs;
    s.link.writeTimeoutMs = writeMs;
    return d2xx::Ok;
}

Status Instrument::setUsbParameters(Handle handle, std::uint32_t in, std::uint32_t out) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.usbparams)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    s.link.inTransferSize = in;
    s.link.outTransferSize = out;
    return d2xx::Ok;
}

Status Instrument::setLatencyTimer(Handle handle, std::uint8_t ms) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.latency)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    s.link.latencyMs = ms;
    return d2xx::Ok;
}

Status Instrument::setFlowControl(Handle handle, std::uint16_t flow, std::uint8_t xon,
                                  std::uint8_t xoff) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.flow)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    s.link.flow = flow;
    s.link.xon = xon;
    s.link.xoff = xoff;
    return d2xx::Ok;
}

Status Instrument::write(Handle handle, const void* data, std::uint32_t count,
                         std::uint32_t* written) {
    State& s = *state_;
    if (written) *written = 0;
    const Status status = [&] {
        if (failNow(s.faults.write)) return d2xx::IoError;
        if (!s.valid(handle)) return d2xx::InvalidHandle;
        if (!data && count > 0) return kInvalidParameter;
        return d2xx::Ok;
    }();
    // Only bytes the instrument takes are charged beyond the call's frame.
    s.charge(status == d2xx::Ok ? count : 0);
    if (status != d2xx::Ok) return status;
    if (count > 0) s.reader.feed({static_cast<const std::uint8_t*>(data), count}, s);
    if (written) *written = count;
    return d2xx::Ok;
}

Status Instrument::read(Handle handle, void* data, std::uint32_t count, std::uint32_t* received) {
    State& s = *state_;
    if (received) *received = 0;
    if (!s.valid(handle) || !received || (!data && count > 0)) {
        s.charge(0);
        return s.valid(handle) ? kInvalidParameter : d2xx::InvalidHandle;
    }
    const std::size_t waiting = s.replies.size() - s.replyHead;
    std::size_t n = std::min<std::size_t>(count, waiting);
    if (s.faults.chunk > 0) n = std::min<std::size_t>(n, s.faults.chunk);
    // A read asking for more than the instrument has sent waits out its time-out on the bus;
    // one cut short by the chunk fault does not.
    s.charge(n, waiting < count ? s.link.readTimeoutMs : 0);
    if (n > 0) std::memcpy(data, s.replies.data() + s.replyHead, n);
    s.replyHead += n;
    if (s.replyHead == s.replies.size()) {
        s.replies.clear();
        s.replyHead = 0;
    }
    *received = static_cast<std::uint32_t>(n);
    return d2xx::Ok;
}

Status Instrument::purge(Handle handle, std::uint32_t mask) {
    State& s = *state_;
    s.charge(0);
    if (failNow(s.faults.purge)) return d2xx::IoError;
    if (!s.valid(handle)) return d2xx::InvalidHandle;
    // Written bytes are taken as they arrive, so a transmit purge finds nothing to drop.
    if (mask & d2xx::PurgeRx) {
        s.replies.clear();
        s.replyHead = 0;
    }
    return d2xx::Ok;
}

}  // namespace synthor::sim
