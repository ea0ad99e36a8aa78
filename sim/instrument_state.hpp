// The simulated instrument's state, shared by the driver calls and the output description.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "sim/frame_reader.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor::sim {

struct Instrument::State final : FrameSink {
    explicit State(Config c);

    void onFrame(const Frame& frame) override;
    void reply(const std::uint8_t* bytes, std::size_t count);
    void dropTransfers();  // unread replies and any incomplete frame
    bool valid(d2xx::Handle handle) const { return open && handle == currentHandle; }
    // Counts one driver call carrying `bytes` on the bus, and `waitMs` of waiting.
    void charge(std::uint64_t bytes, std::uint64_t waitMs = 0);

    Config config;  // config.eeprom always holds kEepromSize bytes
    Faults faults;  // counters left
    std::array<std::uint8_t, 3> version{};
    std::vector<std::uint8_t> memory;  // kPointMemorySize bytes
    FrameReader reader;
    std::string replies;  // unread replies from replyHead on
    std::size_t replyHead = 0;
    RunState run;
    LinkSettings link;
    WireUse wire;

    // Handles are addresses inside this array, one further slot per open, so a handle that was
    // closed stays invalid for the next opens and a handle of another instrument never matches.
    std::array<char, 64> handleSlots{};
    std::size_t opens = 0;
    bool open = false;
    d2xx::Handle currentHandle = nullptr;
};

}  // namespace synthor::sim
