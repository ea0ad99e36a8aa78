// Band codes, tuning words and control-byte flags of the three frequency encoders.
#include <gtest/gtest.h>

#include <cstdint>

#include "encoding/band_plan.hpp"
#include "runtime/raised_by.hpp"

namespace synthor {
namespace {

// The tuning words of synthesizers A (bytes 0-3) and B (bytes 7-10) and their band codes.
std::uint32_t word(const PointRecord& r, std::size_t at) {
    return std::uint32_t{r[at]} << 24 | std::uint32_t{r[at + 1]} << 16 |
           std::uint32_t{r[at + 2]} << 8 | r[at + 3];
}
const auto wordA = [](const PointRecord& r) { return word(r, 0); };
const auto wordB = [](const PointRecord& r) { return word(r, 7); };
const auto codeA = [](const PointRecord& r) { return r[4] & 0xF0; };
const auto codeB = [](const PointRecord& r) { return r[11] & 0xF0; };

PointRecord encodeFresh(double f, double f2) {
    BandState state;
    PointRecord r{};
    encodeFrequency(state, f, f2, r);
    return r;
}

struct BandCase {
    double f;
    std::uint32_t word;
    int code;
};

// Lower edges are inclusive and words use the band's multiplier; band A has no upper limit.
// Band B adds the 4 MHz band (0x90).
TEST(BandPlan, EdgesOfBothSynthesizers) {
    const BandCase a[] = {
        {9e9, 450000000, 0x00},        {8.192e9, 409600000, 0x00}, {5.6e9, 280000000, 0x00},
        {5.5999e9, 279995000, 0x10},   {4e9, 200000000, 0x10},     {3.9999e9, 399990000, 0x20},
        {2e9, 200000000, 0x20},        {1e9, 200000000, 0x30},     {999999999.9, 400000000, 0x40},
        {5e8, 200000000, 0x40},        {2.5e8, 200000000, 0x50},   {1.25e8, 200000000, 0x60},
        {124999999, 1249999990, 0x80}, {3e6, 30000000, 0x80},      {2999999, 29999990, 0xA0},
        {1e6, 10000000, 0xA0},         {300000, 3000000, 0xB0},    {299999.9, 0, 0x00},
    };
    for (const auto& c : a) {
        const PointRecord r = encodeFresh(c.f, 1e9);
        EXPECT_EQ(wordA(r), c.word) << c.f;
        EXPECT_EQ(codeA(r), c.code) << c.f;
    }
    const BandCase b[] = {
        {1.25e8, 200000000, 0x60}, {6.25e7, 200000000, 0x70}, {62499999, 624999990, 0x80},
        {4.15e6, 41500000, 0x80},  {4149999, 41499990, 0x90}, {4.05e6, 40500000, 0x90},
        {4049999, 40499990, 0xA0}, {300000, 3000000, 0xB0},   {299999, 0, 0x00},
    };
    for (const auto& c : b) {
        const PointRecord r = encodeFresh(1e9, c.f);
        EXPECT_EQ(wordB(r), c.word) << c.f;
        EXPECT_EQ(codeB(r), c.code) << c.f;
    }
    BandState state;
    PointRecord r{};
    EXPECT_EQ(testing::raisedBy([&] { encodeFrequency(state, 5e10, 1e9, r); }), errnum::Overflow);
}

// The 4.05-4.15 MHz override tests the output frequency, edges inclusive, and keeps word B.
TEST(BandPlan, FourMegahertzOutputForcesCompanionBand) {
    const PointRecord r = encodeFresh(4.1e6, 8.2e6);
    EXPECT_EQ(wordA(r), 41000000u);
    EXPECT_EQ(r[4], 0x85);
    EXPECT_EQ(r[11], 0x91);
    EXPECT_EQ(wordB(r), 82000000u);

    const PointRecord edge = encodeFresh(4.15e6, 8.25e6);
    EXPECT_EQ(codeB(edge), 0x90);
    EXPECT_EQ(codeB(encodeFresh(4.05e6, 8.15e6)), 0x90);
    EXPECT_EQ(wordB(edge), 82500000u);

    const PointRecord below = encodeFresh(4049999, 8.15e6);
    EXPECT_EQ(codeB(below), 0x80);
    EXPECT_EQ(below[4] & 0x0F, 0x05);  // still spur-prone: 3.9 to 4.3 MHz
}

struct Step {
    bool fromRest;  // a fresh table: no previous record
    double f, f2;
    std::uint8_t byte5, byte12;
};

// Bytes 5 and 12 carry the band code, the low-band bits and a flag: the change flag (A in byte 5,
// B in byte 12) when a synthesizer's class rose since the previous record of the same table, or
// the spur flag 0x04 inside the open spur ranges (2-2.1, 3.9-4.3, 8-8.4 MHz) and in the 0x90
// band. The low-band bits follow the classes of both synthesizers; A not encoded keeps its class.
//  1-4: from rest both classes rise (A low, B high); A rises 1 -> 2; the same point again raises
//       nothing; falling sets no flag.
//  5-8: A rises to 1 with B in class 0; B rises 0 -> 1; the 0x90 band is class 1 with no rise
//       but always the flag; B rises 1 -> 2.
// 9-16: rose, but spur-prone at 2.05 MHz; the edges 2 and 2.1 MHz are excluded; 8-8.4 MHz alike,
//       and the edges 3.9 and 4.3 MHz.
// 17-19: A in class 2 clears the low-band bits whatever B does; A not encoded (below 300 kHz)
//       keeps class 2 while B rises. 20: from rest A stays class 0 and B rises to class 1.
TEST(ControlBytes, DependOnThePreviousRecord) {
    const Step steps[] = {
        {true, 1e8, 104.1e6, 0x8D, 0x72},    {false, 2e8, 204.1e6, 0x6C, 0x60},
        {false, 2e8, 204.1e6, 0x60, 0x60},   {false, 1e8, 104.1e6, 0x81, 0x72},
        {true, 1e6, 1.5e6, 0xAD, 0xA1},      {false, 1e6, 5e6, 0xAD, 0x81},
        {false, 1e6, 4.1e6, 0xA5, 0x91},     {false, 7e7, 74.1e6, 0x8D, 0x72},
        {true, 2.05e6, 6.15e6, 0xA5, 0x81},  {false, 2e6, 6.1e6, 0xA1, 0x81},
        {false, 2.1e6, 6.2e6, 0xA1, 0x81},   {false, 8e6, 12.1e6, 0x81, 0x81},
        {false, 8.2e6, 12.33e6, 0x85, 0x81}, {false, 8.4e6, 12.5e6, 0x81, 0x81},
        {false, 3.9e6, 8e6, 0x81, 0x81},     {false, 4.3e6, 8.4e6, 0x81, 0x81},
        {true, 1e9, 1004.1e6, 0x3C, 0x30},   {false, 1e9, 1e6, 0x30, 0xA0},
        {false, 100000, 5e6, 0x0C, 0x80},    {true, 100000, 5e6, 0x0D, 0x81},
    };
    BandState state;
    PointRecord r{};
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        const Step& s = steps[i];
        if (s.fromRest) state = BandState{};
        encodeFrequency(state, s.f, s.f2, r);
        EXPECT_EQ(r[4], s.byte5) << "step " << i + 1;
        EXPECT_EQ(r[11], s.byte12) << "step " << i + 1;
    }
}

// Band A follows the centre frequency; word A, the 4 MHz override and the spur ranges follow
// the instantaneous frequency.
TEST(ModulationEncoder, CentreBandInstantaneousWord) {
    BandState state;
    PointRecord r{};
    encodeModulation(state, 1.3e8, 1.2e8, 124.1e6, r);
    EXPECT_EQ(codeA(r), 0x60);
    EXPECT_EQ(wordA(r), 192000000u);  // x1.6 from the centre's band, not x10
    encodeModulation(state, 3.5e6, 4.1e6, 8.2e6, r);
    EXPECT_EQ(codeB(r), 0x90);
    encodeModulation(state, 4.1e6, 3.5e6, 7.6e6, r);
    EXPECT_EQ(codeB(r), 0x80);
    encodeModulation(state, 2.5e6, 2.05e6, 6.15e6, r);
    EXPECT_EQ(r[4] & 0x0C, 0x04);
    encodeModulation(state, 2.05e6, 2.5e6, 6.6e6, r);
    EXPECT_EQ(r[4] & 0x0C, 0x00);
}

// The whole output-off record is checked through its writer; here, the lower edge of its x16
// band.
TEST(OutputOffEncoder, TheTimesSixteenBandStartsAt199Megahertz) {
    BandState state;
    PointRecord r{};
    encodeOutputOff(state, 1.9899999e8, 2.031e8, r);
    EXPECT_EQ(codeA(r), 0x80);
    encodeOutputOff(state, 1.99e8, 2.031e8, r);
    EXPECT_EQ(codeA(r), 0x60);
    encodeFrequency(state, 1.93e8, 1.971e8, r);  // the plain encoder's band starts at 125 MHz
    EXPECT_EQ(codeA(r), 0x60);
}

}  // namespace
}  // namespace synthor
