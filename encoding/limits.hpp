// The library's limits, each in the precision its checks use: frequencies are doubles (MHz on
// the panel and in methods' arguments, Hz inside), levels singles in dBm, dwells integers in µs.
#pragma once

#include <cstdint>

namespace synthor {

inline constexpr double kMinMHz = 0.3;
inline constexpr double kMaxMHz = 8192.0;
inline constexpr double kMinHz = 300000.0;
inline constexpr double kMaxHz = 8.192e9;
inline constexpr float kMinLevel = -25.0F;
inline constexpr float kMaxLevel = 17.0F;
inline constexpr float kPlanMaxLevel = 15.0F;  // ceiling of plans built or read with messages
inline constexpr std::int32_t kMinDwell = 26;
inline constexpr std::int32_t kMaxDwell = 65500;
inline constexpr std::int32_t kMinComplexDwell = 20;
inline constexpr float kPhaseFullScale = 360.0F;  // larger phases are sent as a full turn

}  // namespace synthor
