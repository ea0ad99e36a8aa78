// Splitting numbers into frame bytes and the fixed frames built from them.
#include <gtest/gtest.h>

#include "encoding/packing.hpp"
#include "runtime/raised_by.hpp"

namespace synthor {
namespace {

using testing::raisedBy;

TEST(SplitThree, AddressesPackMostSignificantFirst) {
    struct Case {
        std::int32_t v;
        ThreeBytes expected;
    };
    const Case cases[] = {
        {130064, {0x01, 0xFC, 0x10}},   {1038, {0x00, 0x04, 0x0E}}, {0, {0, 0, 0}},
        {16777215, {0xFF, 0xFF, 0xFF}}, {65536, {1, 0, 0}},         {255, {0, 0, 255}},
    };
    for (const auto& c : cases) {
        const ThreeBytes b = splitThree(c.v);
        EXPECT_EQ(b.high, c.expected.high) << c.v;
        EXPECT_EQ(b.middle, c.expected.middle) << c.v;
        EXPECT_EQ(b.low, c.expected.low) << c.v;
    }
    for (const std::int32_t v : {16777216, -1, -65536}) {
        EXPECT_EQ(raisedBy([&] { splitThree(v); }), errnum::Overflow) << v;
    }
}

TEST(SplitTwo, SixteenBitsAndNoMore) {
    const TwoBytes top = splitTwo(65535);
    EXPECT_EQ(top.high, 0xFF);
    EXPECT_EQ(top.low, 0xFF);
    const TwoBytes phase = splitTwo(4096);
    EXPECT_EQ(phase.high, 0x10);
    EXPECT_EQ(phase.low, 0x00);
    for (const std::int32_t v : {65536, -1, -256}) {
        EXPECT_EQ(raisedBy([&] { splitTwo(v); }), errnum::Overflow) << v;
    }
}

TEST(Log10Floor, RaisesTinyArgumentsToTheFloorInPlace) {
    struct Case {
        double x, result, after;
    };
    const Case cases[] = {
        {0, -11, 1e-11},     {-5, -11, 1e-11}, {1e-12, -11, 1e-11},
        {1e-11, -11, 1e-11}, {1000, 3, 1000},  {1, 0, 1},
    };
    for (const auto& c : cases) {
        double x = c.x;
        EXPECT_DOUBLE_EQ(log10Floor(x), c.result) << c.x;
        EXPECT_EQ(x, c.after) << c.x;
    }
}

TEST(Frames, MemoryWriteCarriesCountAddressAndRecord) {
    PointRecord record{};
    for (std::size_t i = 0; i < record.size(); ++i)
        record[i] = static_cast<std::uint8_t>(0xA0 + i);
    const MemoryWriteFrame frame = memoryWriteFrame(1038, record);
    const std::string expected = std::string("W\x0E\x00\x04\x0E", 5) +
                                 "\xA0\xA1\xA2\xA3\xA4\xA5\xA6\xA7\xA8\xA9\xAA\xAB\xAC\xAD";
    EXPECT_EQ(std::string(frame.data(), frame.size()), expected);
    EXPECT_EQ(raisedBy([&] { memoryWriteFrame(1 << 24, record); }), errnum::Overflow);
}

TEST(Frames, PointStartAndMemoryRead) {
    EXPECT_EQ(pointStartFrame(kCwAddress), std::string("YI\x01\xFC\x10", 5));
    EXPECT_EQ(memoryReadFrame(70, 8152), std::string("PF\x1F\xD8", 4));
    EXPECT_EQ(memoryReadFrame(2, 39256), std::string("P\x02\x99\x58", 4));
}

}  // namespace
}  // namespace synthor
