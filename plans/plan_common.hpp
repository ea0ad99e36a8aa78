// Small pieces the plan routines share: limits, clamps, the start-frame variant choice and the
// frame send that ignores the link's result.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "encoding/phase.hpp"
#include "frames/sweep_frames.hpp"
#include "session/session.hpp"

namespace synthor {

// Frequency limits in MHz and Hz, level limits in dBm, dwell limits in µs.
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

// Text-box patterns.
inline constexpr std::string_view kMHzPattern = "###0.00000";
inline constexpr std::string_view kLevelPattern = "#0.0";

template <typename T>
T clampTo(T v, T low, T high) {
    if (v > high) return high;
    if (v < low) return low;
    return v;
}

// |v| of a 32-bit integer; the overflow error for the one value without a positive twin.
std::int32_t absLong(std::int32_t v);

// The stepped start frame goes out only when step-trigger mode and an external trigger are both
// set; otherwise the free-running one.
const char* startLetters(const Session& s, const StartFrameKind& kind);

// Writes a frame; the link's "OK" or "Error" is not examined by the plan routines.
inline void send(Session& s, std::string_view frame) {
    s.link.WriteUSB(frame);
}

// The runtime's Round(x, 1) of a single, ties to even.
float roundLevel(float level);

}  // namespace synthor
