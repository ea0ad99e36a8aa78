#include "plans/modulation.hpp"

#include "encoding/band_plan.hpp"
#include "plans/plan_common.hpp"
#include "runtime/convert.hpp"

namespace synthor {
namespace {

constexpr double kCwStep = 1000.0;

// The deviation in tuning-word units of synthesizer A's band at the carrier.
std::int32_t deviationWord(double f, double deviationHz) {
    const auto band = findBand(kBandsA, f);
    return clng(deviationHz * (band ? band->multiplier : 0.0));
}

}  // namespace

void setCarrier(Session& s, double f, float level) {
    s.freqLevel.setFrequencyAndLevel(kCwAddress, 1, f, kCwStep, kCompanionOffset, level, kLevelB);
    send(s, pointStartFrame(kCwAddress));
}

void startFmTone(Session& s, double f, double deviationHz, float level, std::int32_t points,
                 std::int32_t dwellCode) {
    // The trigger exchange's purge sends the table first; the trigger and start frames then go
    // out together.
    s.link.gatherWrites([&] {
        s.freqLevel.writeFmTable(kPlanAddress, points, f, deviationHz, kCompanionOffset, level,
                                 kLevelB);
        send(s, modeSelectFrame(mode::Modulation));
        s.link.SetTrigger();
        send(s, startFrame(startframe::Level.freeRunning, points, dwellCode));
    });
}

void startFmExternal(Session& s, double f, double deviationHz, float level) {
    const std::string setupFrame = fmExternalFrame(deviationWord(f, deviationHz));
    // A one-point table without deviation: the carrier keeps the band of its centre.
    s.link.gatherWrites([&] {
        s.freqLevel.writeFmTable(kCwAddress, 1, f, 0.0, kCompanionOffset, level, kLevelB);
        send(s, pointStartFrame(kCwAddress));
        send(s, modeSelectFrame(mode::Modulation));
        send(s, setupFrame);
    });
    s.panel.setStatus(panel::statuspanel::Mode, panel::status::FmExt);
}

void startAm(Session& s, double f, float level, float depth, std::uint8_t function,
             std::string_view status) {
    const std::int32_t levelWord = s.freqLevel.levelWord(f, level, 1);
    const std::string setupFrame = amSetupFrame(function, cint(depth), levelWord);
    setCarrier(s, f, level);
    send(s, setupFrame);
    s.panel.setStatus(panel::statuspanel::Mode, status);
}

}  // namespace synthor
