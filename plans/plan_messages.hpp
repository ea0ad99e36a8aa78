// The message boxes and result texts of the plan routines. Message boxes all take the panel's
// convention for a user's input error: exclamation icon, OK button, title "Signal Gen".
#pragma once

#include <string_view>

#include "runtime/prompts.hpp"

namespace synthor {

struct PlanMessage {
    std::string_view text;
    int style;
    std::string_view title;
};

namespace planmsg {
inline constexpr std::string_view kTitle = "Signal Gen";
inline constexpr int kStyle = msgstyle::Exclamation;

inline constexpr PlanMessage TooFewPoints = {"Too few sweep points.", kStyle, kTitle};
inline constexpr PlanMessage TooManyPoints = {"Too many sweep points.", kStyle, kTitle};
inline constexpr PlanMessage TooManyBandChanges = {
    "Error generating sweep plan. Too many band changes.", kStyle, kTitle};
inline constexpr PlanMessage LevelHopFrequency = {"Error. Invalid frequency value.", kStyle,
                                                  kTitle};
inline constexpr PlanMessage LevelHopDwell = {"Dwell time must be between 26 and 65500 us.", kStyle,
                                              kTitle};
// Out-of-range entries that are reported, then clamped and used.
inline constexpr PlanMessage FrequencyLow = {"Value < 0.3MHz not allowed", kStyle, kTitle};
inline constexpr PlanMessage FrequencyHigh = {"Value > 8.192GHz not allowed", kStyle, kTitle};
inline constexpr PlanMessage DepthLow = {"Minimum modulation depth is 5%. Value reset.", kStyle,
                                         kTitle};
inline constexpr PlanMessage DepthHigh = {"Maximum modulation depth is 90%. Value reset.", kStyle,
                                          kTitle};
}  // namespace planmsg

inline void showMessage(Prompts& prompts, const PlanMessage& m) {
    prompts.msgBox(m.text, m.style, m.title);
}

// Result texts.
namespace planresult {
inline constexpr std::string_view OK = "OK";
inline constexpr std::string_view Error = "Error";
inline constexpr std::string_view True = "True";
inline constexpr std::string_view InvalidStartFreq = "Error. Invalid start freq.";
inline constexpr std::string_view EndFreqTooHigh = "Error. End freq > 8192 MHz.";
inline constexpr std::string_view InvalidPoints = "Error. Invalid # pts.";  // never returned
inline constexpr std::string_view NoFreqPlan = "Error. No freq plan.";
inline constexpr std::string_view StartStopFreq = "Error. Incorrect Start/Stop freq values.";
inline constexpr std::string_view IncorrectFreq = "Error. Incorrect freq value.";
inline constexpr std::string_view IncorrectLevel = "Error. Incorrect level value.";
inline constexpr std::string_view IncorrectDwell = "Error. Incorrect dwell value.";
inline constexpr std::string_view NoPlan = "Error. No plan.";
inline constexpr std::string_view InvalidFrequencyValue = "Error. Invalid frequency value.";
inline constexpr std::string_view InvalidDwellTime = "Error. Invalid dwell time.";
inline constexpr std::string_view InvalidLevelValue = "Error. Invalid Level value.";
inline constexpr std::string_view IncorrectPhase = "Error. Incorret phasae value.";
inline constexpr std::string_view SamePhases = "Error. Phase values cannot be the same.";
inline constexpr std::string_view IncorrectDwellTime = "Error. Incorrect Dwell time.";
}  // namespace planresult

}  // namespace synthor
