// Opening, closing and the handle rules of the simulated driver.
#include <functional>

#include "sim_test_support.hpp"

namespace {

using namespace simtest;
using synthor::d2xx::Handle;
using synthor::d2xx::Status;
using synthor::sim::Config;
using synthor::sim::Instrument;
namespace d2xx = synthor::d2xx;

struct OpenCase {
    const char* name;
    const char* arg;
    std::uint32_t flags;
    Status expected;
};

class SimOpenByName : public testing::TestWithParam<OpenCase> {};

TEST_P(SimOpenByName, OpensOnlyByDescriptionOrSerialWithTheMatchingFlag) {
    Config config;
    config.usbSerial = "VX123456";
    Instrument sim(config);
    Handle handle = nullptr;
    EXPECT_EQ(sim.openEx(GetParam().arg, GetParam().flags, &handle), GetParam().expected);
    EXPECT_EQ(sim.isOpen(), GetParam().expected == d2xx::Ok);
    EXPECT_EQ(handle != nullptr, GetParam().expected == d2xx::Ok);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SimOpenByName,
    testing::Values(OpenCase{"Description", "VexaSource Series Agile Synthesizer", 2, d2xx::Ok},
                    OpenCase{"Serial", "VX123456", 1, d2xx::Ok},
                    OpenCase{"DescriptionAsSerial", "VexaSource Series Agile Synthesizer", 1,
                             d2xx::DeviceNotFound},
                    OpenCase{"SerialAsDescription", "VX123456", 2, d2xx::DeviceNotFound},
                    OpenCase{"DefaultSerialNotConfigured", "VX000001", 1, d2xx::DeviceNotFound},
                    OpenCase{"DescriptionCaseDiffers", "vexasource series agile synthesizer", 2,
                             d2xx::DeviceNotFound},
                    OpenCase{"DescriptionWithTrailingBlank", "VexaSource Series Agile Synthesizer ",
                             2, d2xx::DeviceNotFound},
                    OpenCase{"Empty", "", 2, d2xx::DeviceNotFound},
                    OpenCase{"CloseFailedText", "Close Failed", 2, d2xx::DeviceNotFound},
                    OpenCase{"NullText", nullptr, 2, d2xx::DeviceNotFound},
                    OpenCase{"ByLocation", "VX123456", 4, d2xx::DeviceNotFound}),
    [](const testing::TestParamInfo<OpenCase>& param) { return param.param.name; });

TEST(SimOpen, SecondOpenFailsWithDeviceNotOpenedAndLeavesTheHandleVariableAlone) {
    OpenedInstrument t;
    Handle again = t.handle;
    EXPECT_EQ(t.sim.openEx(synthor::sim::kDeviceDescription, d2xx::OpenByDescription, &again),
              d2xx::DeviceNotOpened);
    EXPECT_EQ(again, t.handle);
    EXPECT_EQ(t.sim.openEx("VX000001", d2xx::OpenBySerialNumber, &again), d2xx::DeviceNotOpened);
    EXPECT_TRUE(t.sim.isOpen());
}

TEST(SimOpen, NullHandleVariableIsRefused) {
    Instrument sim;
    EXPECT_EQ(sim.openEx(synthor::sim::kDeviceDescription, d2xx::OpenByDescription, nullptr),
              synthor::sim::kInvalidParameter);
    EXPECT_FALSE(sim.isOpen());
}

// Every call that takes a handle, made with `handle`.
std::vector<std::pair<const char*, std::function<Status(Instrument&, Handle)>>> handleCalls() {
    return {
        {"close", [](Instrument& s, Handle h) { return s.close(h); }},
        {"cyclePort", [](Instrument& s, Handle h) { return s.cyclePort(h); }},
        {"setTimeouts", [](Instrument& s, Handle h) { return s.setTimeouts(h, 4000, 4000); }},
        {"setUsbParameters",
         [](Instrument& s, Handle h) { return s.setUsbParameters(h, 512, 512); }},
        {"setLatencyTimer", [](Instrument& s, Handle h) { return s.setLatencyTimer(h, 1); }},
        {"setFlowControl",
         [](Instrument& s, Handle h) { return s.setFlowControl(h, 0x0100, 0x11, 0x13); }},
        {"write",
         [](Instrument& s, Handle h) {
             std::uint32_t n = 0;
             return s.write(h, "Q", 1, &n);
         }},
        {"read",
         [](Instrument& s, Handle h) {
             char b[4];
             std::uint32_t n = 0;
             return s.read(h, b, 4, &n);
         }},
        {"purge", [](Instrument& s, Handle h) { return s.purge(h, 3); }},
    };
}

TEST(SimOpen, EveryCallOnAHandleThatIsNotOpenFailsWithInvalidHandle) {
    for (const auto& [name, call] : handleCalls()) {
        SCOPED_TRACE(name);
        Instrument never;
        EXPECT_EQ(call(never, nullptr), d2xx::InvalidHandle);

        OpenedInstrument t;
        int foreign = 0;
        EXPECT_EQ(call(t.sim, &foreign), d2xx::InvalidHandle);

        const Handle old = t.handle;
        ASSERT_EQ(t.sim.close(old), d2xx::Ok);
        EXPECT_EQ(call(t.sim, old), d2xx::InvalidHandle);
    }
}

TEST(SimOpen, RefusedTransfersReportNoBytes) {
    Instrument sim;
    std::uint32_t n = 99;
    EXPECT_EQ(sim.write(nullptr, "Q", 1, &n), d2xx::InvalidHandle);
    EXPECT_EQ(n, 0u);
    char b[4];
    n = 99;
    EXPECT_EQ(sim.read(nullptr, b, 4, &n), d2xx::InvalidHandle);
    EXPECT_EQ(n, 0u);
}

TEST(SimOpen, EveryCallOnTheOpenHandleSucceeds) {
    for (const auto& [name, call] : handleCalls()) {
        SCOPED_TRACE(name);
        OpenedInstrument t;
        EXPECT_EQ(call(t.sim, t.handle), d2xx::Ok);
    }
}

TEST(SimOpen, ReopeningHandsOutANewHandleAndTheOldOneStaysInvalid) {
    OpenedInstrument t;
    const Handle first = t.handle;
    ASSERT_EQ(t.sim.close(first), d2xx::Ok);
    EXPECT_EQ(t.sim.close(first), d2xx::InvalidHandle);
    Handle second = nullptr;
    ASSERT_EQ(t.sim.openEx("VX000001", d2xx::OpenBySerialNumber, &second), d2xx::Ok);
    EXPECT_NE(second, first);
    EXPECT_EQ(t.sim.purge(first, 1), d2xx::InvalidHandle);
    EXPECT_EQ(t.sim.purge(second, 1), d2xx::Ok);
}

TEST(SimOpen, AHandleOfAnotherInstrumentIsInvalid) {
    OpenedInstrument a, b;
    EXPECT_EQ(a.sim.purge(b.handle, 1), d2xx::InvalidHandle);
}

TEST(SimOpen, LinkSettingsAreRecorded) {
    OpenedInstrument t;
    ASSERT_EQ(t.sim.setTimeouts(t.handle, 4000, 3000), d2xx::Ok);
    ASSERT_EQ(t.sim.setUsbParameters(t.handle, 512, 256), d2xx::Ok);
    ASSERT_EQ(t.sim.setLatencyTimer(t.handle, 1), d2xx::Ok);
    ASSERT_EQ(t.sim.setFlowControl(t.handle, 0x0100, 0x11, 0x13), d2xx::Ok);
    const synthor::sim::LinkSettings expected{4000, 3000, 512, 256, 1, 0x0100, 0x11, 0x13};
    EXPECT_EQ(t.sim.linkSettings(), expected);
}

TEST(SimOpen, ReadWithNothingPendingReturnsAtOnceWithNoBytes) {
    OpenedInstrument t;
    std::uint8_t buffer[100];
    std::uint32_t got = 7;
    EXPECT_EQ(t.sim.read(t.handle, buffer, sizeof buffer, &got), d2xx::Ok);
    EXPECT_EQ(got, 0u);
}

TEST(SimOpen, NullBuffersAreRefused) {
    OpenedInstrument t;
    std::uint32_t n = 0;
    std::uint8_t b[4];
    EXPECT_EQ(t.sim.write(t.handle, nullptr, 1, &n), synthor::sim::kInvalidParameter);
    EXPECT_EQ(t.sim.read(t.handle, nullptr, 1, &n), synthor::sim::kInvalidParameter);
    EXPECT_EQ(t.sim.read(t.handle, b, 4, nullptr), synthor::sim::kInvalidParameter);
    EXPECT_EQ(t.sim.write(t.handle, nullptr, 0, &n), d2xx::Ok);
}

TEST(SimOpen, PurgeOfTheReceiveBufferDropsRepliesAndTransmitPurgeKeepsThem) {
    OpenedInstrument t;
    t.send(frame("Q"));
    ASSERT_EQ(t.sim.purge(t.handle, d2xx::PurgeTx), d2xx::Ok);
    EXPECT_EQ(t.sim.pendingReplyBytes(), 1u);
    ASSERT_EQ(t.sim.purge(t.handle, d2xx::PurgeRx), d2xx::Ok);
    EXPECT_EQ(t.sim.pendingReplyBytes(), 0u);
    EXPECT_TRUE(t.receive().empty());
}

TEST(SimOpen, TransmitPurgeDoesNotCutAFrameInHalf) {
    OpenedInstrument t;
    t.send({'Y'});
    ASSERT_EQ(t.sim.purge(t.handle, d2xx::PurgeRx | d2xx::PurgeTx), d2xx::Ok);
    t.send({'9'});
    EXPECT_EQ(t.receive(), Bytes{0});
}

TEST(SimOpen, CyclePortKeepsTheHandleAndMemoryButDropsRepliesAndAPartFrame) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(2000, {1, 2, 3}), frame("YT", {2}), frame("V"), {'W', 3, 0}}));
    ASSERT_EQ(t.sim.cyclePort(t.handle), d2xx::Ok);
    EXPECT_TRUE(t.sim.isOpen());
    EXPECT_EQ(t.sim.pendingReplyBytes(), 0u);
    EXPECT_EQ(t.sim.memoryAt(2001), 2);
    EXPECT_EQ(t.sim.runState().trigger, 2);
    t.send(frame("Q"));  // read as a frame of its own, not as the rest of the cut "W"
    EXPECT_EQ(t.receiveText(), "R");
}

TEST(SimOpen, CloseAndReopenKeepMemoryAndModeButNotRepliesOrAPartFrame) {
    OpenedInstrument t;
    t.send(concat({memoryWrite(1024, {9}), startFrame("YB", 1024, 1, 74), frame("Q"), {'Y'}}));
    ASSERT_EQ(t.sim.close(t.handle), d2xx::Ok);
    ASSERT_EQ(t.sim.openEx(synthor::sim::kDeviceDescription, 2, &t.handle), d2xx::Ok);
    EXPECT_EQ(t.sim.pendingReplyBytes(), 0u);
    EXPECT_EQ(t.sim.memoryAt(1024), 9);
    EXPECT_EQ(t.sim.runState().mode, synthor::sim::Mode::FrequencySweep);
    t.send(frame("9"));  // the "Y" before the close is gone: "9" alone is no frame
    EXPECT_TRUE(t.receive().empty());
}

// The library's open and identity read, as one exchange.
TEST(SimOpen, OpenConfigureAndIdentityReadExchange) {
    Instrument sim;
    const auto table = sim.driverTable();
    Handle h = nullptr;
    ASSERT_EQ(table.openEx("VexaSource Series Agile Synthesizer", 2, &h), d2xx::Ok);
    ASSERT_EQ(table.setTimeouts(h, 4000, 4000), d2xx::Ok);
    ASSERT_EQ(table.setUsbParameters(h, 512, 512), d2xx::Ok);
    ASSERT_EQ(table.setLatencyTimer(h, 1), d2xx::Ok);
    ASSERT_EQ(table.setFlowControl(h, 0x0100, 0x11, 0x13), d2xx::Ok);

    auto exchange = [&](const Bytes& request, std::uint32_t want) {
        std::uint32_t n = 0;
        EXPECT_EQ(table.write(h, request.data(), static_cast<std::uint32_t>(request.size()), &n),
                  d2xx::Ok);
        std::string reply(want, '\0');
        EXPECT_EQ(table.read(h, reply.data(), want, &n), d2xx::Ok);
        reply.resize(n);
        return reply;
    };
    EXPECT_EQ(exchange(frame("Q"), 1), "R");
    EXPECT_EQ(exchange(memoryRead(11, 2 + 11), 11), "1234       ");
    EXPECT_EQ(exchange(memoryRead(11, 2 + 11 * 14), 11), "VXS-SIM-1  ");
    EXPECT_EQ(exchange(frame("V"), 3), "1.0");
    EXPECT_EQ(exchange(frame("Y9"), 1), std::string(1, '\0'));
    EXPECT_EQ(table.close(h), d2xx::Ok);
}

}  // namespace
