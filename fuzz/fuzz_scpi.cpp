// Arbitrary text as program messages, line by line, through the SCPI parser and the command
// table on a session over the simulated instrument. Nothing may crash or throw; an answer is one
// line; the error queue stays within its depth.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "automation/synthor_01_vexa.hpp"
#include "scpi/engine.hpp"
#include "sim/sim_instrument.hpp"

using namespace synthor;

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

// Time passes only when the link waits, so delays cost nothing.
class StepClock final : public Clock {
  public:
    std::uint32_t timeGetTime() override { return now_; }
    void sleep(std::uint32_t ms) override { now_ += ms; }

  private:
    std::uint32_t now_ = 0;
};

struct World {
    sim::Instrument instrument;
    scpi::ServerPrompts prompts;
    scpi::LinkHealth health;
    StepClock clock;
    Session session{health.wrap(instrument.driverTable()), prompts, clock};
    Synthor_01_vexa object{session};
    scpi::Engine engine{session, object, prompts, health};
    World() { check(engine.find()); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    scpi::ClientState client;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    while (!text.empty()) {
        const std::size_t nl = text.find('\n');
        const auto answer = world.engine.execute(text.substr(0, nl), client);
        check(!answer || answer->find('\n') == std::string::npos);
        check(client.errors.size() <= scpi::ErrorQueue::kCapacity);
        text = nl == std::string_view::npos ? std::string_view{} : text.substr(nl + 1);
    }
    return 0;
}
