// How the instrument's read-only memory lays out its calibration, and the decoding of point
// records back into frequency and power with it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace synthor::sim {

inline constexpr std::uint32_t kIdentityAddress = 2;
inline constexpr std::uint32_t kIdentityBlockSize = 11;
inline constexpr int kIdentityBlocks = 15;
inline constexpr std::uint32_t kChannel1TableAddress = 8152;
inline constexpr std::uint32_t kChannel2TableAddress = 20224;
inline constexpr std::uint32_t kSpareTable1Address = 1150;   // 7002 bytes, not read for levels
inline constexpr std::uint32_t kSpareTable2Address = 32256;  // 7002 bytes, not read for levels
inline constexpr std::uint32_t kSpareTableSize = 7002;
inline constexpr int kCalibrationRecords = 169;
inline constexpr int kEntriesPerRecord = 35;
inline constexpr std::uint32_t kRecordSize = 2 * kEntriesPerRecord;

// Frequency of calibration grid index `index` (1 is 300 kHz, 169 is 8 GHz).
double gridFrequency(int index);

// The grid index the level computation uses for frequency `f` (Hz); 0 or less below 300 kHz.
int gridIndex(double f);

// Entry k (1..35) of a 70-byte record: sign and magnitude, big-endian tenths of dBm.
double tableEntry(std::span<const std::uint8_t> record, int k);

// Encodes a power in dBm as a table entry (rounded to 0.1 dB, magnitude capped at 0x7FFF).
void putTableEntry(std::uint8_t* out, double dbm);

// Output frequency multiplier of a band code (the control byte's high nibble); none for codes
// that carry no word.
std::optional<double> bandMultiplier(std::uint8_t control);

// The power a level word stands for at frequency `f` on channel 1 (output, table at 8152) or 2
// (companion, table at 20224), read from `eeprom`; absent below the calibration grid.
std::optional<double> levelForWord(std::span<const std::uint8_t> eeprom, double f,
                                   std::uint16_t word, int channel);

}  // namespace synthor::sim
