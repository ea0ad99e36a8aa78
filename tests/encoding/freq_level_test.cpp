// The point writer and the FM and output-off writers: companion frequencies, the frames they
// send, and where a failure stops them.
#include <gtest/gtest.h>

#include "encoding/freq_level.hpp"
#include "encoding/synthetic_tables.hpp"
#include "runtime/raised_by.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using Lines = std::vector<std::string>;

// Within 50 kHz of the offset: 50 kHz away from it (+50 on it); on or above 8.2 MHz and 2.05 MHz
// (within their windows): +30 kHz on, -30 kHz above; within the spur table's windows (2 kHz below
// to 800 Hz above each entry, the last at 62304500 Hz): +7 kHz, -7 kHz above. Adjustments add up.
TEST(CompanionFrequency, MovesAwayFromMixingProducts) {
    const std::pair<double, double> cases[] = {
        {4.1e6, 8.25e6},      {4.15e6, 8.2e6},    {4.05e6, 8.2e6},    {4150001, 8250001},
        {8.2e6, 12.33e6},     {8.25e6, 12.32e6},  {2.05e6, 6.18e6},   {2.1e6, 6.17e6},
        {1026000, 5119000},   {1025200, 5132200}, {1023200, 5130200}, {1023199, 5123199},
        {62304500, 66397500}, {7e7, 7.41e7},      {1e9, 1004.1e6},
    };
    for (const auto& [f, f2] : cases)
        EXPECT_DOUBLE_EQ(companionFrequency(f, kCompanionOffset), f2) << f;
    EXPECT_DOUBLE_EQ(companionFrequency(2.05e6, 2.05e6), 4.1e6 + 50000 + 30000);
    EXPECT_DOUBLE_EQ(companionFrequency(8.2e6, 8.2e6), 16.4e6 + 50000 + 30000);
}

struct WriterFixture : ::testing::Test {
    WriterFixture() { driver.only = {"FT_Write"}; }  // the point writer only ever writes
    synthor::testing::FakeDriver driver;
    synthor::testing::RecordingPrompts prompts;
    synthor::testing::FakeClock clock;
    UsbLink link{driver.table(), prompts, clock};
    BandState bands;
    CalibrationTables tables = synthor::testing::syntheticTables();
    FreqLevel writer{link, bands, tables};

    // `count` points from `start` in steps of `step` Hz at 0 dBm.
    void points(std::int32_t address, std::int32_t count, double start, double step) {
        writer.setFrequencyAndLevel(address, count, start, step, kCompanionOffset, 0, kLevelB);
    }
};

TEST_F(WriterFixture, ContinuousWavePointAtOneGigahertz) {
    points(kCwAddress, 1, 1e9, 1000);
    // Word A 200,000,000, code 0x30 with the rise flag, level A 6016 (record 29); word B
    // 200,820,000 at 1004.1 MHz, code 0x30, level B 6515 (records 29 and 30, t = 0.082).
    EXPECT_EQ(driver.take(),
              Lines{"FT_Write 57 0E 01 FC 10 0B EB C2 00 3C 17 80 0B F8 45 20 30 19 73 = 0"});
}

// Bytes n to n + count - 1 of the frame a trace line "FT_Write XX XX ... = S" carries, as one
// big-endian number.
std::uint32_t bytesAt(const std::string& line, int n, int count) {
    std::uint32_t v = 0;
    for (auto at = 9 + 3 * static_cast<std::size_t>(n); count-- > 0; at += 3)
        v = v << 8 | static_cast<std::uint32_t>(std::stoi(line.substr(at, 2), nullptr, 16));
    return v;
}

// 100, 200 and 300 MHz 14 bytes apart: the second point carries the rise from class 1 to 2, the
// third none. No points, no frames.
TEST_F(WriterFixture, RunsOfPointsGoFourteenBytesApart) {
    points(kPlanAddress, 3, 1e8, 1e8);
    const Lines lines = driver.take();
    ASSERT_EQ(lines.size(), 3u);
    const std::uint32_t control[] = {0x8D, 0x6C, 0x50};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(bytesAt(lines[i], 2, 3), kPlanAddress + 14 * i) << i;
        EXPECT_EQ(bytesAt(lines[i], 9, 1), control[i]) << i;
    }
    points(kPlanAddress, 0, 1e8, 1e6);
    EXPECT_TRUE(driver.take().empty());
}

// A failed write is tried once more and then ignored. A runtime error ends the run before its
// point is sent; earlier points stay written.
TEST_F(WriterFixture, Failures) {
    driver.only.clear();  // failed writes go through the reconnect path
    driver.failAll("FT_Write");
    points(kPlanAddress, 2, 1e8, 1e6);
    const Lines lines = driver.take();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& l) { return l.rfind("FT_Write", 0) == 0; }),
              4);
    driver.failAll("FT_Write", d2xx::Ok);
    EXPECT_EQ(testing::raisedBy([&] { points(16777216 - 14, 2, 1e8, 1e8); }), errnum::Overflow);
    EXPECT_EQ(driver.take().size(), 1u);
    EXPECT_EQ(bands.BandClassA, 2);  // the second point was encoded before its address failed
    tables.CalTable2.clear();
    EXPECT_EQ(testing::raisedBy([&] { points(kCwAddress, 1, 1e9, 1000); }), errnum::InvalidCall);
    EXPECT_TRUE(driver.take().empty());
}

TEST_F(WriterFixture, OutputOffParksTheContinuousWavePoint) {
    writer.writeOutputOff();
    // 193 MHz in the x10 band (0x80), -25 dBm; companion 197.1 MHz in the x1.6 band at 0 dBm.
    EXPECT_EQ(driver.take(),
              Lines{"FT_Write 57 0E 01 FC 10 73 09 76 80 8D 34 BB 12 CC 03 00 62 14 18 = 0"});
}

// One sine period about 100 MHz in the centre's band (x10, 0x80); 6.2832 is not quite 2 pi.
// Around 3 GHz, the first point is not above 3 GHz and keeps 10 dBm (word 4096, record 69);
// from the second on every point is written at 6 dBm (about 5376).
TEST_F(WriterFixture, FmTableIsOneSinePeriodWithALevelCeilingAboveThreeGigahertz) {
    writer.writeFmTable(kPlanAddress, 4, 100e6, 1e6, kCompanionOffset, 0, kLevelB);
    Lines lines = driver.take();
    ASSERT_EQ(lines.size(), 4u);
    const double expectedMHz[] = {100, 101, 100, 99};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(bytesAt(lines[i], 9, 1) & 0xF0, 0x80u) << i;
        EXPECT_NEAR(bytesAt(lines[i], 5, 4) / 10.0, expectedMHz[i] * 1e6, 20) << i;
    }
    writer.writeFmTable(kPlanAddress, 4, 3e9, 1e6, kCompanionOffset, 10, kLevelB);
    lines = driver.take();
    ASSERT_EQ(lines.size(), 4u);
    const std::uint32_t levelA[] = {4096, 5376, 5375, 5375};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(bytesAt(lines[i], 10, 2), levelA[i]) << i;
    writer.writeFmTable(kPlanAddress, 0, 100e6, 1e6, kCompanionOffset, 0, kLevelB);
    EXPECT_TRUE(driver.take().empty());
}

}  // namespace
}  // namespace synthor
