// Frame builders and an opened simulated instrument, for tests that talk to it byte by byte.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sim/sim_instrument.hpp"

namespace simtest {

using Bytes = std::vector<std::uint8_t>;
namespace d2xx = synthor::d2xx;

// Frames and their parts are joined with +.
inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Bytes be16(unsigned v) {
    return {std::uint8_t(v >> 8), std::uint8_t(v)};
}
inline Bytes be24(unsigned v) {
    return {std::uint8_t(v >> 16), std::uint8_t(v >> 8), std::uint8_t(v)};
}

// A command word followed by argument bytes.
inline Bytes frame(std::string_view word, const Bytes& arguments = {}) {
    return Bytes(word.begin(), word.end()) + arguments;
}

// "W" count, 24-bit address, data.
inline Bytes memoryWrite(unsigned address, const Bytes& data) {
    return frame("W", {std::uint8_t(data.size())}) + be24(address) + data;
}

// A start frame of the "X"/"YB"/"YD" shape: address, count, dwell code.
inline Bytes startFrame(std::string_view word, unsigned address, unsigned count, unsigned code) {
    return frame(word, be24(address) + be16(count) + be16(code));
}

inline Bytes memoryRead(unsigned count, unsigned address) {
    return frame("P", Bytes{std::uint8_t(count)} + be16(address));
}

// Every driver call that takes a handle, by the name of its fault counter ("read" has none);
// close comes last.
using HandleCall = std::function<d2xx::Status(synthor::sim::Instrument&, d2xx::Handle)>;
inline std::vector<std::pair<std::string, HandleCall>> handleCalls() {
    using I = synthor::sim::Instrument;
    using H = d2xx::Handle;
    static std::uint32_t n;
    static char buffer[4];
    return {{"cycle", [](I& s, H h) { return s.cyclePort(h); }},
            {"timeouts", [](I& s, H h) { return s.setTimeouts(h, 4000, 3000); }},
            {"usbparams", [](I& s, H h) { return s.setUsbParameters(h, 512, 256); }},
            {"latency", [](I& s, H h) { return s.setLatencyTimer(h, 1); }},
            {"flow", [](I& s, H h) { return s.setFlowControl(h, 0x0100, 0x11, 0x13); }},
            {"write", [](I& s, H h) { return s.write(h, "Q", 1, &n); }},
            {"read", [](I& s, H h) { return s.read(h, buffer, 4, &n); }},
            {"purge", [](I& s, H h) { return s.purge(h, 3); }},
            {"close", [](I& s, H h) { return s.close(h); }}};
}

// An instrument opened by description, with helpers to talk to it.
struct OpenedInstrument {
    explicit OpenedInstrument(synthor::sim::Config config = {}) : sim(std::move(config)) {
        EXPECT_EQ(sim.openEx(synthor::sim::kDeviceDescription, d2xx::OpenByDescription, &handle),
                  d2xx::Ok);
    }

    void send(const Bytes& bytes) {
        std::uint32_t written = 0;
        ASSERT_EQ(sim.write(handle, bytes.data(), std::uint32_t(bytes.size()), &written), d2xx::Ok);
        ASSERT_EQ(written, bytes.size());
    }

    // Everything pending.
    Bytes receive() {
        Bytes out, buffer(4096);
        for (;;) {
            std::uint32_t got = 0;
            EXPECT_EQ(sim.read(handle, buffer.data(), 4096, &got), d2xx::Ok);
            if (got == 0) return out;
            out.insert(out.end(), buffer.begin(), buffer.begin() + got);
        }
    }

    std::string receiveText() {
        const Bytes b = receive();
        return {b.begin(), b.end()};
    }

    synthor::sim::Instrument sim;
    d2xx::Handle handle = nullptr;
};

}  // namespace simtest
