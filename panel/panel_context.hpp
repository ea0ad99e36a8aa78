// What the panel's handler files share: the session and form they act on, the progress model,
// and the small steps many handlers repeat (reading boxes, the carrier's checks, messages).
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "panel/eeprom_data.hpp"
#include "plans/plan_messages.hpp"
#include "session/session.hpp"

namespace synthor::panel {

struct PanelContext {
    explicit PanelContext(Session& session) : s(session), form(session.panel) {}

    Session& s;
    FreqGen2& form;
    EepromData eeprom;
};

// The leading number of a box's text (0 for none).
double number(const PanelContext& c, std::string_view box);
// Writes `value` into a box with a digit pattern.
void writeBack(PanelContext& c, std::string_view box, double value, std::string_view pattern);

void unbold(PanelContext& c, std::initializer_list<std::string_view> stops);
void unboldAllStops(PanelContext& c);

void show(PanelContext& c, const PlanMessage& m);
// A refusal text from a plan routine, shown as the panel shows a user's input error.
void showRefusal(PanelContext& c, std::string_view text);

// Hz clamped to 0.3 MHz..8.192 GHz, with a message for each bound passed.
double checkedFrequency(PanelContext& c, double hz);
// The level box rounded to 0.1 dB, clamped quietly to -25..17 and written back.
float panelLevel(PanelContext& c);
// The frequency box in Hz, checked with messages and written back in MHz.
double panelFrequency(PanelContext& c);

// The carrier at the continuous-wave address (not yet put into effect); it becomes the
// session's continuous-wave frequency.
void writeCwPoint(PanelContext& c, double hz, float level);
// The reply check; false after showing "No Response" titled `title`.
bool instrumentAnswers(PanelContext& c, std::string_view title);

// Routines of the start-up and status file used by the controls.
void restoreCW(PanelContext& c);
std::int16_t readLockStatus(PanelContext& c);
void showLockStatus(PanelContext& c, std::int16_t status, double hz);
void resumeMode(PanelContext& c, std::string_view statusText);

// Runs a modulation option's handler once and leaves the option selected.
void runModulation(PanelContext& c, std::string_view option);

// The form keeps its handlers and each handler a share of the context, so the context lives as
// long as the session's form.
using Context = std::shared_ptr<PanelContext>;
using Action = std::function<void(PanelContext&)>;
void handle(const Context& c, std::string_view control, Action action);

// Each file attaches its own controls' handlers.
void attachStartup(const Context& c);
void attachCarrierControls(const Context& c);
void attachModulationControls(const Context& c);
void attachSweepControls(const Context& c);

}  // namespace synthor::panel
