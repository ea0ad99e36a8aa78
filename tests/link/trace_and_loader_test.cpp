// The wire trace's line format and the driver library loader's failure handling.
#include <gtest/gtest.h>

#include "link/driver_library.hpp"
#include "link/trace.hpp"
#include "link/usb_link.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

TEST(Trace, FormatsEveryEntryAsTheContractSays) {
    testing::FakeDriver fake;
    fake.reads = {{d2xx::Ok, std::string("\x00\xff\x52", 3)}};
    std::vector<std::string> lines;
    d2xx::DriverTable t = traced(fake.table(), [&](const std::string& l) { lines.push_back(l); });
    d2xx::Handle h = nullptr;
    std::uint32_t n = 0;
    char buf[8] = {};
    t.openEx("VX000001", 1, &h);
    t.close(h);
    t.cyclePort(h);
    t.setTimeouts(h, 4000, 4000);
    t.setUsbParameters(h, 512, 512);
    t.setLatencyTimer(h, 1);
    t.setFlowControl(h, 0x0100, 0x11, 0x13);
    t.purge(h, 2);
    t.write(h, "YI", 2, &n);
    t.read(h, buf, 3, &n);
    t.read(h, buf, 1, &n);
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "FT_OpenEx \"VX000001\" 1 = 0", "FT_Close = 0", "FT_CyclePort = 0",
                  "FT_SetTimeouts 4000 4000 = 0", "FT_SetUSBParameters 512 512 = 0",
                  "FT_SetLatencyTimer 1 = 0", "FT_SetFlowControl 256 17 19 = 0", "FT_Purge 2 = 0",
                  "FT_Write 59 49 = 0", "FT_Read 3 = 0 : 00 FF 52", "FT_Read 1 = 0 :"}));
}

TEST(DriverLibrary, MissingLibraryIsADiagnosticAndOpensFail) {
    const DriverLoad load = loadDriverLibrary("/nonexistent/libftd2xx-missing.so");
    EXPECT_FALSE(load.available);
    EXPECT_NE(load.diagnostic.find("could not be loaded"), std::string::npos) << load.diagnostic;

    testing::RecordingPrompts prompts;
    testing::FakeClock clock;
    UsbLink link(load.table, prompts, clock);
    EXPECT_EQ(link.OpenUSB(std::string(kDeviceDescription)), "Open Failed");
    EXPECT_EQ(link.WriteUSB("Q"), "Error");
    EXPECT_EQ(link.ReadUSB(1), "");
}

TEST(DriverLibrary, LibraryWithoutTheEntryPointsIsRefused) {
    // Any shared library without the driver's entry points will do: the C runtime's.
#ifdef _WIN32
    const DriverLoad load = loadDriverLibrary("msvcrt.dll");
#else
    const DriverLoad load = loadDriverLibrary("libc.so.6");
#endif
    EXPECT_FALSE(load.available);
    EXPECT_NE(load.diagnostic.find("FT_OpenEx"), std::string::npos) << load.diagnostic;
    d2xx::Handle h = nullptr;
    EXPECT_EQ(load.table.openEx("x", 2, &h), d2xx::DeviceNotFound);
}

}  // namespace
}  // namespace synthor
