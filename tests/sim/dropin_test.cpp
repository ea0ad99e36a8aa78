// The drop-in driver library, loaded by path as a host loads the vendor's driver.
#ifdef SYNTHOR_DROPIN_LIBRARY

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "link/driver_library.hpp"
#include "support/sim_frames.hpp"

namespace {

using namespace simtest;

// The library reads its VEXASIM_* settings once, on first use, so they are set before it loads.
TEST(SimDropIn, ExportsTheDriverEntryPointsAndServesTheLinkWithItsSettings) {
    // One trace file per process, as the library opens it once; removed when the process ends.
    static const std::string tracePath = (std::filesystem::temp_directory_path() /
                                          ("sim_dropin_trace_" + std::to_string(getpid()) + ".txt"))
                                             .string();
    static const struct RemoveAtExit {
        ~RemoveAtExit() { std::filesystem::remove(tracePath); }
    } removeAtExit;
    setenv("VEXASIM_USB_SERIAL", "DROPIN01", 1);
    setenv("VEXASIM_LOCK", "0x04", 1);
    setenv("VEXASIM_STATUS", "S", 1);
    setenv("VEXASIM_TRACE", tracePath.c_str(), 1);
    unsetenv("VEXASIM_FAULTS");
    unsetenv("VEXASIM_EEPROM");
    // Never closed: the library keeps its instrument for the life of the process.
    void* library = dlopen(SYNTHOR_DROPIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(dlsym(library, "_ZN7synthor3sim14defaultEepromEv"), nullptr);  // only FT_* exported

    synthor::DriverLoad load = synthor::loadDriverLibrary(SYNTHOR_DROPIN_LIBRARY);
    ASSERT_TRUE(load.available) << load.diagnostic;
    EXPECT_TRUE(load.diagnostic.empty()) << load.diagnostic;
    const auto& t = load.table;
    std::vector<d2xx::DeviceInfo> listed;
    ASSERT_TRUE(t.listDevices);
    EXPECT_EQ(t.listDevices(listed), 0u);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].description, synthor::sim::kDeviceDescription);
    EXPECT_EQ(listed[0].serial, "DROPIN01");
    EXPECT_EQ(listed[0].driver, "d2xx");
    d2xx::Handle h = nullptr, again = nullptr;
    ASSERT_EQ(t.openEx("DROPIN01", 1, &h), 0u);
    EXPECT_EQ(t.openEx(synthor::sim::kDeviceDescription, 2, &again), 3u);
    for (const d2xx::Status status :
         {t.setTimeouts(h, 4000, 4000), t.setUsbParameters(h, 512, 512), t.setLatencyTimer(h, 1),
          t.setFlowControl(h, 0x0100, 0x11, 0x13), t.purge(h, 1), t.cyclePort(h)})
        EXPECT_EQ(status, 0u);
    const Bytes request = frame("Q") + frame("Y9") + memoryRead(11, 13);
    std::uint32_t n = 0;
    ASSERT_EQ(t.write(h, request.data(), static_cast<std::uint32_t>(request.size()), &n), 0u);
    char reply[32] = {};
    ASSERT_EQ(t.read(h, reply, sizeof reply, &n), 0u);
    EXPECT_EQ(std::string(reply, n), std::string("S\x04") + "1234       ");
    EXPECT_EQ(t.close(h), 0u);
    EXPECT_EQ(t.close(h), 1u);

    std::ifstream file(tracePath);
    const std::string trace{std::istreambuf_iterator<char>(file), {}};
    for (const char* line :
         {"FT_OpenEx \"DROPIN01\" 1 = 0\n", "FT_Write 51 59 39 50 0B 00 0D = 0\n",
          "FT_Read 32 = 0 : 53 04 31 32 33 34 20"})
        EXPECT_NE(trace.find(line), std::string::npos) << line << trace;
}

}  // namespace

#endif  // SYNTHOR_DROPIN_LIBRARY
