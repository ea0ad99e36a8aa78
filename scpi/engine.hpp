// The SCPI instrument: runs program messages from any number of clients on one session, one
// command at a time. Commands reach the instrument through the library's own routines (the
// command-string interface, the sweep starts, the switch-off and lock query), so every frame is
// the one the automation class would send. State that SCPI adds (output on or off, modulation
// settings, sweep and list settings) lives here; errors and status registers live per client.
//
// Refused values send nothing. A command that needs the instrument while it is gone reports
// -241 and the instrument is looked for again, at most once a second; a command during which
// the driver fails or the instrument stops answering reports -240.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/synthor_01_vexa.hpp"
#include "link/d2xx.hpp"
#include "runtime/prompts.hpp"
#include "scpi/errors.hpp"
#include "session/session.hpp"

namespace synthor::scpi {

// Message boxes and dialogs answered without a person, as the tool answers them; the server
// turns the boxes a command raised into SCPI errors.
class ServerPrompts final : public Prompts {
  public:
    MsgResult msgBox(std::string_view text, int style, std::string_view title) override;
    std::optional<std::string> openFile(const OpenFileRequest& request) override;

    std::vector<std::string> boxes;  // texts of the boxes since last cleared
};

// Watches the driver table: counts driver calls that fail, and can make the instrument look
// unplugged (every call fails, opens find nothing) until plugged again.
class LinkHealth {
  public:
    LinkHealth();
    d2xx::DriverTable wrap(const d2xx::DriverTable& inner);
    std::uint64_t failures() const;
    void setUnplugged(bool unplugged);

  private:
    struct State;
    std::shared_ptr<State> state_;
};

// The library-wide settings the generator commands keep (frequencies in Hz, levels in dBm,
// times in seconds).
struct Generator {
    double freq = 1e9;
    double power = 0.0;
    double phase = 0.0;  // degrees
    bool output = true;  // as the library sees it after FND: a setting goes out at once
    bool fmOn = false, fmExt = false;
    double fmDev = 100e3;
    int fmRate = 1000;
    bool amOn = false, amExt = false;
    double amDepth = 30.0;
    int amRate = 1000;
    enum class FreqMode { Cw, Sweep, List } freqMode = FreqMode::Cw;
    bool powerList = false;
    double start = 1e9, stop = 2e9;
    std::int32_t points = 101;
    double sweepDwell = 1e-3;
    std::vector<double> listFreq, listPower;
    double listDwell = 1e-3;
    bool trigExt = false, slopeNeg = false, stepTrig = false;
};

class Engine {
  public:
    Engine(Session& session, Synthor_01_vexa& object, ServerPrompts& prompts, LinkHealth& health);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Looks for the instrument (as FND, after closing any old handle); true when it answered.
    bool find();
    // Runs one line (without its newline) for a client: the answer line (without newline) when
    // the line held queries that answered, nothing otherwise.
    std::optional<std::string> execute(std::string_view line, ClientState& client);
    const Generator& generator() const;

    struct Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace synthor::scpi
