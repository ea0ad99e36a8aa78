// What the benchmarks share: a session on the linked-in simulated instrument, opened and with
// its calibration loaded as after FND, whose prompts answer as an unattended run does.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "automation/synthor_01_vexa.hpp"
#include "runtime/clock.hpp"
#include "runtime/prompts.hpp"
#include "session/session.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor {

class SilentPrompts final : public Prompts {
  public:
    MsgResult msgBox(std::string_view, int style, std::string_view) override {
        return defaultAnswer(style);
    }
    std::optional<std::string> openFile(const OpenFileRequest&) override { return std::nullopt; }
};

template <class ClockType = SystemClock>
struct OpenedSession {
    explicit OpenedSession(sim::Config config = {})
        : instrument(std::move(config)),
          session(instrument.driverTable(), prompts, clock),
          object(session) {
        if (object.FND() != 1234) std::abort();
    }
    sim::Instrument instrument;
    SilentPrompts prompts;
    ClockType clock;
    Session session;
    Synthor_01_vexa object;
};

}  // namespace synthor
