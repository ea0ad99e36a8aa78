// Writing frames, reading replies, purging, reconnecting and the liveness and trigger exchanges.
#include <gtest/gtest.h>

#include "link/usb_link.hpp"
#include "runtime/errors.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using testing::FakeClock;
using testing::FakeDriver;
using testing::RecordingPrompts;
using Lines = std::vector<std::string>;

struct ExchangeFixture : ::testing::Test {
    FakeDriver driver;
    RecordingPrompts prompts;
    FakeClock clock;
    UsbLink link{driver.table(), prompts, clock};
};

TEST_F(ExchangeFixture, FailedWriteCyclesThePortAndRetriesOnce) {
    driver.fail("FT_Write", 2);
    EXPECT_EQ(link.WriteUSB("Q"), "Error");
    EXPECT_EQ(driver.take(), (Lines{"FT_Write 51 = 4", "FT_CyclePort = 0", "FT_Write 51 = 4"}));
}

TEST_F(ExchangeFixture, FailedCycleReopensByTheEmptyDescriptionAndPurgesBoth) {
    driver.fail("FT_Write");
    driver.fail("FT_CyclePort");
    EXPECT_EQ(link.WriteUSB("Q"), "OK");
    EXPECT_EQ(driver.take(),
              (Lines{"FT_Write 51 = 4", "FT_CyclePort = 4", "FT_OpenEx \"\" 2 = 0",
                     "FT_SetTimeouts 4000 4000 = 0", "FT_SetUSBParameters 512 512 = 0",
                     "FT_SetLatencyTimer 1 = 0", "FT_SetFlowControl 256 17 19 = 0",
                     "FT_Purge 1 = 0", "FT_Purge 2 = 0", "FT_Write 51 = 0"}));
}

// A failed receive purge skips the transmit purge.
TEST_F(ExchangeFixture, PurgeResults) {
    EXPECT_EQ(link.PurgeUSB(), "OK");
    driver.fail("FT_Purge");
    EXPECT_EQ(link.PurgeUSB(), "Error");
    driver.fail("FT_Purge", 1, d2xx::Ok);
    driver.fail("FT_Purge");
    EXPECT_EQ(link.PurgeUSB(), "Error");
    EXPECT_EQ(driver.take(), (Lines{"FT_Purge 1 = 0", "FT_Purge 2 = 0", "FT_Purge 1 = 4",
                                    "FT_Purge 1 = 0", "FT_Purge 2 = 4"}));
}

TEST_F(ExchangeFixture, SilentReadTimesOutAndTheFlagSticks) {
    EXPECT_EQ(link.ReadUSB(1), "");
    EXPECT_EQ(link.ReadTimedOut, kTrue);
    driver.take();

    // A later read of 70 that gets 40 bytes at once makes no second driver read.
    driver.reads.push_back({d2xx::Ok, std::string(40, 'a')});
    EXPECT_EQ(link.ReadUSB(70), std::string(40, 'a'));
    EXPECT_EQ(driver.take(), Lines{"FT_Read 70 = 0 : " + hexBytes(std::string(40, 'a'))});
}

// A reply in pieces is gathered asking for the full count each time; more than asked for is
// taken too, reading on until a read times out.
TEST_F(ExchangeFixture, ChunkedReplyIsGatheredAndAnOvershootReadsOnUntilATimeOut) {
    driver.reads = {{d2xx::Ok, "abc"}, {d2xx::Ok, "de"}, {d2xx::Ok, "f"}};
    EXPECT_EQ(link.ReadUSB(6), "abcdef");
    EXPECT_EQ(driver.take(),
              (Lines{"FT_Read 6 = 0 : 61 62 63", "FT_Read 6 = 0 : 64 65", "FT_Read 6 = 0 : 66"}));
    EXPECT_EQ(link.TotalRead, 6);
    EXPECT_EQ(link.ReadTimedOut, kFalse);
    driver.reads = {{d2xx::Ok, "ab"}, {d2xx::Ok, "cd"}};
    EXPECT_EQ(link.ReadUSB(3), "abcd");
    EXPECT_EQ(driver.take().size(), 3u);  // the third read times out
    EXPECT_EQ(link.ReadTimedOut, kTrue);
}

TEST_F(ExchangeFixture, ReadStatusesOtherThanOkAndIoErrorSetTheStickyErrorFlag) {
    driver.reads = {{d2xx::IoError, "R"}};
    EXPECT_EQ(link.ReadUSB(1), "R");  // an I/O error status still delivers its bytes
    EXPECT_EQ(link.ReadError, kFalse);
    driver.reads = {{d2xx::DeviceNotOpened, "R"}};
    EXPECT_EQ(link.ReadUSB(1), "");
    EXPECT_EQ(link.ReadError, kTrue);
    EXPECT_EQ(link.ReadStatus, d2xx::DeviceNotOpened);
    driver.take();
    driver.reads = {{d2xx::Ok, "a"}, {d2xx::Ok, "b"}};
    EXPECT_EQ(link.ReadUSB(2), "a");  // one read only, from now on
}

TEST_F(ExchangeFixture, WrongReplyReopensWaitsPurgesAndAsksAgain) {
    for (const char* live : {"R", "S", "T"}) {  // every live reply is taken at once
        driver.reads = {{d2xx::Ok, live}};
        link.CheckResponse();
        EXPECT_EQ(link.NoResponse, kFalse) << live;
    }
    driver.take();
    driver.reads = {{d2xx::Ok, "X"}, {d2xx::Ok, "R"}};
    link.CheckResponse();
    EXPECT_EQ(link.NoResponse, kFalse);
    const Lines lines = driver.take();
    EXPECT_EQ(lines.at(2), "FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 0");
    EXPECT_EQ(Lines(lines.end() - 4, lines.end()),
              (Lines{"FT_Purge 1 = 0", "FT_Purge 2 = 0", "FT_Write 51 = 0", "FT_Read 1 = 0 : 52"}));
    EXPECT_GE(clock.slept, 500u);
}

TEST_F(ExchangeFixture, ReopenThatIsNotOkMeansNoResponseAtOnce) {
    // The device is still open, so the reopen goes through its retry and returns "".
    driver.fail("FT_OpenEx", 1, d2xx::DeviceNotOpened);
    link.CheckResponse();
    EXPECT_EQ(link.NoResponse, kTrue);
    EXPECT_EQ(driver.take().back(), "FT_SetFlowControl 256 17 19 = 0");
    EXPECT_EQ(clock.slept, 0u);
}

TEST_F(ExchangeFixture, TriggerFrameCarriesTheRequestedModeAndMakesItActive) {
    link.TriggerModeRequested = 2;
    driver.reads = {{d2xx::Ok, "R"}};
    link.SetTrigger();
    EXPECT_EQ(driver.take(), (Lines{"FT_Purge 1 = 0", "FT_Purge 2 = 0", "FT_Write 51 = 0",
                                    "FT_Read 1 = 0 : 52", "FT_Write 59 54 02 = 0"}));
    EXPECT_EQ(link.TriggerModeActive, 2);
    EXPECT_TRUE(prompts.boxes.empty());
}

// Delay waits until the clock has passed start + ms, sleeping rather than spinning.
TEST(Delay, WaitsUntilTheClockPassesTheTarget) {
    struct Case {
        std::uint32_t start, step;
        std::int16_t ms;
        int readings;
        std::uint64_t slept;
    };
    const Case cases[] = {
        {5000, 1, 0, 2, 0},                 // returns once the clock moved
        {5000, 0, 500, 3, 501},             // one sleep, no spinning
        {5000, 0, -20, 2, 0},               // a negative wait returns at once
        {0x7FFFFFFFu - 30, 40, 20, 2, 0}};  // a clock that wraps during the wait ends it
    for (const Case& c : cases) {
        FakeDriver driver;
        RecordingPrompts prompts;
        FakeClock clock(c.start, c.step);
        UsbLink link(driver.table(), prompts, clock);
        link.Delay(c.ms);
        EXPECT_EQ(clock.readings, c.readings) << c.ms;
        EXPECT_EQ(clock.slept, c.slept) << c.ms;
    }
}

TEST(Delay, TargetBeyondTheSignedRangeOverflows) {
    FakeDriver driver;
    RecordingPrompts prompts;
    FakeClock clock(0x7FFFFFFFu - 10);
    UsbLink link(driver.table(), prompts, clock);
    try {
        link.Delay(20);
        FAIL() << "no overflow";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);
        EXPECT_EQ(e.description(), "Overflow");
    }
    FakeClock near(0x7FFFFFFFu - 30, 25);
    UsbLink ok(driver.table(), prompts, near);
    EXPECT_NO_THROW(ok.Delay(20));
}

}  // namespace
}  // namespace synthor
