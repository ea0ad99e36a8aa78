// The set-frequency-and-level sequence and the writers built on it (module `Freq_Level`): the one
// way frequencies and levels become point records in the instrument's memory.
#pragma once

#include <array>
#include <cstdint>

#include "calibration/tables.hpp"
#include "encoding/band_plan.hpp"
#include "frames/packing.hpp"
#include "link/usb_link.hpp"

namespace synthor {

// Offset of synthesizer B above the output frequency that every caller passes.
inline constexpr double kCompanionOffset = 4.1e6;
// Power requested from synthesizer B by every caller, dBm.
inline constexpr float kLevelB = 3.0f;

// Output frequencies near which synthesizer B's companion frequency is moved by 7 kHz.
inline constexpr std::array<double, 10> kSpurFrequencies = {
    1025200, 1366800, 1640000, 23768600, 30324500, 33058000, 47537200, 51636800, 60793800, 62304000,
};

// f + offset, moved away from frequencies where the two synthesizers would mix into spurs:
// 50 kHz off the offset itself, 30 kHz off 8.2 and 2.05 MHz, and below 70 MHz 7 kHz off the
// nearest listed spur frequency.
double companionFrequency(double f, double offset);

class FreqLevel {
  public:
    // Writes through `link`, carries band classes in `bands` and reads level tables from `tables`;
    // all three must outlive this object.
    FreqLevel(UsbLink& link, BandState& bands, const CalibrationTables& tables)
        : link_(link), bands_(bands), tables_(tables) {}

    // The point writer: `count` points from `address` upward, 14 bytes apart, at start + i x step
    // Hz, each with its companion frequency and level words for levelA (channel 1) and levelB
    // (channel 2). Each point is sent as one memory-write frame; the link's result is not
    // examined. A runtime error stops the run, leaving earlier points written.
    void setFrequencyAndLevel(std::int32_t address, std::int32_t count, double start, double step,
                              double offset, float levelA, float levelB);

    // One sine period of FM around fc with `deviation` Hz in `count` points from `address`; every
    // point keeps fc's band. Above 3 GHz a level A over 6 dBm is lowered to 6 dBm for that point
    // and every later one.
    void writeFmTable(std::int32_t address, std::int32_t count, double fc, double deviation,
                      double offset, float levelA, float levelB);

    // Parks the continuous-wave point at 193 MHz and -25 dBm (companion 197.1 MHz at 0 dBm).
    void writeOutputOff();

    // The level word for `level` dBm at f on `channel` from this session's tables (level.hpp).
    std::int16_t levelWord(double f, float level, std::int16_t channel) const;

  private:
    void writeRecord(std::int32_t address, double f, double f2, float levelA, float levelB,
                     PointRecord& record);

    UsbLink& link_;
    BandState& bands_;
    const CalibrationTables& tables_;
};

}  // namespace synthor
