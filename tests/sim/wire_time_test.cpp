// The drop-in's bus for the wire-time model (the charges themselves show in the transcripts'
// Sim.Output lines).
#include <tuple>

#include "sim/environment.hpp"
#include "support/sim_frames.hpp"

namespace {

namespace sim = synthor::sim;

TEST(SimWireTime, DropInSpeedFromTheEnvironment) {
    for (const auto& [value, speed, problems] :
         {std::tuple{"HIGH", sim::UsbSpeed::High, 0u}, std::tuple{"full", sim::UsbSpeed::Full, 0u},
          std::tuple{"fast", sim::UsbSpeed::Full, 1u}}) {
        std::vector<std::string> said;
        const auto settings = sim::readDropInSettings(
            [&](const char* name) {
                return std::string_view(name) == "VEXASIM_USB" ? value : nullptr;
            },
            said);
        EXPECT_EQ(settings.config.usb, speed) << value;
        EXPECT_EQ(said.size(), problems) << value;
    }
}

}  // namespace
