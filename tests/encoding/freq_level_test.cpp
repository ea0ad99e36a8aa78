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

TEST(CompanionFrequency, MovesAwayFromMixingProducts) {
    const std::pair<double, double> cases[] = {
        {4.1e6, 8.25e6},       // f = offset: +50 kHz
        {4.15e6, 8.2e6},       // 50 kHz above the offset: -50 kHz
        {4.05e6, 8.2e6},       // 50 kHz below: +50 kHz
        {4150001, 8250001},    // outside the window
        {8.2e6, 12.33e6},      // on 8.2 MHz: +30 kHz
        {8.25e6, 12.32e6},     // above 8.2 MHz: -30 kHz
        {2.05e6, 6.18e6},      // on 2.05 MHz: +30 kHz
        {2.1e6, 6.17e6},       // above: -30 kHz
        {1026000, 5119000},    // 800 Hz above the 1025200 spur: -7 kHz
        {1025200, 5132200},    // on it: +7 kHz
        {1023200, 5130200},    // 2 kHz below: +7 kHz
        {1023199, 5123199},    // outside the spur window
        {62304500, 66397500},  // last spur entry
        {7e7, 7.41e7},         // the spur table stops below 70 MHz
        {1e9, 1004.1e6},
    };
    for (const auto& [f, f2] : cases)
        EXPECT_DOUBLE_EQ(companionFrequency(f, kCompanionOffset), f2) << f;
}

TEST(CompanionFrequency, AdjustmentsAddUp) {
    // With the offset at 2.05 MHz both the offset window and the 2.05 MHz window apply.
    EXPECT_DOUBLE_EQ(companionFrequency(2.05e6, 2.05e6), 4.1e6 + 50000 + 30000);
    // With the offset at 8.2 MHz, 8.2 MHz gets both pushes.
    EXPECT_DOUBLE_EQ(companionFrequency(8.2e6, 8.2e6), 16.4e6 + 50000 + 30000);
}

struct WriterFixture : ::testing::Test {
    synthor::testing::FakeDriver driver;
    synthor::testing::RecordingPrompts prompts;
    synthor::testing::FakeClock clock;
    UsbLink link{driver.table(), prompts, clock};
    BandState bands;
    CalibrationTables tables = synthor::testing::syntheticTables();
    FreqLevel writer{link, bands, tables};
};

TEST_F(WriterFixture, ContinuousWavePointAtOneGigahertz) {
    writer.setFrequencyAndLevel(kCwAddress, 1, 1e9, 1000, kCompanionOffset, 0, kLevelB);
    // Word A 200,000,000, code 0x30 with the rise flag, level A 6016 (record 29); word B
    // 200,820,000 at 1004.1 MHz, code 0x30, level B 6515 (records 29 and 30, t = 0.082).
    EXPECT_EQ(driver.take(),
              Lines{"FT_Write 57 0E 01 FC 10 0B EB C2 00 3C 17 80 0B F8 45 20 30 19 73 = 0"});
}

TEST_F(WriterFixture, RunsOfPointsGoFourteenBytesApart) {
    writer.setFrequencyAndLevel(kPlanAddress, 3, 1e8, 1e8, kCompanionOffset, 0, kLevelB);
    const Lines lines = driver.take();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].substr(0, 23), "FT_Write 57 0E 00 04 00");
    EXPECT_EQ(lines[1].substr(0, 23), "FT_Write 57 0E 00 04 0E");
    EXPECT_EQ(lines[2].substr(0, 23), "FT_Write 57 0E 00 04 1C");
    // 100, 200 and 300 MHz: the second point carries the rise from class 1 to 2, the third none.
    EXPECT_EQ(lines[0].substr(36, 2), "8D");
    EXPECT_EQ(lines[1].substr(36, 2), "6C");
    EXPECT_EQ(lines[2].substr(36, 2), "50");
    writer.setFrequencyAndLevel(kPlanAddress, 0, 1e8, 1e6, kCompanionOffset, 0, kLevelB);
    EXPECT_TRUE(driver.take().empty());
}

TEST_F(WriterFixture, FailedWritesAreIgnoredAndTheNextPointStillGoes) {
    driver.failAll("FT_Write");
    writer.setFrequencyAndLevel(kPlanAddress, 2, 1e8, 1e6, kCompanionOffset, 0, kLevelB);
    const Lines lines = driver.take();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& l) { return l.rfind("FT_Write", 0) == 0; }),
              4);  // each point tried twice
}

// A runtime error ends the run before its point is sent; earlier points stay written.
TEST_F(WriterFixture, FailuresStopBeforeSending) {
    EXPECT_EQ(testing::raisedBy([&] {
                  writer.setFrequencyAndLevel(16777216 - 14, 2, 1e8, 1e8, kCompanionOffset, 0,
                                              kLevelB);
              }),
              errnum::Overflow);
    EXPECT_EQ(driver.take().size(), 1u);
    EXPECT_EQ(bands.BandClassA, 2);  // the second point was encoded before its address failed

    tables.CalTable2.clear();
    EXPECT_EQ(testing::raisedBy([&] {
                  writer.setFrequencyAndLevel(kCwAddress, 1, 1e9, 1000, kCompanionOffset, 0,
                                              kLevelB);
              }),
              errnum::InvalidCall);
    EXPECT_TRUE(driver.take().empty());
}

TEST_F(WriterFixture, OutputOffParksTheContinuousWavePoint) {
    writer.writeOutputOff();
    // 193 MHz in the x10 band (0x80), -25 dBm; companion 197.1 MHz in the x1.6 band at 0 dBm.
    EXPECT_EQ(driver.take(),
              Lines{"FT_Write 57 0E 01 FC 10 73 09 76 80 8D 34 BB 12 CC 03 00 62 14 18 = 0"});
}

// Byte n of the frame a trace line "FT_Write XX XX ... = S" carries.
int byteAt(const std::string& line, int n) {
    return std::stoi(line.substr(9 + 3 * static_cast<std::size_t>(n), 2), nullptr, 16);
}

TEST_F(WriterFixture, FmTableIsOneSinePeriodInTheCentreBand) {
    writer.writeFmTable(kPlanAddress, 4, 100e6, 1e6, kCompanionOffset, 0, kLevelB);
    const Lines lines = driver.take();
    ASSERT_EQ(lines.size(), 4u);
    const double expectedMHz[] = {100, 101, 100, 99};
    for (int i = 0; i < 4; ++i) {
        const std::string& l = lines[static_cast<std::size_t>(i)];
        EXPECT_EQ(byteAt(l, 3) << 8 | byteAt(l, 4), kPlanAddress + 14 * i);
        EXPECT_EQ(byteAt(l, 9) & 0xF0, 0x80) << i;
        const double wordA = static_cast<double>(std::stoul(
            l.substr(24, 2) + l.substr(27, 2) + l.substr(30, 2) + l.substr(33, 2), nullptr, 16));
        EXPECT_NEAR(wordA / 10.0, expectedMHz[i] * 1e6, 20) << i;  // 6.2832 is not quite 2 pi
    }
    writer.writeFmTable(kPlanAddress, 0, 100e6, 1e6, kCompanionOffset, 0, kLevelB);
    EXPECT_TRUE(driver.take().empty());
}

// Points at 3000, 3001, ~3000 and 2999 MHz: the first is not above 3 GHz and keeps 10 dBm
// (word 4096, record 69); from the second on every point is written at 6 dBm (about 5376).
TEST_F(WriterFixture, FmLevelCeilingAboveThreeGigahertzStaysForLaterPoints) {
    writer.writeFmTable(kPlanAddress, 4, 3e9, 1e6, kCompanionOffset, 10, kLevelB);
    const Lines lines = driver.take();
    ASSERT_EQ(lines.size(), 4u);
    const int levelA[] = {4096, 5376, 5375, 5375};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(byteAt(lines[i], 10) << 8 | byteAt(lines[i], 11), levelA[i]) << i;
    }
}

}  // namespace
}  // namespace synthor
