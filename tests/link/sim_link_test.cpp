// The link against the simulated instrument and its injected faults: the recovery paths as a
// host would meet them, seen through the wire trace.
#include <gtest/gtest.h>

#include <algorithm>

#include "link/trace.hpp"
#include "link/usb_link.hpp"
#include "sim/sim_instrument.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using Lines = std::vector<std::string>;

struct SimLink {
    explicit SimLink(const std::vector<std::string>& faults) {
        sim::Config config;
        std::string error;
        for (const std::string& f : faults)
            EXPECT_TRUE(sim::applyFault(f, config.faults, error)) << error;
        instrument = std::make_unique<sim::Instrument>(std::move(config));
        link = std::make_unique<UsbLink>(
            traced(instrument->driverTable(), [this](const std::string& l) { lines.push_back(l); }),
            prompts, clock);
    }
    bool saw(const std::string& line) const {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    long count(std::string_view prefix) const {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& l) { return l.rfind(prefix, 0) == 0; });
    }

    std::unique_ptr<sim::Instrument> instrument;
    testing::RecordingPrompts prompts;
    testing::FakeClock clock;
    Lines lines;
    std::unique_ptr<UsbLink> link;
};

// The open paths where the simulator answers differently from the scripted driver of the open
// tests: the result and a trace line the path must show.
TEST(SimLinkExchange, OpenResultsAndPaths) {
    struct Case {
        std::vector<std::string> faults;
        bool bySerial;
        const char* result;
        const char* alsoSeen;
    };
    const Case cases[] = {
        {{}, false, "OK", "FT_SetFlowControl 256 17 19 = 0"},
        {{"open=1"}, false, "", "FT_CyclePort = 1"},  // nothing open yet to cycle
        {{"open=1"}, true, "", "FT_OpenEx \"VX000001\" 1 = 0"},
        {{"flow"}, false, "Flow Control Set Failed", "FT_Close = 0"},
        {{"usbparams", "close"}, false, "Set USB Failed", "FT_OpenEx \"Close Failed\" 2 = 2"}};
    for (const Case& c : cases) {
        SimLink s(c.faults);
        const std::string r = c.bySerial ? s.link->OpenUSBSN("VX000001")
                                         : s.link->OpenUSB(std::string(kDeviceDescription));
        EXPECT_EQ(r, c.result) << c.alsoSeen;
        EXPECT_TRUE(s.saw(c.alsoSeen)) << c.alsoSeen;
    }
}

TEST(SimLinkExchange, SecondOpenWhileOpenGoesThroughTheRetryAndGivesEmpty) {
    SimLink s({});
    EXPECT_EQ(s.link->OpenUSB(std::string(kDeviceDescription)), "OK");
    EXPECT_EQ(s.link->OpenUSB(std::string(kDeviceDescription)), "");
    EXPECT_TRUE(s.saw("FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 3"));
    EXPECT_EQ(s.link->WriteUSB("Q"), "OK");  // and the device works afterwards
    EXPECT_EQ(s.link->ReadUSB(1), "R");
}

TEST(SimLinkExchange, FailedWriteCyclesAndRetriesOnTheSameHandle) {
    SimLink s({"write=1"});
    s.link->OpenUSB(std::string(kDeviceDescription));
    s.lines.clear();
    EXPECT_EQ(s.link->WriteUSB("Q"), "OK");
    EXPECT_EQ(s.lines, (Lines{"FT_Write 51 = 4", "FT_CyclePort = 0", "FT_Write 51 = 0"}));
    EXPECT_EQ(s.link->ReadUSB(1), "R");
}

TEST(SimLinkExchange, FailedWriteAndCycleReopenByEmptyDescriptionAndGiveUp) {
    SimLink s({"write=2", "cycle=1"});
    s.link->OpenUSB(std::string(kDeviceDescription));
    s.lines.clear();
    EXPECT_EQ(s.link->WriteUSB("Q"), "Error");
    EXPECT_EQ(s.lines.front(), "FT_Write 51 = 4");
    EXPECT_EQ(s.lines[1], "FT_CyclePort = 4");
    EXPECT_EQ(s.lines[2], "FT_OpenEx \"\" 2 = 2");
    // The failed reopen closed the device, so the receive purge fails and the transmit purge is
    // never made.
    EXPECT_TRUE(s.saw("FT_Purge 1 = 1"));
    EXPECT_EQ(s.count("FT_Purge 2"), 0);
    EXPECT_EQ(s.lines.back(), "FT_Write 51 = 4");
}

TEST(SimLinkExchange, SilentInstrumentMeansNoResponseAndNoTriggerFrameButAMessage) {
    SimLink s({"silent"});
    s.link->OpenUSB(std::string(kDeviceDescription));
    EXPECT_EQ(s.link->ReadUSB(1), "");
    EXPECT_EQ(s.link->ReadTimedOut, kTrue);
    s.link->TriggerModeRequested = 1;
    s.link->SetTrigger();
    EXPECT_EQ(s.link->NoResponse, kTrue);
    EXPECT_EQ(s.prompts.boxes,
              (std::vector<testing::RecordingPrompts::Box>{{"No Response", 16, "Trigger mode"}}));
    EXPECT_EQ(s.link->TriggerModeActive, 0);
    EXPECT_EQ(s.count("FT_Write 59 54"), 0);
}

}  // namespace
}  // namespace synthor
