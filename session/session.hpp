// One session: everything the library keeps for the life of a loaded instance, shared by every
// object of the automation class and by the control panel. Tests build fresh sessions freely.
#pragma once

#include <cstdint>
#include <functional>

#include "calibration/sig_gen_routines.hpp"
#include "encoding/band_plan.hpp"
#include "encoding/freq_level.hpp"
#include "form/freqgen2.hpp"
#include "link/d2xx.hpp"
#include "link/usb_link.hpp"
#include "runtime/clock.hpp"
#include "runtime/prompts.hpp"
#include "session/plan_store.hpp"

namespace synthor {

class Session {
  public:
    Session(d2xx::DriverTable driver, Prompts& prompts, Clock& clock);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Prompts& prompts;
    Clock& clock;
    UsbLink link;  // connection, exchange and trigger state

    CalibrationTables cal;  // CalTable1..4, rebuilt by every LoadCalData
    BandState bands;        // band classes carried from one point record to the next
    FreqLevel freqLevel;    // the point writer and its variants, over link, bands and cal

    // Where LoadCalData reports progress; the panel points it at its `EEPROMdata` window.
    CalibrationProgress* calibrationProgress = &noProgress_;

    std::int16_t SerialNumber = 0;  // last result of FND / FNDSN
    double CWFrequency = 0.0;       // last continuous-wave frequency set, Hz

    // What the automation class asks of the control panel; empty until the panel provides it.
    // showOffDisplay: GenOff's last step (creates the panel, running its start-up, if needed;
    // RF button "OFF", "Status: Off", Stop buttons plain). showModal: ShowUI's modal show,
    // returning when the panel is hidden again.
    std::function<void()> showOffDisplay;
    std::function<void()> showModal;

    PlanStores plans;       // plan stores, their flags and StepTrigger
    panel::FreqGen2 panel;  // the control panel's form, headless

  private:
    NoProgress noProgress_;
};

}  // namespace synthor
