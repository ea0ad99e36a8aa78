// Splitting numbers into frame bytes and the fixed frames built from them.
#include <gtest/gtest.h>

#include "frames/packing.hpp"
#include "runtime/raised_by.hpp"

namespace synthor {
namespace {

using testing::raisedBy;

TEST(Split, MostSignificantFirstAndNothingBeyondTheWidth) {
    const std::pair<std::int32_t, std::array<int, 3>> three[] = {
        {130064, {0x01, 0xFC, 0x10}},
        {16777215, {0xFF, 0xFF, 0xFF}},
        {65536, {1, 0, 0}},
        {255, {0, 0, 255}},
    };
    for (const auto& [v, bytes] : three) {
        const ThreeBytes b = splitThree(v);
        EXPECT_EQ((std::array<int, 3>{b.high, b.middle, b.low}), bytes) << v;
    }
    const TwoBytes top = splitTwo(65535);
    EXPECT_EQ(top.high, 0xFF);
    EXPECT_EQ(top.low, 0xFF);
    for (const std::int32_t v : {16777216, -1}) {
        EXPECT_EQ(raisedBy([&] { splitThree(v); }), errnum::Overflow) << v;
    }
    for (const std::int32_t v : {65536, -1}) {
        EXPECT_EQ(raisedBy([&] { splitTwo(v); }), errnum::Overflow) << v;
    }
}

// Arguments at or below 1e-11 are raised to it, in the caller's variable too.
TEST(Log10Floor, RaisesTinyArgumentsToTheFloorInPlace) {
    const std::tuple<double, double, double> cases[] = {
        {0, -11, 1e-11},     {-5, -11, 1e-11}, {1e-12, -11, 1e-11},
        {1e-11, -11, 1e-11}, {1000, 3, 1000},  {1, 0, 1},
    };
    for (const auto& [x, result, after] : cases) {
        double arg = x;
        EXPECT_DOUBLE_EQ(log10Floor(arg), result) << x;
        EXPECT_EQ(arg, after) << x;
    }
}

TEST(Frames, MemoryWriteStartAndRead) {
    PointRecord record{};
    for (std::size_t i = 0; i < record.size(); ++i)
        record[i] = static_cast<std::uint8_t>(0xA0 + i);
    const MemoryWriteFrame frame = memoryWriteFrame(1038, record);
    EXPECT_EQ(std::string(frame.data(), frame.size()),
              std::string("W\x0E\x00\x04\x0E", 5) +
                  "\xA0\xA1\xA2\xA3\xA4\xA5\xA6\xA7\xA8\xA9\xAA\xAB\xAC\xAD");
    EXPECT_EQ(raisedBy([&] { memoryWriteFrame(1 << 24, record); }), errnum::Overflow);
    EXPECT_EQ(pointStartFrame(kCwAddress), std::string("YI\x01\xFC\x10", 5));
    EXPECT_EQ(memoryReadFrame(2, 39256), std::string("P\x02\x99\x58", 4));
}

}  // namespace
}  // namespace synthor
