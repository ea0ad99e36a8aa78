// Level words: the calibration grid, entry decoding, the search and fit within a record, the
// 14-bit rules and the interpolation between records.
#include <gtest/gtest.h>

#include "encoding/level.hpp"
#include "encoding/synthetic_tables.hpp"
#include "runtime/raised_by.hpp"

namespace synthor {
namespace {

using testing::channel1Tenths;
using testing::channel2Tenths;
using testing::raisedBy;
using testing::syntheticRecord;
using testing::syntheticTables;

// Capped below 1 MHz and below 50 MHz; single-precision rounding moves 1999999.5 and 99999999
// into the next octave; no upper bound.
TEST(CalibrationGrid, IndexOfAFrequencyAndBack) {
    const std::pair<double, int> cases[] = {
        {0, -2},        {250000, 0}, {300000, 1},   {599999, 3},    {650000, 4},
        {999999, 4},    {1e6, 5},    {1999999, 5},  {1999999.5, 6}, {1999999.7, 6},
        {3e6, 6},       {16e6, 9},   {49999999, 9}, {5e7, 10},      {75e6, 10},
        {99999999, 11}, {1e8, 11},   {8e9, 169},    {8.192e9, 172},
    };
    for (const auto& [f, index] : cases)
        EXPECT_EQ(calIndex(f), index) << f;
    const std::pair<std::int16_t, double> grid[] = {
        {1, 300000}, {4, 600000}, {5, 1e6}, {6, 2e6}, {10, 50e6}, {11, 100e6}, {169, 8e9},
    };
    for (const auto& [i, f] : grid)
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
    for (const auto& [bytes, value] : cases)
        EXPECT_DOUBLE_EQ(calEntry(bytes + std::string(68, '\0'), 1), value);
}

// Channel 1's record 1 runs from +10 dBm at position 1 down to -24 dBm at 35; channel 2's from
// -10 dBm up to +24 dBm. Negative raw words become 0; words beyond 14 bits lose their high bits
// (16640 at -36 dBm gives 256) rather than being clamped.
TEST(RecordLevelWord, SearchInEitherDirectionAndFourteenBitRules) {
    const std::string one = syntheticRecord(1, channel1Tenths);
    const std::string two = syntheticRecord(1, channel2Tenths);
    const std::tuple<const std::string*, std::int16_t, float, int> cases[] = {
        {&one, 1, 0, 5120},  {&one, 1, 0.5F, 4960}, {&one, 1, 10, 1920},   {&one, 1, -24, 12800},
        {&one, 1, 16, 0},    {&one, 1, 17, 0},      {&one, 1, -35, 16320}, {&one, 1, -36, 256},
        {&two, -1, 3, 6496}, {&two, -1, -11, 0},    {&two, -1, -12, 0},    {&two, -1, 24, 16240},
        {&two, -1, 25, 320},
    };
    for (const auto& [record, direction, level, word] : cases)
        EXPECT_EQ(recordLevelWord(*record, level, direction), word) << level;
    EXPECT_EQ(raisedBy([&] { recordLevelWord(one.substr(0, 69), 0, 1); }), errnum::InvalidCall);
    EXPECT_EQ(raisedBy([&] { recordLevelWord("", 0, 1); }), errnum::InvalidCall);
}

// A level equal to entry 17 keeps position 17 however the later probes fall; the line is the
// least-squares fit through positions 16, 17 and 18, not the segment to either neighbour:
// points (1, -5), (2, -6), (3, -8) give x = 16/9 and the word (17 + 16/9 - 2) x 320 + 1600.
// A flat record takes a slope of +1/1000.
TEST(RecordLevelWord, FitsALineThroughThreeNeighboursAndFlatRecords) {
    const std::string bent = syntheticRecord(
        1, [](int, int k) { return k <= 17 ? 100 - 10 * (k - 1) : -60 - 20 * (k - 17); });
    EXPECT_EQ(recordLevelWord(bent, -6, 1), 6969);
    const std::string flat = syntheticRecord(1, [](int, int) { return 50; });
    EXPECT_EQ(recordLevelWord(flat, 5, 1), 6400);     // position 17, x = 0
    EXPECT_EQ(recordLevelWord(flat, 5.5F, 1), 2560);  // x = 500: 166400 keeps its low 14 bits
    EXPECT_EQ(recordLevelWord(flat, 4.5F, 1), 0);     // x = -500
}

// Between grid records the word is interpolated and floored (25.6 to 25 between records 168 and
// 169; -655.6 to -656 for falling words); index 172 is clamped to record 169; any channel but 1
// reads table 2.
TEST(LevelWord, InterpolatesBetweenGridRecords) {
    CalibrationTables tables = syntheticTables();
    const std::tuple<double, float, std::int16_t, int> cases[] = {
        {300000, 0, 1, 5120},  {900000, 0, 1, 5240},    {3e6, 0, 1, 5296},
        {75e6, 0, 1, 5424},    {1e9, 0, 1, 6016},       {7.99e9, 0, 1, 10489},
        {8e9, 0, 1, 10496},    {8.192e9, 0, 1, 10496},  {1004.1e6, 3, 2, 6515},
        {1.971e8, 0, 2, 5144}, {1.93e8, -25, 1, 13499}, {1e9, 0, 3, 5104},
    };
    for (const auto& [f, level, channel, word] : cases)
        EXPECT_EQ(levelWord(tables, f, level, channel), word) << f << " Hz channel " << channel;
    // Below the grid or past the table's end: an invalid argument.
    for (const double f : {299999.0, 0.0, -1e6})
        EXPECT_EQ(raisedBy([&] { levelWord(tables, f, 0, 1); }), errnum::InvalidCall) << f;
    tables.CalTable1.resize(168 * 70);
    EXPECT_EQ(levelWord(tables, 7.9e9, 0, 1), 10432);
    EXPECT_EQ(raisedBy([&] { levelWord(tables, 7.99e9, 0, 1); }), errnum::InvalidCall);
    tables.CalTable2.clear();
    EXPECT_EQ(raisedBy([&] { levelWord(tables, 1e9, 0, 2); }), errnum::InvalidCall);
}

}  // namespace
}  // namespace synthor
