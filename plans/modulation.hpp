// Switching modulation on: the FM tone table, external FM and AM set-ups, as the command-string
// interface and the panel's modulation options both send them.
#pragma once

#include <cstdint>
#include <string_view>

#include "session/session.hpp"

namespace synthor {

// FM tone tables: points per period of the 400 Hz and 1 kHz tones.
inline constexpr std::int32_t kFm400Points = 72;
inline constexpr std::int32_t kFm1kPoints = 36;
// The tone's dwell code: the panel plays each table at its own rate, the command string always
// at the 400 Hz rate.
inline constexpr std::int32_t kFm400DwellCode = 9;
inline constexpr std::int32_t kFm1kDwellCode = 3;
inline constexpr double kMaxDeviationKHz = 200.0;
// AM depth in percent.
inline constexpr float kMinDepth = 5.0F;
inline constexpr float kMaxDepth = 90.0F;

// The carrier at f Hz and `level` dBm as the continuous-wave point, put into effect.
void setCarrier(Session& s, double f, float level);

// Writes one FM period of `points` points around f from 1024, selects modulation, re-sends the
// trigger mode and starts the table ("X", 1024, points, dwell code).
void startFmTone(Session& s, double f, double deviationHz, float level, std::int32_t points,
                 std::int32_t dwellCode);

// The carrier through the modulation encoder, modulation selected, then the external-FM "Z"
// set-up with the deviation in the carrier band's tuning-word units; panel 1 "Status: Ext FM".
void startFmExternal(Session& s, double f, double deviationHz, float level);

// The carrier, then the AM "Z" set-up (function byte, depth, carrier level word); panel 1 shows
// `status`.
void startAm(Session& s, double f, float level, float depth, std::uint8_t function,
             std::string_view status);

}  // namespace synthor
