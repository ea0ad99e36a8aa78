// Output level computation (module `Freq_Level`): a requested power at a frequency becomes a
// 14-bit level word for channel 1 (synthesizer A, `CalTable1`) or channel 2 (synthesizer B,
// `CalTable2`), through the calibration record of the nearest grid frequencies.
#pragma once

#include <cstdint>
#include <string_view>

#include "calibration/tables.hpp"

namespace synthor {

inline constexpr int kCalEntries = 35;
inline constexpr std::int16_t kLastCalRecord = 169;

// Index of the calibration grid frequency at or below f: 300 kHz steps below 1 MHz (at most 4),
// octaves from 1 to 16 MHz (at most 9), then 50 MHz steps from 50 MHz (10) with no upper bound.
std::int16_t calIndex(double f);
// Frequency of grid index i, Hz.
double calGridFrequency(std::int16_t i);

// Entry k (1..35) of a 70-byte record: sign and magnitude, big-endian, in tenths of a dBm.
double calEntry(std::string_view record, int k);

// The level word for `level` dBm within one record: a coarse search for the nearest entry, a
// straight line through it and its neighbours, and the word that line gives. `direction` is 1
// for channel 1 and -1 for channel 2. The result is 0..16383: a negative word becomes 0 and
// higher bits are dropped. Raises the invalid-argument error for a record shorter than 70 bytes.
std::int16_t recordLevelWord(std::string_view record, float level, std::int16_t direction);

// The level word for `level` dBm at f Hz on `channel` (1, else 2), interpolated between the
// records of the grid frequencies around f. Raises the invalid-argument error below 300 kHz and
// when a record it needs is missing from the table.
std::int16_t levelWord(const CalibrationTables& tables, double f, float level,
                       std::int16_t channel);

}  // namespace synthor
