#include "sim/environment.hpp"

#include "runtime/text.hpp"

namespace synthor::sim {

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
    if (const std::string usb = get("VEXASIM_USB"); !usb.empty()) {
        if (!parseUsbSpeed(usb, config.usb))
            bad("VEXASIM_USB", "\"" + usb + "\" is not full or high");
    }
    settings.tracePath = get("VEXASIM_TRACE");
    return settings;
}

}  // namespace synthor::sim
