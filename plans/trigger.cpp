#include "plans/trigger.hpp"

namespace synthor {

void ResetTrigger(Session& s) {
    if (s.plans.triggerResetRunning) return;
    s.plans.triggerResetRunning = true;
    try {
        s.link.TriggerModeRequested = 0;
        s.link.SetTrigger();
        s.panel.setStatus(panel::statuspanel::Trigger, panel::trigger::FreeRun);
        s.panel.select("Option4");
    } catch (...) {
        s.plans.triggerResetRunning = false;
        throw;
    }
    s.plans.triggerResetRunning = false;
}

void SetTriggerMode(Session& s, std::int16_t mode) {
    if (mode == 0) {
        ResetTrigger(s);
        return;
    }
    const std::int16_t chosen = mode == 1 ? 1 : 2;
    s.link.TriggerModeRequested = chosen;
    s.link.SetTrigger();
    s.panel.setStatus(panel::statuspanel::Trigger,
                      panel::trigger::kByMode[static_cast<std::size_t>(chosen)]);
}

}  // namespace synthor
