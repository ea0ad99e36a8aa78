// The C interface: sessions over the tool's session set-up (cli::SessionHost), calls by name
// through the tool's own call runner, typed plans, device listing, and the interface's one error
// boundary (`guarded`), so no exception leaves a function of synthor.h.
#define SYNTHOR_BUILDING_LIBRARY
#include "capi/synthor.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "cli/calls.hpp"
#include "cli/session_host.hpp"
#include "encoding/limits.hpp"
#include "plans/freq_sweep.hpp"
#include "plans/level_sweeps.hpp"
#include "plans/plan_messages.hpp"
#include "runtime/clock.hpp"
#include "runtime/errors.hpp"
#include "runtime/prompts.hpp"
#include "sim/sim_instrument.hpp"

using namespace synthor;

struct synthor_session {
    std::mutex lock;
    std::atomic<std::thread::id> owner{};  // the thread inside a call, to refuse re-entry
    std::ostringstream log;                // the running call's message-box and dialog lines
    LoggedPrompts prompts{log};
    SystemClock clock;
    synthor_message_fn message = nullptr;
    void* messageUser = nullptr;
    std::unique_ptr<cli::SessionHost> host;
};

namespace {

constexpr const char* kVersion = "1.0.0";

// A refusal of the interface's own: a status and why.
struct Failure {
    int status;
    std::string message;
};

[[noreturn]] void badArgument(std::string message) {
    throw Failure{SYNTHOR_ERR_BAD_ARGUMENT, std::move(message)};
}

void fill(synthor_error* error, int number, std::string_view text) {
    if (!error) return;
    error->number = number;
    const std::size_t n = std::min(text.size(), sizeof error->description - 1);
    if (n > 0) std::memcpy(error->description, text.data(), n);
    error->description[n] = '\0';
}

// The one error boundary: every exception becomes a status and the error's number and text.
template <typename Body>
int guarded(synthor_error* error, Body&& body) noexcept {
    fill(error, 0, {});
    try {
        return body();
    } catch (const Failure& f) {
        fill(error, 0, f.message);
        return f.status;
    } catch (const cli::UsageError& u) {
        fill(error, 0, u.message);
        return SYNTHOR_ERR_BAD_ARGUMENT;
    } catch (...) {
        try {
            const RuntimeError e = currentAsRuntimeError();
            fill(error, e.number(), e.description());
        } catch (...) {
            fill(error, errnum::OutOfMemory, "Out of memory");
        }
        return SYNTHOR_ERR_RAISED;
    }
}

char* copyText(std::string_view text) {
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) throw std::bad_alloc();
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

void clearResult(synthor_result* result) {
    if (result) *result = synthor_result{SYNTHOR_EMPTY, 0, nullptr, nullptr};
}

void setResult(synthor_result* result, const Variant& value) {
    if (!result) return;
    if (const auto* i = std::get_if<std::int16_t>(&value)) {
        result->type = SYNTHOR_INT16;
        result->integer = *i;
    } else {
        result->type = std::holds_alternative<std::monostate>(value) ? SYNTHOR_EMPTY : SYNTHOR_TEXT;
    }
    result->text = copyText(toText(value));
}

Variant toVariant(const synthor_value& v) {
    switch (v.type) {
        case SYNTHOR_MISSING:
            return Missing{};
        case SYNTHOR_EMPTY:
            return std::monostate{};
        case SYNTHOR_BOOL:
            return v.integer != 0;
        case SYNTHOR_INT16:
            if (v.integer < INT16_MIN || v.integer > INT16_MAX)
                badArgument("an SYNTHOR_INT16 argument outside -32768..32767");
            return static_cast<std::int16_t>(v.integer);
        case SYNTHOR_INT32:
            return v.integer;
        case SYNTHOR_SINGLE:
            return static_cast<float>(v.number);
        case SYNTHOR_DOUBLE:
            return v.number;
        case SYNTHOR_TEXT:
            return std::string(v.text ? v.text : "");
        default:
            badArgument("an argument of unknown type " + std::to_string(v.type));
    }
}

cli::Options toOptions(const synthor_options* given) {
    const synthor_options o = given ? *given : synthor_options{};
    cli::Options options;
    const std::string driver = o.driver ? o.driver : "auto";
    if (driver == "sim") {
        options.sim = true;
    } else if (driver == "auto") {
        options.sim = o.sim != nullptr;
    } else if (driver == "d2xx" || driver == "libftdi") {
        if (o.sim) badArgument("simulator settings need the driver \"sim\"");
        options.driver = driver;
    } else {
        badArgument("unknown driver \"" + driver + "\": auto, sim, d2xx or libftdi");
    }
    if (o.sim) {
        const synthor_sim_settings& s = *o.sim;
        sim::Config& c = options.simConfig;
        if (s.usb_serial) c.usbSerial = s.usb_serial;
        std::string problem;
        if (s.eeprom_path && !sim::loadEepromFile(s.eeprom_path, c.eeprom, problem))
            badArgument(problem);
        if (s.status != 0) c.status = s.status;
        if (s.version) c.version = s.version;
        if (s.lock < 0 || s.lock > 255) badArgument("the simulated lock byte must be 0..255");
        c.lock = static_cast<std::uint8_t>(s.lock);
        if (s.usb && !sim::parseUsbSpeed(s.usb, c.usb))
            badArgument("the simulated bus is \"full\" or \"high\"");
        std::istringstream faults(s.faults ? s.faults : "");
        for (std::string fault; std::getline(faults, fault, ',');) {
            if (fault.find_first_not_of(' ') == std::string::npos) continue;
            if (!sim::applyFault(fault, c.faults, problem)) badArgument(problem);
        }
    }
    if (o.trace_path && *o.trace_path) options.tracePath = o.trace_path;
    options.coalesce = (o.flags & SYNTHOR_COALESCE) != 0;
    return options;
}

// Reports the calibration load's progress; hiding the window (the load ending, even early)
// reports 100.
void hookProgress(panel::EepromData& loading, synthor_progress_fn progress, void* user) {
    loading.onChange = [&loading, progress, user, shown = false]() mutable {
        progress(user, shown && !loading.visible() ? 100.0 : double{loading.value()});
        shown = loading.visible();
    };
}

synthor_session& sessionOf(synthor_session* s) {
    if (!s || !s->host) badArgument("no session");
    return *s;
}

// Runs `body` under the session's lock, then hands the lines the call logged to the result and
// to the message callback (outside the lock). The trace is flushed after every call so that a
// host can read it while the session is open.
template <typename Body>
int locked(synthor_session* session, synthor_result* result, Body&& body) {
    synthor_session& s = sessionOf(session);
    if (s.owner.load() == std::this_thread::get_id())
        badArgument("a call on a session from inside one of its own callbacks");
    clearResult(result);
    int status = SYNTHOR_OK;
    std::exception_ptr failure;
    std::string lines;
    {
        const std::lock_guard<std::mutex> hold(s.lock);
        s.owner = std::this_thread::get_id();
        try {
            status = body(*s.host);
        } catch (...) {
            failure = std::current_exception();
        }
        s.owner = std::thread::id{};
        lines = s.log.str();
        s.log.str({});
        s.log.clear();
        if (std::ofstream* trace = s.host->traceFile()) trace->flush();
    }
    if (!lines.empty() && result) result->messages = copyText(lines);
    if (s.message) {
        std::istringstream each(lines);
        for (std::string line; std::getline(each, line);)
            s.message(s.messageUser, line.c_str());
    }
    if (failure) std::rethrow_exception(failure);
    return status;
}

void requireFinite(const double* values, std::size_t count, const char* what) {
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(values[i])) badArgument(std::string(what) + " that is not a number");
    }
}

// Checks a plan's size, then runs `store` and `start` under the lock unless no instrument was
// found (the command string's answer then, with nothing stored).
template <typename Store, typename Start>
int typedPlan(synthor_session* session, std::size_t count, synthor_result* result, Store store,
              Start start) {
    if (count < 2 || count > static_cast<std::size_t>(kPlanPoints))
        badArgument("a plan holds 2 to 9001 points");
    return locked(session, result, [&](cli::SessionHost& host) {
        Session& s = host.session();
        if (s.link.InstrumentFound == kFalse) {
            setResult(result, std::string(planresult::NoInstrumentFound));
            return SYNTHOR_OK;
        }
        store(s.plans, static_cast<std::int32_t>(count));
        setResult(result, start(s));
        return SYNTHOR_OK;
    });
}

float clampLevel(double level, float ceiling) {
    return std::clamp(static_cast<float>(level), kMinLevel, ceiling);
}

std::int32_t clampDwell(std::int32_t dwell, std::int32_t floor) {
    return std::clamp(dwell, floor, kMaxDwell);
}

}  // namespace

extern "C" {

const char* synthor_version(void) {
    return kVersion;
}

int synthor_open(const synthor_options* options, synthor_session** session, synthor_error* error) {
    return guarded(error, [&] {
        if (!session) badArgument("no place for the session");
        *session = nullptr;
        const cli::Options o = toOptions(options);
        auto s = std::make_unique<synthor_session>();
        s->host = std::make_unique<cli::SessionHost>(o, s->prompts, s->clock, s->log);
        if (options && options->progress)
            hookProgress(s->host->eepromData(), options->progress, options->progress_user);
        if (options) {
            s->message = options->message;
            s->messageUser = options->message_user;
        }
        *session = s.release();
        return SYNTHOR_OK;
    });
}

void synthor_close(synthor_session* session) {
    guarded(nullptr, [&] {
        const std::unique_ptr<synthor_session> owned(session);
        if (!session || !session->host) return SYNTHOR_OK;
        // Let go of the device, so that another program (or session) can open it.
        UsbLink& link = session->host->session().link;
        if (link.InstrumentFound != kFalse) link.CloseUSB();
        return SYNTHOR_OK;
    });
}

int synthor_call(synthor_session* session, const char* name, const synthor_value* args,
                 size_t count, synthor_result* result, synthor_error* error) {
    return guarded(error, [&] {
        clearResult(result);
        if (!name) badArgument("no call name");
        if (count > 0 && !args) badArgument("no arguments although a count was given");
        cli::ScriptCall call{name, {}};
        call.args.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
            call.args.push_back(toVariant(args[i]));
        return locked(session, result, [&](cli::SessionHost& host) {
            cli::CallOutcome outcome = cli::runCall(host, call);
            if (outcome.status == cli::CallOutcome::Status::Unknown)
                throw Failure{SYNTHOR_ERR_UNKNOWN_CALL, outcome.problem};
            if (!outcome.problem.empty()) throw Failure{SYNTHOR_ERR_REFUSED, outcome.problem};
            setResult(result, outcome.result);
            return SYNTHOR_OK;
        });
    });
}

void synthor_result_free(synthor_result* result) {
    if (!result) return;
    std::free(result->text);
    std::free(result->messages);
    clearResult(result);
}

int synthor_frequency_plan(synthor_session* session, const double* frequencies_hz, size_t count,
                           double level_dbm, int32_t dwell_us, synthor_result* result,
                           synthor_error* error) {
    return guarded(error, [&] {
        clearResult(result);
        if (!frequencies_hz) badArgument("no frequencies");
        requireFinite(frequencies_hz, count, "a frequency");
        requireFinite(&level_dbm, 1, "a level");
        for (std::size_t i = 0; i < count; ++i) {
            const double f = std::fabs(frequencies_hz[i]);
            if (f < kMinHz || f > kMaxHz)
                badArgument("a plan frequency outside 300 kHz to 8.192 GHz");
        }
        return typedPlan(
            session, count, result,
            [&](PlanStores& plans, std::int32_t n) {
                FreqPlan& p = plans.freq;
                for (std::int32_t i = 0; i < n; ++i)
                    p.FreqPlanHz[static_cast<std::size_t>(i)] = std::fabs(frequencies_hz[i]);
                p.FreqPlanCount = n;
                p.FreqPlanLevel = clampLevel(level_dbm, kPlanMaxLevel);
                p.FreqPlanDwell = clampDwell(dwell_us, kMinDwell);
                p.FreqPlanValid = kTrue;
                plans.FreqPlanPresent = kTrue;
            },
            [](Session& s) { return GoSigGenFreqSweep(s, "ON"); });
    });
}

int synthor_level_plan(synthor_session* session, double frequency_hz, const double* levels_dbm,
                       size_t count, int32_t dwell_us, synthor_result* result,
                       synthor_error* error) {
    return guarded(error, [&] {
        clearResult(result);
        if (!levels_dbm) badArgument("no levels");
        requireFinite(levels_dbm, count, "a level");
        requireFinite(&frequency_hz, 1, "a frequency");
        return typedPlan(
            session, count, result,
            [&](PlanStores& plans, std::int32_t n) {
                LevelPlan& p = plans.level;
                for (std::int32_t i = 0; i < n; ++i)
                    p.LevelPlanDbm[static_cast<std::size_t>(i)] =
                        clampLevel(levels_dbm[i], kMaxLevel);
                p.LevelPlanCount = n;
                p.LevelPlanFreqHz = frequency_hz;
                p.LevelPlanDwell = clampDwell(dwell_us, kMinDwell);
                p.LevelPlanValid = kTrue;
            },
            [](Session& s) { return GoSigGenLevSweep(s, "ON"); });
    });
}

int synthor_complex_plan(synthor_session* session, double frequency_hz, const double* phases_deg,
                         const double* levels_dbm, size_t count, int32_t dwell_us,
                         synthor_result* result, synthor_error* error) {
    return guarded(error, [&] {
        clearResult(result);
        if (!phases_deg || !levels_dbm) badArgument("no phases or no levels");
        requireFinite(phases_deg, count, "a phase");
        requireFinite(levels_dbm, count, "a level");
        requireFinite(&frequency_hz, 1, "a frequency");
        for (std::size_t i = 0; i < count; ++i) {
            if (phases_deg[i] < 0.0 || phases_deg[i] > 360.0)
                badArgument("a plan phase outside 0 to 360 degrees");
        }
        return typedPlan(
            session, count, result,
            [&](PlanStores& plans, std::int32_t n) {
                ComplexPlan& p = plans.complex;
                for (std::int32_t i = 0; i < n; ++i) {
                    const auto at = static_cast<std::size_t>(i);
                    p.ComplexPlanPhase[at] = static_cast<float>(phases_deg[i]);
                    p.ComplexPlanDbm[at] = clampLevel(levels_dbm[i], kPlanMaxLevel);
                }
                p.ComplexPlanCount = n;
                p.ComplexPlanFreqHz = std::fabs(frequency_hz);
                p.ComplexPlanDwell = clampDwell(dwell_us, kMinComplexDwell);
                p.ComplexPlanValid = kTrue;
                plans.ComplexPlanPresent = kTrue;
            },
            [](Session& s) { return GoSigGenCplxSweep(s, "ON"); });
    });
}

int synthor_get_state(synthor_session* session, synthor_state* state, synthor_error* error) {
    return guarded(error, [&] {
        if (!state) badArgument("no place for the state");
        return locked(session, nullptr, [&](cli::SessionHost& host) {
            const Session& s = host.session();
            state->instrument_found = s.link.InstrumentFound != kFalse ? 1 : 0;
            state->no_response = s.link.NoResponse != kFalse ? 1 : 0;
            state->serial_number = s.SerialNumber;
            state->simulated = host.instrument() ? 1 : 0;
            return SYNTHOR_OK;
        });
    });
}

int synthor_list_devices(const synthor_options* options, synthor_device_list* list,
                         synthor_error* error) {
    return guarded(error, [&] {
        if (!list) badArgument("no place for the list");
        *list = synthor_device_list{0, nullptr};
        cli::Options o = toOptions(options);
        o.tracePath.clear();
        std::ostringstream quiet;
        LoggedPrompts prompts(quiet);
        SystemClock clock;
        const cli::SessionHost host(o, prompts, clock, quiet);
        std::vector<d2xx::DeviceInfo> found;
        if (const d2xx::Status st = host.listDevices(found); st != d2xx::Ok)
            throw Failure{SYNTHOR_ERR_REFUSED, "the driver could not list its devices (status " +
                                                   std::to_string(st) + ")"};
        if (found.empty()) return SYNTHOR_OK;
        auto* devices =
            static_cast<synthor_device*>(std::calloc(found.size(), sizeof(synthor_device)));
        if (!devices) throw std::bad_alloc();
        *list = synthor_device_list{found.size(), devices};
        try {
            for (std::size_t i = 0; i < found.size(); ++i) {
                devices[i].description = copyText(found[i].description);
                devices[i].serial = copyText(found[i].serial);
                devices[i].driver = copyText(found[i].driver);
            }
        } catch (...) {
            synthor_device_list_free(list);
            throw;
        }
        return SYNTHOR_OK;
    });
}

void synthor_device_list_free(synthor_device_list* list) {
    if (!list) return;
    for (std::size_t i = 0; i < list->count && list->devices; ++i) {
        std::free(list->devices[i].description);
        std::free(list->devices[i].serial);
        std::free(list->devices[i].driver);
    }
    std::free(list->devices);
    *list = synthor_device_list{0, nullptr};
}

}  // extern "C"
