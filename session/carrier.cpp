#include "session/carrier.hpp"

#include "frames/packing.hpp"
#include "runtime/convert.hpp"

namespace synthor {
namespace {

constexpr std::uint8_t kLockMask = 5;

}  // namespace

std::string SwitchOff(Session& s) {
    s.freqLevel.writeOutputOff();
    s.link.WriteUSB(pointStartFrame(kCwAddress));
    if (s.showOffDisplay) s.showOffDisplay();
    return "OK";
}

std::int16_t QueryLockState(Session& s) {
    s.link.WriteUSB("Y9");
    return static_cast<std::int16_t>(asc(s.link.ReadUSB(1)) & kLockMask);
}

std::string_view lockText(std::int16_t code) {
    switch (code) {
        case 0:
            return panel::lock::Locked;
        case 1:
            return panel::lock::Unlocked;
        case 4:
            return panel::lock::AgcUnlocked;
        case 5:
            return panel::lock::BothUnlocked;
        default:
            return {};
    }
}

}  // namespace synthor
