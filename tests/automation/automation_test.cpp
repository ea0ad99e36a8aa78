// The automation methods as a host calls them, against the simulated instrument: results,
// refusals, the frames on the wire and the runtime errors that reach the caller.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "automation/synthor_01_vexa.hpp"
#include "link/trace.hpp"
#include "runtime/raised_by.hpp"
#include "sim/sim_instrument.hpp"
#include "support/fake_driver.hpp"

namespace synthor {
namespace {

using Lines = std::vector<std::string>;

using testing::raisedBy;

// A simulated instrument, its wire trace, and one automation object over a fresh session.
struct Bench {
    explicit Bench(sim::Config config = {})
        : instrument(std::move(config)),
          session(traced(instrument.driverTable(),
                         [this](const std::string& l) { lines.push_back(l); }),
                  prompts, clock),
          object(session) {}

    Lines writes() const {
        Lines w;
        for (const auto& l : lines) {
            if (l.rfind("FT_Write", 0) == 0) w.push_back(l);
        }
        return w;
    }
    Lines lastWrites(std::size_t n) const {
        const Lines w = writes();
        return Lines(w.end() - static_cast<std::ptrdiff_t>(std::min(n, w.size())), w.end());
    }

    sim::Instrument instrument;
    Lines lines;
    synthor::testing::RecordingPrompts prompts;
    synthor::testing::FakeClock clock;
    Session session;
    Synthor_01_vexa object;
};

sim::Config withSerialText(const std::string& text) {
    sim::Config c;
    c.eeprom = sim::defaultEeprom();
    std::string block = text;
    block.resize(11, ' ');
    std::copy(block.begin(), block.end(), c.eeprom.begin() + 13);
    return c;
}

TEST(WithoutInstrument, EveryMethodRefusesWithItsOwnText) {
    Bench b;
    Synthor_01_vexa& o = b.object;
    EXPECT_EQ(o.CloseSigGen(), "Error. No instrument found.");
    EXPECT_EQ(o.GenOff(), "Error. No instrument found.");
    EXPECT_EQ(o.ShowUI(), "Error. No instrument connected.");
    EXPECT_EQ(o.LockStatus(), "Error. No instrument connected.");
    EXPECT_EQ(o.SetFrequency(1000.0, 0.0), "Error. No instrument connected.");
    EXPECT_EQ(o.SetFrequency(std::string("abc"), 0.0), "Error. No instrument connected.");
    EXPECT_EQ(o.SetPhase(90.0), "Error. No instrument connected.");
    EXPECT_EQ(o.DLLVer(), "V1.0 Jan 2019");
    EXPECT_TRUE(b.lines.empty());
}

TEST(Find, OpensReadsIdentityAndLoadsCalibration) {
    Bench b;
    EXPECT_EQ(b.object.FND(), 1234);
    EXPECT_EQ(b.session.link.InstrumentFound, kTrue);
    EXPECT_EQ(b.session.SerialNumber, 1234);
    EXPECT_EQ(b.session.cal.CalTable1.size(), 11830u);
    EXPECT_EQ(b.session.cal.CalTable2.size(), 11830u);
    EXPECT_EQ(b.session.cal.CalTable3.size(), 7002u);
    EXPECT_EQ(b.session.cal.CalTable4.size(), 7002u);
    EXPECT_EQ(b.lines.front(), "FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 0");
    EXPECT_TRUE(b.prompts.boxes.empty());
}

TEST(Find, BySerialNumber) {
    Bench b;
    EXPECT_EQ(b.object.FNDSN("VX000001"), 1234);
    EXPECT_EQ(b.lines.front(), "FT_OpenEx \"VX000001\" 1 = 0");
    Bench other;
    EXPECT_EQ(other.object.FNDSN("VX999999"), 0);
    EXPECT_EQ(other.session.link.InstrumentFound, kFalse);
}

TEST(Find, NoInstrumentGivesZeroAfterTheRetry) {
    sim::Config c;
    c.faults.open = 2;
    Bench b(c);
    EXPECT_EQ(b.object.FND(), 0);
    EXPECT_EQ(b.session.link.InstrumentFound, kFalse);
    EXPECT_EQ(b.lines.size(), 4u);  // open, close, cycle, open
    EXPECT_EQ(b.lines[3], "FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 4");
}

TEST(Find, ASecondFindReopensAndReportsNothingFound) {
    Bench b;
    ASSERT_EQ(b.object.FND(), 1234);
    EXPECT_EQ(b.object.FND(), 0);
    EXPECT_EQ(b.session.link.InstrumentFound, kFalse);
    EXPECT_EQ(b.session.SerialNumber, 0);
}

// The serial field is read as a numeric prefix, then rounded into 16 bits; an instrument with
// no number there is found all the same.
TEST(Find, SerialFieldIsReadAsANumericPrefix) {
    const std::pair<std::string, int> cases[] = {
        {"  42x", 42}, {"32767", 32767}, {"-7", -7}, {"", 0}, {"abc", 0}, {"12.5", 12},
    };
    for (const auto& [text, serial] : cases) {
        Bench b(withSerialText(text));
        EXPECT_EQ(b.object.FND(), serial) << text;
        EXPECT_EQ(b.session.link.InstrumentFound, kTrue) << text;
    }
    Bench b(withSerialText("40000"));
    EXPECT_EQ(raisedBy([&] { b.object.FND(); }), errnum::Overflow);
    EXPECT_EQ(b.session.link.InstrumentFound, kFalse);
}

TEST(Find, RepliesInPiecesStillLoadEveryTable) {
    sim::Config c;
    c.faults.chunk = 30;
    Bench b(c);
    EXPECT_EQ(b.object.FND(), 1234);
    EXPECT_TRUE(b.session.cal.levelTablesComplete());
}

struct Connected : ::testing::Test {
    Connected() { EXPECT_EQ(b.object.FND(), 1234); }
    Bench b;
};

TEST_F(Connected, SetFrequencyWritesTheContinuousWavePointThenStartsIt) {
    EXPECT_EQ(b.object.SetFrequency(1000.0, 0.0), "OK");
    const Lines last = b.lastWrites(2);
    ASSERT_EQ(last.size(), 2u);
    EXPECT_EQ(last[0].substr(0, 35), "FT_Write 57 0E 01 FC 10 0B EB C2 00");  // word A 2e8
    EXPECT_EQ(last[1], "FT_Write 59 49 01 FC 10 = 0");
    EXPECT_EQ(b.session.CWFrequency, 1e9);
    EXPECT_EQ(b.instrument.memoryAt(130064), 0x0B);
    EXPECT_EQ(b.instrument.memoryAt(130067), 0x00);
}

TEST_F(Connected, SetFrequencyRangesAndConversions) {
    struct Case {
        Variant frequency, level;
        const char* result;
    };
    const Case cases[] = {
        {0.3, 0.0, "OK"},
        {8192.0, 17.0, "OK"},
        {1000.0, -25.0, "OK"},
        {std::string("1000"), std::string(" -3.5 "), "OK"},
        {std::int16_t{100}, 17.0F, "OK"},
        {0.2999999, 0.0, "Error. Invalid frequency."},
        {8192.0001, 0.0, "Error. Invalid frequency."},
        {Variant{}, 0.0, "Error. Invalid frequency."},
        {0.1, std::string("x"), "Error. Invalid frequency."},  // the level is not looked at
        {1000.0, 17.1, "Error. Invalid power."},
        {1000.0, -25.1, "Error. Invalid power."},
    };
    for (const auto& c : cases) {
        const std::size_t before = b.writes().size();
        const std::string r = b.object.SetFrequency(c.frequency, c.level);
        EXPECT_EQ(r, c.result) << toText(c.frequency) << " MHz " << toText(c.level) << " dBm";
        EXPECT_EQ(b.writes().size() - before, r == "OK" ? 2u : 0u) << toText(c.frequency);
    }
    EXPECT_EQ(raisedBy([&] { b.object.SetFrequency(std::string("abc"), 0.0); }),
              errnum::TypeMismatch);
    EXPECT_EQ(raisedBy([&] { b.object.SetFrequency(1000.0, std::string("x")); }),
              errnum::TypeMismatch);
}

TEST_F(Connected, SetPhaseNeedsAFrequencyFirst) {
    EXPECT_EQ(b.object.SetPhase(90.0), "Error. Frequency not set.0");
    b.session.CWFrequency = 8.2e9;  // the panel's phase hop can leave one out of range
    EXPECT_EQ(b.object.SetPhase(90.0), "Error. Frequency not set.8200000000");
    b.session.CWFrequency = 250000;
    EXPECT_EQ(b.object.SetPhase(90.0), "Error. Frequency not set.250000");
}

TEST_F(Connected, PhaseWordsPerBand) {
    struct Case {
        double mhz;
        Variant degrees;
        const char* frame;
    };
    const Case cases[] = {
        {100, 90.0, "59 51 10 00"},
        {100, -90.0, "59 51 10 00"},           // the magnitude is used
        {100, 400.0, "59 51 40 00"},           // at most 360: 16384
        {100, 0.010986328125, "59 51 00 00"},  // 0.5 rounds to even
        {100, 0.032958984375, "59 51 00 02"},  // 1.5 rounds to even
        {124.9, 90.0, "59 51 10 00"},
        {125, 90.0, "59 51 02 8F"},   // 4096 / 6.25 + 0.5 = 655.86
        {250, 360.0, "59 51 05 1F"},  // 16384 / 12.5 + 0.5 = 1311.22
        {1000, 90.0, "59 51 00 52"},  // 4096 / 50 + 0.5 = 82.42
        {4500, 90.0, "59 51 00 14"},  // 4096 / 200 + 0.5 = 20.98
        {100, std::string("45"), "59 51 08 00"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(b.object.SetFrequency(c.mhz, 0.0), "OK");
        EXPECT_EQ(b.object.SetPhase(c.degrees), "OK");
        EXPECT_EQ(b.lastWrites(1)[0], std::string("FT_Write ") + c.frame + " = 0")
            << c.mhz << " MHz " << toText(c.degrees);
    }
    EXPECT_EQ(raisedBy([&] { b.object.SetPhase(std::string("abc")); }), errnum::TypeMismatch);
}

TEST_F(Connected, GenOffParksTheOutputAndTheHooksReachThePanel) {
    int offDisplays = 0;
    int shown = 0;
    EXPECT_EQ(b.object.ShowUI(), "OK");  // no panel attached: nothing to show
    b.session.showOffDisplay = [&] { ++offDisplays; };
    b.session.showModal = [&] { ++shown; };
    EXPECT_EQ(b.object.GenOff(), "OK");
    const Lines last = b.lastWrites(2);
    EXPECT_EQ(last[0].substr(0, 35), "FT_Write 57 0E 01 FC 10 73 09 76 80");  // 193 MHz, x10 band
    EXPECT_EQ(last[1], "FT_Write 59 49 01 FC 10 = 0");
    EXPECT_EQ(b.object.ShowUI(), "OK");
    EXPECT_EQ(offDisplays, 1);
    EXPECT_EQ(shown, 1);
}

TEST_F(Connected, GenOffShowsTheOffDisplayOnThePanel) {
    b.session.panel.setBold("Command14", true);
    EXPECT_EQ(b.object.GenOff(), "OK");
    EXPECT_EQ(b.session.panel.text("Command23"), "OFF");
    EXPECT_EQ(b.session.panel.status(1), "Status: Off");
    EXPECT_FALSE(b.session.panel.bold("Command14"));
    EXPECT_TRUE(b.session.panel.loaded());
    EXPECT_FALSE(b.session.panel.visible());
}

TEST(Close, TwiceAndAfterAFailedClose) {
    sim::Config c;
    c.faults.close = 1;
    for (const char* first : {"OK", "Close Failed"}) {
        Bench b(std::string(first) == "OK" ? sim::Config{} : c);
        ASSERT_EQ(b.object.FND(), 1234);
        EXPECT_EQ(b.object.CloseSigGen(), first);
        EXPECT_EQ(b.session.link.InstrumentFound, kFalse);
        EXPECT_EQ(b.object.CloseSigGen(), "Error. No instrument found.");
    }
}

TEST(Lock, ReplyBitsZeroAndTwoAreReported) {
    const std::pair<std::uint8_t, const char*> cases[] = {
        {0x00, "Locked"},
        {0x02, "Locked"},
        {0x01, "Unlocked!"},
        {0x04, "AGC unlocked!"},
        {0x05, "PLL and AGC Unlocked!"},
        {0x07, "PLL and AGC Unlocked!"},
    };
    for (const auto& [reply, text] : cases) {
        sim::Config c;
        c.lock = reply;
        Bench b(c);
        ASSERT_EQ(b.object.FND(), 1234);
        EXPECT_EQ(b.object.LockStatus(), text) << int{reply};
        EXPECT_EQ(b.lastWrites(1)[0], "FT_Write 59 39 = 0");
    }
}

// A dead instrument opens but answers nothing: FND reports it with one message box and returns
// 0 without hanging, and every later call that needs an answer or calibration fails with the
// invalid-argument error instead of writing a point.
TEST(DeadInstrument, FindReturnsAndLaterCallsFailCleanly) {
    sim::Config c;
    c.faults.silent = true;
    Bench b(c);
    EXPECT_EQ(b.object.FND(), 0);
    EXPECT_EQ(b.session.link.InstrumentFound, kTrue);
    ASSERT_EQ(b.prompts.boxes.size(), 1u);
    EXPECT_EQ(b.prompts.boxes[0].text, "No Response");
    EXPECT_EQ(b.prompts.boxes[0].title, "Hardware Info");
    EXPECT_EQ(b.prompts.boxes[0].style, 16);
    EXPECT_FALSE(b.session.cal.levelTablesComplete());

    const std::size_t before = b.writes().size();
    EXPECT_EQ(raisedBy([&] { b.object.SetFrequency(1000.0, 0.0); }), errnum::InvalidCall);
    EXPECT_EQ(b.writes().size(), before);
    EXPECT_EQ(raisedBy([&] { b.object.LockStatus(); }), errnum::InvalidCall);
}

TEST(MethodTable, PublishedOrderAndVariantResults) {
    const char* order[] = {"FND",          "FNDSN",    "CloseSigGen", "GenOff",      "ShowUI",
                           "SetFrequency", "SetPhase", "ReadFplan",   "SetFreqPlan", "GoFreqSweep",
                           "ClearFPlan",   "DLLVer",   "LockStatus",  "SetSigGen"};
    const auto methods = automationMethods();
    ASSERT_EQ(methods.size(), std::size(order));
    for (std::size_t i = 0; i < methods.size(); ++i)
        EXPECT_EQ(methods[i].name, order[i]);

    Bench b;
    const Variant serial = findAutomationMethod("fnd")->invoke(b.object, {});
    ASSERT_TRUE(std::holds_alternative<std::int16_t>(serial));  // a 16-bit integer result
    EXPECT_EQ(std::get<std::int16_t>(serial), 1234);
    const std::vector<Variant> args = {std::string("1000"), 0.0};
    EXPECT_EQ(toText(findAutomationMethod("SETFREQUENCY")->invoke(b.object, args)), "OK");
    EXPECT_EQ(toText(findAutomationMethod("LockStatus")->invoke(b.object, {})), "Locked");
}

}  // namespace
}  // namespace synthor
