// Identity read and calibration load against a memory-backed instrument: the frames asked,
// what lands in each table, progress, and what a silent or faltering instrument leaves behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "calibration/sig_gen_routines.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using synthor::testing::FakeDriver;
using Box = synthor::testing::RecordingPrompts::Box;

// A minimal instrument behind the scripted driver: it answers "P" from a 64 KiB memory image of
// a fixed pattern, "Q" with "R" and "V" with "1.0", records every frame written, and can stop
// answering or answer short. Frames must arrive whole, one per write, as the link sends them.
class MemoryInstrument {
  public:
    MemoryInstrument() {
        for (std::size_t a = 0; a < memory.size(); ++a)
            memory[a] = static_cast<std::uint8_t>(a * 7 + (a >> 8));  // no two blocks alike
    }

    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(65536);
    int answersLeft = -1;  // replies still given; -1 for no limit
    // "P" address -> how many more replies from there lose their last byte (-1: all of them).
    std::map<std::size_t, int> shorten;
    std::vector<std::string> frames;

    d2xx::DriverTable table() {
        d2xx::DriverTable t = driver_.table();
        t.write = [this](d2xx::Handle, const void* data, std::uint32_t n, std::uint32_t* done) {
            *done = n;
            frames.emplace_back(static_cast<const char*>(data), n);
            answer(frames.back());
            return d2xx::Ok;
        };
        return t;
    }

    std::string bytes(std::size_t from, std::size_t to) const {
        return {reinterpret_cast<const char*>(memory.data()) + from, to - from};
    }
    std::size_t countFrames(const std::string& prefix) const {
        return std::count_if(frames.begin(), frames.end(),
                             [&](const std::string& f) { return f.rfind(prefix, 0) == 0; });
    }

  private:
    void answer(const std::string& frame) {
        std::string reply;
        if (frame[0] == 'P' && frame.size() == 4) {
            const std::size_t address =
                static_cast<std::uint8_t>(frame[2]) * 256u + static_cast<std::uint8_t>(frame[3]);
            reply = bytes(address, address + static_cast<std::uint8_t>(frame[1]));
            if (auto s = shorten.find(address); s != shorten.end() && s->second != 0) {
                if (s->second > 0) --s->second;
                reply.pop_back();
            }
        } else if (frame == "Q" || frame == "V") {
            reply = frame == "Q" ? "R" : "1.0";
        } else {
            return;
        }
        if (answersLeft == 0) return;
        if (answersLeft > 0) --answersLeft;
        driver_.reads.push_back({d2xx::Ok, reply});
    }

    FakeDriver driver_;  // its queue of reads holds the replies
};

class RecordedProgress final : public CalibrationProgress {
  public:
    std::vector<float> values;
    void setValue(float v) override { values.push_back(v); }
};

struct CalibrationFixture : ::testing::Test {
    CalibrationFixture() { link.OpenUSB("VexaSource Series Agile Synthesizer"); }

    MemoryInstrument instrument;
    synthor::testing::RecordingPrompts prompts;
    synthor::testing::FakeClock clock;
    UsbLink link{instrument.table(), prompts, clock};
    CalibrationTables tables;
    RecordedProgress progress;
};

// Tables 1 and 2 in 169 blocks of 70 bytes; tables 3 and 4 in 70 blocks of 100 and a 2-byte tail.
TEST_F(CalibrationFixture, LoadFillsTheFourTablesFromTheirAddresses) {
    LoadCalData(link, tables, progress);
    EXPECT_TRUE(tables.levelTablesComplete());
    EXPECT_EQ(tables.CalTable1, instrument.bytes(8152, 19982));
    EXPECT_EQ(tables.CalTable2, instrument.bytes(20224, 32054));
    EXPECT_EQ(tables.CalTable3, instrument.bytes(1150, 8152));
    EXPECT_EQ(tables.CalTable4, instrument.bytes(32256, 39258));
    ASSERT_EQ(instrument.frames.size(), 480u);
    EXPECT_EQ(instrument.frames[0], std::string("P\x46\x1F\xD8", 4));
    EXPECT_EQ(instrument.frames[408], std::string("P\x02\x1F\xD6", 4));  // tail at 8150
    ASSERT_EQ(progress.values.size(), 1u + 169 + 169 + 70 + 70);
    EXPECT_EQ(progress.values.front(), 0);
    EXPECT_FLOAT_EQ(progress.values[169], 38);
    EXPECT_FLOAT_EQ(progress.values.back(), 100);
    EXPECT_TRUE(std::is_sorted(progress.values.begin(), progress.values.end()));
}

TEST_F(CalibrationFixture, ShortBlocksAreAskedAgainOnlyForTheLevelTables) {
    instrument.shorten[8152] = 1;
    instrument.shorten[1150] = 1;
    LoadCalData(link, tables, progress);
    EXPECT_EQ(instrument.frames.size(), 481u);
    EXPECT_EQ(instrument.frames[0], instrument.frames[1]);
    EXPECT_EQ(tables.CalTable1, instrument.bytes(8152, 19982));
    // Later bytes shift into the gap.
    EXPECT_EQ(tables.CalTable3, instrument.bytes(1150, 1249) + instrument.bytes(1250, 8152));
}

// An instrument that stops answering, or never sends a block whole, would keep a block of
// table 1 asking forever; the load gives up after four short replies in a row and
// keeps only the blocks that arrived.
TEST_F(CalibrationFixture, ASilentInstrumentEndsTheLoad) {
    struct Case {
        int answers;             // replies given before falling silent (-1: all)
        std::size_t shortBlock;  // block of table 1 that always arrives short (0: none)
        std::size_t blocksKept;
    };
    const Case cases[] = {{0, 0, 0}, {10, 0, 10}, {-1, 6, 5}};
    for (const auto& c : cases) {
        MemoryInstrument m;
        m.answersLeft = c.answers;
        if (c.shortBlock) m.shorten[8152 + 70 * (c.shortBlock - 1)] = -1;
        UsbLink l{m.table(), prompts, clock};
        l.OpenUSB("VexaSource Series Agile Synthesizer");
        RecordedProgress p;
        LoadCalData(l, tables, p);
        EXPECT_EQ(tables.CalTable1, m.bytes(8152, 8152 + c.blocksKept * 70));
        EXPECT_TRUE(tables.CalTable2.empty() && tables.CalTable3.empty() &&
                    tables.CalTable4.empty());
        EXPECT_EQ(m.countFrames("P"), c.blocksKept + 4);  // four short replies in a row
        EXPECT_FLOAT_EQ(p.values.back(), static_cast<float>(c.blocksKept) / 169 * 38);
    }
}

// Q, then P and Q for each of the 15 blocks of 11 bytes from address 2, then V, whose reply
// replaces block 10. When the instrument stops answering, the read ends with a message.
TEST_F(CalibrationFixture, IdentityBlocksThenTheVersionOrNoResponse) {
    Identity identity;
    ReadIdentity(link, identity);
    EXPECT_EQ(identity[0], "");
    EXPECT_EQ(identity[1], instrument.bytes(2, 13));
    EXPECT_EQ(identity[15], instrument.bytes(156, 167));
    EXPECT_EQ(identity[10], "1.0");
    ASSERT_EQ(instrument.frames.size(), 1u + 2 * 15 + 1);
    EXPECT_EQ(instrument.frames[3], std::string("P\x0B\x00\x0D", 4));
    EXPECT_EQ(instrument.frames.back(), "V");
    EXPECT_TRUE(prompts.boxes.empty());

    // Answers: the first Q, then P and Q for blocks 1 and 2, then P for block 3 only.
    instrument.answersLeft = 1 + 2 * 2 + 1;
    instrument.frames.clear();
    Identity partial;
    ReadIdentity(link, partial);
    EXPECT_EQ(partial[3], instrument.bytes(24, 35));
    for (int i = 4; i <= 15; ++i)
        EXPECT_EQ(partial[i], "") << i;
    EXPECT_EQ(prompts.boxes, (std::vector<Box>{{"No Response", 16, "Hardware Info"}}));
    EXPECT_EQ(instrument.countFrames("V"), 0u);
}

}  // namespace
}  // namespace synthor
