// What every front end of the tool shares: the instrument options (`--sim`, the `--sim-*`
// options, `--trace`, `--dialog`, `--script`), a session over the instrument they name, and the
// script runner. The command-line tool and the Qt panel both start this way.
#pragma once

#include <deque>
#include <fstream>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/synthor_01_vexa.hpp"
#include "panel/eeprom_data.hpp"
#include "session/session.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor::cli {

struct UsageError {
    std::string message;
};

struct Options {
    bool sim = false;
    bool simOptionSeen = false;
    sim::Config simConfig;
    std::string tracePath;
    std::string driver = "auto";  // --driver: auto, libftdi or d2xx (ignored with --sim)
    bool coalesce = false;        // --coalesce: join the frames of one upload into few writes
    std::deque<std::string> dialogs;
    std::optional<std::string> scriptPath;
    std::vector<std::string> call;  // CALL and its ARG words
    bool help = false;
    // Wraps the driver table before the session takes it (the server's link watch).
    std::function<d2xx::DriverTable(d2xx::DriverTable)> wrapDriver;
};

// Takes an option the tool does not know: `value()` reads its value. Returns false when the
// option is not the front end's either.
using ExtraOption =
    std::function<bool(const std::string& name, const std::function<std::string()>& value)>;

// Reads the options up to the first word that is not one; the rest is the call. Throws
// UsageError for an unknown option or a missing value.
Options parseOptions(const std::vector<std::string>& args, const ExtraOption& extra = {});

// The instrument the options name (the simulated one or the driver library, traced when asked),
// a session over it with the panel's handlers attached, and the automation object.
class SessionHost {
  public:
    SessionHost(const Options& options, Prompts& prompts, Clock& clock, std::ostream& err);
    ~SessionHost();

    Session& session() { return *session_; }
    Synthor_01_vexa& object() { return *object_; }
    sim::Instrument* instrument() { return instrument_.get(); }
    // The `EEPROMdata` progress model the panel's start-up shows.
    panel::EepromData& eepromData() { return *eepromData_; }
    // The wire trace's file, when one was asked for.
    std::ofstream* traceFile() { return trace_.get(); }
    // The devices the driver sees (`--list`); none when the driver cannot list.
    d2xx::Status listDevices(std::vector<d2xx::DeviceInfo>& devices) const;

  private:
    std::shared_ptr<std::ofstream> trace_;
    std::function<d2xx::Status(std::vector<d2xx::DeviceInfo>&)> listDevices_;
    std::unique_ptr<sim::Instrument> instrument_;
    std::unique_ptr<Session> session_;
    panel::EepromData* eepromData_ = nullptr;
    std::unique_ptr<Synthor_01_vexa> object_;
};

// Runs a script of calls against the session: results to `out`, diagnostics to `err`.
// `afterLine` runs after each line that made a call.
void runScript(SessionHost& host, std::istream& script, std::ostream& out, std::ostream& err,
               const std::function<void()>& afterLine = {});

}  // namespace synthor::cli
