// Band codes, tuning words and control-byte flags of the three frequency encoders.
#include <gtest/gtest.h>

#include <cstdint>

#include "encoding/band_plan.hpp"
#include "runtime/raised_by.hpp"

namespace synthor {
namespace {

std::uint32_t wordA(const PointRecord& r) {
    return std::uint32_t{r[0]} << 24 | std::uint32_t{r[1]} << 16 | std::uint32_t{r[2]} << 8 | r[3];
}
std::uint32_t wordB(const PointRecord& r) {
    return std::uint32_t{r[7]} << 24 | std::uint32_t{r[8]} << 16 | std::uint32_t{r[9]} << 8 | r[10];
}
int codeA(const PointRecord& r) {
    return r[4] & 0xF0;
}
int codeB(const PointRecord& r) {
    return r[11] & 0xF0;
}

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

TEST(BandPlanA, LowerEdgesAreInclusiveAndWordsUseTheBandMultiplier) {
    const BandCase cases[] = {
        {9e9, 450000000, 0x00},  // no upper limit here
        {8.192e9, 409600000, 0x00},  {5.6e9, 280000000, 0x00},
        {5.5999e9, 279995000, 0x10}, {4e9, 200000000, 0x10},
        {3.9999e9, 399990000, 0x20}, {2e9, 200000000, 0x20},
        {1e9, 200000000, 0x30},      {999999999.9, 400000000, 0x40},
        {5e8, 200000000, 0x40},      {2.5e8, 200000000, 0x50},
        {1.25e8, 200000000, 0x60},   {124999999, 1249999990, 0x80},
        {3e6, 30000000, 0x80},       {2999999, 29999990, 0xA0},
        {1e6, 10000000, 0xA0},       {300000, 3000000, 0xB0},
        {299999.9, 0, 0x00},
    };
    for (const auto& c : cases) {
        const PointRecord r = encodeFresh(c.f, 1e9);
        EXPECT_EQ(wordA(r), c.word) << c.f;
        EXPECT_EQ(codeA(r), c.code) << c.f;
    }
    BandState state;
    PointRecord r{};
    EXPECT_EQ(testing::raisedBy([&] { encodeFrequency(state, 5e10, 1e9, r); }), errnum::Overflow);
}

TEST(BandPlanB, CompanionBandsIncludeTheFourMegahertzBand) {
    const BandCase cases[] = {
        {1.25e8, 200000000, 0x60}, {6.25e7, 200000000, 0x70}, {62499999, 624999990, 0x80},
        {4.15e6, 41500000, 0x80},  {4149999, 41499990, 0x90}, {4.05e6, 40500000, 0x90},
        {4049999, 40499990, 0xA0}, {1e6, 10000000, 0xA0},     {300000, 3000000, 0xB0},
        {299999, 0, 0x00},
    };
    for (const auto& c : cases) {
        const PointRecord r = encodeFresh(1e9, c.f);
        EXPECT_EQ(wordB(r), c.word) << c.f;
        EXPECT_EQ(codeB(r), c.code) << c.f;
    }
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
    EXPECT_EQ(wordB(edge), 82500000u);

    const PointRecord below = encodeFresh(4049999, 8.15e6);
    EXPECT_EQ(codeB(below), 0x80);
    EXPECT_EQ(below[4] & 0x0F, 0x05);  // still spur-prone: 3.9 to 4.3 MHz
}

struct Step {
    double f, f2;
    std::uint8_t byte5, byte12;
};

// Each row is encoded after the rows before it in the same table.
void expectSequence(const std::vector<Step>& steps) {
    BandState state;
    PointRecord r{};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& s = steps[i];
        encodeFrequency(state, s.f, s.f2, r);
        EXPECT_EQ(r[4], s.byte5) << "step " << i << " f " << s.f;
        EXPECT_EQ(r[11], s.byte12) << "step " << i << " f " << s.f;
    }
}

TEST(ChangeFlag, DependsOnThePreviousRecord) {
    expectSequence({
        {1e8, 104.1e6, 0x8D, 0x72},  // from rest both classes rise; A low, B high
        {2e8, 204.1e6, 0x6C, 0x60},  // A rises 1 -> 2
        {2e8, 204.1e6, 0x60, 0x60},  // same point again: nothing rose
        {1e8, 104.1e6, 0x81, 0x72},  // falling sets no flag
    });
}

TEST(ChangeFlag, CompanionRiseAloneSetsIt) {
    expectSequence({
        {1e6, 1.5e6, 0xAD, 0xA1},   // A rises to 1, B class 0
        {1e6, 5e6, 0xAD, 0x81},     // B rises 0 -> 1
        {1e6, 4.1e6, 0xA5, 0x91},   // 0x90 band: class 1, no rise, but always flag 0x04
        {7e7, 74.1e6, 0x8D, 0x72},  // B rises 1 -> 2: A low, B high
    });
}

TEST(SpurFlag, ReplacesTheChangeFlagInsideItsOpenRanges) {
    expectSequence({
        {2.05e6, 6.15e6, 0xA5, 0x81},  // rose, but spur-prone: 0x04
        {2e6, 6.1e6, 0xA1, 0x81},      // edges are excluded
        {2.1e6, 6.2e6, 0xA1, 0x81},
        {3.9e6, 8e6, 0x81, 0x81},
        {4.3e6, 8.4e6, 0x81, 0x81},
        {8e6, 12.1e6, 0x81, 0x81},
        {8.2e6, 12.33e6, 0x85, 0x81},
        {8.4e6, 12.5e6, 0x81, 0x81},
    });
}

TEST(LowBandBits, FollowTheClassesOfBothSynthesizers) {
    expectSequence({
        {1e9, 1004.1e6, 0x3C, 0x30},  // A in class 2: no low-band bits
        {1e9, 1e6, 0x30, 0xA0},       // whatever B does
        {100000, 5e6, 0x0C, 0x80},    // A not encoded keeps class 2; B rises 0 -> 1
    });
    expectSequence({
        {100000, 5e6, 0x0D, 0x81},  // from rest A stays class 0 (< 2), B rises to class 1
    });
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

TEST(OutputOffEncoder, TheTimesSixteenBandStartsAt199Megahertz) {
    BandState state;
    PointRecord r{};
    encodeOutputOff(state, 1.93e8, 1.971e8, r);
    EXPECT_EQ(codeA(r), 0x80);
    EXPECT_EQ(wordA(r), 0x73097680u);
    EXPECT_EQ(codeB(r), 0x60);
    EXPECT_EQ(wordB(r), 0x12CC0300u);

    encodeFrequency(state, 1.93e8, 1.971e8, r);  // the plain encoder differs
    EXPECT_EQ(codeA(r), 0x60);
    EXPECT_EQ(wordA(r), 308800000u);

    encodeOutputOff(state, 1.99e8, 2.031e8, r);
    EXPECT_EQ(codeA(r), 0x60);
    encodeOutputOff(state, 1.9899999e8, 2.031e8, r);
    EXPECT_EQ(codeA(r), 0x80);
}

}  // namespace
}  // namespace synthor
