#include "plans/plan_files.hpp"

#include <gtest/gtest.h>

#include "plan_fixture.hpp"

namespace synthor::testing {
namespace {

using Box = RecordingPrompts::Box;
const Box kTooFew{"Too few sweep points.", 48, "Signal Gen"};
const Box kTooMany{"Too many sweep points.", 48, "Signal Gen"};

std::string freqFile(const std::string& header, const std::string& plan = "1 1000\n2 1001\n") {
    return "[FREQUENCYSWEEP]\n" + header + "[PLAN]\n" + plan;
}

using PlanFiles = PlanTest;

TEST_F(PlanFiles, ExampleFrequencyFileReadsAndUploadsWithThePreviousCount) {
    const auto path = file("f.dat", kFreqSweepFile);
    ASSERT_TRUE(LoadFreqSweepPlan(session, true, path));
    const FreqPlan& p = session.plans.freq;
    EXPECT_EQ(p.FreqPlanCount, 3);
    EXPECT_EQ(p.FreqPlanHz[0], 1000e6);
    EXPECT_EQ(p.FreqPlanHz[2], 1002e6);
    EXPECT_EQ(p.FreqPlanDwell, 1000);
    // The count before the read was 0: only the band table's end mark goes out.
    EXPECT_EQ(frames(), std::vector<std::string>{"57 02 01 FC 20 FF FF"});
    // Read again, the three points of the previous plan are uploaded.
    ASSERT_TRUE(LoadFreqSweepPlan(session, true, path));
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0].substr(0, 14), "57 0E 00 04 00");
    EXPECT_TRUE(prompts.boxes.empty());
}

struct ClampCase {
    const char* header;
    float level;   // LoadFreqSweepPlan
    float level2;  // ReadFreqPlan2
    int dwell;
};

TEST_F(PlanFiles, FrequencyHeaderClamps) {
    const ClampCase cases[] = {
        {"[LEVEL]\n20\n", 15, 17, 0},      {"[level]\n-30\n", -25, -25, 0},
        {"[Level]\n1.5\n", 1.5F, 1.5F, 0}, {"[LEVEL] 5\n", 0, 0, 0},  // not a whole item
        {"[DWELL]\n10\n", 0, 0, 26},       {"[DWELL]\n70000\n", 0, 0, 65500},
        {"[DWELL]\nabc\n", 0, 0, 26},      {"[DWELL],99.9\n", 0, 0, 99},
        {"\"[DWELL]\"\n-5\n", 0, 0, 26},
    };
    const auto plain = file("plain.dat", "[FREQUENCYSWEEP]\n[PLAN]\n1 1000\n2 1001\n");
    for (const ClampCase& c : cases) {
        SCOPED_TRACE(c.header);
        session.plans.freq = FreqPlan{};
        ASSERT_TRUE(LoadFreqSweepPlan(session, true, file("a.dat", freqFile(c.header))));
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, c.level);
        EXPECT_EQ(session.plans.freq.FreqPlanDwell, c.dwell);
        session.plans.freq = FreqPlan{};
        prompts.files.push_back(plain);
        ASSERT_TRUE(ReadFreqPlan2(session, file("b.dat", "[FREQUENCY]\n" + std::string(c.header) +
                                                             "[PLAN]\n1 1000\n2 1001\n")));
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, c.level2);
        EXPECT_EQ(session.plans.freq.FreqPlanDwell, c.dwell);
    }
}

TEST_F(PlanFiles, ReadFreqPlan2CeilingIs17) {
    prompts.files.push_back(file("other.dat", "[FREQUENCYSWEEP]\n[PLAN]\n1 1000\n2 1001\n"));
    ASSERT_TRUE(ReadFreqPlan2(
        session, file("p.dat", "[FREQUENCY]\n[LEVEL]\n20\n[PLAN]\n1 1000\n2 1\n3 9000\n")));
    const FreqPlan& p = session.plans.freq;
    EXPECT_EQ(p.FreqPlanLevel, 17.0F);
    EXPECT_EQ(p.FreqPlanCount, 3);       // its own count, after the dialog's read
    EXPECT_EQ(p.FreqPlanValid, 0);       // 9000 MHz is out of range ...
    EXPECT_EQ(p.FreqPlanHz[2], 9000e6);  // ... and stored anyway
    EXPECT_EQ(prompts.dialogs.size(), 1u);
}

TEST_F(PlanFiles, ReadFreqPlan2NeedsTheFrequencyMarkerAndTheDialog) {
    // "[FREQUENCYSWEEP]" alone is not its marker.
    prompts.files.push_back(file("d.dat", kFreqSweepFile));
    EXPECT_FALSE(ReadFreqPlan2(session, file("p.dat", kFreqSweepFile)));
    // A cancelled dialog leaves the count alone.
    session.plans.freq.FreqPlanCount = 7;
    EXPECT_TRUE(ReadFreqPlan2(session, file("q.dat", "[FREQUENCY]\n[PLAN]\n1 1000\n2 1001\n")));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 7);
    EXPECT_EQ(session.plans.freq.FreqPlanValid, -1);
}

struct LineCase {
    const char* plan;
    int count;
    double first;
};

TEST_F(PlanFiles, PlanLinesNeedExactlyTheirFieldCount) {
    const LineCase cases[] = {
        {"1 1000\n2 1001\n", 2, 1000e6},
        {"1\t1000\n2\t1001\n", 0, 0},                  // tabs do not separate
        {" 1 1000\n1 1001\n2 1002\n", 2, 1001e6},      // a leading blank makes three fields
        {"1 -1000\n2 1001\n", 2, 1000e6},              // magnitude
        {"1 1000\n[LEVEL]\n20\n2 1001\n", 2, 1000e6},  // markers after [PLAN] are plan lines
        {"1 1000 x\n1Chr$(9)1001\n2 1002\n", 2, 1001e6},
    };
    for (const LineCase& c : cases) {
        SCOPED_TRACE(c.plan);
        prompts.boxes.clear();
        const bool ok = LoadFreqSweepPlan(session, true, file("l.dat", freqFile("", c.plan)));
        EXPECT_EQ(session.plans.freq.FreqPlanCount, c.count);
        EXPECT_EQ(ok, c.count >= 2);
        if (c.count >= 2) {
            EXPECT_EQ(session.plans.freq.FreqPlanHz[0], c.first);
        } else {
            EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooFew});
        }
        EXPECT_EQ(session.plans.freq.FreqPlanLevel, 0.0F);
    }
}

TEST_F(PlanFiles, MissingTypeMarkerFailsAtOnceAndTheNextReadWorks) {
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("n.dat", "[LEVEL]\n3\n[PLAN]\n1 1\n2 2\n")));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 0);
    EXPECT_EQ(session.plans.freq.FreqPlanLevel, 3.0F);  // read before the end stays
    EXPECT_TRUE(frames().empty());
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("l.dat", kLevelSweepFile)));
    EXPECT_TRUE(LoadFreqSweepPlan(session, true, file("f.dat", kFreqSweepFile)));
    EXPECT_TRUE(prompts.boxes.empty());
}

TEST_F(PlanFiles, ARuntimeErrorInTheUploadEndsTheRead) {
    // The previous count reaches stored points of 0 Hz, whose level word cannot be computed.
    session.plans.freq.FreqPlanCount = 5;
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("f.dat", kFreqSweepFile)));
    EXPECT_EQ(session.plans.freq.FreqPlanCount, 5);
}

TEST_F(PlanFiles, ErrorPaths) {
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, (dir / "missing.dat").string()));
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, dir.string()));
    EXPECT_FALSE(LoadFreqSweepPlan(session, true, file("v.dat", "[FREQUENCYSWEEP]\n[DWELL]\n")));
    EXPECT_FALSE(LoadFreqSweepPlan(session, false, ""));  // dialog cancelled
    EXPECT_TRUE(prompts.boxes.empty());
    ASSERT_EQ(prompts.dialogs.size(), 1u);
    EXPECT_EQ(prompts.dialogs[0].initialDir, "C:\\KX30-11-02");
    EXPECT_EQ(prompts.dialogs[0].filter, "All Files (*.*)|*.*|data_files(*.dat)|*.dat|");
    EXPECT_EQ(prompts.dialogs[0].filterIndex, 2);
    session.plans.level.LevelPlanValid = -1;
    EXPECT_FALSE(ReadPowerPlan2(session, (dir / "missing.dat").string()));
    EXPECT_EQ(session.plans.level.LevelPlanValid, 0);
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

TEST_F(PlanFiles, LevelReaders) {
    prompts.files.push_back(file("l.dat", std::string(kLevelSweepFile) + "4 20\n5 -40\n"));
    ASSERT_TRUE(ReadPowerPlan(session));
    LevelPlan& p = session.plans.level;
    EXPECT_EQ(p.LevelPlanCount, 5);
    EXPECT_EQ(p.LevelPlanFreqHz, 2400e6);
    EXPECT_EQ(p.LevelPlanDwell, 500);
    EXPECT_EQ(p.LevelPlanDbm[1], -9.5F);
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
    EXPECT_EQ(p.LevelPlanCount, 1);
    EXPECT_FALSE(ReadPowerPlan2(session, file("f.dat", kFreqSweepFile)));
    EXPECT_TRUE(prompts.boxes.empty());

    prompts.files.push_back(file("short.dat", "[LEVELSWEEP]\n[PLAN]\n1 0\n"));
    EXPECT_FALSE(ReadPowerPlan(session));
    EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooFew});
}

TEST_F(PlanFiles, ComplexReader) {
    ComplexPlan& p = session.plans.complex;
    ASSERT_TRUE(ReadComplexPlan(session, file("c.dat", kComplexSweepFile)));
    EXPECT_EQ(p.ComplexPlanCount, 3);
    EXPECT_EQ(p.ComplexPlanFreqHz, 1000e6);
    EXPECT_EQ(p.ComplexPlanPhase[2], 180.0F);
    EXPECT_EQ(p.ComplexPlanDbm[2], -12.0F);
    EXPECT_EQ(p.ComplexPlanValid, -1);

    // A leading blank gives three fields: accepted, the label read as the phase.
    prompts.files.push_back(
        file("d.dat", "[COMPLEXSWEEP]\n[DWELL]\n10\n[PLAN]\n 5 -20\n2 -45 30\n"));
    ASSERT_TRUE(ReadComplexPlan(session, "?"));
    EXPECT_EQ(p.ComplexPlanDwell, 20);
    EXPECT_EQ(p.ComplexPlanPhase[0], 5.0F);
    EXPECT_EQ(p.ComplexPlanDbm[0], -20.0F);
    EXPECT_EQ(p.ComplexPlanPhase[1], -45.0F);
    EXPECT_EQ(p.ComplexPlanDbm[1], 15.0F);
    EXPECT_EQ(p.ComplexPlanValid, 0);  // the negative phase

    EXPECT_FALSE(ReadComplexPlan(session, file("f.dat", kFreqSweepFile)));
    EXPECT_EQ(prompts.boxes, std::vector<Box>{kTooFew});  // two fields per line: no points
}

TEST_F(PlanFiles, TheCurrentFolderIsNeverChanged) {
    const auto before = std::filesystem::current_path();
    prompts.files.push_back(file("f.dat", kFreqSweepFile));
    EXPECT_TRUE(LoadFreqSweepPlan(session, false, ""));
    EXPECT_EQ(std::filesystem::current_path(), before);
}

}  // namespace
}  // namespace synthor::testing
