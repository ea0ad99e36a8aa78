// Opening, closing and the handle rules of the simulated driver.
#include "support/sim_frames.hpp"

namespace {

using namespace simtest;
using synthor::d2xx::Handle;
using synthor::d2xx::Status;
using synthor::sim::Instrument;
using synthor::sim::kDeviceDescription;

TEST(SimOpen, OpensOnlyByDescriptionOrSerialWithTheMatchingFlagAndOnlyOnce) {
    const char* description = "VexaSource Series Agile Synthesizer";
    const std::tuple<const char*, std::uint32_t, bool> cases[] = {
        {description, 2, true},
        {"VX123456", 1, true},
        {description, 1, false},
        {"VX123456", 2, false},
        {"VX000001", 1, false},  // the default serial is not configured
        {"vexasource series agile synthesizer", 2, false},
        {"VexaSource Series Agile Synthesizer ", 2, false},
        {"", 2, false},
        {nullptr, 2, false},
        {"VX123456", 4, false}};  // by location
    synthor::sim::Config config;
    config.usbSerial = "VX123456";
    for (const auto& [arg, flags, opens] : cases) {
        SCOPED_TRACE(testing::Message() << (arg ? arg : "(null)") << " flags " << flags);
        Instrument sim(config);
        Handle handle = nullptr;
        EXPECT_EQ(sim.openEx(arg, flags, &handle), opens ? d2xx::Ok : d2xx::DeviceNotFound);
        EXPECT_EQ(sim.isOpen(), opens);
        EXPECT_EQ(handle != nullptr, opens);
    }
    Instrument sim;
    EXPECT_EQ(sim.openEx(kDeviceDescription, 2, nullptr), synthor::sim::kInvalidParameter);
    EXPECT_FALSE(sim.isOpen());
    // A second open fails and leaves the caller's handle variable alone.
    OpenedInstrument t;
    Handle again = t.handle;
    EXPECT_EQ(t.sim.openEx(kDeviceDescription, 2, &again), d2xx::DeviceNotOpened);
    EXPECT_EQ(t.sim.openEx("VX000001", 1, &again), d2xx::DeviceNotOpened);
    EXPECT_EQ(again, t.handle);
}

// Every call works on the open handle only: not on a null, foreign, closed or another
// instrument's handle, nor on the old handle after a reopen.
TEST(SimOpen, EveryCallNeedsTheOpenHandle) {
    OpenedInstrument live;
    for (const auto& [name, call] : handleCalls()) {
        SCOPED_TRACE(name);
        EXPECT_EQ(call(live.sim, live.handle), d2xx::Ok);
        Instrument never;
        EXPECT_EQ(call(never, nullptr), d2xx::InvalidHandle);
        OpenedInstrument t, other;
        int foreign = 0;
        EXPECT_EQ(call(t.sim, &foreign), d2xx::InvalidHandle);
        EXPECT_EQ(call(t.sim, other.handle), d2xx::InvalidHandle);
        const Handle old = t.handle;
        t.sim.close(old);
        EXPECT_EQ(call(t.sim, old), d2xx::InvalidHandle);
        ASSERT_EQ(t.sim.openEx("VX000001", 1, &t.handle), d2xx::Ok);
        EXPECT_NE(t.handle, old);
        EXPECT_EQ(call(t.sim, old), d2xx::InvalidHandle);
    }
    const synthor::sim::LinkSettings expected{4000, 3000, 512, 256, 1, 0x0100, 0x11, 0x13};
    EXPECT_EQ(live.sim.linkSettings(), expected);
}

TEST(SimOpen, ReceivePurgeDropsRepliesAndTransmitPurgeKeepsRepliesAndAPartFrame) {
    OpenedInstrument t;
    t.send(frame("Q"));
    ASSERT_EQ(t.sim.purge(t.handle, d2xx::PurgeTx), d2xx::Ok);
    EXPECT_EQ(t.sim.pendingReplyBytes(), 1u);
    ASSERT_EQ(t.sim.purge(t.handle, d2xx::PurgeRx), d2xx::Ok);
    EXPECT_EQ(t.sim.pendingReplyBytes(), 0u);
    t.send({'Y'});
    ASSERT_EQ(t.sim.purge(t.handle, d2xx::PurgeRx | d2xx::PurgeTx), d2xx::Ok);
    t.send({'9'});
    EXPECT_EQ(t.receive(), Bytes{0});
}

// A port cycle and a close with reopen both drop unread replies and a part frame but keep point
// memory, mode and trigger.
TEST(SimOpen, CycleAndReopenKeepMemoryAndModeButNotRepliesOrAPartFrame) {
    for (bool reopen : {false, true}) {
        SCOPED_TRACE(reopen);
        OpenedInstrument t;
        t.send(memoryWrite(2000, {1, 2, 3}) + frame("YT", {2}) + startFrame("YB", 1024, 1, 74) +
               frame("V") + Bytes{'W', 3, 0});
        if (reopen) {
            ASSERT_EQ(t.sim.close(t.handle), d2xx::Ok);
            ASSERT_EQ(t.sim.openEx(kDeviceDescription, 2, &t.handle), d2xx::Ok);
        } else {
            ASSERT_EQ(t.sim.cyclePort(t.handle), d2xx::Ok);
        }
        EXPECT_TRUE(t.sim.isOpen());
        EXPECT_EQ(t.sim.pendingReplyBytes(), 0u);
        EXPECT_EQ(t.sim.memoryAt(2001), 2);
        EXPECT_EQ(t.sim.runState().trigger, 2);
        EXPECT_EQ(t.sim.runState().mode, synthor::sim::Mode::FrequencySweep);
        t.send(frame("Q"));  // read as a frame of its own, not as the rest of the cut "W"
        EXPECT_EQ(t.receiveText(), "R");
    }
}

}  // namespace
