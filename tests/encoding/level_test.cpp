// Level words: the calibration grid, entry decoding, the search and fit within a record, the
// 14-bit rules and the interpolation between records.
#include <gtest/gtest.h>

#include "encoding/level.hpp"
#include "encoding/synthetic_tables.hpp"
#include "runtime/raised_by.hpp"

namespace synthor {
namespace {

using testing::calEntryBytes;
using testing::channel1Tenths;
using testing::channel2Tenths;
using testing::syntheticRecord;
using testing::syntheticTables;

using testing::raisedBy;

TEST(CalibrationGrid, IndexOfAFrequency) {
    const std::pair<double, int> cases[] = {
        {0, -2},
        {250000, 0},
        {300000, 1},
        {599999, 3},
        {650000, 4},
        {999999, 4},  // capped below 1 MHz
        {1e6, 5},
        {1999999, 5},
        {1999999.5, 6},  // 5.9999999 rounds to 6 in single precision
        {1999999.7, 6},  // the rounded ln 2 puts it in the 2 MHz octave
        {3e6, 6},
        {16e6, 9},
        {49999999, 9},  // capped below 50 MHz
        {5e7, 10},
        {75e6, 10},
        {99999999, 11},  // 10.99999998 rounds to 11 in single
                         // precision
        {1e8, 11},
        {8e9, 169},
        {8.192e9, 172},  // no upper bound
    };
    for (const auto& [f, index] : cases)
        EXPECT_EQ(calIndex(f), index) << f;
}

TEST(CalibrationGrid, FrequencyOfAnIndex) {
    const std::pair<std::int16_t, double> cases[] = {
        {1, 300000}, {4, 600000}, {5, 1e6},    {6, 2e6},
        {9, 16e6},   {10, 50e6},  {11, 100e6}, {169, 8e9},
    };
    for (const auto& [i, f] : cases)
        EXPECT_EQ(calGridFrequency(i), f) << i;
}

TEST(CalibrationEntry, SignAndMagnitudeInTenths) {
    const std::pair<std::string, double> cases[] = {
        {"\x80\x64", -10.0},
        {"\x01\x2C", 30.0},
        {std::string("\x00\x05", 2), 0.5},
        {"\x7F\xFF", 3276.7},
        {std::string("\x80\x00", 2), 0.0},
        {"\xFF\xFF", -3276.7},
    };
    for (const auto& [bytes, value] : cases) {
        std::string record = bytes + std::string(68, '\0');
        EXPECT_DOUBLE_EQ(calEntry(record, 1), value);
    }
}

struct WordCase {
    float level;
    int word;
};

TEST(RecordLevelWord, ChannelOneLineAndFourteenBitRules) {
    // Record 1 of channel 1 runs from +10 dBm at position 1 down to -24 dBm at 35.
    const std::string record = syntheticRecord(1, channel1Tenths);
    const WordCase cases[] = {
        {0, 5120},    {0.5F, 4960}, {10, 1920}, {-24, 12800}, {16, 0},  // raw word exactly 0
        {17, 0},       // negative raw word becomes 0
        {-35, 16320},  // extrapolated beyond the table's end, still 14 bits
        {-36, 256},    // 16640: the bits above 13 are dropped, not clamped
    };
    for (const auto& c : cases)
        EXPECT_EQ(recordLevelWord(record, c.level, 1), c.word) << c.level;
}

TEST(RecordLevelWord, ChannelTwoSearchesTheOtherWay) {
    // Record 1 of channel 2 runs from -10 dBm at position 1 up to +24 dBm at 35.
    const std::string record = syntheticRecord(1, channel2Tenths);
    const WordCase cases[] = {{3, 6496}, {-11, 0}, {-12, 0}, {24, 16240}, {25, 320}};
    for (const auto& c : cases)
        EXPECT_EQ(recordLevelWord(record, c.level, -1), c.word) << c.level;
}

// A level equal to entry 17 keeps position 17 however the later probes fall; the line is the
// least-squares fit through positions 16, 17 and 18, not the segment to either neighbour.
TEST(RecordLevelWord, FitsALineThroughThreeNeighbours) {
    std::string record;
    for (int k = 1; k <= 35; ++k) {
        const int tenths = k <= 17 ? 100 - 10 * (k - 1) : -60 - 20 * (k - 17);
        record += calEntryBytes(tenths);
    }
    // Points (1, -5), (2, -6), (3, -8): slope -1.5, intercept -10/3, so x = 16/9 and the word
    // is (17 + 16/9 - 2) x 320 + 1600 = 6968.9.
    EXPECT_EQ(recordLevelWord(record, -6, 1), 6969);
}

TEST(RecordLevelWord, FlatRecordTakesAPositiveThousandthSlope) {
    std::string record;
    for (int k = 1; k <= 35; ++k)
        record += calEntryBytes(50);
    EXPECT_EQ(recordLevelWord(record, 5, 1), 6400);     // position 17, x = 0
    EXPECT_EQ(recordLevelWord(record, 5.5F, 1), 2560);  // x = 500: 166400 keeps its low 14 bits
    EXPECT_EQ(recordLevelWord(record, 4.5F, 1), 0);     // x = -500
}

TEST(RecordLevelWord, ShortRecordIsAnInvalidArgument) {
    const std::string record = syntheticRecord(1, channel1Tenths);
    EXPECT_EQ(raisedBy([&] { recordLevelWord(record.substr(0, 69), 0, 1); }), errnum::InvalidCall);
    EXPECT_EQ(raisedBy([&] { recordLevelWord("", 0, 1); }), errnum::InvalidCall);
}

struct FrequencyCase {
    double f;
    float level;
    std::int16_t channel;
    int word;
};

TEST(LevelWord, InterpolatesBetweenGridRecords) {
    const CalibrationTables tables = syntheticTables();
    const FrequencyCase cases[] = {
        {300000, 0, 1, 5120},    // record 1, on the grid
        {900000, 0, 1, 5240},    // records 4 and 5, t = 0.75
        {3e6, 0, 1, 5296},       // records 6 and 7, t = 0.5
        {75e6, 0, 1, 5424},      // records 10 and 11, t = 0.5
        {1e9, 0, 1, 6016},       // record 29
        {7.99e9, 0, 1, 10489},   // records 168 and 169, t = 0.8: 25.6 floors to 25
        {8e9, 0, 1, 10496},      // record 169 alone
        {8.192e9, 0, 1, 10496},  // index 172 clamped to 169 with t = 0
        {1004.1e6, 3, 2, 6515},  // channel 2, t = 0.082
        {1.971e8, 0, 2, 5144},   // falling words: -655.6 floors to -656
        {1.93e8, -25, 1, 13499}, {1e9, 0, 3, 5104},  // any channel but 1 reads table 2
    };
    for (const auto& c : cases) {
        EXPECT_EQ(levelWord(tables, c.f, c.level, c.channel), c.word)
            << c.f << " Hz channel " << c.channel;
    }
}

TEST(LevelWord, BelowTheGridOrPastTheTableIsAnInvalidArgument) {
    CalibrationTables tables = syntheticTables();
    for (const double f : {299999.0, 200000.0, 0.0, -1e6}) {
        EXPECT_EQ(raisedBy([&] { levelWord(tables, f, 0, 1); }), errnum::InvalidCall) << f;
    }
    tables.CalTable1.resize(168 * 70);
    EXPECT_EQ(levelWord(tables, 7.9e9, 0, 1), 10432);
    EXPECT_EQ(raisedBy([&] { levelWord(tables, 7.99e9, 0, 1); }), errnum::InvalidCall);
    EXPECT_EQ(raisedBy([&] { levelWord(tables, 8e9, 0, 1); }), errnum::InvalidCall);
    tables.CalTable2.clear();
    EXPECT_EQ(raisedBy([&] { levelWord(tables, 1e9, 0, 2); }), errnum::InvalidCall);
}

}  // namespace
}  // namespace synthor
