// Injected driver failures: the fault settings and what each fault does to the calls.
#include "support/sim_frames.hpp"

namespace {

using namespace simtest;
using synthor::sim::applyFault;
using synthor::sim::Config;
using synthor::sim::Faults;

// Which name sets which counter is checked by the counter test below.
TEST(SimFaultSpec, AcceptedSpecsSetTheirFaultAndRejectedOnesChangeNothing) {
    Faults faults;
    std::string error;
    for (const char* setting : {"open", " Write = 3 ", "chunk", "silent", "purge=5", "purge=2"})
        ASSERT_TRUE(applyFault(setting, faults, error)) << setting << ": " << error;
    EXPECT_EQ(faults.open, 1);
    EXPECT_EQ(faults.write, 3);
    EXPECT_EQ(faults.chunk, 1u);
    EXPECT_TRUE(faults.silent);
    EXPECT_EQ(faults.purge, 2);  // a later setting replaces an earlier one
    ASSERT_TRUE(applyFault("chunk=5", faults, error) && applyFault("silent=0", faults, error));
    EXPECT_EQ(faults.chunk, 5u);
    EXPECT_FALSE(faults.silent);

    for (const char* setting : {"bogus", "", "open=", "open=-1", "open=+1", "open=x", "open=1.5",
                                "open=99999999999", "chunk=0x10", "=3", "read=1"}) {
        Faults untouched;
        untouched.write = 9;
        error.clear();
        EXPECT_FALSE(applyFault(setting, untouched, error)) << setting;
        EXPECT_FALSE(error.empty()) << setting;
        EXPECT_EQ(std::tuple(untouched.write, untouched.open, untouched.chunk),
                  std::tuple(9, 0, 0u))
            << setting;
    }
}

// Each counter fails exactly the next N calls of its kind with status 4, then the call works
// again; other calls are not affected, and a failed write takes no bytes.
TEST(SimFaults, EachCounterFailsTheNextNCallsOfItsKind) {
    for (const auto& [name, call] : handleCalls()) {
        if (name == "read") continue;
        SCOPED_TRACE(name);
        Config config;
        std::string error;
        ASSERT_TRUE(applyFault(name + "=2", config.faults, error));
        OpenedInstrument t(config);
        EXPECT_EQ(call(t.sim, t.handle), d2xx::IoError);
        EXPECT_EQ(call(t.sim, t.handle), d2xx::IoError);
        t.send(frame("Q"));
        EXPECT_EQ(t.receiveText(), "R");
        EXPECT_TRUE(t.sim.isOpen());  // a failed close does not close
        EXPECT_EQ(call(t.sim, t.handle), d2xx::Ok);
    }
    Config config;
    config.faults.write = 1;
    OpenedInstrument t(config);
    std::uint32_t written = 5;
    EXPECT_EQ(t.sim.write(t.handle, "Q", 1, &written), d2xx::IoError);
    EXPECT_EQ(written, 0u);
}

}  // namespace
