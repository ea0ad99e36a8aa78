// Sim.Output: point records decoded back to frequency and power, and the run described.
#include <cmath>

#include "sim_test_support.hpp"

namespace {

using namespace simtest;

// --- A reference of the library's point encoding, written out here to feed the simulator. ---

// Output multiplier and band code by lower band edge, top down. The library gives the companion
// two bands more; the simulator decodes any band code, so one table serves both synthesizers.
const std::tuple<double, double, std::uint8_t> kBands[] = {
    {5.6e9, 0.05, 0x00}, {4e9, 0.05, 0x10},  {2e9, 0.1, 0x20},    {1e9, 0.2, 0x30},
    {5e8, 0.4, 0x40},    {2.5e8, 0.8, 0x50}, {1.25e8, 1.6, 0x60}, {6.25e7, 3.2, 0x70},
    {4.15e6, 10, 0x80},  {4.05e6, 10, 0x90}, {1e6, 10, 0xA0},     {3e5, 10, 0xB0}};

Bytes tune(double f) {
    for (const auto& [from, multiplier, code] : kBands) {
        const auto w = static_cast<std::uint32_t>(std::nearbyint(f * multiplier));
        if (f >= from) return be16(w >> 16) + be16(w & 0xFFFF) + Bytes{code};
    }
    return Bytes(5);
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

// Binary search for the entry nearest `level`, then a line through it and its neighbours.
int wordInRecord(const std::uint8_t* record, float level, int direction) {
    double t[36];
    for (int k = 1; k <= 35; ++k) {
        const int h = record[2 * (k - 1)], l = record[2 * k - 1];
        t[k] = ((h & 0x7F) * 256 + l) / 10.0 * ((h & 0x80) ? -1 : 1);
    }
    int p = 17, best = 17;
    for (int step = 8;; step /= 2) {
        if (std::fabs(t[p] - level) < std::fabs(t[best] - level)) best = p;
        if (step == 0) break;
        p += (level <= t[p] ? step : -step) * direction;
    }
    double a1 = (t[best + 1] - t[best - 1]) / 2;
    const double a0 = (t[best - 1] + t[best] + t[best + 1]) / 3 - 2 * a1;
    if (std::fabs(a1) < 0.0001) a1 = 0.001;
    const double x = (level - a0) / a1;
    const double raw = direction == 1 ? (best + x - 2) * 320 + 1600 : (best + x - 2) * 464;
    return std::max(0, static_cast<int>(std::floor(raw + 0.5))) & 0x3FFF;
}

Bytes levelWord(double f, float level, int channel) {
    static const auto eeprom = synthor::sim::defaultEeprom();
    int i = referenceGridIndex(f);
    const double fA = referenceGridFrequency(i);
    const double fB = i >= 169 ? 8e9 : referenceGridFrequency(i + 1);
    float t = 0;
    if (fB > fA) t = std::min(1.0f, static_cast<float>((f - fA) / (fB - fA)));
    i = std::min(i, 169);
    const std::uint8_t* table = eeprom.data() + (channel == 1 ? 8152 : 20224);
    const int direction = channel == 1 ? 1 : -1;
    int w = wordInRecord(table + (i - 1) * 70, level, direction);
    if (t != 0) {
        const int w2 = wordInRecord(table + i * 70, level, direction);
        w += static_cast<int>(std::floor(static_cast<float>(w2 - w) * t));
    }
    return be16(static_cast<unsigned>(w));
}

// A 14-byte point record for output frequency f at `level`, companion at f + 4.1 MHz and 3 dBm.
Bytes pointRecord(double f, float level, std::uint8_t flags = 0) {
    Bytes a = tune(f);
    a[4] |= flags;
    return a + levelWord(f, level, 1) + tune(f + 4.1e6) + levelWord(f + 4.1e6, 3.0f, 2);
}

// --- Tests ---

TEST(SimOutput, LevelsAndFrequenciesReadBackAcrossTheCalibrationGrid) {
    OpenedInstrument t;
    for (double f : {3e5, 9e5, 4.1e6, 49.9e6, 125e6, 1234.567e6, 5.123e9, 8e9, 8.192e9}) {
        for (float level : {-25.0f, -0.05f, 3.7f, 17.0f}) {
            SCOPED_TRACE(testing::Message() << f << " Hz, " << level << " dBm");
            t.send(memoryWrite(1024, pointRecord(f, level, 0x0D)));
            const auto point = t.sim.readPoint(1024);
            ASSERT_TRUE(point.written);
            ASSERT_TRUE(point.a.frequencyHz && point.a.levelDbm && point.b.frequencyHz &&
                        point.b.levelDbm);
            EXPECT_NEAR(*point.a.frequencyHz, f, 0.1);
            EXPECT_NEAR(*point.a.levelDbm, level, 0.1);
            EXPECT_NEAR(*point.b.frequencyHz, f + 4.1e6, 0.1);
            EXPECT_NEAR(*point.b.levelDbm, 3.0, 0.1);
        }
    }
}

// What Sim.Output says after a run of frames: the key lines it must hold.
TEST(SimOutput, DescribesTheRun) {
    Bytes longPlan;
    for (unsigned i = 0; i < 30; ++i)
        longPlan = longPlan + memoryWrite(1024 + 14 * i, pointRecord(500e6, -20.0f + float(i)));
    const Bytes cw = memoryWrite(130064, pointRecord(1000e6, 0.0f)) + frame("YI", be24(130064));
    const std::pair<Bytes, std::vector<std::string>> cases[] = {
        {{}, {"mode: CW\noutput: none (nothing written at 130064)\n"}},
        {cw, {"mode: CW\noutput: 1000.000000 MHz, 0.0 dBm\ncompanion: 1004.100000 MHz, 3.0 dBm\n"}},
        {memoryWrite(130064, {0, 0, 0, 100, 0xC0, 0x01, 0x02, 0, 0, 0, 0, 0xB0, 0, 7}),
         {"output: tuning word 100, band code 0xC0, level word 258\n",
          "companion: 0.000000 MHz, level word 7\n"}},
        // Worked out by hand: output off, the companion parked at 197.1 MHz.
        {memoryWrite(130064,
                     {0x73, 0x09, 0x76, 0x80, 0x80, 0, 0, 0x12, 0xCC, 0x03, 0x00, 0x60, 0, 0}),
         {"output: 193.000000 MHz, ", "companion: 197.100000 MHz, "}},
        {memoryWrite(1038, pointRecord(1010e6, 0.0f)) + frame("YT", {1}) +
             startFrame("Yb", 1024, 3, 74),
         {"mode: frequency sweep, stepped by the trigger\ntrigger: external rising edge\n"
          "dwell: 100 us\npoints: 3 from address 1024\n",
          "  1: nothing written\n  2: 1010.000000 MHz, 0.0 dBm\n"}},
        {longPlan + frame("YA", {0x0F}) + startFrame("X", 1024, 30, 0),
         {"mode: level sweep, free-running\n", "dwell: 26 us\npoints: 30 from address 1024\n",
          "  5: 500.000000 MHz, -16.0 dBm\n  ... 20 more ...\n  26: 500.000000 MHz, 5.0 dBm\n",
          "  30: 500.000000 MHz, 9.0 dBm\n"}},
        {startFrame("YB", 0xFFFFFF, 0xFFFF, 0xFFFF), {"  65535: nothing written\n"}},
        {memoryWrite(1024, pointRecord(100e6, 0.0f)) + frame("YA", {1}) +
             startFrame("X", 1024, 1, 9),
         {"mode: FM, modulation table\n", "rate code: 9\n", "  1: 100.000000 MHz, 0.0 dBm\n"}},
        {memoryWrite(130064, pointRecord(100e6, 0.0f)) +
             memoryWrite(1024, be16(4096) + levelWord(100e6, -10.0f, 1) + be16(16384) +
                                   levelWord(100e6, 5.5f, 1)) +
             frame("YA", {1}) + startFrame("YD", 1024, 2, 5),
         {"mode: complex sweep, free-running\noutput: 100.000000 MHz, 0.0 dBm\n", "dwell: 20 us\n",
          "  1: phase word 4096 (about 90.0 degrees), -10.0 dBm\n"
          "  2: phase word 16384 (about 360.0 degrees), 5.5 dBm\n"}},
        {cw + frame("YQ", be16(82)) + frame("YR", be16(82) + be16(164) + be16(93)),
         {"mode: phase hop\n", "phase word: 82 (about 90.1 degrees)\n",
          "hop between: 82 (about 90.1 degrees) and 164 (about 180.2 degrees)\ndwell: 100 us\n"}},
        {memoryWrite(2000, pointRecord(2e9, 10.0f)) + frame("YI", be24(2000)) + frame("YT", {7}) +
             frame("Z", {0x01, 0x32, 0x12, 0x7F}),
         {"point address: 2000\noutput: 2000.000000 MHz, 10.0 dBm\n", "trigger: code 7\n",
          "modulation: AM, 400 Hz tone, depth 50 %, carrier level word 4735 (Z 01 32 12 7F)\n"}},
        // 100 kHz at 1000 MHz is 20000 units of the 0.2 multiplier band.
        {cw + frame("YA", {1}) + frame("Z", {0x04, 0x00, 0x4E, 0x20}),
         {"modulation: FM, external input, deviation word 20000 (100.000 kHz) (Z 04 00 4E 20)\n"}}};
    for (const auto& [frames, lines] : cases) {
        OpenedInstrument t;
        t.send(frames);
        const std::string text = t.sim.describeOutput();
        for (const std::string& line : lines)
            EXPECT_NE(text.find(line), std::string::npos) << line << "\nnot in\n" << text;
    }
}

}  // namespace
