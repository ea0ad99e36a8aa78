// Frequency sweep plans: building a plan, the band-change table, uploading the points, and
// starting, showing, resetting and stopping the sweep.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "session/session.hpp"

namespace synthor {

// The band-change table's band code of a frequency in Hz: 1 from 300 kHz, 2 from 125 MHz (250
// MHz is deliberately no change), 3 from 500 MHz, 4 from 1 GHz, 5 from 2 GHz, 6 from 4 GHz; 0
// below 300 kHz.
std::int16_t sweepBandCode(double f);

// Builds the frequency plan from start and step (MHz) and uploads it. The plan's level is
// clamped to -25..15 dBm and its dwell's magnitude to 26..65500 µs before any check. "OK";
// "Error" for fewer than 1 or more than 9001 points; "Error. Invalid start freq." outside
// 0.3..8192 MHz; "Error. End freq > 8192 MHz." when start + points x step passes 8192.
std::string MakeFreqPlan(Session& s, double startMHz, double stepMHz, std::int32_t points,
                         std::int32_t dwell, float level);

// Writes the band-change table of the frequency plan from 130080: an entry for each point whose
// band code differs from the point before, led by one for point 0 when the first and last
// points differ. A plan of no points gets only the end mark. A 495th entry ends the table with
// the message "Error generating sweep plan. Too many band changes." and an end mark.
void UploadBandTable(Session& s);

// Stores the first `count` plan points at 1024 + 14 x i with the plan's level.
void UploadFreqPlanPoints(Session& s, std::int32_t count);

// Starts the stored sweep with the dwell of the panel's dwell box (its magnitude, clamped to
// 26..65500, rounded to a whole microsecond and written back) and a point count of 0 in the start
// frame; marks the sweep running ("Status: Freq sweep", Stop button bold).
void StartFreqSweep(Session& s);

// Puts the plan's first and last frequencies into the panel's start and stop boxes, "-" into
// the step box, and disables the three.
void ShowFreqPlan(Session& s);

// Marks the plan invalid and restores the panel's sweep boxes to their defaults.
void ResetFreqPlan(Session& s);

// "ON" uploads and starts the frequency plan (asking for a plan file first when none is loaded);
// the plan's level is rounded to 0.1 dB and clamped to -25..17 dBm, kept in the plan, shown in
// the panel's level box and used for the upload. Anything else stops the sweep. The result starts
// as "Error" and stays so after a stop; "OK" after a start; "Error. No freq plan." or "Error.
// Incorrect Start/Stop freq values." when a plan is missing or does not rise.
std::string GoSigGenFreqSweep(Session& s, std::string_view sw);

}  // namespace synthor
