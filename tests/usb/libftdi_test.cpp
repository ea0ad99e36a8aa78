// The libftdi1 driver against an FT232R emulated below libusb: whole exchanges through libftdi1,
// libusb and usbdevfs give the wire trace of the linked-in simulator; late and pieced replies,
// an unplug and replug, a device without permission, two devices told apart by serial number.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "automation/synthor_01_vexa.hpp"
#include "link/libftdi_driver.hpp"
#include "link/trace.hpp"
#include "support/fake_driver.hpp"
#include "usb/emulated_ftdi.hpp"

namespace synthor {
namespace {

using Lines = std::vector<std::string>;
using testing::EmulatedBus;
using Clock = std::chrono::steady_clock;

struct Bench {
    explicit Bench(d2xx::DriverTable table)
        : session(traced(std::move(table), [this](const std::string& l) { lines.push_back(l); }),
                  prompts, clock),
          object(session) {}

    Lines lines;
    synthor::testing::RecordingPrompts prompts;
    synthor::testing::FakeClock clock;
    Session session;
    Synthor_01_vexa object;
};

d2xx::DriverTable libftdi(Lines* notices = nullptr) {
    DriverLoad load = loadLibftdiDriver(libftdiLibraryName(), [notices](const std::string& t) {
        if (notices) notices->push_back(t);
    });
    EXPECT_TRUE(load.available) << load.diagnostic;
    return std::move(load.table);
}

// Finding (identity and calibration), a carrier, a sweep plan uploaded and started, the lock.
Lines run(Synthor_01_vexa& o) {
    return {std::to_string(o.FND()),
            o.SetFrequency(1000.0, 0.0),
            o.SetFreqPlan(2000.0, 10.0, std::int16_t{40}, std::int32_t{1000}, 0.0),
            o.GoFreqSweep(),
            o.LockStatus(),
            o.CloseSigGen()};
}

long long msSince(Clock::time_point t) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t).count();
}

// Replies whole, in pieces of a few bytes per transfer, or late: the same calls, results and
// trace as the simulator linked in, and the instrument left doing the same.
TEST(LibftdiDriver, WholeExchangesTraceAsTheLinkedInSimulator) {
    sim::Instrument linkedIn;
    Bench reference(linkedIn.driverTable());
    const Lines expected = run(reference.object);
    ASSERT_EQ(expected.front(), "1234");

    struct Case {
        int piece, delayMs;
    };
    for (const Case c : {Case{0, 0}, Case{5, 0}, Case{0, 1}}) {
        EmulatedBus bus;
        auto& chip = bus.add("VX000001");
        chip.pieceBytes = c.piece;
        chip.replyDelayMs = c.delayMs;
        Bench usb(libftdi());
        EXPECT_EQ(run(usb.object), expected) << c.piece << " " << c.delayMs;
        EXPECT_EQ(usb.lines, reference.lines) << c.piece << " " << c.delayMs;
        EXPECT_EQ(chip.instrument.describeState(), linkedIn.describeState());
    }
}

// A late reply is waited for within the read time-out, a later one is not, whether the chip
// answers empty polls with its status bytes or holds them; the waiting polls the chip at a
// bounded rate instead of spinning.
TEST(LibftdiDriver, ReadWaitsForTheCountUntilItsDeadline) {
    EmulatedBus bus;
    auto& chip = bus.add("VX000001");
    const d2xx::DriverTable t = libftdi();
    d2xx::Handle h = nullptr;
    ASSERT_EQ(t.openEx(sim::kDeviceDescription, d2xx::OpenByDescription, &h), d2xx::Ok);
    ASSERT_EQ(t.setTimeouts(h, 250, 250), d2xx::Ok);

    struct Case {
        int delayMs;
        std::uint32_t expected;
        bool hold;
    };
    for (const Case c :
         {Case{150, 1, false}, Case{600, 0, false}, Case{150, 1, true}, Case{600, 0, true}}) {
        chip.replyDelayMs = c.delayMs;
        chip.holdEmptyIn = c.hold;
        std::uint32_t n = 0;
        const int before = chip.inTransfers;
        const auto start = Clock::now();
        ASSERT_EQ(t.write(h, "Q", 1, &n), d2xx::Ok);
        char reply = 0;
        ASSERT_EQ(t.read(h, &reply, 1, &n), d2xx::Ok);
        const long long took = msSince(start);
        const std::string what = std::to_string(c.delayMs) + (c.hold ? " held" : "");
        EXPECT_EQ(n, c.expected) << what;
        EXPECT_GE(took, std::min(c.delayMs, 250)) << what;
        EXPECT_LT(took, std::min(c.delayMs, 250) + 150) << what;
        // One transfer per millisecond at most, as the latency timer would pace a real chip.
        EXPECT_LE(chip.inTransfers - before, took + 5) << what;
        t.purge(h, d2xx::PurgeRx);
    }
    EXPECT_EQ(t.close(h), d2xx::Ok);
    EXPECT_EQ(t.close(h), d2xx::InvalidHandle);
}

// The device drops off the bus and comes back between two calls: the link's reconnect (a port
// cycle) finds it again by serial number and the call goes through. Gone during a call, the
// call fails without hanging, and finding the instrument again recovers the session.
TEST(LibftdiDriver, ReconnectsWhenTheDeviceComesBack) {
    EmulatedBus bus;
    auto& chip = bus.add("VX000001");
    Bench usb(libftdi());
    sim::Instrument linkedIn;
    Bench reference(linkedIn.driverTable());
    ASSERT_EQ(usb.object.FND(), 1234);
    reference.object.FND();

    bus.unplug(chip);
    bus.plugIn(chip);
    usb.lines.clear();
    EXPECT_EQ(usb.object.SetFrequency(1500.0, -3.0), "OK");
    ASSERT_GE(usb.lines.size(), 3u);
    EXPECT_EQ(usb.lines[0].substr(usb.lines[0].size() - 4), " = 4");
    EXPECT_EQ(usb.lines[1], "FT_CyclePort = 0");
    EXPECT_EQ(usb.lines[2].substr(usb.lines[2].size() - 4), " = 0");
    reference.object.SetFrequency(1500.0, -3.0);
    EXPECT_EQ(chip.instrument.describeState(), linkedIn.describeState());
    EXPECT_EQ(usb.object.LockStatus(), reference.object.LockStatus());

    bus.unplug(chip);
    usb.lines.clear();
    const auto start = Clock::now();
    usb.object.SetFrequency(1000.0, 0.0);
    EXPECT_LT(msSince(start), 10000);
    EXPECT_NE(std::find(usb.lines.begin(), usb.lines.end(), "FT_CyclePort = 2"), usb.lines.end());
    std::vector<d2xx::DeviceInfo> listed;
    EXPECT_EQ(libftdi().listDevices(listed), d2xx::Ok);
    EXPECT_TRUE(listed.empty());
    bus.plugIn(chip);
    EXPECT_EQ(usb.object.FND(), 1234);
    EXPECT_EQ(usb.object.LockStatus(), reference.object.LockStatus());
}

// Without permission on the device node nothing opens, and the user is told once which udev
// rule fixes it.
TEST(LibftdiDriver, NamesTheUdevRuleWhenPermissionIsMissing) {
    EmulatedBus bus;
    auto& chip = bus.add("VX000001");
    bus.denyAccess(chip);
    Lines notices;
    const d2xx::DriverTable t = libftdi(&notices);
    d2xx::Handle h = nullptr;
    EXPECT_EQ(t.openEx(sim::kDeviceDescription, d2xx::OpenByDescription, &h),
              d2xx::DeviceNotOpened);
    EXPECT_EQ(t.openEx("VX000001", d2xx::OpenBySerialNumber, &h), d2xx::DeviceNotOpened);
    std::vector<d2xx::DeviceInfo> listed;
    EXPECT_EQ(t.listDevices(listed), d2xx::Ok);
    EXPECT_TRUE(listed.empty());
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_NE(notices[0].find("permission denied"), std::string::npos);
    EXPECT_NE(notices[0].find(kUdevRuleName), std::string::npos);
}

// Two instruments: both listed, each opened by its own serial number, an open one refused.
TEST(LibftdiDriver, ListsAndOpensBySerialNumber) {
    EmulatedBus bus;
    bus.add("VX000001");
    sim::Config second;
    second.status = 'S';
    bus.add("VX000002", second);
    const d2xx::DriverTable t = libftdi();

    std::vector<d2xx::DeviceInfo> listed;
    ASSERT_EQ(t.listDevices(listed), d2xx::Ok);
    ASSERT_EQ(listed.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(listed[i].description, sim::kDeviceDescription);
        EXPECT_EQ(listed[i].serial, "VX00000" + std::to_string(i + 1));
        EXPECT_EQ(listed[i].driver, "libftdi");
    }

    d2xx::Handle h = nullptr, again = nullptr;
    EXPECT_EQ(t.openEx("VX00000", d2xx::OpenBySerialNumber, &h), d2xx::DeviceNotFound);
    ASSERT_EQ(t.openEx("VX000002", d2xx::OpenBySerialNumber, &h), d2xx::Ok);
    EXPECT_EQ(t.openEx("VX000002", d2xx::OpenBySerialNumber, &again), d2xx::DeviceNotOpened);
    std::uint32_t n = 0;
    char reply = 0;
    ASSERT_EQ(t.setTimeouts(h, 500, 500), d2xx::Ok);
    ASSERT_EQ(t.write(h, "Q", 1, &n), d2xx::Ok);
    ASSERT_EQ(t.read(h, &reply, 1, &n), d2xx::Ok);
    EXPECT_EQ(reply, 'S');
    EXPECT_EQ(t.close(h), d2xx::Ok);
}

// The tool itself, a child process reaching the same emulated chip: `auto` picks libftdi1, the
// listing names it, and a script runs as on the simulator linked in.
std::string tool(const std::string& input, const std::string& arguments) {
    const std::string command =
        "printf '" + input + "' | " + SYNTHOR_TOOL + " " + arguments + " 2>&1";
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buf[512];
        while (const std::size_t n = std::fread(buf, 1, sizeof buf, p))
            out.append(buf, n);
        pclose(p);
    }
    return out;
}

TEST(LibftdiDriver, TheToolListsAndRunsThroughIt) {
    EmulatedBus bus;
    bus.add("VX000001");
    EXPECT_EQ(tool("", "--list"), std::string(sim::kDeviceDescription) + ", VX000001, libftdi\n");
    const std::string calls = "FND\\nSetFrequency 2400 -10\\nLockStatus\\n";
    const std::string viaUsb = tool(calls, "--driver libftdi --script -");
    EXPECT_EQ(viaUsb.substr(0, 8), "1234\nOK\n");
    EXPECT_EQ(viaUsb, tool(calls, "--sim --script -"));
}

}  // namespace
}  // namespace synthor
