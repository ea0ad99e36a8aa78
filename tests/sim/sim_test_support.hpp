// Frame builders and an opened simulated instrument for the simulator's tests.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "sim/sim_instrument.hpp"

namespace simtest {

using Bytes = std::vector<std::uint8_t>;

inline void append(Bytes& out, const Bytes& more) {
    out.insert(out.end(), more.begin(), more.end());
}

inline Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        append(out, p);
    return out;
}

inline Bytes be16(unsigned v) {
    return {static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)};
}

inline Bytes be24(unsigned v) {
    return {static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 8),
            static_cast<std::uint8_t>(v)};
}

// A command word followed by argument bytes.
inline Bytes frame(std::string_view word, const Bytes& arguments = {}) {
    Bytes out(word.begin(), word.end());
    append(out, arguments);
    return out;
}

// "W" count, 24-bit address, data.
inline Bytes memoryWrite(unsigned address, const Bytes& data) {
    return concat({frame("W", {static_cast<std::uint8_t>(data.size())}), be24(address), data});
}

// A start frame of the "X"/"YB"/"YD" shape: address, count, dwell code.
inline Bytes startFrame(std::string_view word, unsigned address, unsigned count, unsigned code) {
    return frame(word, concat({be24(address), be16(count), be16(code)}));
}

inline Bytes memoryRead(unsigned count, unsigned address) {
    return frame("P", concat({{static_cast<std::uint8_t>(count)}, be16(address)}));
}

// An instrument opened by description, with helpers to talk to it.
struct OpenedInstrument {
    explicit OpenedInstrument(synthor::sim::Config config = {}) : sim(std::move(config)) {
        EXPECT_EQ(
            sim.openEx(synthor::sim::kDeviceDescription, synthor::d2xx::OpenByDescription, &handle),
            synthor::d2xx::Ok);
    }

    void send(const Bytes& bytes) {
        std::uint32_t written = 0;
        ASSERT_EQ(
            sim.write(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &written),
            synthor::d2xx::Ok);
        ASSERT_EQ(written, bytes.size());
    }

    // Everything pending, in reads of at most `perRead` bytes.
    Bytes receive(std::uint32_t perRead = 4096) {
        Bytes out;
        std::vector<std::uint8_t> buffer(perRead);
        for (;;) {
            std::uint32_t got = 0;
            EXPECT_EQ(sim.read(handle, buffer.data(), perRead, &got), synthor::d2xx::Ok);
            if (got == 0) return out;
            out.insert(out.end(), buffer.begin(), buffer.begin() + got);
        }
    }

    std::string receiveText() {
        const Bytes b = receive();
        return {b.begin(), b.end()};
    }

    synthor::sim::Instrument sim;
    synthor::d2xx::Handle handle = nullptr;
};

}  // namespace simtest
