// Frame bytes and number packing (module `Freq_Level`): splitting numbers into big-endian frame
// bytes, the point record, and the fixed frames built from them.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace synthor {

// Point memory addresses and record size.
inline constexpr std::int32_t kCwAddress = 130064;  // the continuous-wave point
inline constexpr std::int32_t kPlanAddress = 1024;  // first point of a plan
inline constexpr std::int32_t kPointSize = 14;

// A point record; record byte n (1..14) is element n - 1:
//   1..4 tuning word A (MSB first), 5 control byte A, 6..7 level word A (high, low),
//   8..11 tuning word B, 12 control byte B, 13..14 level word B.
using PointRecord = std::array<std::uint8_t, kPointSize>;

struct ThreeBytes {
    std::uint8_t high, middle, low;
};
struct TwoBytes {
    std::uint8_t high, low;
};

// v as three bytes, most significant first. Raises the overflow error (6) for a negative v or
// one of 16,777,216 or more.
ThreeBytes splitThree(std::int32_t v);
// v as two bytes, most significant first. Raises the overflow error outside 0..65535.
TwoBytes splitTwo(std::int32_t v);

// log10(x), with x raised to 1e-11 first when it is smaller: the caller's variable is
// overwritten.
double log10Floor(double& x);

// "W", 14, the address in three bytes, the 14 record bytes. Raises the overflow error for an
// address outside 0..16777215.
using MemoryWriteFrame = std::array<char, 5 + kPointSize>;
MemoryWriteFrame memoryWriteFrame(std::int32_t address, const PointRecord& record);

// "YI" and an address: puts the point stored there into effect.
std::string pointStartFrame(std::int32_t address);

// "P", n and a 16-bit address: asks for n bytes of calibration memory.
std::string memoryReadFrame(std::int32_t count, std::int32_t address);

}  // namespace synthor
