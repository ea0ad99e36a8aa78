#include "plans/command_string.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "frames/sweep_frames.hpp"
#include "plan_fixture.hpp"
#include "plans/trigger.hpp"

namespace synthor::testing {
namespace {

using Commands = PlanTest;

const std::string ON = "ON";

TEST_F(Commands, NoInstrumentAndUnknownKeywords) {
    EXPECT_EQ(sig("nonsense"), "");
    EXPECT_EQ(object.CloseSigGen(), "OK");
    for (const char* k : {"CW", "SETTRIGGER", "nonsense"}) {
        EXPECT_EQ(sig(k), "Error. No instrument found.") << k;
    }
    EXPECT_TRUE(frames().empty());
}

// Each worker's own refusal texts, at the edges of its ranges; nothing is sent.
TEST_F(Commands, WorkerRefusalsSendNothing) {
    const std::tuple<const char*, std::vector<Variant>, const char*> cases[] = {
        {"cw", {0.29, 0}, "Error. Invalid frequency."},
        {"CW", {1000, 17.1F}, "Error. Invalid level."},
        {"PHASE", {0.29, 90}, "Error. Incorrect Freq value."},
        {"FM", {8192.5, 10, 0, "400HZ", ON}, "Error. Freq outside valid range."},
        {"FM", {1000, 10, 17.5F, "400HZ", ON}, "Error. Level outside valid range."},
        {"FM", {1000, -200.5, 0, "400HZ", ON}, "Error. Deviation exceeds 200kHz."},
        {"FMEXT", {0.29, 10, 0, ON}, "Value < 0.3MHz not allowed"},
        {"FMEXT", {8192.5, 10, 0, ON}, "Value > 8.192GHz not allowed"},
        {"FMEXT", {1000, 201, 0, ON}, "Error. Deviation exceeds 200kHz."},
        {"AM", {1000, 50, 18, "1K", ON}, "Error. Output level outside allowed range."},
        {"AM", {1000, 4.9F, 0, "1K", ON}, "Error. Modulation depth is 5-90%."},
        {"AM", {1000, 90.1F, 0, "1K", ON}, "Error. Modulation depth is 5-90%."},
        {"AMEXT", {0.2, 50, 0, ON}, "Error. Frequency outside allowed range."},
    };
    for (const auto& [keyword, params, result] : cases) {
        EXPECT_EQ(sig(keyword, params), result) << keyword;
        EXPECT_TRUE(frames().empty()) << result;
    }
}

// Phase words: 4096 / 50 + 0.5 = 82.42 at 1000 MHz; 360 degrees undivided below 125 MHz.
TEST_F(Commands, CwAndPhase) {
    ASSERT_EQ(sig("cw", {1000, 17}), "OK");
    EXPECT_EQ(frames().back(), "59 49 01 FC 10");
    EXPECT_NEAR(inst.readPoint(130064).a.frequencyHz.value_or(0), 1000e6, 1);
    ASSERT_EQ(sig("PHASE", {1000, -90}), "OK");
    EXPECT_EQ(frames(), Frames{"59 51 00 52"});
    ASSERT_EQ(sig("PHASE", {100, 400}), "OK");
    EXPECT_EQ(frames(), Frames{"59 51 40 00"});
}

// The table runs at dwell code 9 whichever the rate; "on" starts it (only a hop needs "ON").
TEST_F(Commands, FmTablesRunAtDwellCode9WhicheverTheRate) {
    const std::tuple<const char*, std::size_t, const char*> rates[] = {
        {"400Hz", 72, "58 00 04 00 00 48 00 09"},
        {"1kHz", 36, "58 00 04 00 00 24 00 09"},
    };
    for (const auto& [rate, points, start] : rates) {
        ASSERT_EQ(sig("FM", {1000, 100, 0, rate, "on"}), "OK");
        const auto sent = frames();
        ASSERT_EQ(sent.size(), points + 4);
        EXPECT_EQ(sent[points], "59 41 01");
        EXPECT_EQ(sent[points + 2], "59 54 00");
        EXPECT_EQ(sent.back(), start);
        EXPECT_EQ(status(1), "Status: FM 400Hz");  // whichever the rate, too
        EXPECT_EQ(inst.runState().mode, sim::Mode::ModulationTable);
    }
    ASSERT_EQ(sig("FM", {0, 0, 0, "", "OFF"}), "OK");
    EXPECT_EQ(frames(), Frames{"59 41 00"});
    EXPECT_EQ(status(1), "Status: CW");
}

// External FM sends its deviation in kHz x 0.2 at 1000 MHz and x 10 at 100 MHz; AM sends its
// depth and the carrier's level word. A depth outside 5-90% from AMEXT is reset with a message.
TEST_F(Commands, ExternalFmAndAmUseTheSetupFrame) {
    ASSERT_EQ(sig("FMEXT", {1000, -100, 0, ON}), "OK");
    auto sent = frames();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(Frames(sent.begin() + 1, sent.end()),
              (Frames{"59 49 01 FC 10", "59 41 01", "5A 04 00 4E 20"}));
    EXPECT_EQ(status(1), "Status: Ext FM");
    ASSERT_EQ(sig("FMEXT", {100, 200, 0, ON}), "OK");
    EXPECT_EQ(frames().back(), "5A 04 1E 84 80");

    const TwoBytes w = splitTwo(session.freqLevel.levelWord(1000e6, 0, 1));
    const std::string level = hexBytes(std::string{char(w.high), char(w.low)});
    const char* high = "Maximum modulation depth is 90%. Value reset.";
    const char* low = "Minimum modulation depth is 5%. Value reset.";
    const std::tuple<const char*, std::vector<Variant>, const char*, const char*, const char*>
        am[] = {
            {"AM", {1000, 50, 0, "400hz", "on"}, "OK", "5A 01 32 ", "Status: AM 400Hz"},
            {"AM", {1000, 5, 0, "1K", ON}, "OK", "5A 02 05 ", "Status: AM 1kHz"},
            {"AMEXT", {1000, 95, 0, ON}, high, "5A 03 5A ", "Status: AM Ext"},
            {"AMEXT", {1000, 3, 0, ON}, low, "5A 03 05 ", "Status: AM Ext"},
        };
    for (const auto& [keyword, params, result, setup, statusText] : am) {
        EXPECT_EQ(sig(keyword, params), result);
        sent = frames();
        ASSERT_EQ(sent.size(), 3u);
        EXPECT_EQ(sent[1], "59 49 01 FC 10");
        EXPECT_EQ(sent[2], setup + level) << result;
        EXPECT_EQ(status(1), statusText);
    }
    EXPECT_TRUE(inst.runState().setup.has_value());
    ASSERT_EQ(sig("AMEXT", {0, 0, 0, "off"}), "OK");
    EXPECT_EQ(frames(), Frames{"59 41 00"});
}

// Any mode but 0 and 1 is the falling edge; a step trigger of any non-zero value is 1.
TEST_F(Commands, TriggerSettings) {
    const std::tuple<int, const char*, const char*> cases[] = {
        {1, "59 54 01", "Trig: Ext +edge"},
        {5, "59 54 02", "Trig: Ext -edge"},
        {-1, "59 54 02", "Trig: Ext -edge"},
        {0, "59 54 00", "Trig: Free run"},
    };
    for (const auto& [mode, frame, shown] : cases) {
        EXPECT_EQ(sig("SETTRIGGER", {std::int16_t(mode)}), "OK");
        EXPECT_EQ(frames().back(), frame);
        EXPECT_EQ(status(2), shown);
    }
    EXPECT_EQ(sig("STEPTRIGGER", {std::int16_t(-3)}), "OK");
    EXPECT_EQ(session.plans.StepTrigger, 1);
    EXPECT_EQ(sig("STEPTRIGGER", {std::int16_t(0)}), "OK");
    EXPECT_EQ(session.plans.StepTrigger, 0);
}

// Selecting the free-run option runs its handler, which resets the trigger too: the frame still
// goes out once. A click on the selected option runs nothing.
TEST_F(Commands, TriggerResetSendsItsFrameOnceWhenTheFreeRunOptionResetsToo) {
    int handlerRuns = 0;
    session.panel.onClick("Option4", [&] {
        ++handlerRuns;
        ResetTrigger(session);
    });
    session.panel.select("Option5");
    ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(0)}), "OK");
    auto sent = frames();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), "59 54 00"), 1);
    EXPECT_EQ(handlerRuns, 1);
    EXPECT_TRUE(session.panel.value("Option4"));
    session.panel.click("Option4");
    EXPECT_EQ(handlerRuns, 1);
}

// Arguments convert as the host converts them (type mismatch, overflow); the published method
// table dispatches in any case.
TEST_F(Commands, ConversionsAndTheMethodTable) {
    EXPECT_EQ(raisedBy([&] { sig("CW", {"abc", 0}); }), errnum::TypeMismatch);
    EXPECT_EQ(raisedBy([&] { sig("PHASEHOP", {1e10, 0, 0, ON}); }), errnum::Overflow);
    const std::vector<Variant> args = {"cw", "1000", " 0 "};
    EXPECT_EQ(findAutomationMethod("SetSigGen")->invoke(object, args), Variant{std::string("OK")});
    const std::vector<Variant> bogus = {"bogus"};
    EXPECT_EQ(findAutomationMethod("SETSIGGEN")->invoke(object, bogus), Variant{std::string()});
    EXPECT_EQ(sigGenKeywords().size(), 17u);
}

}  // namespace
}  // namespace synthor::testing
