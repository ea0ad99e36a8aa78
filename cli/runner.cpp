#include "cli/runner.hpp"

#include <cctype>
#include <deque>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "automation/synthor_01_vexa.hpp"
#include "cli/calls.hpp"
#include "cli/progress_bar.hpp"
#include "cli/script.hpp"
#include "cli/serve.hpp"
#include "cli/session_host.hpp"
#include "link/driver_library.hpp"
#include "link/libftdi_driver.hpp"
#include "link/trace.hpp"
#include "panel/handlers.hpp"
#include "runtime/bounded_input.hpp"
#include "runtime/errors.hpp"
#include "runtime/text.hpp"
#include "session/session.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor::cli {
namespace {

constexpr const char* kUsage =
    "usage: synthor [OPTION]... CALL [ARG]...\n"
    "       synthor [OPTION]... --script FILE      (FILE \"-\" reads standard input)\n"
    "       synthor serve [OPTION]... [--listen ADDRESS] [--port N]   (the SCPI server)\n"
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
    "  --sim-usb full|high     simulated USB bus speed for the wire time (default full)\n"
    "  --driver NAME           the USB driver: auto (default), libftdi or d2xx\n"
    "  --list                  list the devices the driver sees and exit\n"
    "  --coalesce              join the frames of one plan upload into few driver writes\n"
    "  --trace FILE            write the wire trace to FILE\n"
    "  --dialog PATH           answer of the next file-open dialog (repeatable)\n"
    "  --find                  find the instrument (as FND) before the call or script;\n"
    "                          exit status 3 when none answers\n"
    "  --help                  show this text\n";

}  // namespace

Options parseOptions(const std::vector<std::string>& args, const ExtraOption& extra) {
    Options o;
    std::size_t i = 0;
    std::optional<std::string> inlineValue;  // the text after "=" in "--name=value"
    // An option's value, inline or the next word; an empty one is refused.
    auto value = [&](const std::string& name) -> std::string {
        std::string v;
        if (inlineValue) {
            v = *inlineValue;
        } else if (i + 1 < args.size()) {
            v = args[++i];
        } else {
            throw UsageError{name + " needs a value"};
        }
        if (v.empty()) throw UsageError{name + " needs a value, not an empty one"};
        return v;
    };
    for (; i < args.size(); ++i) {
        std::string a = args[i];
        if (a == "--") {
            ++i;
            break;
        }
        // A call name never starts with "-", so any such word here is an option.
        if (a.empty() || a[0] != '-') break;
        if (a.rfind("--", 0) != 0) throw UsageError{"unknown option " + a};
        inlineValue.reset();
        if (const auto eq = a.find('='); eq != std::string::npos) {
            inlineValue = a.substr(eq + 1);
            a = a.substr(0, eq);
        }
        if ((a == "--help" || a == "--sim" || a == "--coalesce") && inlineValue) {
            throw UsageError{a + " takes no value"};
        }
        if (a == "--help") {
            o.help = true;
        } else if (a == "--sim") {
            o.sim = true;
        } else if (a == "--sim-eeprom") {
            std::string error;
            if (!sim::loadEepromFile(value(a), o.simConfig.eeprom, error)) {
                throw UsageError{error};
            }
            o.simOptionSeen = true;
        } else if (a == "--sim-usb-serial") {
            o.simConfig.usbSerial = value(a);
            o.simOptionSeen = true;
        } else if (a == "--sim-status") {
            const std::string v = value(a);
            if (v.size() != 1) throw UsageError{"--sim-status takes exactly one character"};
            o.simConfig.status = v[0];
            o.simOptionSeen = true;
        } else if (a == "--sim-version") {
            o.simConfig.version = value(a);
            o.simOptionSeen = true;
        } else if (a == "--sim-lock") {
            if (!parseByte(value(a), o.simConfig.lock))
                throw UsageError{"--sim-lock takes a byte, 0 to 255 or 0x00 to 0xFF"};
            o.simOptionSeen = true;
        } else if (a == "--sim-fault") {
            std::string error;
            if (!sim::applyFault(value(a), o.simConfig.faults, error)) {
                throw UsageError{error};
            }
            o.simOptionSeen = true;
        } else if (a == "--sim-usb") {
            if (!sim::parseUsbSpeed(value(a), o.simConfig.usb))
                throw UsageError{"--sim-usb takes full or high"};
            o.simOptionSeen = true;
        } else if (a == "--driver") {
            o.driver = value(a);
            if (o.driver != "auto" && o.driver != "libftdi" && o.driver != "d2xx")
                throw UsageError{"--driver takes auto, libftdi or d2xx"};
        } else if (a == "--coalesce") {
            o.coalesce = true;
        } else if (a == "--trace") {
            o.tracePath = value(a);
        } else if (a == "--dialog") {
            o.dialogs.push_back(value(a));
        } else if (a == "--script") {
            o.scriptPath = value(a);
        } else if (!extra || !extra(a, [&] { return value(a); })) {
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

// Draws the calibration load's progress on standard error while values arrive; hiding the
// window (the panel's load ending, even early) clears it.
void showProgress(panel::EepromData& loading, std::ostream& err) {
    loading.onChange = [&loading, bar = std::make_shared<ProgressBar>(err),
                        shown = false]() mutable {
        bar->draw(shown && !loading.visible() ? 100 : loading.value());
        shown = loading.visible();
    };
}

class Runner {
  public:
    Runner(SessionHost& host, std::ostream& out, std::ostream& err)
        : out_(out), err_(err), host_(host) {}

    // Runs one call; false when there is no such call in this build. Whatever the call throws
    // becomes its "raised" line, and the script goes on.
    bool call(const ScriptCall& c, const std::string& where) {
        bool known = true;
        try {
            known = dispatch(c, where);
        } catch (...) {
            const RuntimeError e = currentAsRuntimeError();
            out_ << "raised " << e.number() << ": " << e.description() << '\n';
        }
        out_.flush();
        checkWrites();
        return known;
    }

    // Says once on standard error when results or the trace could not be written; true while
    // every write has succeeded.
    bool checkWrites() {
        const auto complain = [&](bool& said, const char* what) {
            if (!said) err_ << "synthor: cannot write " << what << "; it is incomplete\n";
            said = true;
        };
        if (!out_) complain(outLost_, "the results to standard output");
        if (host_.traceFile() && !host_.traceFile()->flush())
            complain(traceLost_, "the trace file");
        return !outLost_ && !traceLost_;
    }

  private:
    bool dispatch(const ScriptCall& c, const std::string& where) {
        const CallOutcome o = runCall(host_, c);
        if (!o.problem.empty()) err_ << "synthor: " << where << o.problem << '\n';
        if (!std::holds_alternative<std::monostate>(o.result)) out_ << toText(o.result) << '\n';
        return o.status == CallOutcome::Status::Done;
    }

    std::ostream& out_;
    std::ostream& err_;
    SessionHost& host_;
    bool outLost_ = false;
    bool traceLost_ = false;
};

// Runs the script line by line. A line too long to be a script line, or a read error, stops it
// as an unreadable script (a stream without line ends, such as /dev/zero, ends there too).
int runLines(Runner& runner, ByteSource& script, const std::string& name, std::ostream& err,
             const std::function<void()>& afterLine = {}) {
    BoundedReader in(script);
    std::string line;
    for (int number = 1;; ++number) {
        const std::string where = "line " + std::to_string(number) + ": ";
        switch (in.nextLine(line, kMaxScriptLine)) {
            case BoundedReader::Line::End:
                return 0;
            case BoundedReader::Line::TooLong:
                err << "synthor: " << where << "longer than " << kMaxScriptLine
                    << " bytes; the script stops\n";
                return 2;
            case BoundedReader::Line::Failed:
                err << "synthor: " << where << "cannot read the script " << name << "\n";
                return 2;
            case BoundedReader::Line::Read:
                break;
        }
        const ParsedLine parsed = parseScriptLine(line);
        if (!parsed.warning.empty()) err << "synthor: " << where << parsed.warning << '\n';
        if (!parsed.call) continue;
        runner.call(*parsed.call, where);
        if (afterLine) afterLine();
    }
}

// --find: FND before the calls, as a host program starts, without printing the serial number.
// Message boxes still print. False, said on standard error, when no instrument was found or it
// did not answer.
bool findInstrument(SessionHost& host, std::ostream& err) {
    std::ostringstream answer;
    Runner(host, answer, err).call(ScriptCall{"FND", {}}, "--find: ");
    const UsbLink& link = host.session().link;
    if (link.InstrumentFound == kTrue && link.NoResponse != kTrue) return true;
    std::string said = answer.str();
    while (!said.empty() && said.back() == '\n')
        said.pop_back();
    err << "synthor: --find: no instrument found (FND answered " << said << ")\n";
    return false;
}

// --list: one line per device the driver sees, "DESCRIPTION, SERIAL, DRIVER".
int listDevices(const SessionHost& host, std::ostream& out, std::ostream& err) {
    std::vector<d2xx::DeviceInfo> devices;
    if (const d2xx::Status s = host.listDevices(devices); s != d2xx::Ok)
        err << "synthor: --list: the driver could not list its devices (status " << s << ")\n";
    for (const d2xx::DeviceInfo& d : devices)
        out << d.description << ", " << d.serial << ", " << d.driver << '\n';
    if (devices.empty()) err << "synthor: --list: no devices found\n";
    return out.flush() ? 0 : 1;
}

}  // namespace

SessionHost::SessionHost(const Options& o, Prompts& prompts, Clock& clock, std::ostream& err) {
    d2xx::DriverTable table;
    if (o.sim) {
        instrument_ = std::make_unique<sim::Instrument>(o.simConfig);
        table = instrument_->driverTable();
    } else {
        DriverLoad load = loadDriver(
            o.driver, [&err](const std::string& text) { err << "synthor: " << text << '\n'; });
        table = std::move(load.table);
        if (!load.diagnostic.empty()) {
            // Said once, when an instrument or the device list is first looked for.
            auto say = [said = std::make_shared<bool>(false), &err, text = load.diagnostic] {
                if (!*said) err << "synthor: " << text << '\n';
                *said = true;
            };
            table.openEx = [open = table.openEx, say](const char* arg, std::uint32_t flags,
                                                      d2xx::Handle* h) {
                say();
                return open(arg, flags, h);
            };
            table.listDevices = [list = table.listDevices,
                                 say](std::vector<d2xx::DeviceInfo>& devices) {
                say();
                return list ? list(devices) : d2xx::Ok;
            };
        }
    }
    if (o.wrapDriver) table = o.wrapDriver(std::move(table));
    if (!o.tracePath.empty()) {
        trace_ = std::make_shared<std::ofstream>(o.tracePath, std::ios::binary);
        if (!*trace_) throw UsageError{"cannot write the trace file " + o.tracePath};
        table = traced(std::move(table), streamTraceSink(trace_));
    }
    listDevices_ = table.listDevices;
    session_ = std::make_unique<Session>(std::move(table), prompts, clock);
    session_->link.Coalesce = o.coalesce;
    eepromData_ = &panel::attachHandlers(*session_);
    object_ = std::make_unique<Synthor_01_vexa>(*session_);
}

SessionHost::~SessionHost() = default;

d2xx::Status SessionHost::listDevices(std::vector<d2xx::DeviceInfo>& devices) const {
    devices.clear();
    return listDevices_ ? listDevices_(devices) : d2xx::Ok;
}

void runScript(SessionHost& host, std::istream& script, std::ostream& out, std::ostream& err,
               const std::function<void()>& afterLine) {
    Runner runner(host, out, err);
    const auto source = streamSource(script);
    runLines(runner, *source, "script", err, afterLine);
}

int run(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
        std::ostream& err) {
    if (!args.empty() && args[0] == "serve")
        return runServe(std::vector<std::string>(args.begin() + 1, args.end()), out, err);
    try {
        bool find = false, list = false;
        const Options o = parseOptions(args, [&](const std::string& name, const auto&) {
            if (name == "--find")
                find = true;
            else if (name == "--list")
                list = true;
            else
                return false;
            return true;
        });
        if (o.help) {
            out << kUsage;
            return out.flush() ? 0 : 1;
        }
        if (list && (o.scriptPath || !o.call.empty() || find))
            throw UsageError{"--list takes no call, script or --find"};
        if (!list && !o.scriptPath && o.call.empty())
            throw UsageError{"nothing to do: give a call or --script"};
        std::unique_ptr<ByteSource> script;
        if (o.scriptPath) {
            std::string error;
            script = *o.scriptPath == "-" ? streamSource(in)
                                          : openInput(*o.scriptPath, FileKind::Stream, error);
            if (!script) {
                err << "synthor: cannot read the script " << error << '\n';
                return 2;
            }
        }
        LoggedPrompts prompts(out, o.dialogs, &err);
        SystemClock clock;
        SessionHost host(o, prompts, clock, err);
        if (list) return listDevices(host, out, err);
        if (&err == &std::cerr && stderrIsTerminal()) showProgress(host.eepromData(), err);
        if (find && !findInstrument(host, err)) return 3;
        Runner runner(host, out, err);
        int status = 0;
        if (script) {
            status = runLines(runner, *script, *o.scriptPath, err);
        } else {
            ScriptCall c;
            c.name = o.call.front();
            for (std::size_t i = 1; i < o.call.size(); ++i)
                c.args.push_back(parseArgumentWord(o.call[i]));
            if (!runner.call(c, "")) status = 2;
        }
        const bool written = runner.checkWrites();
        return status != 0 ? status : (written ? 0 : 1);
    } catch (const UsageError& e) {
        err << "synthor: " << e.message << '\n' << kUsage;
        return 2;
    } catch (...) {
        err << "synthor: " << currentAsRuntimeError().description() << '\n';
        return 1;
    }
}

}  // namespace synthor::cli
