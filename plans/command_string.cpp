#include "plans/command_string.hpp"

#include <array>
#include <cmath>

#include "encoding/freq_level.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/hops.hpp"
#include "plans/level_sweeps.hpp"
#include "plans/modulation.hpp"
#include "plans/plan_common.hpp"
#include "plans/plan_files.hpp"
#include "plans/plan_messages.hpp"
#include "plans/plan_text.hpp"
#include "plans/trigger.hpp"
#include "runtime/convert.hpp"
#include "runtime/text.hpp"

namespace synthor {
namespace {

constexpr std::string_view kOK = "OK";
constexpr std::string_view kOn = "ON";
constexpr std::string_view kRate400 = "400HZ";

namespace text {
constexpr std::string_view NoInstrumentFound = "Error. No instrument found.";
constexpr std::string_view NoInstrument = "Error. No instrument.";
constexpr std::string_view InvalidFrequency = "Error. Invalid frequency.";
constexpr std::string_view InvalidLevel = "Error. Invalid level.";
constexpr std::string_view IncorrectFreq = "Error. Incorrect Freq value.";
constexpr std::string_view FmFreq = "Error. Freq outside valid range.";
constexpr std::string_view FmLevel = "Error. Level outside valid range.";
constexpr std::string_view FmDeviation = "Error. Deviation exceeds 200kHz.";
constexpr std::string_view AmFreq = "Error. Frequency outside allowed range.";
constexpr std::string_view AmLevel = "Error. Output level outside allowed range.";
constexpr std::string_view AmDepth = "Error. Modulation depth is 5-90%.";
constexpr std::string_view ReadFreqPlanFailed = "Error reading frequency plan.";
constexpr std::string_view ReadPowerPlanFailed = "Error";
constexpr std::string_view ReadComplexPlanFailed = "Error reading frequency plan.";
}  // namespace text

// P1..P5, Missing beyond those given: a keyword that reads a parameter the host did not pass
// raises the type-mismatch error.
class Params {
  public:
    explicit Params(std::span<const Variant> values) : values_(values) {}
    const Variant& at(std::size_t n) const {
        static const Variant missing = Missing{};
        return n >= 1 && n <= values_.size() ? values_[n - 1] : missing;
    }
    double dbl(std::size_t n) const { return toDouble(at(n)); }
    float sng(std::size_t n) const { return toSingle(at(n)); }
    std::int32_t lng(std::size_t n) const { return toLong(at(n)); }
    std::int16_t integer(std::size_t n) const { return toInteger(at(n)); }
    std::string str(std::size_t n) const { return toText(at(n)); }

  private:
    std::span<const Variant> values_;
};

bool levelAllowed(float level) {
    return level >= kMinLevel && level <= kMaxLevel;
}
bool hzAllowed(double f) {
    return f >= kMinHz && f <= kMaxHz;
}

// Back to the continuous-wave point, as every modulation switch other than "ON" does.
std::string stopModulation(Session& s) {
    send(s, modeSelectFrame(mode::Stop));
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::CW);
    return std::string(kOK);
}

std::string cwWorker(Session& s, double freqMHz, float level) {
    if (s.link.InstrumentFound == kFalse) return std::string(text::NoInstrument);
    const double f = freqMHz * 1e6;
    if (!hzAllowed(f)) return std::string(text::InvalidFrequency);
    if (!levelAllowed(level)) return std::string(text::InvalidLevel);
    s.CWFrequency = f;
    setCarrier(s, f, level);
    return std::string(kOK);
}

std::string phaseWorker(Session& s, double freqMHz, float phase) {
    if (freqMHz < kMinMHz || freqMHz > kMaxMHz) return std::string(text::IncorrectFreq);
    send(s, phaseFrame(complexPhaseWord(std::fabs(phase), freqMHz * 1e6)));
    return std::string(kOK);
}

std::string fmWorker(Session& s, double freqMHz, double deviationKHz, float level,
                     const std::string& rate, const std::string& sw) {
    if (ucase(sw) != kOn) return stopModulation(s);
    const double f = freqMHz * 1e6;
    if (!hzAllowed(f)) return std::string(text::FmFreq);
    if (!levelAllowed(level)) return std::string(text::FmLevel);
    const double deviation = std::fabs(deviationKHz);
    if (deviation > kMaxDeviationKHz) return std::string(text::FmDeviation);
    const std::int32_t points = ucase(rate) == kRate400 ? kFm400Points : kFm1kPoints;
    // The tone runs at the 400 Hz rate whichever table is written.
    startFmTone(s, f, deviation * 1000.0, level, points, kFm400DwellCode);
    // The status names 400 Hz whichever rate runs.
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::Fm400);
    return std::string(kOK);
}

std::string fmExtWorker(Session& s, double freqMHz, double deviationKHz, float level,
                        const std::string& sw) {
    if (ucase(sw) != kOn) return stopModulation(s);
    const double f = freqMHz * 1e6;
    if (f < kMinHz) return std::string(planmsg::FrequencyLow.text);
    if (f > kMaxHz) return std::string(planmsg::FrequencyHigh.text);
    if (!levelAllowed(level)) return std::string(text::FmLevel);
    const double deviation = std::fabs(deviationKHz);
    if (deviation > kMaxDeviationKHz) return std::string(text::FmDeviation);
    startFmExternal(s, f, deviation * 1000.0, level);
    return std::string(kOK);
}

std::string amWorker(Session& s, double freqMHz, float depth, float level, const std::string& rate,
                     const std::string& sw) {
    if (ucase(sw) != kOn) return stopModulation(s);
    const double f = freqMHz * 1e6;
    if (!hzAllowed(f)) return std::string(text::AmFreq);
    if (!levelAllowed(level)) return std::string(text::AmLevel);
    if (depth < kMinDepth || depth > kMaxDepth) return std::string(text::AmDepth);
    const bool tone400 = ucase(rate) == kRate400;
    startAm(s, f, level, depth, tone400 ? setup::Am400Hz : setup::Am1kHz,
            tone400 ? panel::status::Am400 : panel::status::Am1k);
    return std::string(kOK);
}

std::string amExtWorker(Session& s, double freqMHz, float depth, float level,
                        const std::string& sw) {
    if (ucase(sw) != kOn) return stopModulation(s);
    const double f = freqMHz * 1e6;
    if (!hzAllowed(f)) return std::string(text::AmFreq);
    if (!levelAllowed(level)) return std::string(text::AmLevel);
    std::string result(kOK);
    if (depth > kMaxDepth) {
        depth = kMaxDepth;
        result = planmsg::DepthHigh.text;
    } else if (depth < kMinDepth) {
        depth = kMinDepth;
        result = planmsg::DepthLow.text;
    }
    startAm(s, f, level, depth, setup::AmExternal, panel::status::AmExt);
    return result;
}

std::string readFreqPlan(Session& s, const std::string& name) {
    const bool read =
        name == "?" ? LoadFreqSweepPlan(s, false, std::string()) : LoadFreqSweepPlan(s, true, name);
    if (!read) return std::string(text::ReadFreqPlanFailed);
    s.plans.FreqPlanPresent = kTrue;
    return std::string(kOK);
}

std::string readPowerPlan(Session& s, const std::string& name) {
    const bool read = name == "?" ? ReadPowerPlan(s) : ReadPowerPlan2(s, name);
    return std::string(read ? kOK : text::ReadPowerPlanFailed);
}

std::string readComplexPlan(Session& s, const std::string& name) {
    if (!ReadComplexPlan(s, name)) return std::string(text::ReadComplexPlanFailed);
    s.plans.ComplexPlanPresent = kTrue;
    return std::string(kOK);
}

struct Keyword {
    std::string_view name;
    std::string (*run)(Session& s, const Params& p);
};

// Parameters are converted left to right, each before the next, as the keyword lists them.
const std::array kKeywords = std::to_array<Keyword>({
    {"CW",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         return cwWorker(s, f, p.sng(2));
     }},
    {"PHASE",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         return phaseWorker(s, f, p.sng(2));
     }},
    {"FM",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         const double deviation = p.dbl(2);
         const float level = p.sng(3);
         const std::string rate = p.str(4);
         return fmWorker(s, f, deviation, level, rate, p.str(5));
     }},
    {"FMEXT",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         const double deviation = p.dbl(2);
         const float level = p.sng(3);
         return fmExtWorker(s, f, deviation, level, p.str(4));
     }},
    {"AM",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         const float depth = p.sng(2);
         const float level = p.sng(3);
         const std::string rate = p.str(4);
         return amWorker(s, f, depth, level, rate, p.str(5));
     }},
    {"AMEXT",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         const float depth = p.sng(2);
         const float level = p.sng(3);
         return amExtWorker(s, f, depth, level, p.str(4));
     }},
    {"FREQHOP",
     [](Session& s, const Params& p) {
         const double first = p.dbl(1);
         const double second = p.dbl(2);
         const float level = p.sng(3);
         const std::int32_t dwell = p.lng(4);
         return GoSigGenFHop(s, first, second, level, dwell, p.str(5));
     }},
    {"PHASEHOP",
     [](Session& s, const Params& p) {
         const std::int32_t first = p.lng(1);
         const std::int32_t second = p.lng(2);
         const std::int32_t dwell = p.lng(3);
         return GoSigGenPhHop(s, first, second, dwell, p.str(4));
     }},
    {"LEVELHOP",
     [](Session& s, const Params& p) {
         const double f = p.dbl(1);
         const float first = p.sng(2);
         const float second = p.sng(3);
         const std::int32_t dwell = p.lng(4);
         return GoSigGenLevelHop(s, f, first, second, dwell, p.str(5));
     }},
    {"READFREQPLAN", [](Session& s, const Params& p) { return readFreqPlan(s, p.str(1)); }},
    {"READPOWERPLAN", [](Session& s, const Params& p) { return readPowerPlan(s, p.str(1)); }},
    {"READCOMPLEXPLAN",
     [](Session& s, const Params& p) { return readComplexPlan(s, p.str(1)); }},
    {"FREQSWEEP",
     [](Session& s, const Params& p) { return GoSigGenFreqSweep(s, ucase(p.str(1))); }},
    {"LEVSWEEP",
     [](Session& s, const Params& p) { return GoSigGenLevSweep(s, ucase(p.str(1))); }},
    {"COMPLEXSWEEP",
     [](Session& s, const Params& p) { return GoSigGenCplxSweep(s, ucase(p.str(1))); }},
    {"SETTRIGGER",
     [](Session& s, const Params& p) {
         SetTriggerMode(s, p.integer(1));
         return std::string(kOK);
     }},
    {"STEPTRIGGER",
     [](Session& s, const Params& p) {
         s.plans.StepTrigger = p.integer(1) != 0 ? 1 : 0;
         return std::string(kOK);
     }},
});

const std::array<std::string_view, kKeywords.size()> kKeywordNames = [] {
    std::array<std::string_view, kKeywords.size()> names{};
    for (std::size_t i = 0; i < kKeywords.size(); ++i)
        names[i] = kKeywords[i].name;
    return names;
}();

}  // namespace

std::span<const std::string_view> sigGenKeywords() {
    return kKeywordNames;
}

std::string SetSigGen(Session& s, const Variant& command, std::span<const Variant> params) {
    const std::string keyword = ucase(toText(command));
    if (s.link.InstrumentFound == kFalse) return std::string(text::NoInstrumentFound);
    const Params p(params);
    for (const Keyword& k : kKeywords) {
        if (k.name == keyword) return k.run(s, p);
    }
    return std::string();
}

}  // namespace synthor
