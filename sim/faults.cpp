// Fault settings: "NAME" or "NAME=N".
#include <array>
#include <charconv>
#include <limits>

#include "runtime/text.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor::sim {
namespace {

struct CounterFault {
    std::string_view name;
    int Faults::*counter;
};

constexpr std::array<CounterFault, 9> kCounters{{
    {"open", &Faults::open},
    {"close", &Faults::close},
    {"cycle", &Faults::cycle},
    {"timeouts", &Faults::timeouts},
    {"usbparams", &Faults::usbparams},
    {"latency", &Faults::latency},
    {"flow", &Faults::flow},
    {"purge", &Faults::purge},
    {"write", &Faults::write},
}};

// A decimal count 0..INT_MAX, digits only.
bool parseCount(std::string_view text, int& value) {
    if (text.empty()) return false;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
    }
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc{} && end == text.data() + text.size();
}

}  // namespace

bool applyFault(std::string_view setting, Faults& faults, std::string& error) {
    setting = trimBlanks(setting);
    const auto eq = setting.find('=');
    const std::string name = lcase(trimBlanks(setting.substr(0, eq)));
    int n = 1;
    if (eq != std::string_view::npos && !parseCount(trimBlanks(setting.substr(eq + 1)), n)) {
        error = "bad count in fault \"" + std::string(setting) + "\" (a whole number 0 or more)";
        return false;
    }
    for (const CounterFault& fault : kCounters) {
        if (name == fault.name) {
            faults.*fault.counter = n;
            return true;
        }
    }
    if (name == "silent") {
        faults.silent = n != 0;
        return true;
    }
    if (name == "chunk") {
        faults.chunk = static_cast<std::uint32_t>(n);
        return true;
    }
    error = "unknown fault \"" + std::string(setting) +
            "\" (open, close, cycle, timeouts, usbparams, latency, flow, purge, write, silent, "
            "chunk)";
    return false;
}

}  // namespace synthor::sim
