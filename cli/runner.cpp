#include "cli/runner.hpp"

#include <cctype>
#include <deque>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "automation/synthor_01_vexa.hpp"
#include "cli/progress_bar.hpp"
#include "cli/script.hpp"
#include "cli/session_host.hpp"
#include "link/driver_library.hpp"
#include "link/trace.hpp"
#include "panel/handlers.hpp"
#include "runtime/errors.hpp"
#include "runtime/text.hpp"
#include "session/session.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor::cli {
namespace {

constexpr const char* kUsage =
    "usage: synthor [OPTION]... CALL [ARG]...\n"
    "       synthor [OPTION]... --script FILE      (FILE \"-\" reads standard input)\n"
    "\n"
    "options:\n"
    "  --sim                   use the built-in simulated instrument\n"
    "  --sim-eeprom FILE       simulated read-only memory (exactly 65536 bytes)\n"
    "  --sim-usb-serial TEXT   simulated USB serial number (default VX000001)\n"
    "  --sim-status CHAR       simulated reply to \"Q\" (default R)\n"
    "  --sim-version TEXT      simulated 3-byte reply to \"V\" (default 1.0)\n"
    "  --sim-lock BYTE         simulated reply to \"Y9\", decimal or 0x-hex (default 0)\n"
    "  --sim-fault NAME[=N]    make the simulated driver fail (repeatable): open close cycle\n"
    "                          timeouts usbparams latency flow purge write silent chunk\n"
    "  --trace FILE            write the wire trace to FILE\n"
    "  --dialog PATH           answer of the next file-open dialog (repeatable)\n"
    "  --help                  show this text\n";

std::optional<long> parseByte(const std::string& text) {
    try {
        std::size_t used = 0;
        const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
        const long v = std::stol(hex ? text.substr(2) : text, &used, hex ? 16 : 10);
        if (used != text.size() - (hex ? 2 : 0) || v < 0 || v > 255) return std::nullopt;
        return v;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace

Options parseOptions(const std::vector<std::string>& args, const ExtraOption& extra) {
    Options o;
    std::size_t i = 0;
    auto value = [&](const std::string& name, std::string& inlineValue) -> std::string {
        if (!inlineValue.empty()) return inlineValue;
        if (i + 1 >= args.size()) throw UsageError{name + " needs a value"};
        return args[++i];
    };
    for (; i < args.size(); ++i) {
        std::string a = args[i];
        if (a.rfind("--", 0) != 0 || a == "--") {
            if (a == "--") ++i;
            break;
        }
        std::string inlineValue;
        if (const auto eq = a.find('=');
            eq != std::string::npos && a.rfind("--sim-fault", 0) != 0) {
            inlineValue = a.substr(eq + 1);
            a = a.substr(0, eq);
        } else if (a.rfind("--sim-fault=", 0) == 0) {
            inlineValue = a.substr(std::string("--sim-fault=").size());
            a = "--sim-fault";
        }
        if (a == "--help") {
            o.help = true;
        } else if (a == "--sim") {
            o.sim = true;
        } else if (a == "--sim-eeprom") {
            std::string error;
            if (!sim::loadEepromFile(value(a, inlineValue), o.simConfig.eeprom, error)) {
                throw UsageError{error};
            }
            o.simOptionSeen = true;
        } else if (a == "--sim-usb-serial") {
            o.simConfig.usbSerial = value(a, inlineValue);
            o.simOptionSeen = true;
        } else if (a == "--sim-status") {
            const std::string v = value(a, inlineValue);
            if (v.size() != 1) throw UsageError{"--sim-status takes exactly one character"};
            o.simConfig.status = v[0];
            o.simOptionSeen = true;
        } else if (a == "--sim-version") {
            o.simConfig.version = value(a, inlineValue);
            o.simOptionSeen = true;
        } else if (a == "--sim-lock") {
            const auto b = parseByte(value(a, inlineValue));
            if (!b) throw UsageError{"--sim-lock takes a byte, 0 to 255 or 0x00 to 0xFF"};
            o.simConfig.lock = static_cast<std::uint8_t>(*b);
            o.simOptionSeen = true;
        } else if (a == "--sim-fault") {
            std::string error;
            if (!sim::applyFault(value(a, inlineValue), o.simConfig.faults, error)) {
                throw UsageError{error};
            }
            o.simOptionSeen = true;
        } else if (a == "--trace") {
            o.tracePath = value(a, inlineValue);
        } else if (a == "--dialog") {
            o.dialogs.push_back(value(a, inlineValue));
        } else if (a == "--script") {
            o.scriptPath = value(a, inlineValue);
        } else if (!extra || !extra(a, [&] { return value(a, inlineValue); })) {
            throw UsageError{"unknown option " + a};
        }
    }
    o.call.assign(args.begin() + static_cast<std::ptrdiff_t>(std::min(i, args.size())), args.end());
    if (o.help) return o;
    if (o.simOptionSeen && !o.sim) throw UsageError{"the --sim-* options need --sim"};
    if (o.scriptPath && !o.call.empty())
        throw UsageError{"give either --script or a call, not both"};
    return o;
}

namespace {

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        out.push_back(c);
        if (c == '"') out.push_back('"');
    }
    return out + "\"";
}

}  // namespace

ScriptPrompts::ScriptPrompts(std::ostream& out, std::deque<std::string> answers)
    : out_(out), answers_(std::move(answers)) {}

MsgResult ScriptPrompts::msgBox(std::string_view text, int style, std::string_view title) {
    out_ << "msgbox " << style << ' ' << quoted(title) << ' ' << quoted(text) << '\n';
    return defaultAnswer(style);
}

std::optional<std::string> ScriptPrompts::openFile(const OpenFileRequest&) {
    if (answers_.empty()) {
        out_ << "dialog cancel\n";
        return std::nullopt;
    }
    std::string path = std::move(answers_.front());
    answers_.pop_front();
    out_ << "dialog " << path << '\n';
    return path;
}

namespace {

class Runner {
  public:
    Runner(SessionHost& host, std::ostream& out, std::ostream& err)
        : out_(out), err_(err), host_(host) {}

    void call(const ScriptCall& c, const std::string& where) {
        const std::string name = lcase(c.name);
        if (name == "sim.output") {
            if (!host_.instrument()) {
                err_ << "synthor: " << where << "Sim.Output needs --sim\n";
                return;
            }
            out_ << host_.instrument()->describeOutput();
            return;
        }
        if (name.rfind("panel.", 0) == 0) {
            try {
                panelCall(name.substr(6), c, where);
            } catch (const RuntimeError& e) {
                out_ << "raised " << e.number() << ": " << e.description() << '\n';
            }
            out_.flush();
            return;
        }
        const AutomationMethod* m = findAutomationMethod(c.name);
        if (!m) {
            err_ << "synthor: " << where << "unknown call " << c.name << '\n';
            return;
        }
        if (!m->invoke) {
            err_ << "synthor: " << where << m->name << " is not available in this build\n";
            return;
        }
        try {
            const auto n = static_cast<int>(c.args.size());
            if (n < m->minArgs || n > m->maxArgs) raise(errnum::WrongArgCount);
            std::vector<Variant> args = c.args;
            args.resize(static_cast<std::size_t>(m->maxArgs), Missing{});
            out_ << toText(m->invoke(host_.object(), args)) << '\n';
        } catch (const RuntimeError& e) {
            out_ << "raised " << e.number() << ": " << e.description() << '\n';
        }
        out_.flush();
    }

  private:
    // The headless panel: Set/Click/Select/Load/Close act and print nothing of their own;
    // Get/Value/Bold/Enabled/Status print the control's state.
    void panelCall(const std::string& action, const ScriptCall& c, const std::string& where) {
        panel::FreqGen2& form = host_.session().panel;
        const auto arg = [&](std::size_t i) { return i < c.args.size() ? toText(c.args[i]) : ""; };
        const auto complain = [&](const std::string& what) {
            err_ << "synthor: " << where << c.name << ": " << what << '\n';
        };
        if (action == "load") return form.load();
        if (action == "close") return form.close();
        if (action == "status") {
            if (c.args.empty()) return complain("needs a panel number");
            out_ << form.status(toInteger(c.args[0])) << '\n';
            return;
        }
        const std::string control = arg(0);
        if (action == "set") {
            if (!form.typeText(control, arg(1))) complain("no text box named " + control);
            return;
        }
        if (action == "click") {
            if (!form.click(control)) complain("nothing to click named " + control);
            return;
        }
        if (action == "select") {
            if (!form.choose(control)) complain("no option button named " + control);
            return;
        }
        const panel::Control* found = form.find(control);
        const bool reads =
            action == "get" || action == "value" || action == "bold" || action == "enabled";
        if (!reads) return complain("unknown panel call");
        if (!found) return complain("no control named " + control);
        if (action == "get") out_ << found->text() << '\n';
        if (action == "value") out_ << (found->value() ? 1 : 0) << '\n';
        if (action == "bold") out_ << (found->bold() ? 1 : 0) << '\n';
        if (action == "enabled") out_ << (found->enabled() ? 1 : 0) << '\n';
    }

    std::ostream& out_;
    std::ostream& err_;
    SessionHost& host_;
};

}  // namespace

SessionHost::SessionHost(const Options& o, Prompts& prompts, Clock& clock, std::ostream& err) {
    d2xx::DriverTable table;
    if (o.sim) {
        instrument_ = std::make_unique<sim::Instrument>(o.simConfig);
        table = instrument_->driverTable();
    } else {
        DriverLoad load = loadDriverLibrary();
        table = std::move(load.table);
        if (!load.diagnostic.empty()) {
            // Said once, when an instrument is first looked for.
            auto open = table.openEx;
            auto said = std::make_shared<bool>(false);
            table.openEx = [open, said, &err, text = load.diagnostic](
                               const char* arg, std::uint32_t flags, d2xx::Handle* h) {
                if (!*said) err << "synthor: " << text << '\n';
                *said = true;
                return open(arg, flags, h);
            };
        }
    }
    if (!o.tracePath.empty()) {
        auto file = std::make_shared<std::ofstream>(o.tracePath, std::ios::binary);
        if (!*file) throw UsageError{"cannot write the trace file " + o.tracePath};
        table = traced(std::move(table), streamTraceSink(file));
    }
    session_ = std::make_unique<Session>(std::move(table), prompts, clock);
    eepromData_ = &panel::attachHandlers(*session_);
    object_ = std::make_unique<Synthor_01_vexa>(*session_);
}

SessionHost::~SessionHost() = default;

void runScript(SessionHost& host, std::istream& script, std::ostream& out, std::ostream& err,
               const std::function<void()>& afterLine) {
    Runner runner(host, out, err);
    std::string line;
    int number = 0;
    while (std::getline(script, line)) {
        ++number;
        const ParsedLine parsed = parseScriptLine(line);
        const std::string where = "line " + std::to_string(number) + ": ";
        if (!parsed.warning.empty()) err << "synthor: " << where << parsed.warning << '\n';
        if (!parsed.call) continue;
        runner.call(*parsed.call, where);
        if (afterLine) afterLine();
    }
}

int run(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
        std::ostream& err) {
    try {
        const Options o = parseOptions(args);
        if (o.help) {
            out << kUsage;
            return 0;
        }
        if (!o.scriptPath && o.call.empty())
            throw UsageError{"nothing to do: give a call or --script"};
        std::ifstream file;
        std::istream* script = nullptr;
        if (o.scriptPath) {
            if (*o.scriptPath == "-") {
                script = &in;
            } else {
                file.open(*o.scriptPath);
                if (!file) {
                    err << "synthor: cannot read the script " << *o.scriptPath << '\n';
                    return 2;
                }
                script = &file;
            }
        }
        ScriptPrompts prompts(out, o.dialogs);
        SystemClock clock;
        SessionHost host(o, prompts, clock, err);
        if (&err == &std::cerr && stderrIsTerminal()) {
            // Drawn while values arrive; hiding the window (the panel's load ending, even
            // early) clears it.
            panel::EepromData& loading = host.eepromData();
            loading.onChange = [&loading, bar = std::make_shared<ProgressBar>(err),
                                shown = false]() mutable {
                if (shown && !loading.visible()) {
                    bar->draw(100);
                } else {
                    bar->draw(loading.value());
                }
                shown = loading.visible();
            };
        }
        if (script) {
            runScript(host, *script, out, err);
            return 0;
        }
        Runner runner(host, out, err);

        ScriptCall c;
        c.name = o.call.front();
        for (std::size_t i = 1; i < o.call.size(); ++i)
            c.args.push_back(parseArgumentWord(o.call[i]));
        runner.call(c, "");
        return 0;
    } catch (const UsageError& e) {
        err << "synthor: " << e.message << '\n' << kUsage;
        return 2;
    }
}

}  // namespace synthor::cli
