// The frame stream: replies, memory writes, mode changes, resynchronisation, and independence
// from how the bytes are cut into writes.
#include <random>

#include "sim_test_support.hpp"

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

struct ReplyCase {
    const char* name;
    Bytes request;
    std::string reply;
};

class SimReplies : public testing::TestWithParam<ReplyCase> {};

TEST_P(SimReplies, AnswersQueriesFromItsConfiguration) {
    Config config;
    config.status = 'S';
    config.version = "2.7";
    config.lock = 0x05;
    OpenedInstrument t(config);
    t.send(GetParam().request);
    EXPECT_EQ(t.receiveText(), GetParam().reply);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SimReplies,
    testing::Values(ReplyCase{"Status", frame("Q"), "S"}, ReplyCase{"Version", frame("V"), "2.7"},
                    ReplyCase{"Lock", frame("Y9"), "\x05"},
                    ReplyCase{"SerialBlock", memoryRead(11, 13), "1234       "},
                    ReplyCase{"BlockFromAddressZero", memoryRead(11, 0), "  VXS-8G   "},
                    ReplyCase{"ReadOfNothing", memoryRead(0, 100), ""},
                    ReplyCase{"StartUpFrameHasNoReply", frame("H"), ""},
                    ReplyCase{"TriggerHasNoReply", frame("YT", {1}), ""},
                    ReplyCase{"MemoryWriteHasNoReply", memoryWrite(1024, {1, 2}), ""},
                    ReplyCase{"InOrder", concat({frame("Q"), frame("V"), frame("Q")}), "S2.7S"}),
    [](const testing::TestParamInfo<ReplyCase>& param) { return param.param.name; });

TEST(SimFrames, VersionReplyIsPaddedOrCutToThreeBytes) {
    for (const auto& [version, reply] : std::vector<std::pair<std::string, std::string>>{
             {"2", "2  "}, {"", "   "}, {"12345", "123"}, {"1.0", "1.0"}}) {
        Config config;
        config.version = version;
        OpenedInstrument t(config);
        t.send(frame("V"));
        EXPECT_EQ(t.receiveText(), reply) << version;
    }
}

TEST(SimFrames, MemoryReadsComeFromTheConfiguredImageAndWrapPastTheTop) {
    Config config;
    config.eeprom = pattern(synthor::sim::kEepromSize, 3);
    OpenedInstrument t(config);
    t.send(memoryRead(4, 0xFFFE));
    EXPECT_EQ(t.receive(), (Bytes{config.eeprom[65534], config.eeprom[65535], config.eeprom[0],
                                  config.eeprom[1]}));
    t.send(memoryRead(255, 0x1234));
    const Bytes expected(config.eeprom.begin() + 0x1234, config.eeprom.begin() + 0x1234 + 255);
    EXPECT_EQ(t.receive(), expected);
}

TEST(SimFrames, CalibrationRecordReadsWholeInOneReply) {
    OpenedInstrument t;
    t.send(memoryRead(70, 8152));
    const Bytes record = t.receive(70);
    const auto image = synthor::sim::defaultEeprom();
    EXPECT_EQ(record, Bytes(image.begin() + 8152, image.begin() + 8152 + 70));
}

TEST(SimFrames, MemoryWritesLandAtTheirAddress) {
    OpenedInstrument t;
    t.send(memoryWrite(130064, pattern(14, 1)));
    for (unsigned i = 0; i < 14; ++i)
        EXPECT_EQ(t.sim.memoryAt(130064 + i), pattern(14, 1)[i]);
    EXPECT_EQ(t.sim.memoryAt(130063), 0);
    EXPECT_EQ(t.sim.memoryAt(130078), 0);
}

TEST(SimFrames, WritesPastTheEndOfPointMemoryAreDroppedAndTheStreamStaysInStep) {
    constexpr unsigned top = synthor::sim::kPointMemorySize;
    OpenedInstrument t;
    t.send(concat({memoryWrite(top - 2, {1, 2, 3, 4, 5}), frame("Q"),
                   memoryWrite(0xFFFFFF, pattern(255, 0)), frame("Q"), memoryWrite(1024, {}),
                   frame("Q")}));
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
    const std::vector<Case> cases{
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
    EXPECT_EQ(t.sim.pendingReplyBytes(), synthor::sim::kReplyBufferLimit);
    EXPECT_EQ(t.receive().size(), synthor::sim::kReplyBufferLimit);
    t.send(frame("Q"));
    EXPECT_EQ(t.receiveText(), "R");
}

struct ModeCase {
    const char* name;
    Bytes frames;
    Mode mode;
    bool stepped;
};

class SimModes : public testing::TestWithParam<ModeCase> {};

TEST_P(SimModes, StartAndStopFramesSelectTheMode) {
    OpenedInstrument t;
    t.send(GetParam().frames);
    EXPECT_EQ(t.sim.runState().mode, GetParam().mode);
    EXPECT_EQ(t.sim.runState().stepped, GetParam().stepped);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SimModes,
    testing::Values(
        ModeCase{"PowerOn", {}, Mode::ContinuousWave, false},
        ModeCase{"ShowPoint", frame("YI", be24(130064)), Mode::ContinuousWave, false},
        ModeCase{"ModeSelectAlone", frame("YA", {0x0F}), Mode::ModeSelected, false},
        ModeCase{"ModulationOn", frame("YA", {1}), Mode::ModeSelected, false},
        ModeCase{"FmTable",
                 concat({frame("YA", {1}), frame("YT", {0}), startFrame("X", 1024, 72, 9)}),
                 Mode::ModulationTable, false},
        ModeCase{"LevelSweep", concat({frame("YA", {0x0F}), startFrame("X", 1024, 2, 74)}),
                 Mode::LevelSweep, false},
        ModeCase{"LevelSweepStepped", concat({frame("YA", {0x0F}), startFrame("x", 1024, 2, 74)}),
                 Mode::LevelSweep, true},
        ModeCase{"FrequencySweep", startFrame("YB", 1024, 3, 74), Mode::FrequencySweep, false},
        ModeCase{"FrequencySweepStepped", startFrame("Yb", 1024, 3, 74), Mode::FrequencySweep,
                 true},
        ModeCase{
            "ComplexSweep",
            concat({frame("YI", be24(130064)), frame("YA", {1}), startFrame("YD", 1024, 2, 5)}),
            Mode::ComplexSweep, false},
        ModeCase{"ComplexSweepStepped", concat({frame("YA", {1}), startFrame("Yd", 1024, 2, 5)}),
                 Mode::ComplexSweep, true},
        ModeCase{"PhaseHop", frame("YR", concat({be16(82), be16(164), be16(93)})), Mode::PhaseHop,
                 false},
        ModeCase{"StatusQueryDoesNotStopAHop",
                 concat({frame("YR", concat({be16(1), be16(2), be16(3)})), frame("Q")}),
                 Mode::PhaseHop, false},
        ModeCase{"StopFrame", concat({startFrame("Yb", 1024, 3, 74), frame("YA", {0})}),
                 Mode::ContinuousWave, false},
        ModeCase{"ShowPointEndsASweep",
                 concat({startFrame("YB", 1024, 3, 74), frame("YI", be24(130064))}),
                 Mode::ContinuousWave, false}),
    [](const testing::TestParamInfo<ModeCase>& param) { return param.param.name; });

TEST(SimFrames, StartFramesAndSettingsAreKept) {
    OpenedInstrument t;
    t.send(concat({frame("YQ", be16(0x1234)), frame("Z", {9, 8, 7, 6}), frame("YT", {2})}));
    EXPECT_EQ(t.sim.runState().setup, (std::optional<std::array<std::uint8_t, 4>>({9, 8, 7, 6})));
    t.send(startFrame("YB", 0x010203, 0x0405, 0x0607));
    RunState r = t.sim.runState();
    EXPECT_EQ(r.phaseWord, std::optional<std::uint16_t>(0x1234));
    EXPECT_FALSE(r.setup.has_value());  // a start frame ends the modulation set-up
    EXPECT_EQ(r.trigger, 2);
    EXPECT_EQ(r.startAddress, 0x010203u);
    EXPECT_EQ(r.count, 0x0405);
    EXPECT_EQ(r.dwellCode, 0x0607);
    t.send(frame("YR", concat({be16(0xA1A2), be16(0xB1B2), be16(0xC1C2)})));
    r = t.sim.runState();
    EXPECT_EQ(r.hop, (std::array<std::uint16_t, 3>{0xA1A2, 0xB1B2, 0xC1C2}));
    EXPECT_EQ(r.frames, 5u);
}

// Every frame kind, with data bytes that look like commands and junk between frames.
Bytes everyFrameKind() {
    return concat({
        memoryWrite(130064, {0x0B, 0xEB, 0xC2, 0x00, 0x3C, 0x0F, 0xA0, 'Y', 'Q', 'W', 0x3C, 0x1A,
                             'P', 'V'}),
        frame("YI", be24(130064)),
        frame("YQ", be16(4096)),
        frame("Q"),
        frame("V"),
        frame("H"),
        frame("Y9"),
        frame("YT", {1}),
        memoryRead(11, 2),
        frame("Z", {'Q', 'Y', 'A', 0}),
        memoryWrite(1024, pattern(28, 'W')),
        frame("YA", {0x0F}),
        startFrame("X", 1024, 2, 74),
        startFrame("x", 1024, 2, 75),
        startFrame("YB", 1024, 2, 76),
        startFrame("Yb", 1024, 2, 77),
        frame("YR", concat({be16('Y'), be16('Q'), be16(93)})),
        startFrame("YD", 1024, 7, 5),
        startFrame("Yd", 1024, 7, 6),
        {0x00, 0xFF, 'Y', 0x01},
        memoryWrite(5000, pattern(255, 'Y')),
        memoryRead(255, 8152),
        frame("YA", {0}),
        frame("Q"),
    });
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

TEST(SimFrames, OneWriteTakesEveryFrameKind) {
    const Outcome whole = feed(everyFrameKind(), {});
    EXPECT_EQ(whole.run.frames, 23u);
    EXPECT_EQ(whole.run.skippedBytes, 4u);
    EXPECT_EQ(whole.run.mode, Mode::ContinuousWave);
    EXPECT_EQ(whole.run.trigger, 1);
    EXPECT_EQ(whole.run.count, 7);
    EXPECT_EQ(whole.run.dwellCode, 6);
    EXPECT_EQ(whole.replies.size(), 1u + 3 + 1 + 11 + 255 + 1);
    EXPECT_EQ(whole.memory[260 + 27], pattern(28, 'W')[27]);
    EXPECT_EQ(whole.memory[520 + 254], pattern(255, 'Y')[254]);
}

TEST(SimFrames, CuttingTheStreamAnywhereGivesTheSameResult) {
    const Bytes script = everyFrameKind();
    const Outcome whole = feed(script, {});
    for (std::size_t cut = 1; cut < script.size(); ++cut) {
        ASSERT_EQ(feed(script, {cut}), whole) << "cut at byte " << cut;
    }
    std::vector<std::size_t> everyByte;
    for (std::size_t i = 1; i < script.size(); ++i)
        everyByte.push_back(i);
    EXPECT_EQ(feed(script, everyByte), whole);

    std::mt19937 random(20240514);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::size_t> cuts;
        for (std::size_t at = 0;;) {
            at += std::uniform_int_distribution<std::size_t>(1, 40)(random);
            if (at >= script.size()) break;
            cuts.push_back(at);
        }
        ASSERT_EQ(feed(script, cuts), whole) << "round " << round;
    }
}

TEST(SimFrames, FramesWrittenTwiceInOneWriteAndSeparatelyAgree) {
    const Bytes script = everyFrameKind();
    EXPECT_EQ(feed(concat({script, script}), {script.size()}), feed(concat({script, script}), {}));
}

}  // namespace
