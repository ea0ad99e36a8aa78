// The frame stream: replies, memory writes, mode changes, resynchronisation, and independence
// from how the bytes are cut into writes.
#include "support/sim_frames.hpp"

namespace {

using namespace simtest;
using synthor::sim::Config;
using synthor::sim::Mode;
using synthor::sim::RunState;

Bytes pattern(std::size_t n, unsigned seed) {
    Bytes out(n);
    for (std::size_t i = 0; i < n; ++i)
        out[i] = static_cast<std::uint8_t>(i * 37 + seed);
    return out;
}

TEST(SimFrames, AnswersQueriesFromItsConfiguration) {
    const std::tuple<std::string, Bytes, std::string> cases[] = {
        {"2.7", frame("Q") + frame("V") + frame("Y9") + frame("Q"), "S2.7\x05S"},
        {"2", frame("V"), "2  "},  // the version is padded or cut to three bytes
        {"12345", frame("V"), "123"},
        {"", memoryRead(11, 13), "1234       "},
        {"", memoryRead(0, 100), ""},
        {"", frame("H") + frame("YT", {1}) + memoryWrite(1024, {1, 2}), ""}};
    for (const auto& [version, request, reply] : cases) {
        Config config;
        config.status = 'S';
        config.version = version;
        config.lock = 0x05;
        OpenedInstrument t(config);
        t.send(request);
        EXPECT_EQ(t.receiveText(), reply) << version << " " << request.size();
    }
}

TEST(SimFrames, MemoryReadsComeFromTheConfiguredImageAndWrapPastTheTop) {
    Config config;
    config.eeprom = pattern(synthor::sim::kEepromSize, 3);
    const Bytes& e = config.eeprom;
    OpenedInstrument t(config);
    t.send(memoryRead(4, 0xFFFE));
    EXPECT_EQ(t.receive(), (Bytes{e[65534], e[65535], e[0], e[1]}));
    t.send(memoryRead(255, 0x1234));
    EXPECT_EQ(t.receive(), Bytes(e.begin() + 0x1234, e.begin() + 0x1234 + 255));
}

TEST(SimFrames, WritesPastTheEndOfPointMemoryAreDroppedAndTheStreamStaysInStep) {
    constexpr unsigned top = synthor::sim::kPointMemorySize;
    OpenedInstrument t;
    t.send(memoryWrite(top - 2, {1, 2, 3, 4, 5}) + frame("Q") +
           memoryWrite(0xFFFFFF, pattern(255, 0)) + frame("Q") + memoryWrite(1024, {}) +
           frame("Q"));
    EXPECT_EQ(t.sim.memoryAt(top - 3), 0);
    EXPECT_EQ(t.sim.memoryAt(top - 2), 1);
    EXPECT_EQ(t.sim.memoryAt(top - 1), 2);
    EXPECT_EQ(t.sim.memoryAt(top), 0);
    EXPECT_EQ(t.sim.memoryAt(0xFFFFFF), 0);
    EXPECT_EQ(t.receiveText(), "RRR");
}

TEST(SimFrames, BytesThatStartNoFrameAreSkipped) {
    struct Case {
        Bytes bytes;
        Bytes reply;
        std::uint64_t skipped;
    };
    const Case cases[] = {
        {{0x00, 0xFF, 'q', 'Q'}, {'R'}, 3},
        {{'Y', 0x00, 'Q'}, {'R'}, 2},  // "Y" and the byte after it
        {{'Y', 'Y', '9'}, {0}, 1},     // the second "Y" starts the lock query
        {{'Y', 'q', 'V'}, {'1', '.', '0'}, 2},
        {{'A', 'B', 'Y', 'A', 0, 'Q'}, {'R'}, 2},
    };
    for (const Case& c : cases) {
        OpenedInstrument t;
        t.send(c.bytes);
        EXPECT_EQ(t.receive(), c.reply);
        EXPECT_EQ(t.sim.runState().skippedBytes, c.skipped);
    }
}

TEST(SimFrames, TheReplyBufferIsBounded) {
    OpenedInstrument t;
    for (int i = 0; i < 300; ++i)
        t.send(memoryRead(255, 0));
    EXPECT_EQ(t.sim.pendingReplyBytes(), 65536u);
    EXPECT_EQ(t.receive().size(), 65536u);
    t.send(frame("Q"));
    EXPECT_EQ(t.receiveText(), "R");
}

// One run through the modes and their oddities. Plan addresses, counts, dwell and hop values
// are read back by the output description's tests.
TEST(SimFrames, StartAndStopFramesSetTheMode) {
    OpenedInstrument t;
    const auto after = [&](const Bytes& frames) {
        t.send(frames);
        return t.sim.runState();
    };
    RunState r = after(frame("YA", {0x0F}) + frame("Z", {9, 8, 7, 6}) + frame("YT", {2}));
    EXPECT_EQ(r.mode, Mode::ModeSelected);
    EXPECT_EQ(r.setup, (std::array<std::uint8_t, 4>{9, 8, 7, 6}));
    r = after(startFrame("x", 1024, 2, 74));  // a start frame ends the modulation set-up
    EXPECT_EQ(std::tuple(r.mode, r.stepped, r.setup, r.trigger),
              std::tuple(Mode::LevelSweep, true, std::nullopt, 2));
    const Bytes hop = frame("YR", be16(1) + be16(2) + be16(3));
    r = after(hop + frame("Q"));  // a status query does not stop the hop
    EXPECT_EQ(std::tuple(r.mode, r.stepped), std::tuple(Mode::PhaseHop, false));
    EXPECT_EQ(after(startFrame("YB", 1024, 3, 74)).mode, Mode::FrequencySweep);
    r = after(frame("YI", be24(2000)));  // showing a point ends a sweep
    EXPECT_EQ(std::tuple(r.mode, r.pointAddress), std::tuple(Mode::ContinuousWave, 2000u));
    EXPECT_EQ(after(frame("YA", {1}) + startFrame("X", 1024, 72, 9)).mode, Mode::ModulationTable);
    EXPECT_EQ(after(startFrame("Yd", 1024, 2, 5)).mode, Mode::ComplexSweep);
    r = after(frame("YA", {0}));
    EXPECT_EQ(std::tuple(r.mode, r.stepped), std::tuple(Mode::ContinuousWave, false));
}

// Every frame kind, with data bytes that look like commands and junk between frames.
Bytes everyFrameKind() {
    const Bytes cw{0x0B, 0xEB, 0xC2, 0x00, 0x3C, 0x0F, 0xA0, 'Y', 'Q', 'W', 0x3C, 0x1A, 'P', 'V'};
    const Bytes junk{0x00, 0xFF, 'Y', 0x01};
    return memoryWrite(130064, cw) + frame("YI", be24(130064)) + frame("YQ", be16(4096)) +
           frame("Q") + frame("V") + frame("H") + frame("Y9") + frame("YT", {1}) +
           memoryRead(11, 2) + frame("Z", {'Q', 'Y', 'A', 0}) +
           memoryWrite(1024, pattern(28, 'W')) + frame("YA", {0x0F}) +
           startFrame("X", 1024, 2, 74) + startFrame("x", 1024, 2, 75) +
           startFrame("YB", 1024, 2, 76) + startFrame("Yb", 1024, 2, 77) +
           frame("YR", be16('Y') + be16('Q') + be16(93)) + startFrame("YD", 1024, 7, 5) +
           startFrame("Yd", 1024, 7, 6) + junk + memoryWrite(5000, pattern(255, 'Y')) +
           memoryRead(255, 8152) + frame("YA", {0}) + frame("Q");
}

struct Outcome {
    RunState run;
    Bytes replies;
    Bytes memory;

    bool operator==(const Outcome&) const = default;
};

Outcome feed(const Bytes& script, const std::vector<std::size_t>& cuts) {
    OpenedInstrument t;
    std::size_t from = 0;
    for (std::size_t cut : cuts) {
        t.send(Bytes(script.begin() + from, script.begin() + cut));
        from = cut;
    }
    t.send(Bytes(script.begin() + from, script.end()));
    Outcome o{t.sim.runState(), t.receive(), {}};
    for (unsigned a : {130064u, 1024u, 5000u}) {
        for (unsigned i = 0; i < 260; ++i)
            o.memory.push_back(t.sim.memoryAt(a + i));
    }
    return o;
}

TEST(SimFrames, CuttingTheStreamAnywhereGivesTheSameResult) {
    const Bytes script = everyFrameKind();
    const Outcome whole = feed(script, {});
    EXPECT_EQ(whole.run.frames, 23u);
    EXPECT_EQ(whole.run.skippedBytes, 4u);
    EXPECT_EQ(whole.replies.size(), 1u + 3 + 1 + 11 + 255 + 1);

    for (std::size_t cut = 1; cut < script.size(); ++cut) {
        ASSERT_EQ(feed(script, {cut}), whole) << "cut at byte " << cut;
    }
    std::vector<std::size_t> everyByte;
    for (std::size_t i = 1; i < script.size(); ++i)
        everyByte.push_back(i);
    EXPECT_EQ(feed(script, everyByte), whole);
}

}  // namespace
