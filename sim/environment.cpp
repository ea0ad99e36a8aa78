#include "sim/environment.hpp"

#include <charconv>

namespace synthor::sim {

bool parseByte(std::string_view text, std::uint8_t& value) {
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
        base = 16;
    }
    unsigned parsed = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), parsed, base);
    if (text.empty() || ec != std::errc{} || end != text.data() + text.size() || parsed > 255) {
        return false;
    }
    value = static_cast<std::uint8_t>(parsed);
    return true;
}

DropInSettings readDropInSettings(const EnvironmentLookup& lookup,
                                  std::vector<std::string>& problems) {
    DropInSettings settings;
    Config& config = settings.config;
    auto get = [&](const char* name) -> std::string {
        const char* value = lookup(name);
        return value ? value : "";
    };
    auto bad = [&](const char* name, const std::string& why) {
        problems.push_back(std::string(name) + ": " + why + "; using the default");
    };

    if (const std::string path = get("VEXASIM_EEPROM"); !path.empty()) {
        std::string error;
        if (!loadEepromFile(path, config.eeprom, error)) bad("VEXASIM_EEPROM", error);
    }
    if (std::string serial = get("VEXASIM_USB_SERIAL"); !serial.empty()) {
        config.usbSerial = std::move(serial);
    }
    if (const std::string status = get("VEXASIM_STATUS"); !status.empty()) {
        if (status.size() == 1) {
            config.status = status[0];
        } else {
            bad("VEXASIM_STATUS", "\"" + status + "\" is not exactly one character");
        }
    }
    if (std::string version = get("VEXASIM_VERSION"); !version.empty()) {
        config.version = std::move(version);
    }
    if (const std::string lock = get("VEXASIM_LOCK"); !lock.empty()) {
        if (!parseByte(lock, config.lock)) {
            bad("VEXASIM_LOCK", "\"" + lock + "\" is not a byte (decimal or 0x-hex, 0 to 255)");
        }
    }
    const std::string faults = get("VEXASIM_FAULTS");
    for (std::size_t start = 0; start < faults.size();) {
        const std::size_t comma = std::min(faults.find(',', start), faults.size());
        const std::string_view setting = std::string_view(faults).substr(start, comma - start);
        std::string error;
        if (setting.find_first_not_of(" \t") != std::string_view::npos &&
            !applyFault(setting, config.faults, error)) {
            bad("VEXASIM_FAULTS", error);
        }
        start = comma + 1;
    }
    settings.tracePath = get("VEXASIM_TRACE");
    return settings;
}

}  // namespace synthor::sim
