// Sim.Output: the instrument's point records and run state decoded for people.
#include <charconv>
#include <cmath>

#include "runtime/text.hpp"
#include "sim/calibration_view.hpp"
#include "sim/instrument_state.hpp"

namespace synthor::sim {
namespace {

constexpr std::uint32_t kPointRecordSize = 14;
constexpr std::uint32_t kComplexPointSize = 4;
constexpr std::uint16_t kLevelWordMask = 0x3FFF;
constexpr std::uint16_t kAllPointsUpTo = 20;  // longer plans list their first and last few
constexpr std::uint16_t kPointsAtEachEnd = 5;

// Dwell in µs is the start frame's code plus a per-frame offset.
constexpr int kSweepDwellOffset = 26;
constexpr int kComplexDwellOffset = 15;
constexpr int kPhaseHopDwellOffset = 7;

// Fixed-point text, independent of the C locale; never "-0.0".
std::string fixed(double value, int decimals) {
    const double scale = std::pow(10.0, decimals);
    if (std::fabs(value) * scale < 0.5) value = 0.0;
    char buffer[64];
    const auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    if (ec != std::errc{}) return "?";
    return std::string(buffer, end);
}

SynthesizerReading readSynthesizer(const std::array<std::uint8_t, kPointRecordSize>& record,
                                   std::size_t first, int channel,
                                   std::span<const std::uint8_t> eeprom) {
    SynthesizerReading r;
    const std::uint8_t* p = record.data() + first;
    r.tuningWord = (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) |
                   (std::uint32_t{p[2]} << 8) | p[3];
    r.control = p[4];
    r.levelWord = static_cast<std::uint16_t>(((p[5] << 8) | p[6]) & kLevelWordMask);
    if (const auto m = bandMultiplier(r.control)) {
        r.frequencyHz = r.tuningWord / *m;
        r.levelDbm = levelForWord(eeprom, *r.frequencyHz, r.levelWord, channel);
    }
    return r;
}

std::string levelText(const std::optional<double>& dbm, std::uint16_t word) {
    if (dbm) return fixed(*dbm, 1) + " dBm";
    return "level word " + std::to_string(word);
}

std::string synthesizerText(const SynthesizerReading& r) {
    if (!r.frequencyHz) {
        return "tuning word " + std::to_string(r.tuningWord) + ", band code 0x" +
               hexByte(r.control & 0xF0) + ", level word " + std::to_string(r.levelWord);
    }
    return fixed(*r.frequencyHz / 1e6, 6) + " MHz, " + levelText(r.levelDbm, r.levelWord);
}

// Phase words are in 1/16384 turn, divided by a band factor from 125 MHz up (top band first).
struct PhaseBand {
    double fromMhz;
    double divisor;
};
constexpr PhaseBand kPhaseBands[] = {{4000, 200}, {2000, 100}, {1000, 50},
                                     {500, 25},   {250, 12.5}, {125, 6.25}};

double phaseDegrees(std::uint16_t word, std::optional<double> frequencyHz) {
    const double mhz = frequencyHz.value_or(0) / 1e6;
    double divisor = 1;
    for (const PhaseBand& band : kPhaseBands) {
        if (mhz >= band.fromMhz) {
            divisor = band.divisor;
            break;
        }
    }
    return word * divisor * 360.0 / 16384.0;
}

std::string phaseText(std::uint16_t word, std::optional<double> frequencyHz) {
    return std::to_string(word) + " (about " + fixed(phaseDegrees(word, frequencyHz), 1) +
           " degrees)";
}

// The "Z" set-up: a function byte and three argument bytes (AM with its depth and carrier level
// word, or external FM with its deviation in tuning-word units of the carrier's band).
std::string setupText(const std::array<std::uint8_t, 4>& z, const SynthesizerReading& carrier) {
    const auto raw = [&] {
        std::string bytes = " (Z";
        for (std::uint8_t b : z)
            bytes += " " + hexByte(b);
        return bytes + ")";
    };
    switch (z[0]) {
        case 0x01:
        case 0x02:
        case 0x03: {
            static constexpr const char* kTone[] = {"400 Hz tone", "1 kHz tone", "external input"};
            const unsigned word = (unsigned{z[2]} << 8) | z[3];
            return std::string("AM, ") + kTone[z[0] - 1] + ", depth " + std::to_string(z[1]) +
                   " %, carrier level word " + std::to_string(word) + raw();
        }
        case 0x04: {
            const unsigned word = (unsigned{z[1]} << 16) | (unsigned{z[2]} << 8) | z[3];
            std::string text = "FM, external input, deviation word " + std::to_string(word);
            if (carrier.frequencyHz && *carrier.frequencyHz > 0 && carrier.tuningWord > 0) {
                const double unitsPerHz = carrier.tuningWord / *carrier.frequencyHz;
                text += " (" + fixed(word / unitsPerHz / 1e3, 3) + " kHz)";
            }
            return text + raw();
        }
        default:
            return "unknown set-up" + raw();
    }
}

std::string triggerText(std::uint8_t trigger) {
    switch (trigger) {
        case 0:
            return "free run";
        case 1:
            return "external rising edge";
        case 2:
            return "external falling edge";
        default:
            return "code " + std::to_string(trigger);
    }
}

std::string modeText(const RunState& run) {
    const std::string how = run.stepped ? ", stepped by the trigger" : ", free-running";
    switch (run.mode) {
        case Mode::ContinuousWave:
            return "CW";
        case Mode::ModeSelected:
            if (run.modeSelect == 1) return "modulation on (mode select 1)";
            return "mode select " + std::to_string(run.modeSelect) + ", no start frame yet";
        case Mode::ModulationTable:
            return "FM, modulation table";
        case Mode::LevelSweep:
            return "level sweep" + how;
        case Mode::FrequencySweep:
            return "frequency sweep" + how;
        case Mode::ComplexSweep:
            return "complex sweep" + how;
        case Mode::PhaseHop:
            return "phase hop";
    }
    return "?";
}

// Lists `count` plan points through `line(i)`: all of them, or the first and last few.
template <typename Line>
void listPoints(std::string& out, std::uint16_t count, Line line) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (count > kAllPointsUpTo && i == kPointsAtEachEnd) {
            out += "  ... " + std::to_string(count - 2 * kPointsAtEachEnd) + " more ...\n";
            i = count - kPointsAtEachEnd - 1u;
            continue;
        }
        out += "  " + std::to_string(i + 1) + ": " + line(i) + "\n";
    }
}

}  // namespace

PointReading Instrument::readPoint(std::uint32_t address) const {
    std::array<std::uint8_t, kPointRecordSize> record{};
    PointReading p;
    for (std::uint32_t i = 0; i < kPointRecordSize; ++i) {
        record[i] = memoryAt(address + i);
        p.written = p.written || record[i] != 0;
    }
    const std::span<const std::uint8_t> eeprom = state_->config.eeprom;
    p.a = readSynthesizer(record, 0, 1, eeprom);
    p.b = readSynthesizer(record, 7, 2, eeprom);
    return p;
}

std::string Instrument::describeState() const {
    const RunState run = runState();
    std::string out = "mode: " + modeText(run) + "\n";

    const PointReading point = readPoint(run.pointAddress);
    const bool usesPoint = run.mode == Mode::ContinuousWave || run.mode == Mode::ModeSelected ||
                           run.mode == Mode::ComplexSweep || run.mode == Mode::PhaseHop;
    if (usesPoint) {
        if (run.pointAddress != kContinuousWaveAddress) {
            out += "point address: " + std::to_string(run.pointAddress) + "\n";
        }
        if (point.written) {
            out += "output: " + synthesizerText(point.a) + "\n";
            out += "companion: " + synthesizerText(point.b) + "\n";
        } else {
            out += "output: none (nothing written at " + std::to_string(run.pointAddress) + ")\n";
        }
    }
    if (run.phaseWord)
        out += "phase word: " + phaseText(*run.phaseWord, point.a.frequencyHz) + "\n";
    out += "trigger: " + triggerText(run.trigger) + "\n";
    if (run.setup) out += "modulation: " + setupText(*run.setup, point.a) + "\n";

    switch (run.mode) {
        case Mode::ContinuousWave:
        case Mode::ModeSelected:
            break;
        case Mode::PhaseHop:
            out += "hop between: " + phaseText(run.hop[0], point.a.frequencyHz) + " and " +
                   phaseText(run.hop[1], point.a.frequencyHz) + "\n";
            out += "dwell: " + std::to_string(run.hop[2] + kPhaseHopDwellOffset) + " us\n";
            break;
        case Mode::ComplexSweep:
            out += "dwell: " + std::to_string(run.dwellCode + kComplexDwellOffset) + " us\n";
            out += "points: " + std::to_string(run.count) + " from address " +
                   std::to_string(run.startAddress) + "\n";
            listPoints(out, run.count, [&](std::uint32_t i) {
                const std::uint32_t at = run.startAddress + kComplexPointSize * i;
                const auto phase =
                    static_cast<std::uint16_t>((memoryAt(at) << 8) | memoryAt(at + 1));
                const auto word = static_cast<std::uint16_t>(
                    ((memoryAt(at + 2) << 8) | memoryAt(at + 3)) & kLevelWordMask);
                std::optional<double> level;
                if (point.a.frequencyHz) {
                    level = levelForWord(state_->config.eeprom, *point.a.frequencyHz, word, 1);
                }
                return "phase word " + phaseText(phase, point.a.frequencyHz) + ", " +
                       levelText(level, word);
            });
            break;
        case Mode::ModulationTable:
        case Mode::LevelSweep:
        case Mode::FrequencySweep:
            if (run.mode == Mode::ModulationTable) {
                out += "rate code: " + std::to_string(run.dwellCode) + "\n";
            } else {
                out += "dwell: " + std::to_string(run.dwellCode + kSweepDwellOffset) + " us\n";
            }
            out += "points: " + std::to_string(run.count) + " from address " +
                   std::to_string(run.startAddress) + "\n";
            listPoints(out, run.count, [&](std::uint32_t i) {
                const PointReading p = readPoint(run.startAddress + kPointRecordSize * i);
                return p.written ? synthesizerText(p.a) : std::string("nothing written");
            });
            break;
    }
    return out;
}

std::string Instrument::describeOutput() const {
    std::string out = describeState();
    // The wire-time model's count, since the last open.
    const WireUse& wire = state_->wire;
    out += "driver calls: " + std::to_string(wire.calls) + "\n";
    out += "wire time: " + fixed(static_cast<double>(wire.nanoseconds) / 1e6, 3) + " ms at " +
           (state_->config.usb == UsbSpeed::High ? "high" : "full") + " speed\n";
    return out;
}

}  // namespace synthor::sim
