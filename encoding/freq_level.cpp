#include "encoding/freq_level.hpp"

#include <cmath>
#include <limits>
#include <string_view>

#include "encoding/level.hpp"
#include "runtime/convert.hpp"
#include "runtime/errors.hpp"

namespace synthor {
namespace {

constexpr double kCompanionWindow = 50000;  // |f - offset| within this: B moves 50 kHz
constexpr double kCompanionShift = 50000;
constexpr double kMixWindow = 50000;  // f within this of 8.2 or 2.05 MHz: B moves 30 kHz
constexpr double kMixShift = 30000;
constexpr double kSpurTableBelow = 7e7;
constexpr double kSpurWindow = 2000;
constexpr double kSpurShift = 7000;

// The FM table's step is 2 pi rounded to this value.
constexpr double kFmPeriod = 6.2832;
constexpr float kFmLevelCeiling = 6.0f;
constexpr double kFmLevelCeilingAbove = 3e9;

constexpr double kOffFrequency = 1.93e8;
constexpr double kOffCompanion = 1.971e8;
constexpr float kOffLevelA = -25.0f;
constexpr float kOffLevelB = 0.0f;

std::int32_t nextAddress(std::int32_t address) {
    if (address > std::numeric_limits<std::int32_t>::max() - kPointSize) raise(errnum::Overflow);
    return address + kPointSize;
}

void putLevel(std::int16_t word, PointRecord& record, std::size_t at) {
    record[at] = cbyte(std::floor(word / 256.0));
    record[at + 1] = static_cast<std::uint8_t>(word & 255);
}

}  // namespace

double companionFrequency(double f, double offset) {
    double f2 = f + offset;
    const double d1 = f - offset;
    const double d2 = f - 8.2e6;
    const double d3 = f - 2.05e6;
    if (std::fabs(d1) <= kCompanionWindow) f2 += d1 > 0 ? -kCompanionShift : kCompanionShift;
    if (std::fabs(d2) <= kMixWindow) f2 += d2 <= 0 ? kMixShift : -kMixShift;
    if (std::fabs(d3) <= kMixWindow) f2 += d3 <= 0 ? kMixShift : -kMixShift;
    if (f < kSpurTableBelow) {
        for (const double spur : kSpurFrequencies) {
            const double d = f - spur;
            if (std::fabs(d) <= kSpurWindow) {
                f2 += d <= 0 ? kSpurShift : -kSpurShift;
                break;
            }
        }
    }
    return f2;
}

std::int16_t FreqLevel::levelWord(double f, float level, std::int16_t channel) const {
    return synthor::levelWord(tables_, f, level, channel);
}

// Level words into bytes 6-7 and 13-14, then the frame. The address is split last, so an address
// out of range fails after the band classes moved but before anything is sent.
void FreqLevel::writeRecord(std::int32_t address, double f, double f2, float levelA, float levelB,
                            PointRecord& record) {
    putLevel(levelWord(f, levelA, 1), record, 5);
    putLevel(levelWord(f2, levelB, 2), record, 12);
    const MemoryWriteFrame frame = memoryWriteFrame(address, record);
    link_.WriteUSB(std::string_view(frame.data(), frame.size()));
}

void FreqLevel::setFrequencyAndLevel(std::int32_t address, std::int32_t count, double start,
                                     double step, double offset, float levelA, float levelB) {
    PointRecord record{};
    for (std::int32_t i = 0; i < count; ++i) {
        const double f = start + i * step;
        const double f2 = companionFrequency(f, offset);
        encodeFrequency(bands_, f, f2, record);
        writeRecord(address, f, f2, levelA, levelB, record);
        address = nextAddress(address);
    }
}

void FreqLevel::writeFmTable(std::int32_t address, std::int32_t count, double fc, double deviation,
                             double offset, float levelA, float levelB) {
    if (count <= 0) return;
    const double w = kFmPeriod / count;
    PointRecord record{};
    for (std::int32_t i = 0; i < count; ++i) {
        const double f = std::sin(i * w) * deviation + fc;
        const double f2 = companionFrequency(f, offset);
        encodeModulation(bands_, fc, f, f2, record);
        if (levelA > kFmLevelCeiling && f > kFmLevelCeilingAbove) levelA = kFmLevelCeiling;
        writeRecord(address, f, f2, levelA, levelB, record);
        address = nextAddress(address);
    }
}

void FreqLevel::writeOutputOff() {
    PointRecord record{};
    encodeOutputOff(bands_, kOffFrequency, kOffCompanion, record);
    writeRecord(kCwAddress, kOffFrequency, kOffCompanion, kOffLevelA, kOffLevelB, record);
}

}  // namespace synthor
