#include "sim/calibration_view.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace synthor::sim {
namespace {

constexpr int kTopIndex = 169;
constexpr double kTopFrequency = 8e9;

// Level word units per table position and word offset of position 0, per channel. A word w
// stands for position (w - offset) / unitsPerStep.
struct ChannelScale {
    std::uint32_t tableAddress;
    double unitsPerStep;
    double offset;
};
constexpr ChannelScale kChannel1{kChannel1TableAddress, 20.0 * 16.0, 1600.0};
constexpr ChannelScale kChannel2{kChannel2TableAddress, 29.0 * 16.0, 0.0};

// Positions around which the level computation fits its line (its search never settles on the
// first two or last three entries).
constexpr int kFirstFitCentre = 2;
constexpr int kLastFitCentre = 32;

// The power at fractional table position `position` of one record: the least-squares line
// through the three entries around the nearest position, as the level computation fits it.
double levelAtPosition(std::span<const std::uint8_t> record, double position) {
    const int centre =
        std::clamp(static_cast<int>(std::lround(position)), kFirstFitCentre, kLastFitCentre);
    const double below = tableEntry(record, centre - 1);
    const double at = tableEntry(record, centre);
    const double above = tableEntry(record, centre + 1);
    const double slope = (above - below) / 2.0;
    const double mean = (below + at + above) / 3.0;
    return mean + slope * (position - centre);
}

}  // namespace

double gridFrequency(int index) {
    if (index <= 4) return 200000.0 + 100000.0 * index;
    if (index <= 9) return std::ldexp(1e6, index - 5);
    return ((index - 10) * 50.0 + 50.0) * 1e6;
}

int gridIndex(double f) {
    if (f < 1e6) return std::min(4, static_cast<int>(std::floor((f - 200000.0) / 100000.0)));
    if (f < 5e7) {
        const float v = static_cast<float>(std::log(f / 1e6) / 0.693147 + 5.0);
        return std::min(9, static_cast<int>(std::floor(v)));
    }
    const float v = static_cast<float>((f / 1e6 - 50.0) / 50.0 + 10.0);
    const double clamped = std::min(static_cast<double>(v), 1e9);  // far above any real index
    return static_cast<int>(std::floor(clamped));
}

double tableEntry(std::span<const std::uint8_t> record, int k) {
    const std::size_t at = 2 * static_cast<std::size_t>(k - 1);
    const std::uint8_t high = record[at];
    const std::uint8_t low = record[at + 1];
    const double magnitude = ((high & 0x7F) * 256 + low) / 10.0;
    return (high & 0x80) ? -magnitude : magnitude;
}

void putTableEntry(std::uint8_t* out, double dbm) {
    const long tenths = std::min(0x7FFFL, std::lround(std::fabs(dbm) * 10.0));
    out[0] = static_cast<std::uint8_t>((tenths >> 8) | (dbm < 0 && tenths != 0 ? 0x80 : 0));
    out[1] = static_cast<std::uint8_t>(tenths & 0xFF);
}

std::optional<double> bandMultiplier(std::uint8_t control) {
    static constexpr std::array<double, 16> kByCode{
        0.05, 0.05, 0.1, 0.2, 0.4, 0.8, 1.6, 3.2, 10, 10, 10, 10, 0, 0, 0, 0,
    };
    const double m = kByCode[control >> 4];
    if (m == 0) return std::nullopt;
    return m;
}

std::optional<double> levelForWord(std::span<const std::uint8_t> eeprom, double f,
                                   std::uint16_t word, int channel) {
    int index = gridIndex(f);
    if (index < 1) return std::nullopt;
    const double fA = gridFrequency(index);
    const double fB = index >= kTopIndex ? kTopFrequency : gridFrequency(index + 1);
    float t = 0;
    if (fB > fA) t = std::min(1.0f, static_cast<float>((f - fA) / (fB - fA)));
    index = std::min(index, kTopIndex);

    const ChannelScale& scale = channel == 1 ? kChannel1 : kChannel2;
    const double position = (word - scale.offset) / scale.unitsPerStep;
    auto levelInRecord = [&](int i) {
        const std::size_t start = scale.tableAddress + (i - 1) * std::size_t{kRecordSize};
        return levelAtPosition(eeprom.subspan(start, kRecordSize), position);
    };
    const double here = levelInRecord(index);
    if (t == 0) return here;
    return here + t * (levelInRecord(index + 1) - here);
}

}  // namespace synthor::sim
