// A scripted stand-in for the USB driver: every call is recorded as a wire-trace line, statuses
// come from per-entry queues (OK once a queue is empty) and reads deliver queued replies. Tests
// compare the recorded lines with the exact exchange they expect, so a surprise call fails them.
// With `only` set, a call to any other entry point fails the test at once and is refused.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "link/d2xx.hpp"
#include "link/trace.hpp"
#include "runtime/clock.hpp"
#include "runtime/prompts.hpp"

namespace synthor::testing {

struct FakeRead {
    d2xx::Status status = d2xx::Ok;
    std::string bytes;
};

class FakeDriver {
  public:
    // Status queue per entry name as the trace spells it ("FT_OpenEx", "FT_Purge", ...).
    std::map<std::string, std::deque<d2xx::Status>> statuses;
    std::deque<FakeRead> reads;  // an empty queue reads as a time-out: status 0, no bytes
    std::vector<std::string> lines;
    std::set<std::string> only;  // the entry points a test expects; empty: any

    void fail(const std::string& entry, int times = 1, d2xx::Status status = d2xx::IoError) {
        for (int i = 0; i < times; ++i)
            statuses[entry].push_back(status);
    }
    void failAll(const std::string& entry, d2xx::Status status = d2xx::IoError) {
        forever_[entry] = status;
    }

    d2xx::DriverTable table() {
        d2xx::DriverTable t;
        t.openEx = [this](const char*, std::uint32_t, d2xx::Handle* h) {
            *h = &handle_;
            return next("FT_OpenEx");
        };
        t.close = [this](d2xx::Handle) { return next("FT_Close"); };
        t.cyclePort = [this](d2xx::Handle) { return next("FT_CyclePort"); };
        t.setTimeouts = [this](d2xx::Handle, std::uint32_t, std::uint32_t) {
            return next("FT_SetTimeouts");
        };
        t.setUsbParameters = [this](d2xx::Handle, std::uint32_t, std::uint32_t) {
            return next("FT_SetUSBParameters");
        };
        t.setLatencyTimer = [this](d2xx::Handle, std::uint8_t) {
            return next("FT_SetLatencyTimer");
        };
        t.setFlowControl = [this](d2xx::Handle, std::uint16_t, std::uint8_t, std::uint8_t) {
            return next("FT_SetFlowControl");
        };
        t.write = [this](d2xx::Handle, const void*, std::uint32_t n, std::uint32_t* done) {
            *done = n;
            return next("FT_Write");
        };
        t.read = [this](d2xx::Handle, void* data, std::uint32_t n, std::uint32_t* got) {
            *got = 0;
            if (!expected("FT_Read")) return d2xx::InvalidHandle;
            FakeRead r;
            if (!reads.empty()) {
                r = reads.front();
                reads.pop_front();
            }
            const auto count = std::min<std::size_t>(r.bytes.size(), n);
            std::memcpy(data, r.bytes.data(), count);
            *got = static_cast<std::uint32_t>(count);
            return r.status;
        };
        t.purge = [this](d2xx::Handle, std::uint32_t) { return next("FT_Purge"); };
        return traced(t, [this](const std::string& line) { lines.push_back(line); });
    }

    std::vector<std::string> take() { return std::exchange(lines, {}); }

  private:
    bool expected(const std::string& entry) {
        if (only.empty() || only.count(entry)) return true;
        ADD_FAILURE() << "unexpected driver call " << entry;
        return false;
    }
    d2xx::Status next(const std::string& entry) {
        if (!expected(entry)) return d2xx::InvalidHandle;
        if (const auto f = forever_.find(entry); f != forever_.end()) return f->second;
        auto& q = statuses[entry];
        if (q.empty()) return d2xx::Ok;
        const d2xx::Status s = q.front();
        q.pop_front();
        return s;
    }

    int handle_ = 0;
    std::map<std::string, d2xx::Status> forever_;
};

// A clock that only moves when slept on, or by `step` per reading.
class FakeClock final : public Clock {
  public:
    explicit FakeClock(std::uint32_t start = 1000, std::uint32_t step = 0)
        : now_(start), step_(step) {}
    std::uint32_t timeGetTime() override {
        ++readings;
        const std::uint32_t t = now_;
        now_ += step_;
        return t;
    }
    void sleep(std::uint32_t ms) override {
        slept += ms;
        now_ += ms;
    }
    int readings = 0;
    std::uint64_t slept = 0;

  private:
    std::uint32_t now_;
    std::uint32_t step_;
};

// Records message boxes and answers them like a person who presses OK (or Cancel on a
// retry/cancel box); file dialogs take queued answers.
class RecordingPrompts final : public Prompts {
  public:
    struct Box {
        std::string text;
        int style;
        std::string title;
        bool operator==(const Box&) const = default;
    };
    std::vector<Box> boxes;
    std::deque<std::string> files;
    std::vector<OpenFileRequest> dialogs;

    MsgResult msgBox(std::string_view text, int style, std::string_view title) override {
        boxes.push_back({std::string(text), style, std::string(title)});
        return defaultAnswer(style);
    }
    std::optional<std::string> openFile(const OpenFileRequest& request) override {
        dialogs.push_back(request);
        if (files.empty()) return std::nullopt;
        std::string f = files.front();
        files.pop_front();
        return f;
    }
};

}  // namespace synthor::testing
