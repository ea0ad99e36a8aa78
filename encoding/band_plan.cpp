#include "encoding/band_plan.hpp"

#include <cmath>

#include "runtime/convert.hpp"

namespace synthor {
namespace {

constexpr double k2to24 = 16777216.0;
constexpr double k2to16 = 65536.0;
constexpr double k2to8 = 256.0;

// Output frequencies whose control byte carries the spur flag (open intervals, Hz).
struct Range {
    double low, high;
};
constexpr std::array<Range, 3> kSpurRanges = {{{2e6, 2.1e6}, {3.9e6, 4.3e6}, {8e6, 8.4e6}}};

// Synthesizer B is forced into the 0x90 band while the output lies here (both edges inclusive).
constexpr Range kForceB4MHz = {4.05e6, 4.15e6};

// The word's bytes by repeated floor division, MSB first into record[at..at+3]. A low byte of 256
// would be clamped to 255; a whole word never gives one, the guard is kept all the same.
void putWord(std::int32_t word, PointRecord& record, std::size_t at) {
    const double n = word;
    const double b3 = std::floor(n / k2to24);
    double r = roundHalfEven(n - b3 * k2to24);
    const double b2 = std::floor(r / k2to16);
    r = roundHalfEven(r - b2 * k2to16);
    const double b1 = std::floor(r / k2to8);
    double b0 = std::floor(r - b1 * k2to8);
    if (b0 == 256.0) b0 = 255.0;
    record[at] = cbyte(b3);
    record[at + 1] = cbyte(b2);
    record[at + 2] = cbyte(b1);
    record[at + 3] = cbyte(b0);
}

struct Encoded {
    std::int32_t word = 0;
    std::uint8_t code = 0;
};

// Word and code for one synthesizer; the band class changes only when a band was found.
Encoded encodeOne(const std::optional<Band>& band, double wordFrequency, std::int16_t& bandClass) {
    if (!band) return {};
    bandClass = band->bandClass;
    return {tuningWord(wordFrequency, band->multiplier), band->code};
}

bool isSpurProne(double f) {
    for (const Range& r : kSpurRanges) {
        if (f > r.low && f < r.high) return true;
    }
    return false;
}

// The encoder's common steps. Band A is chosen by the caller; `f` is the instantaneous output
// frequency (word A, the 4 MHz override and the spur ranges), f2 the companion.
void encode(BandState& s, const std::optional<Band>& bandA, double f, double f2,
            PointRecord& record) {
    s.PrevBandClassA = s.BandClassA;
    s.PrevBandClassB = s.BandClassB;
    const Encoded a = encodeOne(bandA, f, s.BandClassA);
    Encoded b = encodeOne(findBand(kBandsB, f2), f2, s.BandClassB);
    if (f >= kForceB4MHz.low && f <= kForceB4MHz.high) {
        b.code = kCodeB4MHz;
        s.BandClassB = 1;
    }

    putWord(a.word, record, 0);
    record[4] = a.code;
    std::uint8_t flag = 0;
    if (s.BandClassA > s.PrevBandClassA || s.BandClassB > s.PrevBandClassB) flag = kClassRoseFlag;
    if (b.code == kCodeB4MHz || isSpurProne(f)) flag = kSpurFlag;
    record[4] |= flag;

    putWord(b.word, record, 7);
    record[11] = b.code;
    if (s.BandClassA < 2) {
        if (s.BandClassB <= 1) {
            record[4] |= 0x01;
            record[11] |= 0x01;
        }
        if (s.BandClassA <= 1 && s.BandClassB > 1) {
            record[4] |= 0x01;
            record[11] |= 0x02;
        }
    }
}

}  // namespace

std::optional<Band> findBand(std::span<const Band> table, double f) {
    for (const Band& b : table) {
        if (f >= b.from) return b;
    }
    return std::nullopt;
}

std::int32_t tuningWord(double f, double multiplier) {
    return clng(f * multiplier);
}

void encodeFrequency(BandState& state, double f, double f2, PointRecord& record) {
    encode(state, findBand(kBandsA, f), f, f2, record);
}

void encodeModulation(BandState& state, double fc, double f, double f2, PointRecord& record) {
    encode(state, findBand(kBandsA, fc), f, f2, record);
}

void encodeOutputOff(BandState& state, double f, double f2, PointRecord& record) {
    encode(state, findBand(kBandsOutputOffA, f), f, f2, record);
}

}  // namespace synthor
