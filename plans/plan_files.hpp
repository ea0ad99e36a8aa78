// The plan-file readers. A plan file has a header read item by item (markers such as
// "[FREQUENCYSWEEP]", "[LEVEL]", "[DWELL]", compared case-insensitively as whole items; a value
// marker takes the next item) and, after "[PLAN]", one plan point per line to the end of the
// file. Each reader fills one plan store and clamps what it reads; their differences are listed
// at each reader.
//
// Files are opened by the name given, relative to the process's current folder, or chosen in
// the file-open dialog, which starts in "C:\KX30-11-02" with "*.dat" files listed first. The
// process's current drive and folder are never changed.
//
// Error path. A reader that cannot open its file (or whose dialog is cancelled), that finds a
// value marker as the file's last item, that meets a 9002nd plan point, a header item or plan
// line longer than its limit, or a read error, stops there and returns false. Only regular files
// are read: a folder, FIFO or device is refused at once, and why goes to `Prompts::report`. The
// store keeps what was read before the error; the point count is not updated. Readers that show
// messages show "Too many sweep points." for the 9002nd point; the readers without messages clear
// their plan's valid flag instead.
//
// Files are never left open. Every reader closes its file on every return, including the early
// false return of `LoadFreqSweepPlan` for a file without its type marker, so a failed read never
// stands in the way of the next one; the results are the same as if the file stayed open.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "runtime/prompts.hpp"
#include "session/session.hpp"

namespace synthor {

// The file-open dialog the readers show.
OpenFileRequest planFileRequest();

// Frequency sweep file ("[FREQUENCYSWEEP]"; "[LEVELSWEEP]" marks it as another kind). "[LEVEL]"
// is clamped to -25..15 dBm, "[DWELL]" to 26..65500 µs; plan lines are a label and a frequency
// in MHz, stored as its magnitude in Hz. Asks with the dialog unless useGivenFile. Without the
// type marker returns false at once. With a given file the plan is uploaded (band table and
// points) before the count is stored, so with the count of the plan before. Fewer than 2
// points: "Too few sweep points." and false.
bool LoadFreqSweepPlan(Session& s, bool useGivenFile, const std::string& fileName);

// The panel's variant for a named file, without messages: "[FREQUENCY]" marks a frequency sweep
// file (and sets `FreqPlanValid`), "[LEVELSWEEP]" clears both; "[LEVEL]" is clamped to -25..17;
// a point outside 0.3..8192 MHz clears `FreqPlanValid` and is stored anyway. At the end it runs
// `LoadFreqSweepPlan` with the dialog, and only when that succeeds applies its own count checks
// (fewer than 2 points clear `FreqPlanValid`) and stores its count. Returns the type flag.
bool ReadFreqPlan2(Session& s, const std::string& fileName);

// Level sweep file ("[LEVELSWEEP]"; "[FREQUENCYSWEEP]" marks another kind), always chosen in the
// dialog. "[FREQUENCY]" is the magnitude clamped to 0.3..8192 MHz, "[DWELL]" 26..65500; plan
// lines are a label and a level, clamped to -25..15 dBm. Returns the type flag, false as well
// for fewer than 2 points ("Too few sweep points.").
bool ReadPowerPlan(Session& s);

// As ReadPowerPlan for a named file, without messages: levels clamp to -25..17, each type
// marker sets `LevelPlanValid` to the type flag, and fewer than 2 points clear it.
bool ReadPowerPlan2(Session& s, const std::string& fileName);

// Complex sweep file ("[COMPLEXSWEEP]"), named or, for "?", chosen in the dialog. "[FREQUENCY]"
// as for level plans; "[DWELL]" is clamped to 20..65500; plan lines are a label, a phase in
// degrees (a negative one clears `ComplexPlanValid`) and a level clamped to -25..15 dBm.
// Returns the type flag, false as well for fewer than 2 points ("Too few sweep points.").
bool ReadComplexPlan(Session& s, const std::string& fileName);

}  // namespace synthor
