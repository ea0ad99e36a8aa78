// The frames of sweeps, hops and the command-string interface: band-change table entries, start
// and stop frames, complex points, the phase frames and the "Z" modulation set-up. Each builder
// splits its numbers first, so a value that does not fit raises the overflow error (6) before
// anything is sent.
//
// The "Z" set-up frame, five bytes: "Z" (0x5A), then a function byte and three argument bytes.
//
//   | function            | byte 1 | bytes 2..4                                                |
//   |---------------------|--------|-----------------------------------------------------------|
//   | AM, 400 Hz tone     | 0x01   | depth in percent (5..90); carrier level word, high, low   |
//   | AM, 1 kHz tone      | 0x02   | as 0x01                                                   |
//   | AM, external input  | 0x03   | as 0x01                                                   |
//   | FM, external input  | 0x04   | deviation word, 24 bits, most significant byte first      |
//
// The carrier level word is the channel-1 level word of the carrier point (0..16383): the
// instrument modulates the level around it by the depth. The deviation word is the deviation in
// the carrier band's tuning-word units, round(deviation Hz x band multiplier of synthesizer A at
// the carrier): 0.1 Hz units in the direct bands below 125 MHz, 20 Hz / 2^k in the divided ones,
// so the instrument adds it to the tuning word unchanged (200 kHz is at most 2,000,000).
// AM and external FM stay on until the next mode-select ("YA") or start frame.
#pragma once

#include <cstdint>
#include <string>

namespace synthor {

// The sweeps' start frames: command letters, free-running and stepped, and the dwell offset
// the dwell code is reduced by.
struct StartFrameKind {
    const char* freeRunning;
    const char* stepped;
    std::int32_t dwellOffset;
};
namespace startframe {
inline constexpr StartFrameKind Frequency = {"YB", "Yb", 26};
inline constexpr StartFrameKind Level = {"X", "x", 26};
inline constexpr StartFrameKind Complex = {"YD", "Yd", 15};
}  // namespace startframe
// The phase hop's dwell code is the dwell less 7.
inline constexpr std::int32_t kPhaseHopDwellOffset = 7;

// Addresses of the band-change table.
inline constexpr std::int32_t kBandTableAddress = 130080;
inline constexpr std::int32_t kBandTableLast = 131068;
// Bytes per complex sweep point.
inline constexpr std::int32_t kComplexPointSize = 4;

// Mode-select bytes of "YA".
namespace mode {
inline constexpr std::uint8_t Stop = 0x00;        // back to the continuous-wave point
inline constexpr std::uint8_t Modulation = 0x01;  // FM table, complex sweep
inline constexpr std::uint8_t LevelSweep = 0x0F;
}  // namespace mode

// "Z" function bytes.
namespace setup {
inline constexpr std::uint8_t Am400Hz = 0x01;
inline constexpr std::uint8_t Am1kHz = 0x02;
inline constexpr std::uint8_t AmExternal = 0x03;
inline constexpr std::uint8_t FmExternal = 0x04;
}  // namespace setup

// "W", 4, address, point index (2 bytes), 0xFF, 0xFF.
std::string bandEntryFrame(std::int32_t address, std::int32_t pointIndex);
// "W", 2, address, 0xFF, 0xFF.
std::string endMarkFrame(std::int32_t address);
// "YA" and a mode byte.
std::string modeSelectFrame(std::uint8_t mode);
// The start frame's letters, address 1024, point count (2 bytes), dwell code (2 bytes).
std::string startFrame(const char* letters, std::int32_t count, std::int32_t dwellCode);
// "W", 4, address, phase word (2 bytes), level word (2 bytes).
std::string complexPointFrame(std::int32_t address, std::int32_t phaseWord, std::int32_t levelWord);
// "YR", first value, second value, dwell code (2 bytes each).
std::string phaseHopFrame(std::int32_t first, std::int32_t second, std::int32_t dwellCode);
// "YQ" and the phase word (2 bytes).
std::string phaseFrame(std::int32_t word);
// "Z", function, three argument bytes (table above).
std::string amSetupFrame(std::uint8_t function, std::int32_t depthPercent, std::int32_t levelWord);
std::string fmExternalFrame(std::int32_t deviationWord);

}  // namespace synthor
