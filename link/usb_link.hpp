// The instrument link: opening and configuring the USB device, writing frames with one
// reconnect-and-retry, reading counted replies, purging, the liveness check, the trigger-mode
// frame and the millisecond delay. Results are texts ("OK", "Error", ...) that callers compare
// exactly; nothing here throws except the delay's overflow.
//
// Coalesced writes (off unless `Coalesce` is set): inside gatherWrites() the frames passed to
// WriteUSB are held and go out joined, whole frames in order, in driver writes of at most
// `CoalesceLimit` bytes. Each such write is one unit for the reconnect and single retry: when it
// fails the link reconnects and writes the same bytes once more, and when that fails too its
// frames are lost together, as a single frame would be, and the next write goes on. Any other
// driver call, a delay, and the end of the outermost gatherWrites() first write what is held, so
// the wire order never changes; only the write boundaries do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "link/d2xx.hpp"
#include "runtime/clock.hpp"
#include "runtime/prompts.hpp"

namespace synthor {

// The only USB description the library opens by.
inline constexpr std::string_view kDeviceDescription = "VexaSource Series Agile Synthesizer";

// The largest joined write: what a D2XX write takes in one call without splitting it further.
inline constexpr std::size_t kMaxCoalescedWrite = 65536;

// 16-bit booleans as hosts see them.
inline constexpr std::int16_t kTrue = -1;
inline constexpr std::int16_t kFalse = 0;

class UsbLink {
  public:
    UsbLink(d2xx::DriverTable driver, Prompts& prompts, Clock& clock);

    // Opens by description (flag 2) and configures. "OK", "" after a successful retry of the
    // open, "Open Failed", or the configuration failure ("SetTimeouts Failed", ...).
    std::string OpenUSB(const std::string& description);
    // Opens by USB serial number (flag 1); as OpenUSB, but a failed close after a configuration
    // failure gives "Close Failed".
    std::string OpenUSBSN(const std::string& serial);
    std::string CloseUSB();      // "OK" or "Close Failed"; USBHandle keeps its value
    std::string CyclePortUSB();  // "OK" or "Error"

    // "OK" or "Error" after reconnect and retry. A frame held for a joined write answers "OK".
    std::string WriteUSB(std::string_view frame);
    std::string ReadUSB(std::int32_t count);  // the bytes received, possibly fewer
    std::string PurgeUSB();                   // "OK" or "Error"
    void ReconnectUSB();
    void CheckResponse();  // sets NoResponse
    void SetTrigger();     // sends TriggerModeRequested, or shows "No Response"
    void Delay(std::int16_t ms);

    Prompts& prompts() { return prompts_; }

    // Runs `body`; with Coalesce on, the frames it writes go out joined (see above). Calls nest:
    // the outermost one writes what is held, also when `body` throws (the frames before the
    // error are sent, as they would be one by one), and the exception then goes on.
    template <typename Body>
    void gatherWrites(Body&& body) {
        ++gatherDepth_;
        try {
            body();
        } catch (...) {
            endGathering();
            throw;
        }
        endGathering();
    }

    bool Coalesce = false;  // join the frames written in gatherWrites()
    // Bytes per joined write; a frame longer than this goes alone.
    std::size_t CoalesceLimit = kMaxCoalescedWrite;

    // Connection state.
    d2xx::Handle USBHandle = nullptr;
    std::int16_t InstrumentFound = kFalse;
    const std::string ReconnectDescription;  // never assigned: reconnects open by ""

    // Exchange state. The two read flags are sticky: once set they stay set.
    std::uint32_t BytesWritten = 0;
    std::uint32_t BytesRead = 0;
    std::int32_t TotalRead = 0;
    d2xx::Status ReadStatus = d2xx::Ok;
    std::int16_t ReadTimedOut = kFalse;
    std::int16_t ReadError = kFalse;
    std::int16_t NoResponse = kFalse;

    // Trigger mode: 0 free run, 1 external rising edge, 2 external falling edge.
    std::int16_t TriggerModeRequested = 0;
    std::int16_t TriggerModeActive = 0;

  private:
    std::string open(const std::string& arg, std::uint32_t flags, int depth);

    d2xx::DriverTable driver_;
    Prompts& prompts_;
    Clock& clock_;
    std::string readBuffer_;
    std::string held_;  // frames gathered, not yet written
    int gatherDepth_ = 0;

    std::string writeOnce(std::string_view bytes);  // one write, reconnect, one retry
    void endGathering();
    void writeHeld();  // writes the held frames, if any, as one unit
};

}  // namespace synthor
