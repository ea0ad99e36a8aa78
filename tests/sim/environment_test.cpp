// The drop-in library's VEXASIM_* settings.
#include <filesystem>
#include <fstream>
#include <map>

#include "sim/environment.hpp"
#include "sim_test_support.hpp"

namespace {

using synthor::sim::DropInSettings;
using Environment = std::map<std::string, std::string>;

DropInSettings read(const Environment& env, std::vector<std::string>& problems) {
    return synthor::sim::readDropInSettings(
        [&](const char* name) -> const char* {
            const auto it = env.find(name);
            return it == env.end() ? nullptr : it->second.c_str();
        },
        problems);
}

TEST(SimEnvironment, NothingSetGivesTheDefaults) {
    std::vector<std::string> problems;
    const DropInSettings s = read({}, problems);
    EXPECT_TRUE(problems.empty());
    EXPECT_TRUE(s.config.eeprom.empty());
    EXPECT_EQ(s.config.usbSerial, "VX000001");
    EXPECT_EQ(s.config.status, 'R');
    EXPECT_EQ(s.config.version, "1.0");
    EXPECT_EQ(s.config.lock, 0);
    EXPECT_TRUE(s.tracePath.empty());
    EXPECT_EQ(s.config.faults.write, 0);
}

TEST(SimEnvironment, GoodSettingsApply) {
    std::vector<std::string> problems;
    const DropInSettings s = read({{"VEXASIM_USB_SERIAL", "AB12"},
                                   {"VEXASIM_STATUS", "T"},
                                   {"VEXASIM_VERSION", "9.9"},
                                   {"VEXASIM_LOCK", "0x05"},
                                   {"VEXASIM_FAULTS", "write=2, silent,chunk=3,"},
                                   {"VEXASIM_TRACE", "/tmp/t.txt"}},
                                  problems);
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(s.config.usbSerial, "AB12");
    EXPECT_EQ(s.config.status, 'T');
    EXPECT_EQ(s.config.version, "9.9");
    EXPECT_EQ(s.config.lock, 5);
    EXPECT_EQ(s.config.faults.write, 2);
    EXPECT_TRUE(s.config.faults.silent);
    EXPECT_EQ(s.config.faults.chunk, 3u);
    EXPECT_EQ(s.tracePath, "/tmp/t.txt");
}

TEST(SimEnvironment, EachBadSettingIsReportedOnceAndKeepsItsDefault) {
    std::vector<std::string> problems;
    const DropInSettings s = read({{"VEXASIM_STATUS", "RS"},
                                   {"VEXASIM_LOCK", "256"},
                                   {"VEXASIM_EEPROM", "/no/such/file.bin"},
                                   {"VEXASIM_FAULTS", "open=1,bogus,write=x,close=2"}},
                                  problems);
    ASSERT_EQ(problems.size(), 5u);
    EXPECT_EQ(s.config.status, 'R');
    EXPECT_EQ(s.config.lock, 0);
    EXPECT_TRUE(s.config.eeprom.empty());
    EXPECT_EQ(s.config.faults.open, 1);
    EXPECT_EQ(s.config.faults.write, 0);
    EXPECT_EQ(s.config.faults.close, 2);
    for (const std::string& p : problems) {
        EXPECT_EQ(p.rfind("VEXASIM_", 0), 0u) << p;
        EXPECT_EQ(p.find('\n'), std::string::npos) << p;
    }
}

TEST(SimEnvironment, EmptyValuesCountAsUnset) {
    std::vector<std::string> problems;
    const DropInSettings s =
        read({{"VEXASIM_STATUS", ""}, {"VEXASIM_USB_SERIAL", ""}, {"VEXASIM_LOCK", ""}}, problems);
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(s.config.status, 'R');
    EXPECT_EQ(s.config.usbSerial, "VX000001");
}

TEST(SimEnvironment, EepromFileIsLoaded) {
    const auto path = std::filesystem::temp_directory_path() / "sim_environment_eeprom.bin";
    std::ofstream(path, std::ios::binary) << std::string(synthor::sim::kEepromSize, 'e');
    std::vector<std::string> problems;
    const DropInSettings s = read({{"VEXASIM_EEPROM", path.string()}}, problems);
    std::filesystem::remove(path);
    EXPECT_TRUE(problems.empty());
    ASSERT_EQ(s.config.eeprom.size(), synthor::sim::kEepromSize);
    EXPECT_EQ(s.config.eeprom[12345], 'e');
}

TEST(SimEnvironment, ByteValuesInDecimalOrHex) {
    struct Case {
        const char* text;
        bool ok;
        std::uint8_t value;
    };
    for (const Case& c : {Case{"0", true, 0}, Case{"255", true, 255}, Case{"0xff", true, 255},
                          Case{"0X1A", true, 26}, Case{"256", false, 0}, Case{"0x100", false, 0},
                          Case{"-1", false, 0}, Case{"0x", false, 0}, Case{"1 ", false, 0},
                          Case{"", false, 0}, Case{"12a", false, 0}}) {
        std::uint8_t value = 0;
        EXPECT_EQ(synthor::sim::parseByte(c.text, value), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(value, c.value) << c.text;
        }
    }
}

}  // namespace
