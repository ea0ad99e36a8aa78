#include "plans/plan_files.hpp"

#include <gtest/gtest.h>

#include "plans/plan_text.hpp"
#include "support/session_fixture.hpp"

namespace synthor::testing {
namespace {

const Box kTooFew{"Too few sweep points.", 48, "Signal Gen"};
const Box kTooMany{"Too many sweep points.", 48, "Signal Gen"};

std::string freqFile(const std::string& header, const std::string& plan = "1 1000\n2 1001\n") {
    return "[FREQUENCYSWEEP]\n" + header + "[PLAN]\n" + plan;
}

using PlanFiles = PlanTest;

// The upload inside the read still uses the previous plan's count: 0 the first time, so only
// the band table's end mark goes out; read again, the three points of the previous plan.
TEST_F(PlanFiles, ExampleFrequencyFileReadsAndUploadsWithThePreviousCount) {
    const auto path = file("f.dat", kFreqSweepFile);
    ASSERT_TRUE(LoadFreqSweepPlan(session, true, path));
    const FreqPlan& p = session.plans.freq;
    EXPECT_EQ(p.FreqPlanCount, 3);
    EXPECT_EQ(p.FreqPlanHz[2], 1002e6);
    EXPECT_EQ(p.FreqPlanDwell, 1000);
    EXPECT_EQ(frames(), Frames{"57 02 01 FC 20 FF FF"});
    ASSERT_TRUE(LoadFreqSweepPlan(session, true, path));
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0].substr(0, 14), "57 0E 00 04 00");
    EXPECT_TRUE(prompts.boxes.empty());
}

// The two frequency readers clamp the level to 15 and 17 dBm; both clamp the dwell to
// 26..65500 after truncating it. A marker is a whole item, quotes removed.
TEST_F(PlanFiles, FrequencyHeaderClampsDifferBetweenReaders) {
    const std::tuple<const char*, float, float, int> cases[] = {
        {"[LEVEL]\n20\n", 15, 17, 0},      {"[level]\n-30\n", -25, -25, 0},
        {"[Level]\n1.5\n", 1.5F, 1.5F, 0}, {"[LEVEL] 5\n", 0, 0, 0},
        {"[DWELL]\n10\n", 0, 0, 26},       {"[DWELL]\n70000\n", 0, 0, 65500},
        {"[DWELL]\nabc\n", 0, 0, 26},      {"[DWELL],99.9\n", 0, 0, 99},
        {"\"[DWELL]\"\n-5\n", 0, 0, 26},
    };
    const auto plain = file("plain.dat", freqFile(""));
    for (const auto& [header, level, level2, dwell] : cases) {
        SCOPED_TRACE(header);
        session.plans.freq = FreqPlan{};
        ASSERT_TRUE(LoadFreqSweepPlan(session, true, file("a.dat", freqFile(header))));
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, level);
        EXPECT_EQ(session.plans.freq.FreqPlanDwell, dwell);
        session.plans.freq = FreqPlan{};
        prompts.files.push_back(plain);
        ASSERT_TRUE(ReadFreqPlan2(session, file("b.dat", "[FREQUENCY]\n" + std::string(header) +
                                                             "[PLAN]\n1 1000\n2 1001\n")));
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, level2);
        EXPECT_EQ(session.plans.freq.FreqPlanDwell, dwell);
    }
}

// ReadFreqPlan2 reads its own file, then asks for a plan through the dialog and keeps its own
// count after that read. Points out of range are stored and make the plan invalid;
// "[FREQUENCYSWEEP]" alone is not its marker; a cancelled dialog leaves the count alone.
TEST_F(PlanFiles, ReadFreqPlan2) {
    prompts.files.push_back(file("other.dat", freqFile("")));
    ASSERT_TRUE(
        ReadFreqPlan2(session, file("p.dat", "[FREQUENCY]\n[PLAN]\n1 1000\n2 1\n3 9000\n")));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 3);
    EXPECT_EQ(session.plans.freq.FreqPlanValid, 0);
    EXPECT_EQ(session.plans.freq.FreqPlanHz[2], 9000e6);
    prompts.files.push_back(file("d.dat", kFreqSweepFile));
    EXPECT_FALSE(ReadFreqPlan2(session, file("f.dat", kFreqSweepFile)));
    session.plans.freq.FreqPlanCount = 7;
    EXPECT_TRUE(ReadFreqPlan2(session, file("q.dat", "[FREQUENCY]\n[PLAN]\n1 1000\n2 1001\n")));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 7);
    EXPECT_EQ(session.plans.freq.FreqPlanValid, -1);
    EXPECT_EQ(prompts.dialogs.size(), 3u);
}

// A plan line has exactly its reader's field count: tabs do not separate, a leading blank makes
// three fields, "Chr$(9)" separates. Frequencies are magnitudes; markers after [PLAN] are lines.
TEST_F(PlanFiles, PlanLinesNeedExactlyTheirFieldCount) {
    const std::tuple<const char*, int, double> cases[] = {
        {"1\t1000\n2\t1001\n", 0, 0},
        {" 1 1000\n1 1001\n2 1002\n", 2, 1001e6},
        {"1 -1000\n2 1001\n", 2, 1000e6},
        {"1 1000\n[LEVEL]\n20\n2 1001\n", 2, 1000e6},
    };
    for (const auto& [plan, count, first] : cases) {
        SCOPED_TRACE(plan);
        prompts.boxes.clear();
        const bool ok = LoadFreqSweepPlan(session, true, file("l.dat", freqFile("", plan)));
        EXPECT_EQ(session.plans.freq.FreqPlanCount, count);
        EXPECT_EQ(ok, count >= 2);
        if (count >= 2) {
            EXPECT_EQ(session.plans.freq.FreqPlanHz[0], first);
        } else {
            EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooFew});
        }
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, 0.0F);
    }
}

// Without its type marker a read fails at the end with nothing sent, keeping what it read; a
// runtime error in the upload (points of 0 Hz left by a previous count) ends the read too.
TEST_F(PlanFiles, FailedReads) {
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("n.dat", "[LEVEL]\n3\n[PLAN]\n1 1\n2 2\n")));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 0);
    EXPECT_EQ(session.plans.freq.FreqPlanLevel, 3.0F);
    EXPECT_TRUE(frames().empty());
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("l.dat", kLevelSweepFile)));
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, sandbox.path("missing.dat").string()));
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, sandbox.dir().string()));
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("v.dat", "[FREQUENCYSWEEP]\n[DWELL]\n")));
    // An item or a plan line past its limit ends the read (each file reads well without it).
    for (const std::size_t length : {4096, 4097}) {  // items and plan lines of up to 4096
        const std::string item = "[LEVEL]," + std::string(length - 1, ' ') + "1\n";
        EXPECT_EQ(LoadFreqSweepPlan(session, true, file("i.dat", freqFile(item))), length == 4096);
        const std::string line(length, 'y');
        EXPECT_EQ(
            LoadFreqSweepPlan(session, true, file("p.dat", freqFile("", "1 1\n2 2\n" + line))),
            length == 4096);
    }
    EXPECT_FALSE(LoadFreqSweepPlan(session, false, ""));  // dialog cancelled
    EXPECT_TRUE(prompts.boxes.empty());
    ASSERT_EQ(prompts.dialogs.size(), 1u);
    EXPECT_EQ(prompts.dialogs[0].initialDir, "C:\\KX30-11-02");
    EXPECT_EQ(prompts.dialogs[0].filter, "All Files (*.*)|*.*|data_files(*.dat)|*.dat|");
    EXPECT_EQ(prompts.dialogs[0].filterIndex, 2);
    session.plans.level.LevelPlanValid = -1;
    EXPECT_FALSE(ReadPowerPlan2(session, sandbox.path("missing.dat").string()));
    EXPECT_EQ(session.plans.level.LevelPlanValid, 0);
    // The upload with a stale count of 5 fails on unset points; the file's count is still
    // stored, so the same file reads at the next try.
    session.plans.freq.FreqPlanCount = 5;
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("f.dat", kFreqSweepFile)));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 3);
    EXPECT_TRUE(LoadFreqSweepPlan(session, true, file("f.dat", kFreqSweepFile)));
    // A good read through the dialog leaves the current folder alone.
    const auto before = std::filesystem::current_path();
    prompts.files.push_back(file("g.dat", kFreqSweepFile));
    EXPECT_TRUE(LoadFreqSweepPlan(session, false, ""));
    EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST_F(PlanFiles, The9002ndPointEndsTheRead) {
    std::string plan;
    for (int i = 0; i < 9001; ++i)
        plan += std::to_string(i) + " " + std::to_string(1000 + i % 7) + "\n";
    prompts.files.push_back(file("max.dat", freqFile("", plan)));
    EXPECT_TRUE(LoadFreqSweepPlan(session, false, ""));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 9001);
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("over.dat", freqFile("", plan + "x 1\n"))));
    EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooMany});
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 9001);
    EXPECT_TRUE(frames().empty());  // nothing uploaded
    EXPECT_FALSE(
        ReadPowerPlan2(session, file("over2.dat", "[LEVELSWEEP]\n[PLAN]\n" + plan + "x 1\n")));
    EXPECT_EQ(session.plans.level.LevelPlanValid, 0);
    EXPECT_EQ(prompts.boxes.size(), 1u);
}

// ReadPowerPlan clamps levels to 15 dBm with messages; ReadPowerPlan2 to 17 dBm, silently, with
// the fixed frequency's magnitude clamped to 0.3..8192 MHz and validity flags instead.
TEST_F(PlanFiles, LevelReaders) {
    prompts.files.push_back(file("l.dat", std::string(kLevelSweepFile) + "4 20\n5 -40\n"));
    ASSERT_TRUE(ReadPowerPlan(session));
    LevelPlan& p = session.plans.level;
    EXPECT_EQ(p.LevelPlanCount, 5);
    EXPECT_EQ(p.LevelPlanFreqHz, 2400e6);
    EXPECT_EQ(p.LevelPlanDbm[3], 15.0F);
    EXPECT_EQ(p.LevelPlanDbm[4], -25.0F);
    ASSERT_TRUE(ReadPowerPlan2(
        session, file("l2.dat", "[levelsweep]\n[FREQUENCY]\n-9000\n[PLAN]\n1 20\n2 0\n")));
    EXPECT_EQ(p.LevelPlanDbm[0], 17.0F);
    EXPECT_EQ(p.LevelPlanFreqHz, 8192e6);
    EXPECT_EQ(p.LevelPlanValid, -1);
    EXPECT_FALSE(
        ReadPowerPlan2(session, file("l3.dat", "[LEVELSWEEP]\n[FREQUENCY]\n0.1\n[PLAN]\n1 0\n")));
    EXPECT_EQ(p.LevelPlanFreqHz, 0.3e6);
    EXPECT_EQ(p.LevelPlanValid, 0);
    EXPECT_FALSE(ReadPowerPlan2(session, file("f.dat", kFreqSweepFile)));
    EXPECT_TRUE(prompts.boxes.empty());
    prompts.files.push_back(file("short.dat", "[LEVELSWEEP]\n[PLAN]\n1 0\n"));
    EXPECT_FALSE(ReadPowerPlan(session));
    EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooFew});
}

// Three fields a line: a leading blank makes three of "5 -20", the label read as the phase. A
// negative phase makes the plan invalid; the dwell floor is 20.
TEST_F(PlanFiles, ComplexReader) {
    ComplexPlan& p = session.plans.complex;
    ASSERT_TRUE(ReadComplexPlan(session, file("c.dat", kComplexSweepFile)));
    EXPECT_EQ(p.ComplexPlanCount, 3);
    EXPECT_EQ(p.ComplexPlanPhase[2], 180.0F);
    EXPECT_EQ(p.ComplexPlanDbm[2], -12.0F);
    EXPECT_EQ(p.ComplexPlanValid, -1);
    prompts.files.push_back(
        file("d.dat", "[COMPLEXSWEEP]\n[DWELL]\n10\n[PLAN]\n 5 -20\n2 -45 30\n"));
    ASSERT_TRUE(ReadComplexPlan(session, "?"));
    EXPECT_EQ(p.ComplexPlanDwell, 20);
    EXPECT_EQ(p.ComplexPlanPhase[0], 5.0F);
    EXPECT_EQ(p.ComplexPlanDbm[0], -20.0F);
    EXPECT_EQ(p.ComplexPlanDbm[1], 15.0F);
    EXPECT_EQ(p.ComplexPlanValid, 0);
    EXPECT_FALSE(ReadComplexPlan(session, file("f.dat", kFreqSweepFile)));
    EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooFew});  // two fields per line: no points
}

}  // namespace
}  // namespace synthor::testing
