// Identity read and calibration load against a memory-backed instrument: the frames asked,
// what lands in each table, progress, and what a silent or faltering instrument leaves behind.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "calibration/memory_instrument.hpp"
#include "calibration/sig_gen_routines.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using synthor::testing::MemoryInstrument;

class CountingPrompts final : public Prompts {
  public:
    std::vector<std::string> boxes;
    int events = 0;
    MsgResult msgBox(std::string_view text, int style, std::string_view title) override {
        boxes.push_back(std::string(text) + "|" + std::to_string(style) + "|" + std::string(title));
        return defaultAnswer(style);
    }
    std::optional<std::string> openFile(const OpenFileRequest&) override { return std::nullopt; }
    void doEvents() override { ++events; }
};

class RecordedProgress final : public CalibrationProgress {
  public:
    std::vector<float> values;
    void setValue(float v) override { values.push_back(v); }
};

struct CalibrationFixture : ::testing::Test {
    CalibrationFixture() {
        for (std::size_t a = 0; a < instrument.memory.size(); ++a) {
            instrument.memory[a] = static_cast<std::uint8_t>(a * 7 + (a >> 8));
        }
        link.OpenUSB("VexaSource Series Agile Synthesizer");
        instrument.frames.clear();
    }
    std::string memory(std::size_t from, std::size_t to) const {
        return {reinterpret_cast<const char*>(instrument.memory.data()) + from, to - from};
    }

    MemoryInstrument instrument;
    CountingPrompts prompts;
    synthor::testing::FakeClock clock;
    UsbLink link{instrument.table(), prompts, clock};
    CalibrationTables tables;
    RecordedProgress progress;
};

TEST_F(CalibrationFixture, LoadFillsTheFourTablesFromTheirAddresses) {
    LoadCalData(link, tables, progress);
    EXPECT_TRUE(tables.levelTablesComplete());
    EXPECT_EQ(tables.CalTable1, memory(8152, 19982));  // 11830 bytes
    EXPECT_EQ(tables.CalTable2, memory(20224, 32054));
    EXPECT_EQ(tables.CalTable3, memory(1150, 8152));  // 7002 bytes
    EXPECT_EQ(tables.CalTable4, memory(32256, 39258));

    ASSERT_EQ(instrument.frames.size(), 480u);
    EXPECT_EQ(instrument.frames[0], std::string("P\x46\x1F\xD8", 4));
    EXPECT_EQ(instrument.frames[169], std::string("P\x46\x4F\x00", 4));
    EXPECT_EQ(instrument.frames[338], std::string("P\x64\x04\x7E", 4));
    EXPECT_EQ(instrument.frames[408], std::string("P\x02\x1F\xD6", 4));  // tail at 8150
    EXPECT_EQ(instrument.frames[479], std::string("P\x02\x99\x58", 4));  // tail at 39256

    ASSERT_EQ(progress.values.size(), 1u + 169 + 169 + 70 + 70);
    EXPECT_EQ(progress.values.front(), 0);
    EXPECT_FLOAT_EQ(progress.values[169], 38);
    EXPECT_FLOAT_EQ(progress.values[338], 76);
    EXPECT_FLOAT_EQ(progress.values[408], 88);
    EXPECT_FLOAT_EQ(progress.values.back(), 100);
    EXPECT_TRUE(std::is_sorted(progress.values.begin(), progress.values.end()));
    EXPECT_EQ(prompts.events, 169 + 169 + 70 + 70);
}

TEST_F(CalibrationFixture, ShortBlocksAreAskedAgainOnlyForTheLevelTables) {
    instrument.shorten[8152] = 1;
    instrument.shorten[1150] = 1;
    LoadCalData(link, tables, progress);
    EXPECT_EQ(instrument.frames.size(), 481u);
    EXPECT_EQ(instrument.frames[0], instrument.frames[1]);
    EXPECT_EQ(tables.CalTable1, memory(8152, 19982));
    EXPECT_EQ(tables.CalTable3, memory(1150, 1249) + memory(1250, 8152));  // later bytes shift
}

// An instrument that stops answering, or never sends a block whole, would keep a block of
// table 1 asking forever; the load gives up after kCalBlockAttempts short replies in a row and
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
        EXPECT_EQ(
            tables.CalTable1,
            std::string(reinterpret_cast<const char*>(m.memory.data()) + 8152, c.blocksKept * 70));
        EXPECT_TRUE(tables.CalTable2.empty() && tables.CalTable3.empty() &&
                    tables.CalTable4.empty());
        EXPECT_EQ(m.countFrames("P"), c.blocksKept + kCalBlockAttempts);
        EXPECT_FLOAT_EQ(p.values.back(), static_cast<float>(c.blocksKept) / 169 * 38);
    }
}

TEST_F(CalibrationFixture, IdentityBlocksThenTheVersion) {
    instrument.put(13, "1234       ");
    instrument.put(156, "HW-42      ");
    Identity identity;
    ReadIdentity(link, identity);
    EXPECT_EQ(identity[0], "");
    EXPECT_EQ(identity[1], memory(2, 13));
    EXPECT_EQ(identity[2], "1234       ");
    EXPECT_EQ(identity[10], "1.0");  // the version replaces block 10
    EXPECT_EQ(identity[15], "HW-42      ");
    // Q, then P and Q for each block, then V.
    ASSERT_EQ(instrument.frames.size(), 1u + 2 * 15 + 1);
    EXPECT_EQ(instrument.frames[1], std::string("P\x0B\x00\x02", 4));
    EXPECT_EQ(instrument.frames[3], std::string("P\x0B\x00\x0D", 4));
    EXPECT_EQ(instrument.frames.back(), "V");
    EXPECT_TRUE(prompts.boxes.empty());
}

TEST_F(CalibrationFixture, IdentityStopsWhenTheInstrumentStopsAnswering) {
    // Answers: the first Q, then P and Q for blocks 1 and 2, then P for block 3 only.
    instrument.answersLeft = 1 + 2 * 2 + 1;
    Identity identity;
    ReadIdentity(link, identity);
    EXPECT_EQ(identity[3], memory(24, 35));
    for (int i = 4; i <= 15; ++i)
        EXPECT_EQ(identity[i], "") << i;
    EXPECT_EQ(identity[10], "");
    EXPECT_EQ(prompts.boxes, std::vector<std::string>{"No Response|16|Hardware Info"});
    EXPECT_EQ(instrument.countFrames("V"), 0u);
}

}  // namespace
}  // namespace synthor
