// Every result text and message box of the library, in one place. Message boxes all take the
// panel's convention for a user's input error: exclamation icon, OK button, title "Signal Gen".
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
}  // namespace planmsg

inline void showMessage(Prompts& prompts, const PlanMessage& m) {
    prompts.msgBox(m.text, m.style, m.title);
}

// Result texts of the automation methods, the command strings and the plan routines.
namespace planresult {
inline constexpr std::string_view NoInstrumentFound = "Error. No instrument found.";
inline constexpr std::string_view NoInstrumentConnected = "Error. No instrument connected.";
inline constexpr std::string_view OK = "OK";
inline constexpr std::string_view Error = "Error";
inline constexpr std::string_view True = "True";
inline constexpr std::string_view InvalidStartFreq = "Error. Invalid start freq.";
inline constexpr std::string_view EndFreqTooHigh = "Error. End freq > 8192 MHz.";
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

// Result texts and message texts of the command strings.
namespace commandresult {
inline constexpr std::string_view NoInstrument = "Error. No instrument.";
inline constexpr std::string_view InvalidFrequency = "Error. Invalid frequency.";
inline constexpr std::string_view InvalidLevel = "Error. Invalid level.";
inline constexpr std::string_view IncorrectFreq = "Error. Incorrect Freq value.";
inline constexpr std::string_view FmFreq = "Error. Freq outside valid range.";
inline constexpr std::string_view FmLevel = "Error. Level outside valid range.";
inline constexpr std::string_view FmDeviation = "Error. Deviation exceeds 200kHz.";
inline constexpr std::string_view ExtFmLow = "Value < 0.3MHz not allowed";
inline constexpr std::string_view ExtFmHigh = "Value > 8.192GHz not allowed";
inline constexpr std::string_view AmFreq = "Error. Frequency outside allowed range.";
inline constexpr std::string_view AmLevel = "Error. Output level outside allowed range.";
inline constexpr std::string_view AmDepth = "Error. Modulation depth is 5-90%.";
inline constexpr std::string_view AmDepthHigh = "Maximum modulation depth is 90%. Value reset.";
inline constexpr std::string_view AmDepthLow = "Minimum modulation depth is 5%. Value reset.";
inline constexpr std::string_view ReadFreqPlanFailed = "Error reading frequency plan.";
inline constexpr std::string_view ReadPowerPlanFailed = "Error";
inline constexpr std::string_view ReadComplexPlanFailed = "Error reading frequency plan.";
}  // namespace commandresult

}  // namespace synthor
