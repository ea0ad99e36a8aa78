// Frequency band plan and tuning words (module `Freq_Level`): the point-record frequency encoder
// and its modulation and output-off variants. They fill record bytes 1..5 and 8..12; the level
// bytes 6, 7, 13 and 14 are left for the level words.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "frames/packing.hpp"

namespace synthor {

// One row of a band table: from `from` Hz (inclusive) up to the row above.
struct Band {
    double from;
    double multiplier;  // tuning word = round(f x multiplier)
    std::uint8_t code;  // band code in the control byte
    std::int16_t bandClass;
};

// Rows are tested from the top; below the last row nothing is encoded.
inline constexpr std::array<Band, 10> kBandsA = {{
    {5.6e9, 0.05, 0x00, 2},
    {4e9, 0.05, 0x10, 2},
    {2e9, 0.1, 0x20, 2},
    {1e9, 0.2, 0x30, 2},
    {5e8, 0.4, 0x40, 2},
    {2.5e8, 0.8, 0x50, 2},
    {1.25e8, 1.6, 0x60, 2},
    {3e6, 10, 0x80, 1},
    {1e6, 10, 0xA0, 1},
    {300000, 10, 0xB0, 1},
}};

// Synthesizer A while the output is parked: the x1.6 band starts at 199 MHz instead of 125 MHz.
inline constexpr std::array<Band, 10> kBandsOutputOffA = [] {
    auto bands = kBandsA;
    bands[6].from = 1.99e8;
    return bands;
}();

inline constexpr std::array<Band, 12> kBandsB = {{
    {5.6e9, 0.05, 0x00, 2},
    {4e9, 0.05, 0x10, 2},
    {2e9, 0.1, 0x20, 2},
    {1e9, 0.2, 0x30, 2},
    {5e8, 0.4, 0x40, 2},
    {2.5e8, 0.8, 0x50, 2},
    {1.25e8, 1.6, 0x60, 2},
    {6.25e7, 3.2, 0x70, 2},
    {4.15e6, 10, 0x80, 1},
    {4.05e6, 10, 0x90, 1},
    {1e6, 10, 0xA0, 0},
    {300000, 10, 0xB0, 0},
}};

// Control-byte values beside the band codes.
inline constexpr std::uint8_t kClassRoseFlag = 0x0C;
inline constexpr std::uint8_t kSpurFlag = 0x04;
inline constexpr std::uint8_t kCodeB4MHz = 0x90;

// The band classes carried from one record to the next, shared by every writer of a session.
struct BandState {
    std::int16_t BandClassA = 0;
    std::int16_t BandClassB = 0;
    std::int16_t PrevBandClassA = 0;
    std::int16_t PrevBandClassB = 0;
};

// The first row whose lower edge f reaches; nothing below the table.
std::optional<Band> findBand(std::span<const Band> table, double f);

// round(f x multiplier), ties to even; raises the overflow error beyond 32 bits.
std::int32_t tuningWord(double f, double multiplier);

// Plain encoder: synthesizer A at f, B at the companion frequency f2.
void encodeFrequency(BandState& state, double f, double f2, PointRecord& record);
// Modulation encoder: band A chosen by the centre frequency fc, word A from the instantaneous f;
// the 4.05-4.15 MHz override and the spur ranges are tested on f.
void encodeModulation(BandState& state, double fc, double f, double f2, PointRecord& record);
// Output-off encoder: as the plain one with band A from kBandsOutputOffA.
void encodeOutputOff(BandState& state, double f, double f2, PointRecord& record);

}  // namespace synthor
