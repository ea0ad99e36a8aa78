#include "scpi/engine.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <charconv>
#include <cmath>
#include <functional>
#include <numbers>
#include <span>

#include "encoding/limits.hpp"
#include "plans/command_string.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/level_sweeps.hpp"
#include "plans/modulation.hpp"
#include "plans/plan_messages.hpp"
#include "runtime/errors.hpp"
#include "scpi/parser.hpp"
#include "session/carrier.hpp"

namespace synthor::scpi {

// ---------------------------------------------------------------------------------------------
// Prompts and link health

MsgResult ServerPrompts::msgBox(std::string_view text, int style, std::string_view) {
    boxes.emplace_back(text);
    return defaultAnswer(style);
}

std::optional<std::string> ServerPrompts::openFile(const OpenFileRequest&) {
    return std::nullopt;  // no file is ever chosen for a network client
}

struct LinkHealth::State {
    std::atomic<std::uint64_t> failures{0};
    std::atomic<bool> unplugged{false};
};

LinkHealth::LinkHealth() : state_(std::make_shared<State>()) {}

std::uint64_t LinkHealth::failures() const {
    return state_->failures.load();
}

void LinkHealth::setUnplugged(bool unplugged) {
    state_->unplugged = unplugged;
}

d2xx::DriverTable LinkHealth::wrap(const d2xx::DriverTable& inner) {
    auto st = state_;
    // Each call fails while unplugged; a failure of the driver itself is counted.
    auto guard = [st](d2xx::Status gone, auto&& call) -> d2xx::Status {
        if (st->unplugged) {
            ++st->failures;
            return gone;
        }
        const d2xx::Status status = call();
        if (status != d2xx::Ok) ++st->failures;
        return status;
    };
    d2xx::DriverTable t = inner;
    t.openEx = [guard, f = inner.openEx](const char* a, std::uint32_t fl, d2xx::Handle* h) {
        return guard(d2xx::DeviceNotFound, [&] { return f(a, fl, h); });
    };
    t.write = [guard, f = inner.write](d2xx::Handle h, const void* d, std::uint32_t n,
                                       std::uint32_t* w) {
        return guard(d2xx::IoError, [&] { return f(h, d, n, w); });
    };
    t.read = [guard, f = inner.read](d2xx::Handle h, void* d, std::uint32_t n, std::uint32_t* r) {
        return guard(d2xx::IoError, [&] { return f(h, d, n, r); });
    };
    // The rest fail while unplugged but are not counted: the link's own recovery calls them.
    auto gone = [st](auto f) {
        return [st, f](auto... a) { return st->unplugged ? d2xx::IoError : f(a...); };
    };
    t.close = gone(inner.close);
    t.cyclePort = gone(inner.cyclePort);
    t.setTimeouts = gone(inner.setTimeouts);
    t.setUsbParameters = gone(inner.setUsbParameters);
    t.setLatencyTimer = gone(inner.setLatencyTimer);
    t.setFlowControl = gone(inner.setFlowControl);
    t.purge = gone(inner.purge);
    return t;
}

// ---------------------------------------------------------------------------------------------
// Values

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kFindInterval = std::chrono::seconds(1);
constexpr std::string_view kMaker = "VexaSource";
constexpr std::string_view kModel = "Series Agile Synthesizer";
constexpr double kMaxDeviationHz = 200e3;
constexpr std::int32_t kMaxPoints = kPlanPoints;

enum class Dim { None, Hz, Dbm, Deg, Sec, Pct };

struct Range {
    double min, max, def;
    Dim dim;
};

constexpr Range kFreq{kMinHz, kMaxHz, 1e9, Dim::Hz};
constexpr Range kPower{kMinLevel, kMaxLevel, 0.0, Dim::Dbm};
constexpr Range kPhase{-360.0, 360.0, 0.0, Dim::Deg};
constexpr Range kDeviation{0.0, kMaxDeviationHz, 100e3, Dim::Hz};
constexpr Range kDepth{kMinDepth, kMaxDepth, 30.0, Dim::Pct};
constexpr Range kPoints{2, kMaxPoints, 101, Dim::None};
constexpr Range kStep{0.001, kMaxHz - kMinHz, 10e6, Dim::Hz};
constexpr Range kDwell{kMinDwell * 1e-6, kMaxDwell * 1e-6, 1e-3, Dim::Sec};
constexpr Range kByte{0, 255, 0, Dim::None};
constexpr Range kRate{400, 1000, 1000, Dim::Hz};

// SI prefixes of a suffix; "M" before hertz means mega, as every instrument reads "MHZ".
std::optional<double> prefixScale(std::string_view p, bool hertz) {
    static constexpr std::array<std::pair<std::string_view, double>, 13> kPrefixes = {{
        {"", 1.0},
        {"EX", 1e18},
        {"PE", 1e15},
        {"T", 1e12},
        {"G", 1e9},
        {"MA", 1e6},
        {"K", 1e3},
        {"M", 1e-3},
        {"U", 1e-6},
        {"N", 1e-9},
        {"P", 1e-12},
        {"F", 1e-15},
        {"A", 1e-18},
    }};
    if (hertz && p == "M") return 1e6;
    for (const auto& [name, scale] : kPrefixes) {
        if (name == p) return scale;
    }
    return std::nullopt;
}

// The factor a suffix applies for a dimension (degrees for phases), or nothing if it is not
// one of the dimension's units.
std::optional<double> suffixScale(std::string_view s, Dim dim) {
    const auto with = [&](std::string_view unit, bool prefixes,
                          bool hertz = false) -> std::optional<double> {
        if (s.size() < unit.size() || s.substr(s.size() - unit.size()) != unit) return std::nullopt;
        const std::string_view p = s.substr(0, s.size() - unit.size());
        if (!prefixes) return p.empty() ? std::optional<double>(1.0) : std::nullopt;
        return prefixScale(p, hertz);
    };
    switch (dim) {
        case Dim::Hz:
            return with("HZ", true, true);
        case Dim::Dbm:
            return with("DBM", false);
        case Dim::Pct:
            return with("PCT", false);
        case Dim::Sec:
            return with("S", true);
        case Dim::Deg:
            if (auto d = with("DEG", false)) return d;
            if (auto r = with("RAD", true)) return *r * 180.0 / std::numbers::pi;
            return std::nullopt;
        case Dim::None:
            break;
    }
    return std::nullopt;
}

// Shortest form to 15 significant digits, in any locale: "1500000000", "-0.5", "2.6E-05".
std::string formatNumber(double v) {
    if (v == 0.0) v = 0.0;  // no "-0"
    std::array<char, 40> buf{};
    const auto r =
        std::to_chars(buf.data(), buf.data() + buf.size(), v, std::chars_format::general, 15);
    std::string s(buf.data(), r.ptr);
    for (char& c : s)
        if (c == 'e') c = 'E';
    return s;
}

std::string join(const std::vector<double>& values) {
    std::string s;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) s += ',';
        s += formatNumber(values[i]);
    }
    return s;
}

// A mnemonic matches its short form (the capitals) or its long form, in any case.
bool mnemonicMatches(std::string_view pattern, std::string_view word) {
    std::string shortForm, longForm;
    for (const char c : pattern) {
        longForm += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (std::isupper(static_cast<unsigned char>(c)) ||
            std::isdigit(static_cast<unsigned char>(c)))
            shortForm += c;
    }
    return word == shortForm || word == longForm;
}

// ---------------------------------------------------------------------------------------------
// The command table

struct Node {
    std::vector<std::string> alternatives;
    bool optional = false;
};

std::vector<Node> compilePattern(std::string_view pattern) {
    std::vector<Node> nodes;
    std::size_t i = 0;
    while (i < pattern.size()) {
        Node n;
        std::string_view body;
        if (pattern[i] == '[') {
            const std::size_t end = pattern.find(']', i);
            body = pattern.substr(i + 1, end - i - 1);
            n.optional = true;
            i = end + 1;
        } else {
            if (pattern[i] == ':') ++i;
            std::size_t end = i;
            while (end < pattern.size() && pattern[end] != ':' && pattern[end] != '[')
                ++end;
            body = pattern.substr(i, end - i);
            i = end;
        }
        while (!body.empty()) {
            if (body.front() == ':') body.remove_prefix(1);
            const std::size_t bar = body.find('|');
            n.alternatives.emplace_back(body.substr(0, bar));
            body = bar == std::string_view::npos ? std::string_view{} : body.substr(bar + 1);
        }
        nodes.push_back(std::move(n));
    }
    return nodes;
}

}  // namespace

struct Call {
    const Unit& unit;
    ClientState& client;
};

using SetFn = void (*)(Engine::Impl&, Call&);
using QueryFn = std::string (*)(Engine::Impl&, Call&);

struct Command {
    std::string_view pattern;
    SetFn set;
    QueryFn query;
    std::vector<Node> nodes = compilePattern(pattern);
};

// ---------------------------------------------------------------------------------------------
// The engine

struct Engine::Impl {
    Session& s;
    Synthor_01_vexa& object;
    ServerPrompts& prompts;
    LinkHealth& health;
    Generator g;
    enum class Running { None, FreqSweep, LevelSweep } running = Running::None;
    bool lost = true;
    std::optional<Clock::time_point> lastFind;
    std::string firmware;           // the "V" reply at the last find
    std::int16_t serial = 0;        // the serial number at the last find
    std::vector<std::string> path;  // the header path of the last command in this message

    Impl(Session& session, Synthor_01_vexa& obj, ServerPrompts& p, LinkHealth& h)
        : s(session), object(obj), prompts(p), health(h) {}

    // --- the instrument

    bool available() const { return !lost && s.link.InstrumentFound == kTrue; }

    bool find() {
        lastFind = Clock::now();
        if (s.link.USBHandle != nullptr) s.link.CloseUSB();
        prompts.boxes.clear();
        const std::uint64_t failed = health.failures();
        object.FND();
        bool ok =
            s.link.InstrumentFound == kTrue && prompts.boxes.empty() && health.failures() == failed;
        if (ok) {
            s.link.WriteUSB("V");
            firmware = s.link.ReadUSB(3);
            while (!firmware.empty() && firmware.back() == ' ')
                firmware.pop_back();
            ok = !firmware.empty();
            if (ok) serial = s.SerialNumber;
        }
        lost = !ok;
        prompts.boxes.clear();
        return ok;
    }

    // The instrument, looked for again when it was lost and the last look was a second ago.
    void need() {
        if (available()) return;
        if (lastFind && Clock::now() - *lastFind < kFindInterval)
            throw Error{err::HardwareMissing, "the instrument is not connected"};
        if (!find()) throw Error{err::HardwareMissing, "no instrument answers"};
    }

    // A library result text: "OK" and the other success texts pass; an error text becomes the
    // matching SCPI error with the text as its detail.
    static void check(const std::string& result) {
        if (result.empty() || result == planresult::OK || result == planresult::True) return;
        if (result == planresult::NoInstrumentFound || result == commandresult::NoInstrument ||
            result == planresult::NoInstrumentConnected)
            throw Error{err::HardwareMissing, result};
        const bool range = result.find("Invalid") != std::string::npos ||
                           result.find("outside") != std::string::npos ||
                           result.find("exceeds") != std::string::npos ||
                           result.find("allowed") != std::string::npos ||
                           result.find("depth") != std::string::npos;
        throw Error{range ? err::OutOfRange : err::SettingsConflict, result};
    }

    void sig(std::string_view keyword, std::initializer_list<Variant> params) {
        check(SetSigGen(s, Variant(std::string(keyword)),
                        std::span<const Variant>(params.begin(), params.size())));
    }

    static std::string rateText(int rate) { return rate == 400 ? "400HZ" : "1KHZ"; }

    // Internal FM writes points from carrier - deviation to carrier + deviation; each must have a
    // level, so the whole span has to lie in the frequency range.
    static void checkFmSpan(const Generator& n) {
        if (!n.fmOn || n.fmExt) return;
        if (n.freq - n.fmDev < kMinHz || n.freq + n.fmDev > kMaxHz)
            throw Error{err::SettingsConflict,
                        "carrier -/+ FM deviation must lie within 0.3 MHz to 8.192 GHz"};
    }

    void sendCarrier(const Generator& n) {
        const double mhz = n.freq / 1e6;
        const auto level = static_cast<float>(n.power);
        if (n.fmOn) {
            if (n.fmExt) {
                sig("FMEXT", {mhz, n.fmDev / 1e3, level, std::string("ON")});
            } else {
                sig("FM", {mhz, n.fmDev / 1e3, level, rateText(n.fmRate), std::string("ON")});
            }
        } else if (n.amOn) {
            const auto depth = static_cast<float>(n.amDepth);
            if (n.amExt) {
                sig("AMEXT", {mhz, depth, level, std::string("ON")});
            } else {
                sig("AM", {mhz, depth, level, rateText(n.amRate), std::string("ON")});
            }
        } else {
            sig("CW", {mhz, level});
        }
    }

    void sendPhase(const Generator& n) {
        // Negative phases count back from a full turn; the library takes magnitudes.
        const double deg = n.phase < 0 ? n.phase + 360.0 : n.phase;
        sig("PHASE", {n.freq / 1e6, static_cast<float>(deg)});
    }

    // Puts a changed setting into effect: while the output is on and no sweep runs, the carrier
    // (with its modulation) is sent again; otherwise the setting is kept for later.
    void commitCarrier(const Generator& n) {
        checkFmSpan(n);
        if (n.output && running == Running::None) {
            need();
            sendCarrier(n);
        }
        g = n;
    }

    void stopModulation(const Generator& n) {
        sig("FM",
            {n.freq / 1e6, 0.0, static_cast<float>(n.power), std::string(), std::string("OFF")});
    }

    void setOutput(bool on) {
        Generator n = g;
        n.output = on;
        checkFmSpan(n);
        need();
        stopRunning();
        if (on) {
            sendCarrier(n);
            if (n.phase != 0.0 && !n.fmOn && !n.amOn) sendPhase(n);
        } else {
            if (g.fmOn || g.amOn) stopModulation(n);
            SwitchOff(s);
        }
        g = n;
    }

    void setModulation(bool fm, bool on) {
        Generator n = g;
        if (fm) {
            n.fmOn = on;
            if (on) n.amOn = false;
        } else {
            n.amOn = on;
            if (on) n.fmOn = false;
        }
        if (n.fmOn == g.fmOn && n.amOn == g.amOn) return;  // no change, nothing sent
        checkFmSpan(n);
        if (n.output && running == Running::None) {
            need();
            if (!on) stopModulation(n);
            sendCarrier(n);
        }
        g = n;
    }

    // Stops a running sweep with the library's stop (mode select 0).
    void stopRunning() {
        if (running == Running::FreqSweep) GoSigGenFreqSweep(s, "OFF");
        if (running == Running::LevelSweep) GoSigGenLevSweep(s, "OFF");
        running = Running::None;
    }

    void sendTrigger(const Generator& n) {
        need();
        sig("SETTRIGGER", {static_cast<std::int16_t>(!n.trigExt ? 0 : n.slopeNeg ? 2 : 1)});
    }

    static std::int32_t micros(double seconds) {
        return static_cast<std::int32_t>(std::lround(seconds * 1e6));
    }

    std::vector<double> sweepPoints() const {
        std::vector<double> pts(static_cast<std::size_t>(g.points));
        const double step = (g.stop - g.start) / (g.points - 1);
        for (std::size_t i = 0; i < pts.size(); ++i)
            pts[i] = g.start + step * static_cast<double>(i);
        return pts;
    }

    void initiate() {
        if (!g.output) throw Error{err::SettingsConflict, "the output is off"};
        if (g.fmOn || g.amOn) throw Error{err::SettingsConflict, "modulation is on"};
        const bool freqList = g.freqMode != Generator::FreqMode::Cw;
        if (freqList && g.powerList)
            throw Error{err::SettingsConflict, "frequency and level lists cannot run together"};
        if (!freqList && !g.powerList)
            throw Error{err::SettingsConflict, "no sweep or list selected"};
        const std::size_t count = freqList ? (g.freqMode == Generator::FreqMode::Sweep
                                                  ? static_cast<std::size_t>(g.points)
                                                  : g.listFreq.size())
                                           : g.listPower.size();
        if (count < 2) throw Error{err::SettingsConflict, "a list needs at least 2 points"};
        need();
        stopRunning();
        sig("STEPTRIGGER", {static_cast<std::int16_t>(g.stepTrig ? 1 : 0)});
        if (freqList) {
            const bool sweep = g.freqMode == Generator::FreqMode::Sweep;
            const std::vector<double> pts = sweep ? sweepPoints() : g.listFreq;
            FreqPlan& plan = s.plans.freq;
            std::copy(pts.begin(), pts.end(), plan.FreqPlanHz.begin());
            plan.FreqPlanCount = static_cast<std::int32_t>(pts.size());
            plan.FreqPlanLevel = static_cast<float>(g.power);
            plan.FreqPlanDwell = micros(sweep ? g.sweepDwell : g.listDwell);
            plan.FreqPlanValid = kTrue;
            s.plans.FreqPlanPresent = kTrue;
            check(GoSigGenFreqSweep(s, "ON"));
            running = Running::FreqSweep;
        } else {
            LevelPlan& plan = s.plans.level;
            for (std::size_t i = 0; i < g.listPower.size(); ++i)
                plan.LevelPlanDbm[i] = static_cast<float>(g.listPower[i]);
            plan.LevelPlanCount = static_cast<std::int32_t>(g.listPower.size());
            plan.LevelPlanFreqHz = g.freq;
            plan.LevelPlanDwell = micros(g.listDwell);
            plan.LevelPlanValid = kTrue;
            check(GoSigGenLevSweep(s, "ON"));
            running = Running::LevelSweep;
        }
    }

    void abort() {
        if (running == Running::None) return;
        need();
        stopRunning();
        if (g.output) sendCarrier(g);
    }

    void reset() {
        g = Generator{};
        g.output = false;  // *RST leaves RF off
        running = Running::None;
        need();
        GoSigGenFreqSweep(s, "OFF");  // mode select 0 stops any sweep, hop or modulation
        sig("SETTRIGGER", {std::int16_t{0}});
        sig("STEPTRIGGER", {std::int16_t{0}});
        SwitchOff(s);
    }

    std::string identity() const {
        return std::string(kMaker) + ',' + std::string(kModel) + ',' + std::to_string(serial) +
               ',' + (firmware.empty() ? "0" : firmware) + '/' + object.DLLVer();
    }

    // --- running a line

    const Command* resolve(const Unit& u, std::vector<std::string>& used, int& suffixError);
    void run(const Unit& u, ClientState& client, std::vector<std::string>& answers);
};

// ---------------------------------------------------------------------------------------------
// Parameters

namespace {

void wantCount(const Call& c, std::size_t n) {
    if (c.unit.params.size() > n) throw Error{err::ParameterNotAllowed, {}};
    if (c.unit.params.size() < n) throw Error{err::MissingParameter, {}};
}

double toNumber(const Param& p, const Range& r, bool bounds = true) {
    if (p.kind == Param::Kind::Character) {
        if (mnemonicMatches("MINimum", p.text)) return r.min;
        if (mnemonicMatches("MAXimum", p.text)) return r.max;
        if (mnemonicMatches("DEFault", p.text)) return r.def;
        throw Error{err::InvalidCharacterData, p.text};
    }
    if (p.kind != Param::Kind::Numeric) throw Error{err::DataType, "a number is expected"};
    double v = p.value;
    if (!p.text.empty()) {
        if (r.dim == Dim::None) throw Error{err::SuffixNotAllowed, p.text};
        const auto scale = suffixScale(p.text, r.dim);
        if (!scale) throw Error{err::InvalidSuffix, p.text};
        v *= *scale;
    }
    if (bounds && !(v >= r.min - 1e-9 * std::fabs(r.min) && v <= r.max + 1e-9 * std::fabs(r.max)))
        throw Error{err::OutOfRange, formatNumber(v) + " outside " + formatNumber(r.min) + " to " +
                                         formatNumber(r.max)};
    return std::clamp(v, r.min, r.max);
}

double number(const Call& c, const Range& r) {
    wantCount(c, 1);
    return toNumber(c.unit.params[0], r);
}

bool boolean(const Call& c) {
    wantCount(c, 1);
    const Param& p = c.unit.params[0];
    if (p.kind == Param::Kind::Character) {
        if (p.text == "ON") return true;
        if (p.text == "OFF") return false;
        throw Error{err::InvalidCharacterData, p.text};
    }
    if (p.kind != Param::Kind::Numeric) throw Error{err::DataType, "ON, OFF, 1 or 0 is expected"};
    if (!p.text.empty()) throw Error{err::SuffixNotAllowed, p.text};
    return std::lround(p.value) != 0;
}

// The index of the choice the character parameter names.
std::size_t choice(const Call& c, std::initializer_list<std::string_view> choices) {
    wantCount(c, 1);
    const Param& p = c.unit.params[0];
    if (p.kind != Param::Kind::Character) throw Error{err::DataType, "a choice is expected"};
    std::size_t i = 0;
    for (const std::string_view name : choices) {
        if (mnemonicMatches(name, p.text)) return i;
        ++i;
    }
    throw Error{err::InvalidCharacterData, p.text};
}

std::vector<double> numberList(const Call& c, const Range& r) {
    if (c.unit.params.empty()) throw Error{err::MissingParameter, {}};
    if (c.unit.params.size() > static_cast<std::size_t>(kMaxPoints))
        throw Error{err::ParameterNotAllowed, "at most 9001 values"};
    std::vector<double> values;
    values.reserve(c.unit.params.size());
    for (const Param& p : c.unit.params)
        values.push_back(toNumber(p, r));
    return values;
}

// A numeric query: the value, or its bound for MIN, MAX or DEF.
std::string numberQuery(const Call& c, double value, const Range& r) {
    if (c.unit.params.empty()) return formatNumber(value);
    wantCount(c, 1);
    const Param& p = c.unit.params[0];
    if (p.kind != Param::Kind::Character) throw Error{err::ParameterNotAllowed, {}};
    return formatNumber(toNumber(p, r));
}

std::string noParams(const Call& c, std::string answer) {
    wantCount(c, 0);
    return answer;
}

std::string flag(bool on) {
    return on ? "1" : "0";
}

using Impl = Engine::Impl;
using FM = Generator::FreqMode;

void setFreq(Impl& e, Call& c) {
    Generator n = e.g;
    n.freq = number(c, kFreq);
    e.commitCarrier(n);
}
void setPower(Impl& e, Call& c) {
    Generator n = e.g;
    n.power = number(c, kPower);
    e.commitCarrier(n);
}
void setPhase(Impl& e, Call& c) {
    Generator n = e.g;
    n.phase = number(c, kPhase);
    if (n.output && e.running == Impl::Running::None && !n.fmOn && !n.amOn) {
        e.need();
        e.sendPhase(n);
    }
    e.g = n;
}
void setFmState(Impl& e, Call& c) {
    e.setModulation(true, boolean(c));
}
void setAmState(Impl& e, Call& c) {
    e.setModulation(false, boolean(c));
}
// "FM ON" and "AM OFF" reach the deviation and depth nodes, whose node is optional too.
bool stateWord(const Call& c) {
    return c.unit.params.size() == 1 && c.unit.params[0].kind == Param::Kind::Character &&
           (c.unit.params[0].text == "ON" || c.unit.params[0].text == "OFF");
}
void setFmDev(Impl& e, Call& c) {
    if (stateWord(c)) return setFmState(e, c);
    Generator n = e.g;
    n.fmDev = number(c, kDeviation);
    if (n.fmOn) return e.commitCarrier(n);
    e.g = n;
}
void setAmDepth(Impl& e, Call& c) {
    if (stateWord(c)) return setAmState(e, c);
    Generator n = e.g;
    n.amDepth = number(c, kDepth);
    if (n.amOn) return e.commitCarrier(n);
    e.g = n;
}
void setModSource(Impl& e, Call& c, bool fm) {
    Generator n = e.g;
    const bool ext = choice(c, {"INTernal", "EXTernal"}) == 1;
    (fm ? n.fmExt : n.amExt) = ext;
    if (fm ? n.fmOn : n.amOn) return e.commitCarrier(n);
    e.g = n;
}
void setModRate(Impl& e, Call& c, bool fm) {
    Generator n = e.g;
    const double rate = number(c, kRate);
    if (std::fabs(rate - 400) > 1e-6 && std::fabs(rate - 1000) > 1e-6)
        throw Error{err::IllegalValue, "400 or 1000 Hz"};
    (fm ? n.fmRate : n.amRate) = rate < 700 ? 400 : 1000;
    if ((fm ? n.fmOn && !n.fmExt : n.amOn && !n.amExt)) return e.commitCarrier(n);
    e.g = n;
}

std::string fmtMode(FM m) {
    return m == FM::Cw ? "CW" : m == FM::Sweep ? "SWE" : "LIST";
}

void setPoints(Impl& e, Call& c) {
    e.g.points = static_cast<std::int32_t>(std::lround(number(c, kPoints)));
}
// A step sets the point count that fits from start to stop; stop then moves onto the last point.
void setStep(Impl& e, Call& c) {
    const double step = number(c, kStep);
    const double span = std::fabs(e.g.stop - e.g.start);
    const double count = std::floor(span / step + 1e-9) + 1;
    if (count < 2 || count > kMaxPoints)
        throw Error{err::SettingsConflict, "the step gives " + formatNumber(count) + " points"};
    e.g.points = static_cast<std::int32_t>(count);
    e.g.stop = e.g.start + (e.g.stop >= e.g.start ? 1 : -1) * step * (count - 1);
}
std::string queryStep(Impl& e, Call& c) {
    return numberQuery(c, std::fabs(e.g.stop - e.g.start) / (e.g.points - 1), kStep);
}

void setList(std::vector<double>& into, Call& c, const Range& r) {
    into = numberList(c, r);
}

void setCommonByte(std::uint8_t& reg, Call& c) {
    reg = static_cast<std::uint8_t>(std::lround(number(c, kByte)));
}

std::string lockQuery(Impl& e, Call& c) {
    wantCount(c, 0);
    e.need();
    const std::int16_t code = QueryLockState(e.s);
    return std::to_string(((code & 1) != 0 ? 32 : 0) | ((code & 4) != 0 ? 8 : 0));
}

std::string selfTest(Impl& e, Call& c) {
    wantCount(c, 0);
    try {
        e.need();
    } catch (const Error&) {
        return "1";
    }
    e.s.link.CheckResponse();
    return e.s.link.NoResponse == kTrue ? "1" : "0";
}

// In table order: the first pattern that matches the header wins.
const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"*IDN", nullptr, [](Impl& e, Call& c) { return noParams(c, e.identity()); }},
        {"*RST",
         [](Impl& e, Call& c) {
             wantCount(c, 0);
             e.reset();
         },
         nullptr},
        {"*CLS",
         [](Impl&, Call& c) {
             wantCount(c, 0);
             c.client.errors.clear();
             c.client.esr = 0;
         },
         nullptr},
        {"*ESE", [](Impl&, Call& c) { setCommonByte(c.client.ese, c); },
         [](Impl&, Call& c) { return noParams(c, std::to_string(c.client.ese)); }},
        {"*ESR", nullptr,
         [](Impl&, Call& c) {
             wantCount(c, 0);
             const std::uint8_t v = c.client.esr;
             c.client.esr = 0;
             return std::to_string(v);
         }},
        {"*SRE", [](Impl&, Call& c) { setCommonByte(c.client.sre, c); },
         [](Impl&, Call& c) { return noParams(c, std::to_string(c.client.sre & ~0x40)); }},
        {"*STB", nullptr,
         [](Impl&, Call& c) { return noParams(c, std::to_string(c.client.statusByte())); }},
        {"*OPC",
         [](Impl&, Call& c) {
             wantCount(c, 0);
             c.client.esr |= esr::OperationComplete;
         },
         [](Impl&, Call& c) { return noParams(c, "1"); }},
        {"*WAI", [](Impl&, Call& c) { wantCount(c, 0); }, nullptr},
        {"*TST", nullptr, selfTest},
        {"*OPT", nullptr, [](Impl&, Call& c) { return noParams(c, "0"); }},
        {"SYSTem:ERRor[:NEXT]", nullptr,
         [](Impl&, Call& c) { return noParams(c, c.client.errors.pop()); }},
        {"SYSTem:ERRor:COUNt", nullptr,
         [](Impl&, Call& c) { return noParams(c, std::to_string(c.client.errors.size())); }},
        {"SYSTem:VERSion", nullptr, [](Impl&, Call& c) { return noParams(c, "1999.0"); }},
        {"STATus:QUEStionable:CONDition", nullptr, lockQuery},

        {"[SOURce]:FREQuency:MODE",
         [](Impl& e, Call& c) {
             const std::size_t m = choice(c, {"CW", "FIXed", "SWEep", "LIST"});
             e.g.freqMode = m < 2 ? FM::Cw : m == 2 ? FM::Sweep : FM::List;
         },
         [](Impl& e, Call& c) { return noParams(c, fmtMode(e.g.freqMode)); }},
        {"[SOURce]:FREQuency:STARt", [](Impl& e, Call& c) { e.g.start = number(c, kFreq); },
         [](Impl& e, Call& c) { return numberQuery(c, e.g.start, kFreq); }},
        {"[SOURce]:FREQuency:STOP", [](Impl& e, Call& c) { e.g.stop = number(c, kFreq); },
         [](Impl& e, Call& c) { return numberQuery(c, e.g.stop, kFreq); }},
        {"[SOURce]:FREQuency[:CW|FIXed]", setFreq,
         [](Impl& e, Call& c) { return numberQuery(c, e.g.freq, kFreq); }},
        {"[SOURce]:POWer:MODE",
         [](Impl& e, Call& c) {
             e.g.powerList = choice(c, {"FIXed", "LIST"}) == 1;
         },
         [](Impl& e, Call& c) { return noParams(c, e.g.powerList ? "LIST" : "FIX"); }},
        {"[SOURce]:POWer[:LEVel][:IMMediate][:AMPLitude]", setPower,
         [](Impl& e, Call& c) { return numberQuery(c, e.g.power, kPower); }},
        {"[SOURce]:PHASe[:ADJust]", setPhase,
         [](Impl& e, Call& c) { return numberQuery(c, e.g.phase, kPhase); }},
        {"OUTPut[:STATe]", [](Impl& e, Call& c) { e.setOutput(boolean(c)); },
         [](Impl& e, Call& c) { return noParams(c, flag(e.g.output)); }},

        {"[SOURce]:FM:STATe", setFmState,
         [](Impl& e, Call& c) { return noParams(c, flag(e.g.fmOn)); }},
        {"[SOURce]:FM:SOURce", [](Impl& e, Call& c) { setModSource(e, c, true); },
         [](Impl& e, Call& c) { return noParams(c, e.g.fmExt ? "EXT" : "INT"); }},
        {"[SOURce]:FM:INTernal:FREQuency", [](Impl& e, Call& c) { setModRate(e, c, true); },
         [](Impl& e, Call& c) { return numberQuery(c, e.g.fmRate, kRate); }},
        {"[SOURce]:FM[:DEViation]", setFmDev,
         [](Impl& e, Call& c) { return numberQuery(c, e.g.fmDev, kDeviation); }},
        {"[SOURce]:AM:STATe", setAmState,
         [](Impl& e, Call& c) { return noParams(c, flag(e.g.amOn)); }},
        {"[SOURce]:AM:SOURce", [](Impl& e, Call& c) { setModSource(e, c, false); },
         [](Impl& e, Call& c) { return noParams(c, e.g.amExt ? "EXT" : "INT"); }},
        {"[SOURce]:AM:INTernal:FREQuency", [](Impl& e, Call& c) { setModRate(e, c, false); },
         [](Impl& e, Call& c) { return numberQuery(c, e.g.amRate, kRate); }},
        {"[SOURce]:AM[:DEPTh]", setAmDepth,
         [](Impl& e, Call& c) { return numberQuery(c, e.g.amDepth, kDepth); }},

        {"[SOURce]:SWEep:POINts", setPoints,
         [](Impl& e, Call& c) { return numberQuery(c, e.g.points, kPoints); }},
        {"[SOURce]:SWEep:STEP", setStep, queryStep},
        {"[SOURce]:SWEep:DWELl", [](Impl& e, Call& c) { e.g.sweepDwell = number(c, kDwell); },
         [](Impl& e, Call& c) { return numberQuery(c, e.g.sweepDwell, kDwell); }},
        {"[SOURce]:LIST:FREQuency", [](Impl& e, Call& c) { setList(e.g.listFreq, c, kFreq); },
         [](Impl& e, Call& c) { return noParams(c, join(e.g.listFreq)); }},
        {"[SOURce]:LIST:POWer", [](Impl& e, Call& c) { setList(e.g.listPower, c, kPower); },
         [](Impl& e, Call& c) { return noParams(c, join(e.g.listPower)); }},
        {"[SOURce]:LIST:DWELl", [](Impl& e, Call& c) { e.g.listDwell = number(c, kDwell); },
         [](Impl& e, Call& c) { return numberQuery(c, e.g.listDwell, kDwell); }},

        {"TRIGger[:SEQuence]:SOURce",
         [](Impl& e, Call& c) {
             Generator n = e.g;
             n.trigExt = choice(c, {"IMMediate", "EXTernal"}) == 1;
             e.sendTrigger(n);
             e.g = n;
         },
         [](Impl& e, Call& c) { return noParams(c, e.g.trigExt ? "EXT" : "IMM"); }},
        {"TRIGger[:SEQuence]:SLOPe",
         [](Impl& e, Call& c) {
             Generator n = e.g;
             n.slopeNeg = choice(c, {"POSitive", "NEGative"}) == 1;
             if (n.trigExt) e.sendTrigger(n);
             e.g = n;
         },
         [](Impl& e, Call& c) { return noParams(c, e.g.slopeNeg ? "NEG" : "POS"); }},
        {"TRIGger[:SEQuence]:TYPE",
         [](Impl& e, Call& c) {
             e.g.stepTrig = choice(c, {"SWEep", "POINt"}) == 1;
         },
         [](Impl& e, Call& c) { return noParams(c, e.g.stepTrig ? "POIN" : "SWE"); }},
        {"INITiate[:IMMediate]",
         [](Impl& e, Call& c) {
             wantCount(c, 0);
             e.initiate();
         },
         nullptr},
        {"ABORt",
         [](Impl& e, Call& c) {
             wantCount(c, 0);
             e.abort();
         },
         nullptr},
    };
    return table;
}

// Matches header words against a pattern's nodes from `pi` and `wi` on. A word may carry a
// numeric suffix; 1 is the only one there is.
bool matchNodes(const std::vector<Node>& nodes, std::size_t pi, const std::vector<std::string>& w,
                std::size_t wi, int& suffixError) {
    if (pi == nodes.size()) return wi == w.size();
    const Node& n = nodes[pi];
    if (wi < w.size()) {
        std::string_view word = w[wi];
        std::string_view suffix;
        const std::size_t digits = word.find_last_not_of("0123456789");
        if (digits != std::string_view::npos && digits + 1 < word.size()) {
            suffix = word.substr(digits + 1);
            word = word.substr(0, digits + 1);
        }
        for (const std::string& alt : n.alternatives) {
            if (mnemonicMatches(alt, word) && matchNodes(nodes, pi + 1, w, wi + 1, suffixError)) {
                if (!suffix.empty() && suffix != "1") suffixError = err::HeaderSuffix;
                return true;
            }
        }
    }
    return n.optional && matchNodes(nodes, pi + 1, w, wi, suffixError);
}

}  // namespace

const Command* Engine::Impl::resolve(const Unit& u, std::vector<std::string>& used,
                                     int& suffixError) {
    std::vector<std::string> words;
    if (u.common) words.push_back("*" + u.nodes[0]);
    const auto attempt = [&](const std::vector<std::string>& base) -> const Command* {
        if (!u.common) {
            words = base;
            words.insert(words.end(), u.nodes.begin(), u.nodes.end());
        }
        for (const Command& cmd : commands()) {
            if (u.common) {
                if (mnemonicMatches(cmd.pattern, words[0])) return &cmd;
                continue;
            }
            if (cmd.pattern[0] == '*') continue;
            suffixError = 0;
            if (matchNodes(cmd.nodes, 0, words, 0, suffixError)) {
                used = words;
                return &cmd;
            }
        }
        return nullptr;
    };
    if (!u.common && !u.rooted && !path.empty()) {
        if (const Command* c = attempt(path)) return c;
    }
    return attempt({});
}

void Engine::Impl::run(const Unit& u, ClientState& client, std::vector<std::string>& answers) {
    if (u.error != 0) {
        client.report(u.error, u.detail);
        return;
    }
    std::vector<std::string> used;
    int suffixError = 0;
    const Command* cmd = resolve(u, used, suffixError);
    if (!cmd || (u.query ? !cmd->query : !cmd->set)) {
        std::string shown;
        for (const std::string& n : u.nodes)
            shown += (shown.empty() && u.common ? "*" : ":") + n;
        client.report(err::UndefinedHeader, shown + (u.query ? "?" : ""));
        return;
    }
    if (!u.common) {
        path = used;
        path.pop_back();
    }
    if (suffixError != 0) {
        client.report(suffixError, {});
        return;
    }
    prompts.boxes.clear();
    const std::uint64_t failed = health.failures();
    const Generator before = g;
    const Running wasRunning = running;
    const bool wasLost = lost;
    bool reported = false;
    Call call{u, client};
    try {
        if (u.query) {
            answers.push_back(cmd->query(*this, call));
        } else {
            cmd->set(*this, call);
        }
    } catch (const Error& e) {
        client.report(e.code, e.detail);
        reported = true;
    } catch (const RuntimeError& e) {
        // Inside the library only a missing reply or calibration raises here.
        client.report(err::Hardware, e.description());
        lost = true;
        reported = true;
    }
    for (const std::string& box : prompts.boxes) {
        if (box == "No Response") {
            lost = true;
            if (!reported) client.report(err::Hardware, box);
        } else {
            client.report(err::SettingsConflict, box);
        }
        reported = true;
    }
    prompts.boxes.clear();
    if (health.failures() != failed && !(reported && lost)) {
        lost = true;
        client.report(err::Hardware, "the instrument did not take the command");
    }
    // A command the instrument failed leaves the settings as they were.
    if (lost && !wasLost) {
        g = before;
        running = wasRunning;
    }
}

// ---------------------------------------------------------------------------------------------

Engine::Engine(Session& session, Synthor_01_vexa& object, ServerPrompts& prompts,
               LinkHealth& health)
    : impl_(std::make_unique<Impl>(session, object, prompts, health)) {
    // The server shows no panel: switching off only parks the output.
    session.showOffDisplay = nullptr;
    session.showModal = nullptr;
}

Engine::~Engine() = default;

bool Engine::find() {
    return impl_->find();
}

const Generator& Engine::generator() const {
    return impl_->g;
}

std::optional<std::string> Engine::execute(std::string_view line, ClientState& client) {
    std::vector<std::string> answers;
    impl_->path.clear();
    for (const Unit& u : parseMessage(line)) {
        impl_->run(u, client, answers);
    }
    if (answers.empty()) return std::nullopt;
    std::string out = answers[0];
    for (std::size_t i = 1; i < answers.size(); ++i)
        out += ';' + answers[i];
    return out;
}

}  // namespace synthor::scpi
