// The automation class's plan methods and its command-string method, over the plan routines.
#include <array>

#include "automation/synthor_01_vexa.hpp"
#include "plans/command_string.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/plan_files.hpp"
#include "plans/plan_messages.hpp"

namespace synthor {

std::string Synthor_01_vexa::ReadFplan(const Variant& fileName) {
    Session& s = session_;
    if (s.link.InstrumentFound == kFalse) return std::string(planresult::NoInstrumentConnected);
    const std::string name = toText(fileName);
    const bool read =
        name == "?" ? LoadFreqSweepPlan(s, false, std::string()) : LoadFreqSweepPlan(s, true, name);
    if (read) {
        ShowFreqPlan(s);
        s.plans.freq.FreqPlanValid = kTrue;
        return "OK";
    }
    s.plans.freq.FreqPlanValid = kFalse;
    return "Error reading file.";
}

std::string Synthor_01_vexa::SetFreqPlan(const Variant& start, const Variant& step,
                                         const Variant& points, const Variant& dwell,
                                         const Variant& /*level*/) {
    Session& s = session_;
    if (s.link.InstrumentFound == kFalse) return std::string(planresult::NoInstrumentConnected);
    const double startMHz = toDouble(start);
    const double stepMHz = toDouble(step);
    const std::int32_t count = toLong(points);
    const std::int32_t dwellUs = toLong(dwell);
    // The level argument is taken but never used: plans made here run at 0.0 dBm.
    std::string result = MakeFreqPlan(s, startMHz, stepMHz, count, dwellUs, 0.0F);
    s.plans.freq.FreqPlanValid = result == "OK" ? kTrue : kFalse;
    return result;
}

std::string Synthor_01_vexa::GoFreqSweep() {
    Session& s = session_;
    if (s.link.InstrumentFound == kFalse) return std::string(planresult::NoInstrumentConnected);
    if (s.plans.freq.FreqPlanValid != kTrue) return "Error. No freq plan.";
    StartFreqSweep(s);
    return "OK";
}

std::string Synthor_01_vexa::ClearFPlan() {
    ResetFreqPlan(session_);
    // The method's "OK" goes to a value that is discarded: callers always get "".
    return std::string();
}

std::string Synthor_01_vexa::SetSigGen(const Variant& command, const Variant& p1, const Variant& p2,
                                       const Variant& p3, const Variant& p4, const Variant& p5) {
    const std::array<Variant, kSigGenParams> params = {p1, p2, p3, p4, p5};
    return synthor::SetSigGen(session_, command, params);
}

}  // namespace synthor
