// The simulated instrument: a software model of the synthesizer behind the same driver table as
// the USB device, so the library cannot tell it from hardware. It opens by description or USB
// serial, reads the byte stream written to it as command frames whatever the write boundaries,
// answers "Q", "V", "P" and "Y9", keeps point memory and mode, and can be told to fail.
//
// Device behaviour beyond the driver statuses:
// - A port cycle on an open handle succeeds and leaves the handle open (the link keeps using it
//   after a reconnect); like a USB reset it drops unread replies and any incomplete frame, but
//   point memory, mode and trigger are kept. Closing drops the same and keeps the same.
// - A failed FT_OpenEx leaves the caller's handle variable untouched.
// - Fault counters count calls: a pending `write=1` fails the next FT_Write whatever its handle.
// - "P" reads wrap past 65535 to address 0. A "W" frame stores only the bytes that fall inside
//   the point memory (kPointMemorySize); the rest are taken and dropped.
// - Unread replies are held up to kReplyBufferLimit bytes; replies beyond it are lost, as with
//   a full receive buffer.
// - A byte that starts no frame of the inventory is skipped; after "Y" an unknown second byte
//   drops the "Y" and is itself read as the start of a frame.
// - Wire time: every driver call is charged what it would cost on the bus, one USB frame (1 ms
//   at full speed, a 125 us microframe at high speed) plus its bytes at the bus rate (1 MB/s,
//   30 MB/s); a read asking for more bytes than are waiting also waits the read time-out last
//   set by FT_SetTimeouts. Only counted, never slept; a successful FT_OpenEx restarts the count.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "link/d2xx.hpp"

namespace synthor::sim {

inline constexpr std::size_t kEepromSize = 65536;
inline constexpr std::size_t kPointMemorySize = 262144;  // point memory, addresses 0..0x3FFFF
inline constexpr std::size_t kReplyBufferLimit = 65536;
inline constexpr std::uint32_t kContinuousWaveAddress = 130064;
inline constexpr std::uint32_t kFirstPlanAddress = 1024;
inline constexpr const char* kDeviceDescription = "VexaSource Series Agile Synthesizer";
inline constexpr d2xx::Status kInvalidParameter = 6;  // FT_INVALID_PARAMETER: a null buffer

// Injected driver failures. Each counter makes that many of the next such calls fail (status 4).
struct Faults {
    int open = 0, close = 0, cycle = 0, timeouts = 0, usbparams = 0, latency = 0, flow = 0,
        purge = 0, write = 0;
    bool silent = false;      // no replies at all
    std::uint32_t chunk = 0;  // replies come at most this many bytes per read (0: no limit)
};

// Applies one fault setting ("open=2", "silent", "chunk=5"; without "=N", N is 1). Names are
// case-insensitive and blanks around the setting are ignored; a later setting for the same name
// replaces the earlier value; "silent=0" switches silence off. False with a message in `error`
// for an unknown name or a bad number (faults is then unchanged).
bool applyFault(std::string_view setting, Faults& faults, std::string& error);

// The simulated bus speed of the wire-time model.
enum class UsbSpeed { Full, High };

// The bus figures of a speed: a frame's length and the bulk rate.
struct BusTiming {
    std::uint64_t frameNs;
    std::uint64_t bytesPerSecond;
};
BusTiming busTiming(UsbSpeed speed);

// Reads "full" or "high" (any case); false for anything else.
bool parseUsbSpeed(std::string_view text, UsbSpeed& speed);

// What the wire-time model has counted since the last successful open.
struct WireUse {
    std::uint64_t calls = 0;        // driver calls
    std::uint64_t bytes = 0;        // bytes written and read
    std::uint64_t nanoseconds = 0;  // modelled time on the bus, waits included
};

struct Config {
    std::vector<std::uint8_t> eeprom;  // exactly kEepromSize bytes; empty: the default image
    std::string usbSerial = "VX000001";
    char status = 'R';            // reply to "Q"
    std::string version = "1.0";  // 3-byte reply to "V" (padded with blanks or cut to 3)
    std::uint8_t lock = 0;        // reply to "Y9"
    Faults faults;
    UsbSpeed usb = UsbSpeed::Full;  // bus of the wire-time model
};

// The default read-only memory: identity blocks (serial number 1234 in block 2, a hardware
// identifier in block 15) and calibration tables with plausible power curves for both channels.
std::vector<std::uint8_t> defaultEeprom();

// Reads an EEPROM image file; false with a message unless it holds exactly kEepromSize bytes.
bool loadEepromFile(const std::string& path, std::vector<std::uint8_t>& image, std::string& error);

// What the start and stop frames have selected.
enum class Mode {
    ContinuousWave,   // "YI", or "YA" 0
    ModeSelected,     // "YA" with a non-zero byte and no start frame since (e.g. external FM)
    ModulationTable,  // "X" after "YA" 1: the FM table runs as a level-sweep-shaped plan
    LevelSweep,       // "X" or "x" otherwise
    FrequencySweep,   // "YB" or "Yb"
    ComplexSweep,     // "YD" or "Yd"
    PhaseHop,         // "YR"
};

// The instrument's run state as the frames left it.
struct RunState {
    Mode mode = Mode::ContinuousWave;
    std::uint8_t modeSelect = 0;                          // last "YA" byte
    bool stepped = false;                                 // started by "x", "Yb" or "Yd"
    std::uint32_t pointAddress = kContinuousWaveAddress;  // last "YI" address
    std::uint32_t startAddress = 0;                       // first point of the running plan
    std::uint16_t count = 0;                              // points of the running plan
    std::uint16_t dwellCode = 0;                          // last value of the running start frame
    std::array<std::uint16_t, 3> hop{};      // "YR": first value, second value, dwell code
    std::uint8_t trigger = 0;                // "YT" byte
    std::optional<std::uint16_t> phaseWord;  // "YQ" value, once sent
    std::optional<std::array<std::uint8_t, 4>> setup;  // "Z" bytes, once sent
    std::uint64_t frames = 0;                          // complete frames taken
    std::uint64_t skippedBytes = 0;                    // bytes that started no frame

    bool operator==(const RunState&) const = default;
};

// The link settings last applied on an open handle.
struct LinkSettings {
    std::uint32_t readTimeoutMs = 0, writeTimeoutMs = 0, inTransferSize = 0, outTransferSize = 0;
    std::uint8_t latencyMs = 0;
    std::uint16_t flow = 0;
    std::uint8_t xon = 0, xoff = 0;

    bool operator==(const LinkSettings&) const = default;
};

// One synthesizer's part of a point record, decoded. Frequency is absent when the band code has
// no multiplier; level is absent when the frequency lies below the calibration grid.
struct SynthesizerReading {
    std::uint32_t tuningWord = 0;
    std::uint8_t control = 0;  // band code in the high nibble, flags in the low one
    std::uint16_t levelWord = 0;
    std::optional<double> frequencyHz;
    std::optional<double> levelDbm;
};

// A 14-byte point record decoded: A is the output, B the companion synthesizer.
struct PointReading {
    SynthesizerReading a, b;
    bool written = false;  // false when all 14 bytes are still 0
};

class Instrument {
  public:
    explicit Instrument(Config config = {});
    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    // A driver table bound to this instrument; the instrument must outlive the table.
    d2xx::DriverTable driverTable();

    // What the instrument is doing, decoded from what it was sent: mode, output frequency and
    // level of the continuous-wave point, sweep or hop points. Free-form text for people, one or
    // more lines, each ending in a newline; then the driver calls and wire time since the
    // last open. describeState() is the same without those two lines, for comparing what
    // two instruments do whatever carried their frames.
    std::string describeOutput() const;
    std::string describeState() const;

    // Point memory as the "W" frames left it (bytes never written read as 0).
    std::uint8_t memoryAt(std::uint32_t address) const;

    // The point record at `address` decoded with this instrument's calibration tables. Level
    // words are turned back into dBm by reading the table entries at the position the word
    // encodes (through the same three-entry straight line the level computation fits) and
    // interpolating between the two calibration frequencies around the point's frequency.
    PointReading readPoint(std::uint32_t address) const;

    RunState runState() const;
    LinkSettings linkSettings() const;
    bool isOpen() const;
    std::size_t pendingReplyBytes() const;
    const Faults& pendingFaults() const;  // counters left, silent and chunk
    WireUse wireUse() const;

    // The D2XX calls themselves.
    d2xx::Status openEx(const char* arg, std::uint32_t flags, d2xx::Handle* handle);
    d2xx::Status close(d2xx::Handle handle);
    d2xx::Status cyclePort(d2xx::Handle handle);
    d2xx::Status setTimeouts(d2xx::Handle handle, std::uint32_t readMs, std::uint32_t writeMs);
    d2xx::Status setUsbParameters(d2xx::Handle handle, std::uint32_t in, std::uint32_t out);
    d2xx::Status setLatencyTimer(d2xx::Handle handle, std::uint8_t ms);
    d2xx::Status setFlowControl(d2xx::Handle handle, std::uint16_t flow, std::uint8_t xon,
                                std::uint8_t xoff);
    d2xx::Status write(d2xx::Handle handle, const void* data, std::uint32_t count,
                       std::uint32_t* written);
    d2xx::Status read(d2xx::Handle handle, void* data, std::uint32_t count,
                      std::uint32_t* received);
    d2xx::Status purge(d2xx::Handle handle, std::uint32_t mask);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace synthor::sim
