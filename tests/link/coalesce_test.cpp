// Joined writes: where the write boundaries fall and what a failed joined write does.
#include <gtest/gtest.h>

#include "link/usb_link.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using testing::FakeClock;
using testing::FakeDriver;
using testing::RecordingPrompts;
using Lines = std::vector<std::string>;

struct CoalesceFixture : ::testing::Test {
    CoalesceFixture() {
        link.Coalesce = true;
        link.CoalesceLimit = 4;
    }
    FakeDriver driver;
    RecordingPrompts prompts;
    FakeClock clock;
    UsbLink link{driver.table(), prompts, clock};
};

// Frames are joined up to the limit and never split; one longer than the limit goes alone.
TEST_F(CoalesceFixture, WriteBoundariesFallBetweenWholeFramesAtTheLimit) {
    const struct {
        std::vector<std::string> frames;
        Lines wire;
    } cases[] = {
        {{"AB", "CD"}, {"FT_Write 41 42 43 44 = 0"}},
        {{"AB", "CD", "E"}, {"FT_Write 41 42 43 44 = 0", "FT_Write 45 = 0"}},
        {{"ABC", "DE", "F"}, {"FT_Write 41 42 43 = 0", "FT_Write 44 45 46 = 0"}},
        {{"A", "BCDEF", "G"},
         {"FT_Write 41 = 0", "FT_Write 42 43 44 45 46 = 0", "FT_Write 47 = 0"}},
    };
    for (const auto& c : cases) {
        link.gatherWrites([&] {
            for (const std::string& f : c.frames)
                EXPECT_EQ(link.WriteUSB(f), "OK");
        });
        EXPECT_EQ(driver.take(), c.wire);
    }
}

// A joined write is one unit for the reconnect and the single retry: retried whole once, and
// when that fails too its frames are lost together while the next write goes on.
TEST_F(CoalesceFixture, AFailedJoinedWriteIsRetriedWholeOnceThenTheNextGoesOn) {
    driver.fail("FT_Write", 3);
    link.gatherWrites([&] {
        for (const char* f : {"AB", "CD", "EF"})
            link.WriteUSB(f);
    });
    EXPECT_EQ(driver.take(),
              (Lines{"FT_Write 41 42 43 44 = 4", "FT_CyclePort = 0", "FT_Write 41 42 43 44 = 4",
                     "FT_Write 45 46 = 4", "FT_CyclePort = 0", "FT_Write 45 46 = 0"}));
}

}  // namespace
}  // namespace synthor
