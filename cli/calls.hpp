// Calls by name: an automation method, a headless panel call (`Panel.*`) or `Sim.Output`, with
// variant arguments, against a session set up by SessionHost. The command-line tool's script
// runner and the C interface both run their calls through here, so both convert arguments and
// results the same way.
#pragma once

#include <string>

#include "cli/script.hpp"
#include "cli/session_host.hpp"
#include "runtime/variant.hpp"

namespace synthor::cli {

struct CallOutcome {
    enum class Status {
        Done,     // the call ran (`problem` may still say why a panel call did nothing)
        Unknown,  // no such call, or one this build does not provide
    };
    Status status = Status::Done;
    // The result: a method's own (a text, or an integer for FND and FNDSN); a panel read's
    // text or 1/0; Sim.Output's description without its last line end. Empty (monostate) when
    // the call gives no result (Panel.Set, Panel.Click, ..., or a refused call).
    Variant result;
    // Why the call did nothing or is unknown, for people ("unknown call Foo"); empty when it ran.
    std::string problem;
};

// Runs one call. Runtime errors raised by the call are thrown (RuntimeError and whatever the
// library throws); the caller's error boundary converts them.
CallOutcome runCall(SessionHost& host, const ScriptCall& call);

}  // namespace synthor::cli
