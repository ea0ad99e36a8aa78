// Sim.Output: point records decoded back to frequency and power, and the run described.
#include <cmath>

#include "sim_test_support.hpp"

namespace {

using namespace simtest;
using synthor::sim::Instrument;

// --- A reference of the library's point encoding, written out here to feed the simulator. ---

struct Band {
    double from;
    double multiplier;
    std::uint8_t code;
};

// Synthesizer A's bands, top down, lower edges inclusive.
constexpr Band kBandsA[] = {
    {5.6e9, 0.05, 0x00}, {4e9, 0.05, 0x10},   {2e9, 0.1, 0x20}, {1e9, 0.2, 0x30}, {5e8, 0.4, 0x40},
    {2.5e8, 0.8, 0x50},  {1.25e8, 1.6, 0x60}, {3e6, 10, 0x80},  {1e6, 10, 0xA0},  {3e5, 10, 0xB0}};
constexpr Band kBandsB[] = {{5.6e9, 0.05, 0x00}, {4e9, 0.05, 0x10},   {2e9, 0.1, 0x20},
                            {1e9, 0.2, 0x30},    {5e8, 0.4, 0x40},    {2.5e8, 0.8, 0x50},
                            {1.25e8, 1.6, 0x60}, {6.25e7, 3.2, 0x70}, {4.15e6, 10, 0x80},
                            {4.05e6, 10, 0x90},  {1e6, 10, 0xA0},     {3e5, 10, 0xB0}};

template <std::size_t N>
std::pair<std::uint32_t, std::uint8_t> tune(double f, const Band (&bands)[N]) {
    for (const Band& b : bands) {
        if (f >= b.from)
            return {static_cast<std::uint32_t>(std::nearbyint(f * b.multiplier)), b.code};
    }
    return {0, 0};
}

double referenceGridFrequency(int i) {
    if (i <= 4) return 200000.0 + 100000.0 * i;
    if (i <= 9) return std::pow(2.0, i - 5) * 1e6;
    return ((i - 10) * 50.0 + 50.0) * 1e6;
}

int referenceGridIndex(double f) {
    if (f < 1e6) return std::min(4, static_cast<int>(std::floor((f - 200000) / 100000)));
    if (f < 5e7) {
        return std::min(
            9, static_cast<int>(std::floor(static_cast<float>(std::log(f / 1e6) / 0.693147 + 5))));
    }
    return static_cast<int>(std::floor(static_cast<float>((f / 1e6 - 50) / 50 + 10)));
}

int wordInRecord(const std::uint8_t* record, float level, int direction) {
    double t[36];
    for (int k = 1; k <= 35; ++k) {
        const int h = record[2 * (k - 1)], l = record[2 * k - 1];
        t[k] = ((h & 0x7F) * 256 + l) / 10.0 * ((h & 0x80) ? -1 : 1);
    }
    int p = 17, step = 8, best = 17;
    double bestDistance = 1000;
    auto probe = [&] {
        const double d = std::fabs(t[p] - level);
        if (d < bestDistance) {
            best = p;
            bestDistance = d;
        }
    };
    while (step > 0) {
        probe();
        p += (level <= t[p] ? step : -step) * direction;
        step /= 2;
    }
    probe();
    double a1 = (t[best + 1] - t[best - 1]) / 2;
    const double a0 = (t[best - 1] + t[best] + t[best + 1]) / 3 - 2 * a1;
    if (std::fabs(a1) < 0.0001) a1 = 0.001;
    const double x = (level - a0) / a1;
    const double raw = direction == 1 ? (best + x - 2) * 320 + 1600 : (best + x - 2) * 464;
    int w = static_cast<int>(std::floor(raw + 0.5));
    if (w < 0) w = 0;
    return w & 0x3FFF;
}

int referenceLevelWord(const std::vector<std::uint8_t>& eeprom, double f, float level,
                       int channel) {
    int i = referenceGridIndex(f);
    const double fA = referenceGridFrequency(i);
    const double fB = i >= 169 ? 8e9 : referenceGridFrequency(i + 1);
    float t = 0;
    if (fB > fA) t = std::min(1.0f, static_cast<float>((f - fA) / (fB - fA)));
    i = std::min(i, 169);
    const std::uint8_t* table = eeprom.data() + (channel == 1 ? 8152 : 20224);
    const int direction = channel == 1 ? 1 : -1;
    const int w1 = wordInRecord(table + (i - 1) * 70, level, direction);
    if (t == 0) return w1;
    const int w2 = wordInRecord(table + i * 70, level, direction);
    return static_cast<int>(std::floor(static_cast<float>(w2 - w1) * t)) + w1;
}

// A 14-byte point record for output frequency f at `level`, companion at f + 4.1 MHz and 3 dBm.
Bytes pointRecord(double f, float level, std::uint8_t flags = 0) {
    const auto eeprom = synthor::sim::defaultEeprom();
    const double f2 = f + 4.1e6;
    const auto [wordA, codeA] = tune(f, kBandsA);
    const auto [wordB, codeB] = tune(f2, kBandsB);
    const int levelA = referenceLevelWord(eeprom, f, level, 1);
    const int levelB = referenceLevelWord(eeprom, f2, 3.0f, 2);
    return concat({be16(wordA >> 16),
                   be16(wordA & 0xFFFF),
                   {static_cast<std::uint8_t>(codeA | flags)},
                   be16(static_cast<unsigned>(levelA)),
                   be16(wordB >> 16),
                   be16(wordB & 0xFFFF),
                   {codeB},
                   be16(static_cast<unsigned>(levelB))});
}

// --- Tests ---

TEST(SimOutput, TheLibrarysFirstSettingReadsBackAsOneGigahertzAtZeroDbm) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(130064, pointRecord(1000e6, 0.0f)), frame("YI", be24(130064))}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: CW\n"
              "output: 1000.000000 MHz, 0.0 dBm\n"
              "companion: 1004.100000 MHz, 3.0 dBm\n"
              "trigger: free run\n");
}

TEST(SimOutput, LevelsReadBackWithinATenthOfADecibelAcrossFrequencyAndLevel) {
    const double frequencies[] = {3e5,    3.5e5,   9e5,     1e6,   3e6,    4.1e6,      16e6,
                                  49.9e6, 75e6,    124.9e6, 125e6, 1000e6, 1234.567e6, 2.4e9,
                                  4e9,    5.123e9, 7.99e9,  8e9,   8.1e9,  8.192e9};
    const float levels[] = {-25.0f, -17.3f, -10.0f, -0.05f, 0.0f, 3.7f, 10.0f, 15.0f, 17.0f};
    Instrument sim;
    synthor::d2xx::Handle h = nullptr;
    ASSERT_EQ(sim.openEx("VX000001", 1, &h), synthor::d2xx::Ok);
    for (double f : frequencies) {
        for (float level : levels) {
            const Bytes w = memoryWrite(1024, pointRecord(f, level, 0x0D));
            std::uint32_t n = 0;
            ASSERT_EQ(sim.write(h, w.data(), static_cast<std::uint32_t>(w.size()), &n), 0u);
            const auto point = sim.readPoint(1024);
            ASSERT_TRUE(point.written);
            ASSERT_TRUE(point.a.frequencyHz && point.a.levelDbm) << f;
            EXPECT_NEAR(*point.a.frequencyHz, f, 0.1) << f;
            EXPECT_NEAR(*point.a.levelDbm, level, 0.1) << f << " Hz, " << level << " dBm";
            ASSERT_TRUE(point.b.frequencyHz && point.b.levelDbm) << f;
            EXPECT_NEAR(*point.b.frequencyHz, f + 4.1e6, 0.1) << f;
            EXPECT_NEAR(*point.b.levelDbm, 3.0, 0.1) << f;
        }
    }
}

TEST(SimOutput, HandComputedWordsDecode) {
    struct Case {
        Bytes record;
        double mhz;
    };
    const std::vector<Case> cases{
        {{0x02, 0x71, 0x9C, 0x40, 0x85, 0, 0, 0, 0, 0, 0, 0x91, 0, 0}, 4.1},
        {{0x18, 0x6A, 0x00, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 0x00, 0, 0}, 8192.0},
        {{0x73, 0x09, 0x76, 0x80, 0x80, 0, 0, 0x12, 0xCC, 0x03, 0x00, 0x60, 0, 0}, 193.0},
        {{0x0B, 0xEB, 0xC2, 0x00, 0x3C, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 1000.0},
        {{0x00, 0x2D, 0xC6, 0xC0, 0xB1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0.3},
    };
    for (const Case& c : cases) {
        OpenedInstrument t;
        t.send(memoryWrite(130064, c.record));
        const auto point = t.sim.readPoint(130064);
        ASSERT_TRUE(point.a.frequencyHz);
        EXPECT_NEAR(*point.a.frequencyHz / 1e6, c.mhz, 1e-9);
    }
}

TEST(SimOutput, OutputOffRecordReadsAsTheParkingFrequency) {
    OpenedInstrument t;
    t.send(memoryWrite(130064,
                       {0x73, 0x09, 0x76, 0x80, 0x80, 0, 0, 0x12, 0xCC, 0x03, 0x00, 0x60, 0, 0}));
    const auto point = t.sim.readPoint(130064);
    EXPECT_NEAR(*point.b.frequencyHz, 197.1e6, 1e-3);
}

TEST(SimOutput, UnknownBandAndFrequenciesBelowTheGridShowTheRawWords) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(130064, {0, 0, 0, 100, 0xC0, 0x01, 0x02, 0, 0, 0, 0, 0xB0, 0, 7}),
                   frame("YI", be24(130064))}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: CW\n"
              "output: tuning word 100, band code 0xC0, level word 258\n"
              "companion: 0.000000 MHz, level word 7\n"
              "trigger: free run\n");
}

TEST(SimOutput, NothingWrittenYet) {
    Instrument sim;
    EXPECT_EQ(sim.describeOutput(),
              "mode: CW\n"
              "output: none (nothing written at 130064)\n"
              "trigger: free run\n");
}

TEST(SimOutput, FrequencySweepListsItsPoints) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(1024, pointRecord(1000e6, 0.0f)),
                   memoryWrite(1038, pointRecord(1010e6, 0.0f)),
                   memoryWrite(1052, pointRecord(1020e6, 0.0f)), frame("YT", {1}),
                   startFrame("Yb", 1024, 3, 74)}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: frequency sweep, stepped by the trigger\n"
              "trigger: external rising edge\n"
              "dwell: 100 us\n"
              "points: 3 from address 1024\n"
              "  1: 1000.000000 MHz, 0.0 dBm\n"
              "  2: 1010.000000 MHz, 0.0 dBm\n"
              "  3: 1020.000000 MHz, 0.0 dBm\n");
}

TEST(SimOutput, LongPlansShowTheirFirstAndLastPoints) {
    OpenedInstrument t;
    Bytes frames;
    for (unsigned i = 0; i < 30; ++i) {
        append(frames,
               memoryWrite(1024 + 14 * i, pointRecord(500e6, -20.0f + static_cast<float>(i))));
    }
    append(frames, concat({frame("YA", {0x0F}), startFrame("X", 1024, 30, 0)}));
    t.send(frames);
    const std::string text = t.sim.describeOutput();
    EXPECT_NE(text.find("mode: level sweep, free-running\n"), std::string::npos) << text;
    EXPECT_NE(text.find("dwell: 26 us\npoints: 30 from address 1024\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  1: 500.000000 MHz, -20.0 dBm\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  5: 500.000000 MHz, -16.0 dBm\n  ... 20 more ...\n  26: 500.000000 MHz, "
                        "5.0 dBm\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("  30: 500.000000 MHz, 9.0 dBm\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("  6:"), std::string::npos) << text;
}

TEST(SimOutput, PointsNeverWrittenAndEmptyPlans) {
    OpenedInstrument t;
    t.send(startFrame("YB", 1024, 2, 74));
    EXPECT_NE(t.sim.describeOutput().find("  1: nothing written\n  2: nothing written\n"),
              std::string::npos);
    t.send(startFrame("YB", 1024, 0, 74));
    EXPECT_NE(t.sim.describeOutput().find("points: 0 from address 1024\n"), std::string::npos);
    t.send(startFrame("YB", 0xFFFFFF, 0xFFFF, 0xFFFF));  // far past point memory
    EXPECT_NE(t.sim.describeOutput().find("  65535: nothing written\n"), std::string::npos);
}

TEST(SimOutput, FmTableShowsItsRateCode) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(1024, pointRecord(100e6, 0.0f)), frame("YA", {1}), frame("YT", {0}),
                   startFrame("X", 1024, 1, 9)}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: FM, modulation table\n"
              "trigger: free run\n"
              "rate code: 9\n"
              "points: 1 from address 1024\n"
              "  1: 100.000000 MHz, 0.0 dBm\n");
}

TEST(SimOutput, ComplexSweepShowsPhaseAndLevelAtTheFixedFrequency) {
    const auto eeprom = synthor::sim::defaultEeprom();
    const auto word = [&](float level) {
        return be16(static_cast<unsigned>(referenceLevelWord(eeprom, 100e6, level, 1)));
    };
    OpenedInstrument t;
    t.send(concat({memoryWrite(130064, pointRecord(100e6, 0.0f)), frame("YI", be24(130064)),
                   memoryWrite(1024, concat({be16(4096), word(-10.0f), be16(16384), word(5.5f)})),
                   frame("YA", {1}), startFrame("YD", 1024, 2, 5)}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: complex sweep, free-running\n"
              "output: 100.000000 MHz, 0.0 dBm\n"
              "companion: 104.100000 MHz, 3.0 dBm\n"
              "trigger: free run\n"
              "dwell: 20 us\n"
              "points: 2 from address 1024\n"
              "  1: phase word 4096 (about 90.0 degrees), -10.0 dBm\n"
              "  2: phase word 16384 (about 360.0 degrees), 5.5 dBm\n");
}

TEST(SimOutput, PhaseHopShowsBothPhasesAndItsDwell) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(130064, pointRecord(1000e6, 0.0f)), frame("YI", be24(130064)),
                   frame("YQ", be16(82)), frame("YR", concat({be16(82), be16(164), be16(93)}))}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: phase hop\n"
              "output: 1000.000000 MHz, 0.0 dBm\n"
              "companion: 1004.100000 MHz, 3.0 dBm\n"
              "phase word: 82 (about 90.1 degrees)\n"
              "trigger: free run\n"
              "hop between: 82 (about 90.1 degrees) and 164 (about 180.2 degrees)\n"
              "dwell: 100 us\n");
}

TEST(SimOutput, AmSetUpAndOtherCwPointAddress) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(2000, pointRecord(2e9, 10.0f)), frame("YI", be24(2000)),
                   frame("YT", {7}), frame("Z", {0x01, 0x32, 0x12, 0x7F})}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: CW\n"
              "point address: 2000\n"
              "output: 2000.000000 MHz, 10.0 dBm\n"
              "companion: 2004.100000 MHz, 3.0 dBm\n"
              "trigger: code 7\n"
              "modulation: AM, 400 Hz tone, depth 50 %, carrier level word 4735 (Z 01 32 12 7F)\n");
    t.send(frame("YA", {0}));
    EXPECT_EQ(t.sim.describeOutput().find("modulation:"), std::string::npos);
}

TEST(SimOutput, ExternalFmSetUpShowsTheDeviationInKilohertz) {
    OpenedInstrument t;
    // 100 kHz at 1000 MHz is 20000 units of the 0.2 multiplier band.
    t.send(concat({memoryWrite(130064, pointRecord(1000e6, 0.0f)), frame("YI", be24(130064)),
                   frame("YA", {1}), frame("Z", {0x04, 0x00, 0x4E, 0x20})}));
    EXPECT_NE(
        t.sim.describeOutput().find(
            "modulation: FM, external input, deviation word 20000 (100.000 kHz) (Z 04 00 4E 20)\n"),
        std::string::npos)
        << t.sim.describeOutput();
    t.send(frame("Z", {0x07, 0, 0, 0}));
    EXPECT_NE(t.sim.describeOutput().find("modulation: unknown set-up (Z 07 00 00 00)"),
              std::string::npos);
}

TEST(SimOutput, StoppingReturnsToTheCwPoint) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(130064, pointRecord(1000e6, -5.0f)), startFrame("YB", 1024, 0, 74),
                   frame("YA", {0})}));
    EXPECT_EQ(t.sim.describeOutput(),
              "mode: CW\n"
              "output: 1000.000000 MHz, -5.0 dBm\n"
              "companion: 1004.100000 MHz, 3.0 dBm\n"
              "trigger: free run\n");
}

}  // namespace
