// A minimal instrument behind the driver table for calibration and automation tests: it answers
// "P" from a 64 KiB memory image, "Q", "V" and "Y9", records every frame written, and can stop
// answering or answer short. Frames must arrive whole, one per write, as the link sends them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "link/d2xx.hpp"

namespace synthor::testing {

class MemoryInstrument {
  public:
    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(65536);
    std::string version = "1.0";
    std::string status = "R";
    std::string lockReply = std::string(1, '\0');  // "" for no reply byte
    int answersLeft = -1;                          // replies still given; -1 for no limit
    // "P" address -> how many more replies from there lose their last byte (-1: all of them).
    std::map<std::size_t, int> shorten;
    std::vector<std::string> frames;
    int reads = 0;

    d2xx::DriverTable table() {
        d2xx::DriverTable t;
        t.openEx = [this](const char*, std::uint32_t, d2xx::Handle* h) {
            *h = this;
            return d2xx::Ok;
        };
        t.close = [](d2xx::Handle) { return d2xx::Ok; };
        t.cyclePort = [](d2xx::Handle) { return d2xx::Ok; };
        t.setTimeouts = [](d2xx::Handle, std::uint32_t, std::uint32_t) { return d2xx::Ok; };
        t.setUsbParameters = [](d2xx::Handle, std::uint32_t, std::uint32_t) { return d2xx::Ok; };
        t.setLatencyTimer = [](d2xx::Handle, std::uint8_t) { return d2xx::Ok; };
        t.setFlowControl = [](d2xx::Handle, std::uint16_t, std::uint8_t, std::uint8_t) {
            return d2xx::Ok;
        };
        t.purge = [](d2xx::Handle, std::uint32_t) { return d2xx::Ok; };
        t.write = [this](d2xx::Handle, const void* data, std::uint32_t n, std::uint32_t* done) {
            *done = n;
            frames.emplace_back(static_cast<const char*>(data), n);
            answer(frames.back());
            return d2xx::Ok;
        };
        t.read = [this](d2xx::Handle, void* data, std::uint32_t n, std::uint32_t* got) {
            ++reads;
            const std::size_t count = std::min<std::size_t>(n, pending_.size());
            std::memcpy(data, pending_.data(), count);
            pending_.erase(0, count);
            *got = static_cast<std::uint32_t>(count);
            return d2xx::Ok;
        };
        return t;
    }

    // The frames written that start with `prefix`.
    std::size_t countFrames(const std::string& prefix) const {
        return std::count_if(frames.begin(), frames.end(),
                             [&](const std::string& f) { return f.rfind(prefix, 0) == 0; });
    }

    void put(std::size_t address, const std::string& bytes) {
        std::memcpy(memory.data() + address, bytes.data(), bytes.size());
    }

  private:
    void answer(const std::string& frame) {
        std::string reply;
        if (frame[0] == 'P' && frame.size() == 4) {
            const auto n = static_cast<std::uint8_t>(frame[1]);
            const std::size_t address =
                static_cast<std::uint8_t>(frame[2]) * 256u + static_cast<std::uint8_t>(frame[3]);
            reply.assign(reinterpret_cast<const char*>(memory.data()) + address, n);
            if (auto s = shorten.find(address); s != shorten.end() && s->second != 0) {
                if (s->second > 0) --s->second;
                reply.pop_back();
            }
        } else if (frame == "Q") {
            reply = status;
        } else if (frame == "V") {
            reply = version;
        } else if (frame == "Y9") {
            reply = lockReply;
        } else {
            return;
        }
        if (answersLeft == 0) return;
        if (answersLeft > 0) --answersLeft;
        pending_ += reply;
    }

    std::string pending_;
};

}  // namespace synthor::testing
