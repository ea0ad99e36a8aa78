#include "plans/plan_files.hpp"

#include <array>
#include <cmath>
#include <span>

#include "plans/freq_sweep.hpp"
#include "plans/plan_common.hpp"
#include "plans/plan_messages.hpp"
#include "plans/plan_text.hpp"
#include "runtime/convert.hpp"
#include "runtime/errors.hpp"
#include "runtime/text.hpp"

namespace synthor {
namespace {

constexpr std::string_view kInitialFolder = "C:\\KX30-11-02";
constexpr std::string_view kFilter = "All Files (*.*)|*.*|data_files(*.dat)|*.dat|";
constexpr int kFilterIndex = 2;

// What a header marker does.
enum class Act { TypeTrue, TypeFalse, Level, Dwell, Frequency, Plan };

struct Marker {
    std::string_view text;
    Act act;
};

constexpr std::array kFreqSweepMarkers = std::to_array<Marker>({
    {"[FREQUENCYSWEEP]", Act::TypeTrue},
    {"[LEVELSWEEP]", Act::TypeFalse},
    {"[LEVEL]", Act::Level},
    {"[DWELL]", Act::Dwell},
    {"[PLAN]", Act::Plan},
});

// The panel's variant recognises a frequency sweep file by "[FREQUENCY]".
constexpr std::array kFreqPlan2Markers = [] {
    auto markers = kFreqSweepMarkers;
    markers[0].text = "[FREQUENCY]";
    return markers;
}();

constexpr std::array kLevelSweepMarkers = std::to_array<Marker>({
    {"[LEVELSWEEP]", Act::TypeTrue},
    {"[FREQUENCYSWEEP]", Act::TypeFalse},
    {"[FREQUENCY]", Act::Frequency},
    {"[DWELL]", Act::Dwell},
    {"[PLAN]", Act::Plan},
});

constexpr std::array kComplexSweepMarkers = std::to_array<Marker>({
    {"[COMPLEXSWEEP]", Act::TypeTrue},
    {"[FREQUENCY]", Act::Frequency},
    {"[DWELL]", Act::Dwell},
    {"[PLAN]", Act::Plan},
});

enum class ScanEnd { Completed, InputError, TooManyPoints };

// Header mode, then from "[PLAN]" plan mode to the end of the text. `onMarker(act, item)` gets
// the type markers (with an empty item) and the value markers with the item after them;
// `onPoint(fields, index)` gets each plan line with exactly `fieldCount` fields. `count` is
// reset by "[PLAN]" and counts the points stored.
template <typename OnMarker, typename OnPoint>
ScanEnd scanPlan(ByteSource& file, std::span<const Marker> markers, std::size_t fieldCount,
                 std::int32_t& count, OnMarker onMarker, OnPoint onPoint) {
    PlanText in(file);
    while (!in.atEnd()) {
        const auto item = in.nextItem();
        if (!item) break;
        const Marker* hit = nullptr;
        for (const Marker& m : markers) {
            if (equalsIgnoreCase(m.text, *item)) hit = &m;
        }
        if (hit == nullptr) continue;
        switch (hit->act) {
            case Act::TypeTrue:
            case Act::TypeFalse:
                onMarker(hit->act, std::string_view());
                break;
            case Act::Level:
            case Act::Dwell:
            case Act::Frequency: {
                const auto value = in.nextItem();
                if (!value) return ScanEnd::InputError;
                onMarker(hit->act, std::string_view(*value));
                break;
            }
            case Act::Plan: {
                count = 0;
                while (const auto line = in.nextLine()) {
                    if (line->empty()) continue;
                    const std::string normalised = normalisePlanLine(*line);
                    const auto fields = splitFields(normalised);
                    if (fields.size() != fieldCount) continue;
                    if (count >= kPlanPoints) return ScanEnd::TooManyPoints;
                    onPoint(fields, count);
                    ++count;
                }
                return in.failed() ? ScanEnd::InputError : ScanEnd::Completed;
            }
        }
    }
    return in.failed() ? ScanEnd::InputError : ScanEnd::Completed;
}

// The plan file: a regular file only, so that a FIFO, a device or a folder is refused at once
// (said through the prompts) rather than waited on or read without end.
std::unique_ptr<ByteSource> openPlanFile(Session& s, const std::string& path) {
    std::string error;
    auto file = openInput(path, FileKind::Regular, error);
    if (!file) s.prompts.report("cannot read the plan file " + error);
    return file;
}

std::unique_ptr<ByteSource> openPlan(Session& s, bool ask, const std::string& fileName) {
    if (!ask) return openPlanFile(s, fileName);
    const auto chosen = s.prompts.openFile(planFileRequest());
    if (!chosen) return nullptr;
    return openPlanFile(s, *chosen);
}

// A dwell item: its number truncated, clamped to floor..65500.
std::int32_t readDwell(std::string_view item, std::int32_t floor) {
    const double v = fix(val(item));
    return static_cast<std::int32_t>(clampTo(v, static_cast<double>(floor), double{kMaxDwell}));
}

// A fixed-frequency item in MHz: its magnitude clamped to 0.3..8192, in Hz.
double readFixedFrequency(std::string_view item) {
    return clampTo(std::fabs(val(item)), kMinMHz, kMaxMHz) * 1e6;
}

float readLevel(std::string_view item, float ceiling) {
    return clampTo(csng(val(item)), kMinLevel, ceiling);
}

constexpr std::int16_t flag(bool b) {
    return b ? kTrue : kFalse;
}

bool countAcceptable(std::int32_t count) {
    return count >= 2 && count <= kPlanPoints;
}

// The end checks of the readers with messages.
bool checkCountWithMessages(Session& s, std::int32_t count) {
    if (count < 2) {
        showMessage(s.prompts, planmsg::TooFewPoints);
        return false;
    }
    if (count > kPlanPoints) {
        showMessage(s.prompts, planmsg::TooManyPoints);
        return false;
    }
    return true;
}

// Level sweep readers share everything but the ceiling and the messages.
bool readLevelPlan(Session& s, const std::unique_ptr<ByteSource>& text, bool withMessages) {
    LevelPlan& p = s.plans.level;
    if (!text) {
        if (!withMessages) p.LevelPlanValid = kFalse;
        return false;
    }
    const float ceiling = withMessages ? kPlanMaxLevel : kMaxLevel;
    bool type = false;
    std::int32_t count = 0;
    const ScanEnd end = scanPlan(
        *text, kLevelSweepMarkers, 2, count,
        [&](Act act, std::string_view item) {
            switch (act) {
                case Act::TypeTrue:
                case Act::TypeFalse:
                    type = act == Act::TypeTrue;
                    if (!withMessages) p.LevelPlanValid = flag(type);
                    break;
                case Act::Frequency:
                    p.LevelPlanFreqHz = readFixedFrequency(item);
                    break;
                case Act::Dwell:
                    p.LevelPlanDwell = readDwell(item, kMinDwell);
                    break;
                default:
                    break;
            }
        },
        [&](const std::vector<std::string_view>& fields, std::int32_t i) {
            p.LevelPlanDbm[static_cast<std::size_t>(i)] = readLevel(fields[1], ceiling);
        });
    if (end != ScanEnd::Completed) {
        if (withMessages && end == ScanEnd::TooManyPoints) {
            showMessage(s.prompts, planmsg::TooManyPoints);
        }
        if (!withMessages) p.LevelPlanValid = kFalse;
        return false;
    }
    bool result = type;
    if (withMessages) {
        if (!checkCountWithMessages(s, count)) result = false;
    } else if (!countAcceptable(count)) {
        p.LevelPlanValid = kFalse;
        result = false;
    }
    p.LevelPlanCount = count;
    return result;
}

}  // namespace

OpenFileRequest planFileRequest() {
    OpenFileRequest r;
    r.initialDir = std::string(kInitialFolder);
    r.filter = std::string(kFilter);
    r.filterIndex = kFilterIndex;
    return r;
}

bool LoadFreqSweepPlan(Session& s, bool useGivenFile, const std::string& fileName) {
    try {
        const auto text = openPlan(s, !useGivenFile, fileName);
        if (!text) return false;
        FreqPlan& p = s.plans.freq;
        bool type = false;
        std::int32_t count = 0;
        const ScanEnd end = scanPlan(
            *text, kFreqSweepMarkers, 2, count,
            [&](Act act, std::string_view item) {
                switch (act) {
                    case Act::TypeTrue:
                        type = true;
                        break;
                    case Act::TypeFalse:
                        type = false;
                        break;
                    case Act::Level:
                        p.FreqPlanLevel = readLevel(item, kPlanMaxLevel);
                        break;
                    case Act::Dwell:
                        p.FreqPlanDwell = readDwell(item, kMinDwell);
                        break;
                    default:
                        break;
                }
            },
            [&](const std::vector<std::string_view>& fields, std::int32_t i) {
                p.FreqPlanHz[static_cast<std::size_t>(i)] = std::fabs(val(fields[1])) * 1e6;
            });
        if (end == ScanEnd::TooManyPoints) showMessage(s.prompts, planmsg::TooManyPoints);
        if (end != ScanEnd::Completed || !type) return false;
        if (useGivenFile) {
            // The upload uses the previous plan's count. When that fails (stale points whose
            // level cannot be computed), this file's count is still stored, so the next read
            // uploads this file's points rather than failing the same way for ever.
            try {
                s.link.gatherWrites([&] {
                    UploadBandTable(s);
                    UploadFreqPlanPoints(s, p.FreqPlanCount);
                });
            } catch (const RuntimeError&) {
                p.FreqPlanCount = count;
                throw;
            }
        }
        p.FreqPlanCount = count;
        return checkCountWithMessages(s, count);
    } catch (const RuntimeError&) {
        return false;
    }
}

bool ReadFreqPlan2(Session& s, const std::string& fileName) {
    FreqPlan& p = s.plans.freq;
    try {
        const auto text = openPlanFile(s, fileName);
        if (!text) {
            p.FreqPlanValid = kFalse;
            return false;
        }
        bool type = false;
        std::int32_t count = 0;
        const ScanEnd end = scanPlan(
            *text, kFreqPlan2Markers, 2, count,
            [&](Act act, std::string_view item) {
                switch (act) {
                    case Act::TypeTrue:
                    case Act::TypeFalse:
                        type = act == Act::TypeTrue;
                        p.FreqPlanValid = flag(type);
                        break;
                    case Act::Level:
                        p.FreqPlanLevel = readLevel(item, kMaxLevel);
                        break;
                    case Act::Dwell:
                        p.FreqPlanDwell = readDwell(item, kMinDwell);
                        break;
                    default:
                        break;
                }
            },
            [&](const std::vector<std::string_view>& fields, std::int32_t i) {
                const double mhz = std::fabs(val(fields[1]));
                if (mhz < kMinMHz || mhz > kMaxMHz) p.FreqPlanValid = kFalse;
                p.FreqPlanHz[static_cast<std::size_t>(i)] = mhz * 1e6;
            });
        if (end != ScanEnd::Completed) {
            p.FreqPlanValid = kFalse;
            return false;
        }
        if (LoadFreqSweepPlan(s, false, std::string())) {
            if (!countAcceptable(count)) p.FreqPlanValid = kFalse;
            p.FreqPlanCount = count;
        }
        return type;
    } catch (const RuntimeError&) {
        p.FreqPlanValid = kFalse;
        return false;
    }
}

bool ReadPowerPlan(Session& s) {
    try {
        return readLevelPlan(s, openPlan(s, true, std::string()), true);
    } catch (const RuntimeError&) {
        return false;
    }
}

bool ReadPowerPlan2(Session& s, const std::string& fileName) {
    try {
        return readLevelPlan(s, openPlanFile(s, fileName), false);
    } catch (const RuntimeError&) {
        s.plans.level.LevelPlanValid = kFalse;
        return false;
    }
}

bool ReadComplexPlan(Session& s, const std::string& fileName) {
    try {
        const auto text = openPlan(s, fileName == "?", fileName);
        if (!text) return false;
        ComplexPlan& p = s.plans.complex;
        bool type = false;
        std::int32_t count = 0;
        const ScanEnd end = scanPlan(
            *text, kComplexSweepMarkers, 3, count,
            [&](Act act, std::string_view item) {
                switch (act) {
                    case Act::TypeTrue:
                        type = true;
                        p.ComplexPlanValid = kTrue;
                        break;
                    case Act::Frequency:
                        p.ComplexPlanFreqHz = readFixedFrequency(item);
                        break;
                    case Act::Dwell:
                        p.ComplexPlanDwell = readDwell(item, kMinComplexDwell);
                        break;
                    default:
                        break;
                }
            },
            [&](const std::vector<std::string_view>& fields, std::int32_t i) {
                const float phase = csng(val(fields[1]));
                if (phase < 0.0F) p.ComplexPlanValid = kFalse;
                p.ComplexPlanPhase[static_cast<std::size_t>(i)] = phase;
                p.ComplexPlanDbm[static_cast<std::size_t>(i)] = readLevel(fields[2], kPlanMaxLevel);
            });
        if (end == ScanEnd::TooManyPoints) showMessage(s.prompts, planmsg::TooManyPoints);
        if (end != ScanEnd::Completed) return false;
        const bool countOk = checkCountWithMessages(s, count);
        p.ComplexPlanCount = count;
        return type && countOk;
    } catch (const RuntimeError&) {
        return false;
    }
}

}  // namespace synthor
