#include "encoding/level.hpp"

#include <cmath>
#include <limits>

#include "calibration/regression_object.hpp"
#include "runtime/convert.hpp"
#include "runtime/errors.hpp"

namespace synthor {
namespace {

// ln 2 as the grid's octave step; this rounded value decides which octave a frequency falls in.
constexpr double kLn2 = 0.693147;

// Level-word units per table position, and channel 1's word at position 2 (channel 2 has none).
constexpr double kChannel1Step = 20 * 16;
constexpr double kChannel1Offset = 1600;
constexpr double kChannel2Step = 29 * 16;

constexpr std::int32_t kWordMask = 0x3FFF;

// 16-bit integer arithmetic of the runtime: a result outside -32768..32767 overflows.
std::int16_t int16(std::int32_t v) {
    if (v < std::numeric_limits<std::int16_t>::min() ||
        v > std::numeric_limits<std::int16_t>::max()) {
        raise(errnum::Overflow);
    }
    return static_cast<std::int16_t>(v);
}

// A whole number (the result of a floor) into 16 bits; no rounding is left to do.
std::int16_t wholeToInt16(double v) {
    if (!(v >= std::numeric_limits<std::int16_t>::min() &&
          v <= std::numeric_limits<std::int16_t>::max())) {
        raise(errnum::Overflow);
    }
    return static_cast<std::int16_t>(v);
}

// The record of index i: 70 characters from (i - 1) x 70 + 1 (1-based), shorter or empty past
// the table's end. A start before the table is an invalid argument.
std::string_view recordAt(const std::string& table, std::int16_t i) {
    const std::int16_t start = int16(int16((i - 1) * 70) + 1);
    if (start < 1) raise(errnum::InvalidCall);
    const auto from = static_cast<std::size_t>(start - 1);
    if (from >= table.size()) return {};
    return std::string_view(table).substr(from, CalibrationTables::kRecordSize);
}

}  // namespace

std::int16_t calIndex(double f) {
    if (f < 1e6) {
        const std::int16_t i = wholeToInt16(std::floor((f - 200000) / 100000));
        return i > 4 ? 4 : i;
    }
    if (f < 5e7) {
        const float v = csng(std::log(f / 1e6) / kLn2 + 5);
        const std::int16_t i = wholeToInt16(std::floor(v));
        return i > 9 ? 9 : i;
    }
    const float v = csng((f / 1e6 - 50) / 50 + 10);
    return wholeToInt16(std::floor(v));
}

double calGridFrequency(std::int16_t i) {
    if (i < 5) return 200000.0 + 100000.0 * i;
    if (i < 10) return std::pow(2.0, i - 5) * 1e6;
    return int16(int16(int16(i - 10) * 50) + 50) * 1e6;
}

double calEntry(std::string_view record, int k) {
    const std::size_t at = 2 * static_cast<std::size_t>(k - 1);
    if (at + 1 >= record.size()) raise(errnum::InvalidCall);  // a missing character has no code
    int h = static_cast<unsigned char>(record[at]);
    const int l = static_cast<unsigned char>(record[at + 1]);
    int sign = 1;
    if (h > 127) {
        sign = -1;
        h &= 127;
    }
    return sign * ((h * 256 + l) / 10.0);
}

std::int16_t recordLevelWord(std::string_view record, float level, std::int16_t direction) {
    // Every entry must be present (a missing character has no code); only the entries the
    // search and fit visit are decoded.
    if (record.size() < CalibrationTables::kRecordSize) raise(errnum::InvalidCall);
    const auto t = [record](int k) { return calEntry(record, k); };

    // Probes 17, then +-8, +-4, +-2, +-1, so the best position lies in 2..32 and both of its
    // neighbours exist.
    int p = 17;
    int best = 17;
    double bestDistance = 1000;
    for (int s = 8; s > 0; s /= 2) {
        const double d = std::fabs(t(p) - level);
        if (d < bestDistance) {
            best = p;
            bestDistance = d;
        }
        p += level <= t(p) ? s * direction : -s * direction;
    }
    if (std::fabs(t(p) - level) < bestDistance) best = p;

    RegressionObject line;
    line.Degree(1);
    line.XYAdd(1, t(best - 1));
    line.XYAdd(2, t(best));
    line.XYAdd(3, t(best + 1));
    const double a0 = line.Coeff(0);
    double a1 = line.Coeff(1);
    if (std::fabs(a1) < 0.0001) a1 = 0.001;  // a flat stretch loses its sign
    const double x = (level - a0) / a1;

    const double raw = direction == 1 ? (best + x - 2) * kChannel1Step + kChannel1Offset
                                      : (best + x - 2) * kChannel2Step;
    double w = std::floor(raw + 0.5);
    if (w < 0) w = 0;
    std::int32_t word = clng(w) & kWordMask;  // high bits are dropped, not clamped
    if (word > 16383) word = 16383;
    return int16(word);
}

std::int16_t levelWord(const CalibrationTables& tables, double f, float level,
                       std::int16_t channel) {
    std::int16_t i = calIndex(f);
    const double fA = calGridFrequency(i);
    const double fB = i >= kLastCalRecord ? 8e9 : calGridFrequency(int16(i + 1));
    float t = 0;
    if (fB > fA) {
        t = csng((f - fA) / (fB - fA));
        if (t > 1) t = 1;
    }
    // Clamped only now, after fA came from the unclamped index: above 8.05 GHz t stays 0.
    if (i > kLastCalRecord) i = kLastCalRecord;

    const std::string& table = channel == 1 ? tables.CalTable1 : tables.CalTable2;
    const std::int16_t direction = channel == 1 ? 1 : -1;
    const std::int16_t w1 = recordLevelWord(recordAt(table, i), level, direction);
    if (t == 0) return w1;
    const std::int16_t w2 = recordLevelWord(recordAt(table, int16(i + 1)), level, direction);
    // A 16-bit difference times a single is a single.
    const float step = std::floor(static_cast<float>(int16(w2 - w1)) * t);
    return wholeToInt16(step + w1);
}

}  // namespace synthor
