#include "cli/calls.hpp"

#include <vector>

#include "automation/synthor_01_vexa.hpp"
#include "runtime/errors.hpp"
#include "runtime/text.hpp"

namespace synthor::cli {
namespace {

CallOutcome refused(std::string problem) {
    CallOutcome o;
    o.problem = std::move(problem);
    return o;
}

// The headless panel: Set/Click/Select/Load/Close act and give no result; Get/Value/Bold/
// Enabled/Status give the control's state.
CallOutcome panelCall(SessionHost& host, const std::string& action, const ScriptCall& c) {
    panel::FreqGen2& form = host.session().panel;
    const auto arg = [&](std::size_t i) { return i < c.args.size() ? toText(c.args[i]) : ""; };
    const auto complain = [&](const std::string& what) { return refused(c.name + ": " + what); };
    CallOutcome done;
    if (action == "load") {
        form.load();
        return done;
    }
    if (action == "close") {
        form.close();
        return done;
    }
    if (action == "status") {
        if (c.args.empty()) return complain("needs a panel number");
        done.result = form.status(toInteger(c.args[0]));
        return done;
    }
    const std::string control = arg(0);
    if (action == "set") {
        return form.typeText(control, arg(1)) ? done : complain("no text box named " + control);
    }
    if (action == "click") {
        return form.click(control) ? done : complain("nothing to click named " + control);
    }
    if (action == "select") {
        return form.choose(control) ? done : complain("no option button named " + control);
    }
    const bool reads =
        action == "get" || action == "value" || action == "bold" || action == "enabled";
    if (!reads) return complain("unknown panel call");
    const panel::Control* found = form.find(control);
    if (!found) return complain("no control named " + control);
    if (action == "get") {
        done.result = found->text();
    } else {
        const bool on = action == "value"  ? found->value()
                        : action == "bold" ? found->bold()
                                           : found->enabled();
        done.result = static_cast<std::int16_t>(on ? 1 : 0);
    }
    return done;
}

}  // namespace

CallOutcome runCall(SessionHost& host, const ScriptCall& c) {
    const std::string name = lcase(c.name);
    if (name == "sim.output") {
        if (!host.instrument()) return refused("Sim.Output needs --sim");
        std::string text = host.instrument()->describeOutput();
        if (!text.empty() && text.back() == '\n') text.pop_back();
        CallOutcome o;
        o.result = std::move(text);
        return o;
    }
    if (name.rfind("panel.", 0) == 0) return panelCall(host, name.substr(6), c);
    const AutomationMethod* m = findAutomationMethod(c.name);
    if (!m || !m->invoke) {
        CallOutcome o = refused(m ? std::string(m->name) + " is not available in this build"
                                  : "unknown call " + c.name);
        o.status = CallOutcome::Status::Unknown;
        return o;
    }
    const auto n = static_cast<int>(c.args.size());
    if (n < m->minArgs || n > m->maxArgs) raise(errnum::WrongArgCount);
    std::vector<Variant> args = c.args;
    args.resize(static_cast<std::size_t>(m->maxArgs), Missing{});
    CallOutcome o;
    o.result = m->invoke(host.object(), args);
    return o;
}

}  // namespace synthor::cli
