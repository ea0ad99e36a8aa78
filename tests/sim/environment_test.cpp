// The drop-in library's VEXASIM_* settings.
#include <map>
#include <sstream>

#include "runtime/text.hpp"
#include "sim/environment.hpp"
#include "support/sandbox.hpp"
#include "support/sim_frames.hpp"

namespace {

// The settings as one line: serial, status, version, lock, EEPROM size and byte 12345, the open,
// close and write fault counters, silent, chunk, trace path.
std::string summary(const synthor::sim::DropInSettings& s) {
    const synthor::sim::Config& c = s.config;
    std::ostringstream out;
    out << c.usbSerial << ' ' << c.status << ' ' << c.version << ' ' << int{c.lock} << " eeprom "
        << c.eeprom.size() << (c.eeprom.empty() ? ' ' : char(c.eeprom[12345])) << " faults "
        << c.faults.open << c.faults.close << c.faults.write << c.faults.silent << c.faults.chunk
        << " trace " << s.tracePath;
    return out.str();
}

// Unset and empty variables keep their defaults; each bad value is reported once, on one line,
// and keeps its default, while the good fault settings beside a bad one still apply.
TEST(SimEnvironment, SettingsApplyAndBadOnesAreReportedAndKeepTheirDefaults) {
    const synthor::testing::Sandbox sandbox;
    const std::string eeprom =
        sandbox.file("eeprom.bin", std::string(synthor::sim::kEepromSize, 'e'));
    const std::string defaults = "VX000001 R 1.0 0 eeprom 0  faults 00000 trace ";
    const std::tuple<std::map<std::string, std::string>, std::size_t, std::string> cases[] = {
        {{}, 0, defaults},
        {{{"VEXASIM_STATUS", ""}, {"VEXASIM_USB_SERIAL", ""}, {"VEXASIM_LOCK", ""}}, 0, defaults},
        {{{"VEXASIM_USB_SERIAL", "AB12"},
          {"VEXASIM_STATUS", "T"},
          {"VEXASIM_VERSION", "9.9"},
          {"VEXASIM_LOCK", "0x05"},
          {"VEXASIM_FAULTS", "write=2, silent,chunk=3,"},
          {"VEXASIM_TRACE", "/tmp/t.txt"},
          {"VEXASIM_EEPROM", eeprom}},
         0,
         "AB12 T 9.9 5 eeprom 65536e faults 00213 trace /tmp/t.txt"},
        {{{"VEXASIM_STATUS", "RS"},
          {"VEXASIM_LOCK", "256"},
          {"VEXASIM_EEPROM", "/no/such/file.bin"},
          {"VEXASIM_FAULTS", "open=1,bogus,write=x,close=2"}},
         5,
         "VX000001 R 1.0 0 eeprom 0  faults 12000 trace "}};
    for (const auto& [env, problemCount, expected] : cases) {
        std::vector<std::string> problems;
        const auto settings = synthor::sim::readDropInSettings(
            [&](const char* name) -> const char* {
                const auto it = env.find(name);
                return it == env.end() ? nullptr : it->second.c_str();
            },
            problems);
        EXPECT_EQ(summary(settings), expected);
        EXPECT_EQ(problems.size(), problemCount);
        for (const std::string& p : problems) {
            EXPECT_EQ(p.rfind("VEXASIM_", 0), 0u) << p;
            EXPECT_EQ(p.find('\n'), std::string::npos) << p;
        }
    }
}

TEST(SimEnvironment, ByteValuesInDecimalOrHex) {
    const std::pair<const char*, int> cases[] = {
        {"0", 0},      {"255", 255}, {"0xff", 255}, {"0X1A", 26}, {"256", -1},
        {"0x100", -1}, {"-1", -1},   {"0x", -1},    {"1 ", -1},   {"", -1},
        {"12a", -1},   {"+4", -1},   {"0x+4", -1}};
    for (const auto& [text, expected] : cases) {
        std::uint8_t value = 0;
        EXPECT_EQ(synthor::parseByte(text, value), expected >= 0) << text;
        EXPECT_EQ(value, std::max(expected, 0)) << text;
    }
}

}  // namespace
