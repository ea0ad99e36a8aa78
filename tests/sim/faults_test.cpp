// Injected driver failures: the fault specs and what each fault does to the calls.
#include <functional>

#include "sim_test_support.hpp"

namespace {

using namespace simtest;
using synthor::d2xx::Handle;
using synthor::d2xx::Status;
using synthor::sim::Config;
using synthor::sim::Faults;
using synthor::sim::Instrument;
namespace d2xx = synthor::d2xx;

struct SpecCase {
    const char* spec;
    std::function<bool(const Faults&)> holds;
};

TEST(SimFaultSpec, AcceptedSpecsSetTheirFault) {
    const std::vector<SpecCase> cases{
        {"open", [](const Faults& f) { return f.open == 1; }},
        {"open=2", [](const Faults& f) { return f.open == 2; }},
        {"close=3", [](const Faults& f) { return f.close == 3; }},
        {"cycle", [](const Faults& f) { return f.cycle == 1; }},
        {"timeouts=1", [](const Faults& f) { return f.timeouts == 1; }},
        {"usbparams=4", [](const Faults& f) { return f.usbparams == 4; }},
        {"latency", [](const Faults& f) { return f.latency == 1; }},
        {"flow=0", [](const Faults& f) { return f.flow == 0; }},
        {"purge=5", [](const Faults& f) { return f.purge == 5; }},
        {"write=7", [](const Faults& f) { return f.write == 7; }},
        {" Write = 3 ", [](const Faults& f) { return f.write == 3; }},
        {"silent", [](const Faults& f) { return f.silent; }},
        {"chunk=5", [](const Faults& f) { return f.chunk == 5u; }},
        {"chunk", [](const Faults& f) { return f.chunk == 1u; }},
    };
    for (const SpecCase& c : cases) {
        SCOPED_TRACE(c.spec);
        Faults faults;
        std::string error;
        EXPECT_TRUE(synthor::sim::applyFault(c.spec, faults, error)) << error;
        EXPECT_TRUE(c.holds(faults));
    }
}

TEST(SimFaultSpec, ALaterSpecReplacesAndSilentCanBeSwitchedOff) {
    Faults faults;
    std::string error;
    ASSERT_TRUE(synthor::sim::applyFault("open=5", faults, error));
    ASSERT_TRUE(synthor::sim::applyFault("open=2", faults, error));
    EXPECT_EQ(faults.open, 2);
    ASSERT_TRUE(synthor::sim::applyFault("silent", faults, error));
    ASSERT_TRUE(synthor::sim::applyFault("silent=0", faults, error));
    EXPECT_FALSE(faults.silent);
}

TEST(SimFaultSpec, RejectedSpecsLeaveTheFaultsAlone) {
    for (const char* spec : {"bogus", "", "open=", "open=-1", "open=+1", "open=x", "open=1.5",
                             "open=99999999999", "chunk=0x10", "=3", "read=1"}) {
        SCOPED_TRACE(spec);
        Faults faults;
        faults.write = 9;
        std::string error;
        EXPECT_FALSE(synthor::sim::applyFault(spec, faults, error));
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(faults.write, 9);
        EXPECT_EQ(faults.open, 0);
        EXPECT_EQ(faults.chunk, 0u);
    }
}

struct CounterCase {
    const char* spec;
    std::function<Status(Instrument&, Handle)> call;
};

// Each counter fault fails exactly the next N calls of its kind with status 4, then the call
// works again; other calls are not affected.
TEST(SimFaults, EachCounterFailsTheNextNCallsOfItsKind) {
    const std::vector<CounterCase> cases{
        {"close=2", [](Instrument& s, Handle h) { return s.close(h); }},
        {"cycle=2", [](Instrument& s, Handle h) { return s.cyclePort(h); }},
        {"timeouts=2", [](Instrument& s, Handle h) { return s.setTimeouts(h, 1, 2); }},
        {"usbparams=2", [](Instrument& s, Handle h) { return s.setUsbParameters(h, 64, 64); }},
        {"latency=2", [](Instrument& s, Handle h) { return s.setLatencyTimer(h, 2); }},
        {"flow=2", [](Instrument& s, Handle h) { return s.setFlowControl(h, 0x100, 17, 19); }},
        {"purge=2", [](Instrument& s, Handle h) { return s.purge(h, 1); }},
        {"write=2",
         [](Instrument& s, Handle h) {
             std::uint32_t n = 0;
             return s.write(h, "H", 1, &n);
         }},
    };
    for (const CounterCase& c : cases) {
        SCOPED_TRACE(c.spec);
        Config config;
        std::string error;
        ASSERT_TRUE(synthor::sim::applyFault(c.spec, config.faults, error));
        OpenedInstrument t(config);
        EXPECT_EQ(c.call(t.sim, t.handle), d2xx::IoError);
        EXPECT_EQ(c.call(t.sim, t.handle), d2xx::IoError);
        t.send(frame("Q"));  // the other calls still work
        EXPECT_EQ(t.receiveText(), "R");
        EXPECT_TRUE(t.sim.isOpen());  // a failed close does not close
        EXPECT_EQ(c.call(t.sim, t.handle), d2xx::Ok);
    }
}

TEST(SimFaults, OpenFaultFailsTheNextOpensThenTheDeviceOpens) {
    Config config;
    config.faults.open = 2;
    Instrument sim(config);
    Handle h = nullptr;
    EXPECT_EQ(sim.openEx(synthor::sim::kDeviceDescription, 2, &h), d2xx::IoError);
    EXPECT_EQ(sim.openEx("no such device", 2, &h), d2xx::IoError);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(sim.openEx(synthor::sim::kDeviceDescription, 2, &h), d2xx::Ok);
    EXPECT_NE(h, nullptr);
}

TEST(SimFaults, CountersCountCallsEvenOnAHandleThatIsNotOpen) {
    Config config;
    config.faults.close = 1;
    Instrument sim(config);
    EXPECT_EQ(sim.close(nullptr), d2xx::IoError);
    EXPECT_EQ(sim.close(nullptr), d2xx::InvalidHandle);
    EXPECT_EQ(sim.pendingFaults().close, 0);
}

TEST(SimFaults, AFailedWriteTakesNoBytes) {
    Config config;
    config.faults.write = 1;
    OpenedInstrument t(config);
    std::uint32_t written = 5;
    EXPECT_EQ(t.sim.write(t.handle, "Q", 1, &written), d2xx::IoError);
    EXPECT_EQ(written, 0u);
    EXPECT_TRUE(t.receive().empty());
    t.send(frame("Q"));
    EXPECT_EQ(t.receiveText(), "R");
}

TEST(SimFaults, SilentInstrumentTakesFramesButNeverAnswers) {
    Config config;
    config.faults.silent = true;
    OpenedInstrument t(config);
    t.send(concat(
        {frame("Q"), frame("V"), frame("Y9"), memoryRead(70, 8152), memoryWrite(1024, {5, 6})}));
    EXPECT_EQ(t.sim.pendingReplyBytes(), 0u);
    EXPECT_TRUE(t.receive().empty());
    EXPECT_EQ(t.sim.memoryAt(1025), 6);
    EXPECT_EQ(t.sim.runState().frames, 5u);
}

TEST(SimFaults, ChunkedRepliesComeAtMostNBytesPerRead) {
    Config config;
    config.faults.chunk = 5;
    OpenedInstrument t(config);
    t.send(memoryRead(12, 2));
    std::uint8_t buffer[100];
    std::vector<std::uint32_t> sizes;
    Bytes all;
    for (;;) {
        std::uint32_t got = 0;
        ASSERT_EQ(t.sim.read(t.handle, buffer, 100, &got), d2xx::Ok);
        if (got == 0) break;
        sizes.push_back(got);
        all.insert(all.end(), buffer, buffer + got);
    }
    EXPECT_EQ(sizes, (std::vector<std::uint32_t>{5, 5, 2}));
    EXPECT_EQ(std::string(all.begin(), all.end()), "VXS-8G     1");
}

TEST(SimFaults, ChunkNeverDeliversMoreThanAsked) {
    Config config;
    config.faults.chunk = 50;
    OpenedInstrument t(config);
    t.send(memoryRead(70, 8152));
    std::uint8_t buffer[3];
    std::uint32_t got = 0;
    ASSERT_EQ(t.sim.read(t.handle, buffer, 3, &got), d2xx::Ok);
    EXPECT_EQ(got, 3u);
    EXPECT_EQ(t.sim.pendingReplyBytes(), 67u);
}

}  // namespace
