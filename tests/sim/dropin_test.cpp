// The drop-in driver library, loaded by path as a host loads the vendor's driver.
#ifdef SYNTHOR_DROPIN_LIBRARY

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "link/driver_library.hpp"
#include "sim_test_support.hpp"

namespace {

using FT_STATUS = std::uint32_t;
using FT_HANDLE = void*;
using OpenExFn = FT_STATUS (*)(void*, std::uint32_t, FT_HANDLE*);
using HandleFn = FT_STATUS (*)(FT_HANDLE);
using WriteFn = FT_STATUS (*)(FT_HANDLE, void*, std::uint32_t, std::uint32_t*);
using ReadFn = FT_STATUS (*)(FT_HANDLE, void*, std::uint32_t, std::uint32_t*);

// The settings are read once per process, on the library's first use, so every test of this
// suite sets the same ones before anything loads the library.
class SimDropIn : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        tracePath() = (std::filesystem::temp_directory_path() /
                       ("sim_dropin_trace_" + std::to_string(getpid()) + ".txt"))
                          .string();
        setenv("VEXASIM_USB_SERIAL", "DROPIN01", 1);
        setenv("VEXASIM_LOCK", "0x04", 1);
        setenv("VEXASIM_STATUS", "S", 1);
        setenv("VEXASIM_TRACE", tracePath().c_str(), 1);
        unsetenv("VEXASIM_FAULTS");
        unsetenv("VEXASIM_EEPROM");
        library() = dlopen(SYNTHOR_DROPIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library(), nullptr) << dlerror();
    }

    static void TearDownTestSuite() { std::filesystem::remove(tracePath()); }

    static void*& library() {
        static void* lib = nullptr;
        return lib;
    }

    static std::string& tracePath() {
        static std::string path;
        return path;
    }

    template <typename Fn>
    static Fn entry(const char* name) {
        return reinterpret_cast<Fn>(dlsym(library(), name));
    }
};

TEST_F(SimDropIn, ExportsEveryEntryPointAndNothingOfTheSimulator) {
    for (const char* name :
         {"FT_OpenEx", "FT_Close", "FT_CyclePort", "FT_SetTimeouts", "FT_SetUSBParameters",
          "FT_SetLatencyTimer", "FT_SetFlowControl", "FT_Write", "FT_Read", "FT_Purge"}) {
        EXPECT_NE(dlsym(library(), name), nullptr) << name;
    }
    EXPECT_EQ(dlsym(library(), "_ZN7synthor3sim14defaultEepromEv"), nullptr);
}

TEST_F(SimDropIn, OpenWriteReadCloseThroughTheCEntryPoints) {
    const auto openEx = entry<OpenExFn>("FT_OpenEx");
    const auto close = entry<HandleFn>("FT_Close");
    const auto write = entry<WriteFn>("FT_Write");
    const auto read = entry<ReadFn>("FT_Read");
    ASSERT_TRUE(openEx && close && write && read);

    char description[] = "VexaSource Series Agile Synthesizer";
    FT_HANDLE h = nullptr;
    ASSERT_EQ(openEx(description, 2, &h), 0u);
    FT_HANDLE again = h;
    EXPECT_EQ(openEx(description, 2, &again), 3u);

    char query[] = "QY9";
    std::uint32_t n = 0;
    ASSERT_EQ(write(h, query, 3, &n), 0u);
    EXPECT_EQ(n, 3u);
    char reply[8] = {};
    ASSERT_EQ(read(h, reply, sizeof reply, &n), 0u);
    EXPECT_EQ(std::string(reply, n), std::string("S\x04"));
    ASSERT_EQ(read(h, reply, sizeof reply, &n), 0u);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(close(h), 0u);
    EXPECT_EQ(close(h), 1u);

    char serial[] = "DROPIN01";
    ASSERT_EQ(openEx(serial, 1, &h), 0u);
    EXPECT_EQ(close(h), 0u);

    std::ifstream trace(tracePath());
    std::stringstream lines;
    lines << trace.rdbuf();
    EXPECT_NE(lines.str().find("FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 0\n"),
              std::string::npos)
        << lines.str();
    EXPECT_NE(lines.str().find("FT_Write 51 59 39 = 0\n"), std::string::npos) << lines.str();
    EXPECT_NE(lines.str().find("FT_Read 8 = 0 : 53 04\n"), std::string::npos) << lines.str();
}

TEST_F(SimDropIn, TheLinkLoadsItAsTheDriverLibrary) {
    synthor::DriverLoad load = synthor::loadDriverLibrary(SYNTHOR_DROPIN_LIBRARY);
    ASSERT_TRUE(load.available) << load.diagnostic;
    EXPECT_TRUE(load.diagnostic.empty()) << load.diagnostic;
    const auto& t = load.table;
    synthor::d2xx::Handle h = nullptr;
    ASSERT_EQ(t.openEx("DROPIN01", 1, &h), 0u);
    EXPECT_EQ(t.setTimeouts(h, 4000, 4000), 0u);
    EXPECT_EQ(t.setUsbParameters(h, 512, 512), 0u);
    EXPECT_EQ(t.setLatencyTimer(h, 1), 0u);
    EXPECT_EQ(t.setFlowControl(h, 0x0100, 0x11, 0x13), 0u);
    const simtest::Bytes request =
        simtest::concat({simtest::frame("Q"), simtest::memoryRead(11, 13)});
    std::uint32_t n = 0;
    ASSERT_EQ(t.write(h, request.data(), static_cast<std::uint32_t>(request.size()), &n), 0u);
    char reply[32] = {};
    ASSERT_EQ(t.read(h, reply, sizeof reply, &n), 0u);
    EXPECT_EQ(std::string(reply, n), "S1234       ");
    EXPECT_EQ(t.purge(h, 1), 0u);
    EXPECT_EQ(t.cyclePort(h), 0u);
    EXPECT_EQ(t.close(h), 0u);
    EXPECT_EQ(t.close(h), 1u);
}

}  // namespace

#endif  // SYNTHOR_DROPIN_LIBRARY
