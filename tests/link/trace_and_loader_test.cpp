// The wire trace's line format and the driver library loader's failure handling.
#include <gtest/gtest.h>

#include "link/driver_library.hpp"
#include "link/trace.hpp"
#include "link/usb_link.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

// Every entry's line is checked by the exchange tests, which read the fake driver through the
// trace; here the byte edge cases: upper-case hex of any byte and a read that got nothing.
TEST(Trace, WritesBytesAsUpperCaseHexAndAnEmptyReadWithNone) {
    testing::FakeDriver fake;
    fake.reads = {{d2xx::Ok, std::string("\x00\xff\x52", 3)}};
    std::vector<std::string> lines;
    d2xx::DriverTable t = traced(fake.table(), [&](const std::string& l) { lines.push_back(l); });
    d2xx::Handle h = nullptr;
    std::uint32_t n = 0;
    char buf[8] = {};
    t.write(h, "\xab\x01", 2, &n);
    t.read(h, buf, 3, &n);
    t.read(h, buf, 1, &n);
    EXPECT_EQ(lines, (std::vector<std::string>{"FT_Write AB 01 = 0", "FT_Read 3 = 0 : 00 FF 52",
                                               "FT_Read 1 = 0 :"}));
    // A text with quotes, backslashes and control bytes still makes exactly one line.
    t.openEx("a\"b\\\nc\x01", 1, &h);
    EXPECT_EQ(lines.back().substr(0, 27), R"(FT_OpenEx "a\"b\\\nc\x01" 1)");
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
