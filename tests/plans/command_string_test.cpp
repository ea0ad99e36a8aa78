#include "plans/command_string.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "plan_fixture.hpp"
#include "plans/sweep_frames.hpp"
#include "plans/trigger.hpp"
#include "runtime/errors.hpp"

namespace synthor::testing {
namespace {

class Commands : public PlanTest {
  protected:
    std::string sig(const char* command, std::vector<Variant> params = {}) {
        return SetSigGen(session, std::string(command), params);
    }
    // Calls through the published method table, as a host does.
    Variant invoke(const char* method, std::vector<Variant> args) {
        const AutomationMethod* m = findAutomationMethod(method);
        EXPECT_NE(m, nullptr);
        return m->invoke(object, args);
    }
};

const std::string ON = "ON";

TEST_F(Commands, NoInstrumentAndUnknownKeywords) {
    EXPECT_EQ(sig("nonsense"), "");
    EXPECT_EQ(object.CloseSigGen(), "OK");
    for (const char* k : {"CW", "SETTRIGGER", "nonsense"}) {
        EXPECT_EQ(sig(k), "Error. No instrument found.") << k;
    }
    EXPECT_TRUE(frames().empty());
}

struct Reply {
    const char* keyword;
    std::vector<Variant> params;
    const char* result;
};

TEST_F(Commands, WorkerRefusalsSendNothing) {
    const Reply cases[] = {
        {"cw", {0.29, 0}, "Error. Invalid frequency."},
        {"Cw", {8192.1, 0}, "Error. Invalid frequency."},
        {"CW", {1000, 17.1F}, "Error. Invalid level."},
        {"CW", {1000, -25.1F}, "Error. Invalid level."},
        {"PHASE", {0.29, 90}, "Error. Incorrect Freq value."},
        {"FM", {0.29, 10, 0, "400HZ", ON}, "Error. Freq outside valid range."},
        {"FM", {1000, 10, 17.5F, "400HZ", ON}, "Error. Level outside valid range."},
        {"FM", {1000, -200.5, 0, "400HZ", ON}, "Error. Deviation exceeds 200kHz."},
        {"FMEXT", {0.29, 10, 0, ON}, "Value < 0.3MHz not allowed"},
        {"FMEXT", {8192.5, 10, 0, ON}, "Value > 8.192GHz not allowed"},
        {"FMEXT", {1000, 201, 0, ON}, "Error. Deviation exceeds 200kHz."},
        {"AM", {8193, 50, 0, "1K", ON}, "Error. Frequency outside allowed range."},
        {"AM", {1000, 50, 18, "1K", ON}, "Error. Output level outside allowed range."},
        {"AM", {1000, 4.9F, 0, "1K", ON}, "Error. Modulation depth is 5-90%."},
        {"AM", {1000, 90.1F, 0, "1K", ON}, "Error. Modulation depth is 5-90%."},
        {"AMEXT", {0.2, 50, 0, ON}, "Error. Frequency outside allowed range."},
    };
    for (const Reply& c : cases) {
        SCOPED_TRACE(c.result);
        EXPECT_EQ(sig(c.keyword, c.params), c.result);
        EXPECT_TRUE(frames().empty());
    }
}

TEST_F(Commands, CwAndPhase) {
    ASSERT_EQ(sig("cw", {1000, 17}), "OK");
    const auto sent = frames();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].substr(0, 14), "57 0E 01 FC 10");
    EXPECT_EQ(sent[1], "59 49 01 FC 10");
    EXPECT_NEAR(inst.readPoint(130064).a.frequencyHz.value_or(0), 1000e6, 1);
    EXPECT_EQ(session.CWFrequency, 1000e6);
    ASSERT_EQ(sig("PHASE", {1000, -90}), "OK");  // 4096 / 50 + 0.5 = 82.42
    EXPECT_EQ(frames(), std::vector<std::string>{"59 51 00 52"});
    ASSERT_EQ(sig("PHASE", {100, 400}), "OK");  // 360 degrees, undivided below 125 MHz
    EXPECT_EQ(frames(), std::vector<std::string>{"59 51 40 00"});
}

TEST_F(Commands, FmTablesRunAtDwellCode9WhicheverTheRate) {
    for (const auto& [rate, points] : {std::pair{"400Hz", 72}, {"1kHz", 36}}) {
        SCOPED_TRACE(rate);
        ASSERT_EQ(sig("FM", {1000, 100, 0, rate, "on"}), "OK");
        const auto sent = frames();
        ASSERT_EQ(sent.size(), static_cast<std::size_t>(points) + 4);
        EXPECT_EQ(sent[static_cast<std::size_t>(points)], "59 41 01");
        EXPECT_EQ(sent[static_cast<std::size_t>(points) + 2], "59 54 00");
        char start[40];
        std::snprintf(start, sizeof start, "58 00 04 00 00 %02X 00 09", points);
        EXPECT_EQ(sent.back(), start);
        EXPECT_EQ(status(1), "Status: FM 400Hz");
        EXPECT_EQ(inst.runState().mode, sim::Mode::ModulationTable);
    }
    ASSERT_EQ(sig("FM", {0, 0, 0, "", "OFF"}), "OK");
    EXPECT_EQ(frames(), std::vector<std::string>{"59 41 00"});
    EXPECT_EQ(status(1), "Status: CW");
}

TEST_F(Commands, ExternalFmAndAmUseTheSetupFrame) {
    ASSERT_EQ(sig("FMEXT", {1000, -100, 0, ON}), "OK");
    auto sent = frames();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(sent[1], "59 49 01 FC 10");
    EXPECT_EQ(sent[2], "59 41 01");
    EXPECT_EQ(sent[3], "5A 04 00 4E 20");  // 100 kHz x 0.2 = 20000
    EXPECT_EQ(status(1), "Status: Ext FM");
    ASSERT_EQ(sig("FMEXT", {100, 200, 0, ON}), "OK");
    EXPECT_EQ(frames().back(), "5A 04 1E 84 80");  // 200 kHz x 10 = 2,000,000

    const auto word = [&](double f, float level) {
        const TwoBytes w = splitTwo(session.freqLevel.levelWord(f, level, 1));
        char hex[8];
        std::snprintf(hex, sizeof hex, "%02X %02X", w.high, w.low);
        return std::string(hex);
    };
    const std::tuple<const char*, std::vector<Variant>, const char*, const char*, const char*>
        am[] = {
            {"AM", {1000, 50, 0, "400hz", "on"}, "OK", "5A 01 32 ", "Status: AM 400Hz"},
            {"AM", {1000, 5, 0, "1K", ON}, "OK", "5A 02 05 ", "Status: AM 1kHz"},
            {"AMEXT",
             {1000, 95, 0, ON},
             "Maximum modulation depth is 90%. Value reset.",
             "5A 03 5A ",
             "Status: AM Ext"},
            {"AMEXT",
             {1000, 3, 0, ON},
             "Minimum modulation depth is 5%. Value reset.",
             "5A 03 05 ",
             "Status: AM Ext"},
        };
    for (const auto& [keyword, params, result, setup, statusText] : am) {
        SCOPED_TRACE(result);
        EXPECT_EQ(sig(keyword, params), result);
        sent = frames();
        ASSERT_EQ(sent.size(), 3u);
        EXPECT_EQ(sent[1], "59 49 01 FC 10");
        EXPECT_EQ(sent[2], setup + word(1000e6, 0));
        EXPECT_EQ(status(1), statusText);
        EXPECT_EQ(inst.runState().setup.value_or(std::array<std::uint8_t, 4>{})[0],
                  std::stoi(std::string(setup).substr(3, 2), nullptr, 16));
    }
    ASSERT_EQ(sig("AMEXT", {0, 0, 0, "off"}), "OK");
    EXPECT_EQ(frames(), std::vector<std::string>{"59 41 00"});
}

TEST_F(Commands, TriggerSettings) {
    const std::tuple<int, const char*, const char*> cases[] = {
        {1, "59 54 01", "Trig: Ext +edge"},
        {5, "59 54 02", "Trig: Ext -edge"},
        {-1, "59 54 02", "Trig: Ext -edge"},
        {0, "59 54 00", "Trig: Free run"},
    };
    for (const auto& [mode, frame, text] : cases) {
        EXPECT_EQ(sig("SETTRIGGER", {std::int16_t(mode)}), "OK");
        EXPECT_EQ(frames().back(), frame);
        EXPECT_EQ(status(2), text);
    }
    EXPECT_EQ(sig("STEPTRIGGER", {std::int16_t(-3)}), "OK");
    EXPECT_EQ(session.plans.StepTrigger, 1);
    EXPECT_EQ(sig("STEPTRIGGER", {}), "OK");
    EXPECT_EQ(session.plans.StepTrigger, 0);
}

TEST_F(Commands, TriggerResetSendsItsFrameOnceWhenTheFreeRunOptionResetsToo) {
    int handlerRuns = 0;
    session.panel.onClick("Option4", [&] {
        ++handlerRuns;
        ResetTrigger(session);
    });
    session.panel.select("Option5");
    ASSERT_EQ(sig("SETTRIGGER", {std::int16_t(0)}), "OK");
    const auto sent = frames();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), "59 54 00"), 1);
    EXPECT_EQ(handlerRuns, 1);
    EXPECT_TRUE(session.panel.value("Option4"));
    // A click on the selected option runs nothing; on another, then back, resets once more.
    session.panel.click("Option4");
    EXPECT_EQ(handlerRuns, 1);
    session.panel.click("Option6");
    session.panel.click("Option4");
    EXPECT_EQ(handlerRuns, 2);
    const auto again = frames();
    EXPECT_EQ(std::count(again.begin(), again.end(), "59 54 00"), 1);
}

TEST_F(Commands, ConversionsAndTheMethodTable) {
    try {
        sig("CW", {"abc", 0});
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), errnum::TypeMismatch);
    }
    try {
        sig("PHASEHOP", {1e10, 0, 0, ON});
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), errnum::Overflow);
    }
    EXPECT_EQ(std::get<std::string>(invoke("SetSigGen", {"cw", "1000", " 0 "})), "OK");
    EXPECT_EQ(std::get<std::string>(invoke("SETSIGGEN", {"bogus"})), "");
    EXPECT_EQ(sigGenKeywords().size(), 17u);
}

}  // namespace
}  // namespace synthor::testing
