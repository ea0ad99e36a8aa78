// Opening, configuring and closing the device: every result text and the exact driver calls.
#include <gtest/gtest.h>

#include "link/usb_link.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using testing::FakeClock;
using testing::FakeDriver;
using testing::RecordingPrompts;
using Lines = std::vector<std::string>;

const std::string kDesc = "VexaSource Series Agile Synthesizer";
const Lines kConfigure = {"FT_SetTimeouts 4000 4000 = 0", "FT_SetUSBParameters 512 512 = 0",
                          "FT_SetLatencyTimer 1 = 0", "FT_SetFlowControl 256 17 19 = 0"};

Lines concat(std::initializer_list<Lines> parts) {
    Lines out;
    for (const auto& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

struct LinkFixture : ::testing::Test {
    FakeDriver driver;
    RecordingPrompts prompts;
    FakeClock clock;
    UsbLink link{driver.table(), prompts, clock};
};

// A first open configures at once; after a failed open the link closes, cycles and tries once
// more, giving "" when that works and "Open Failed" when it does not.
TEST_F(LinkFixture, OpenRetriesOnceAfterACloseAndACycle) {
    const std::string opened = "FT_OpenEx \"" + kDesc + "\" 2 = 0";
    const std::string notFound = "FT_OpenEx \"" + kDesc + "\" 2 = 2";
    EXPECT_EQ(link.OpenUSB(kDesc), "OK");
    EXPECT_EQ(driver.take(), concat({{opened}, kConfigure}));
    driver.fail("FT_OpenEx", 1, d2xx::DeviceNotFound);
    EXPECT_EQ(link.OpenUSB(kDesc), "");
    EXPECT_EQ(driver.take(),
              concat({{notFound, "FT_Close = 0", "FT_CyclePort = 0", opened}, kConfigure}));
    driver.fail("FT_OpenEx", 2, d2xx::DeviceNotFound);
    EXPECT_EQ(link.OpenUSB(kDesc), "Open Failed");
    EXPECT_EQ(driver.take(), (Lines{notFound, "FT_Close = 0", "FT_CyclePort = 0", notFound}));
}

TEST_F(LinkFixture, SerialOpenUsesFlagOneAndKeepsTheEmptyRetryResult) {
    driver.fail("FT_OpenEx");
    EXPECT_EQ(link.OpenUSBSN("VX000001"), "");
    const Lines lines = driver.take();
    EXPECT_EQ(lines.front(), "FT_OpenEx \"VX000001\" 1 = 4");
    EXPECT_EQ(lines[3], "FT_OpenEx \"VX000001\" 1 = 0");
}

// Each configuration step's failure: its message, a close, and no later step.
TEST_F(LinkFixture, AFailedConfigurationStepClosesAndReportsTheStep) {
    const std::pair<const char*, const char*> steps[] = {
        {"FT_SetTimeouts", "SetTimeouts Failed"},
        {"FT_SetUSBParameters", "Set USB Failed"},
        {"FT_SetLatencyTimer", "Latency Timer Set Failed"},
        {"FT_SetFlowControl", "Flow Control Set Failed"}};
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        driver.fail(steps[i].first);
        EXPECT_EQ(link.OpenUSB(kDesc), steps[i].second);
        Lines expected = {"FT_OpenEx \"" + kDesc + "\" 2 = 0"};
        expected.insert(expected.end(), kConfigure.begin(), kConfigure.begin() + i + 1);
        expected.back().back() = '4';
        expected.push_back("FT_Close = 0");
        EXPECT_EQ(driver.take(), expected) << steps[i].first;
    }
}

TEST_F(LinkFixture, ByDescriptionAFailedCloseTriesToOpenCloseFailed) {
    driver.fail("FT_SetUSBParameters");
    driver.fail("FT_Close");  // the configuration close
    driver.statuses["FT_OpenEx"] = {d2xx::Ok, d2xx::DeviceNotFound, d2xx::DeviceNotFound};
    EXPECT_EQ(link.OpenUSB(kDesc), "Set USB Failed");
    EXPECT_EQ(driver.take(),
              (Lines{"FT_OpenEx \"" + kDesc + "\" 2 = 0", "FT_SetTimeouts 4000 4000 = 0",
                     "FT_SetUSBParameters 512 512 = 4", "FT_Close = 4",
                     "FT_OpenEx \"Close Failed\" 2 = 2", "FT_Close = 0", "FT_CyclePort = 0",
                     "FT_OpenEx \"Close Failed\" 2 = 2"}));
}

TEST_F(LinkFixture, BySerialAFailedCloseGivesCloseFailedAndOpensNothing) {
    driver.fail("FT_SetLatencyTimer");
    driver.fail("FT_Close");
    EXPECT_EQ(link.OpenUSBSN("VX000001"), "Close Failed");
    EXPECT_EQ(driver.take(), (Lines{"FT_OpenEx \"VX000001\" 1 = 0", kConfigure[0], kConfigure[1],
                                    "FT_SetLatencyTimer 1 = 4", "FT_Close = 4"}));
}

TEST_F(LinkFixture, ADriverThatFailsEveryConfigurationAndCloseStillReturns) {
    driver.failAll("FT_SetTimeouts");
    driver.failAll("FT_Close");
    EXPECT_EQ(link.OpenUSB(kDesc), "SetTimeouts Failed");
    const Lines lines = driver.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "FT_OpenEx \"Close Failed\" 2 = 0"), 1);
}

TEST_F(LinkFixture, CloseAndCycleResultsAndCloseKeepsTheHandleAndTheFoundFlag) {
    link.OpenUSB(kDesc);
    const d2xx::Handle h = link.USBHandle;
    link.InstrumentFound = kTrue;
    EXPECT_EQ(link.CloseUSB(), "OK");
    EXPECT_EQ(link.USBHandle, h);
    EXPECT_EQ(link.InstrumentFound, kTrue);
    driver.fail("FT_Close");
    EXPECT_EQ(link.CloseUSB(), "Close Failed");
    EXPECT_EQ(link.CyclePortUSB(), "OK");
    driver.fail("FT_CyclePort");
    EXPECT_EQ(link.CyclePortUSB(), "Error");
}

}  // namespace
}  // namespace synthor
