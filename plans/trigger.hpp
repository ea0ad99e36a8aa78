// The trigger settings of sweeps and hops, as the command-string interface and the hops set
// them.
#pragma once

#include <cstdint>

#include "session/session.hpp"

namespace synthor {

// Back to free run: trigger mode 0 is sent, status panel 2 shows "Trig: Free run" and the
// frequency sweep's "Free run" option is selected. A handler of that option that resets the
// trigger itself finds the reset running and returns, so the frame goes out once.
void ResetTrigger(Session& s);

// Mode 0 resets to free run; 1 selects the rising edge ("Trig: Ext +edge"); any other value the
// falling edge (mode 2, "Trig: Ext -edge"). The trigger frame is sent each time.
void SetTriggerMode(Session& s, std::int16_t mode);

}  // namespace synthor
