// The automation methods as a host calls them, against the simulated instrument: results,
// refusals, the frames on the wire and the runtime errors that reach the caller.
#include <gtest/gtest.h>

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
    // The n-th write from the end (1: the last).
    std::string lastWrite(std::size_t n = 1) const {
        const Lines w = writes();
        return w.size() < n ? "" : w[w.size() - n];
    }

    sim::Instrument instrument;
    Lines lines;
    synthor::testing::RecordingPrompts prompts;
    synthor::testing::FakeClock clock;
    Session session;
    Synthor_01_vexa object;
};

sim::Config withSerialText(std::string text) {
    sim::Config c;
    c.eeprom = sim::defaultEeprom();
    text.resize(11, ' ');
    std::copy(text.begin(), text.end(), c.eeprom.begin() + 13);
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

// Whole replies or replies in pieces, every calibration table loads.
TEST(Find, OpensReadsIdentityAndLoadsCalibration) {
    for (const std::uint32_t chunk : {0u, 30u}) {
        sim::Config c;
        c.faults.chunk = chunk;
        Bench b(c);
        EXPECT_EQ(b.object.FND(), 1234);
        EXPECT_EQ(b.session.link.InstrumentFound, kTrue);
        EXPECT_EQ(b.session.SerialNumber, 1234);
        EXPECT_TRUE(b.session.cal.levelTablesComplete());
        EXPECT_EQ(b.session.cal.CalTable4.size(), 7002u);
        EXPECT_EQ(b.lines.front(), "FT_OpenEx \"VexaSource Series Agile Synthesizer\" 2 = 0");
        EXPECT_TRUE(b.prompts.boxes.empty());
    }
}

TEST(Find, BySerialNumberAndASecondFindReportsNothing) {
    Bench b;
    EXPECT_EQ(b.object.FNDSN("VX000001"), 1234);
    EXPECT_EQ(b.lines.front(), "FT_OpenEx \"VX000001\" 1 = 0");
    EXPECT_EQ(b.object.FND(), 0);  // the second open goes through the retry
    EXPECT_EQ(b.session.link.InstrumentFound, kFalse);
    EXPECT_EQ(b.session.SerialNumber, 0);
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

struct Connected : ::testing::Test {
    Connected() { EXPECT_EQ(b.object.FND(), 1234); }
    Bench b;
};

// Text and integer arguments convert; the level is not looked at once the frequency is refused.
TEST_F(Connected, SetFrequencyRangesAndConversions) {
    const char *ok = "OK", *badF = "Error. Invalid frequency.", *badP = "Error. Invalid power.";
    const std::tuple<Variant, Variant, const char*> cases[] = {
        {0.3, 0.0, ok},         {8192.0, 17.0, ok},     {1000.0, -25.0, ok},
        {0.2999999, 0.0, badF}, {8192.0001, 0.0, badF}, {Variant{}, 0.0, badF},
        {1000.0, 17.1, badP},   {1000.0, -25.1, badP},  {std::int16_t{100}, 17.0F, ok},
    };
    for (const auto& [frequency, level, result] : cases) {
        const std::size_t before = b.writes().size();
        EXPECT_EQ(b.object.SetFrequency(frequency, level), result)
            << toText(frequency) << " MHz " << toText(level) << " dBm";
        EXPECT_EQ(b.writes().size() - before, result == ok ? 2u : 0u) << toText(frequency);
    }
    EXPECT_EQ(b.object.SetFrequency(0.1, std::string("x")), badF);
    EXPECT_EQ(b.object.SetFrequency(std::string("1000"), std::string(" -3.5 ")), ok);
    EXPECT_EQ(b.lastWrite(), "FT_Write 59 49 01 FC 10 = 0");
    EXPECT_EQ(b.session.CWFrequency, 1e9);
    EXPECT_EQ(raisedBy([&] { b.object.SetFrequency(std::string("abc"), 0.0); }),
              errnum::TypeMismatch);
    EXPECT_EQ(raisedBy([&] { b.object.SetFrequency(1000.0, std::string("x")); }),
              errnum::TypeMismatch);
}

// The magnitude, at most 360 degrees (16384), rounded half to even, then divided by the band's
// divisor from 125 MHz up: 4096 / 6.25 + 0.5 = 655.86 at 125 MHz, 4096 / 200 + 0.5 at 4500.
// Without a frequency in range, the refusal carries the frequency, run into the text.
TEST_F(Connected, SetPhaseWordsPerBandAndRefusals) {
    for (const auto& [hz, text] :
         {std::pair{0.0, "0"}, {8.2e9, "8200000000"}, {250000.0, "250000"}}) {
        b.session.CWFrequency = hz;
        EXPECT_EQ(b.object.SetPhase(90.0), std::string("Error. Frequency not set.") + text);
    }
    const std::tuple<double, Variant, const char*> cases[] = {
        {100, -90.0, "10 00"},          {100, 400.0, "40 00"},
        {100, 0.010986328125, "00 00"}, {100, 0.032958984375, "00 02"},
        {124.9, 90.0, "10 00"},         {125, 90.0, "02 8F"},
        {4500, 90.0, "00 14"},          {100, std::string("45"), "08 00"},
    };
    for (const auto& [mhz, degrees, word] : cases) {
        ASSERT_EQ(b.object.SetFrequency(mhz, 0.0), "OK");
        EXPECT_EQ(b.object.SetPhase(degrees), "OK");
        EXPECT_EQ(b.lastWrite(), std::string("FT_Write 59 51 ") + word + " = 0")
            << mhz << " MHz " << toText(degrees);
    }
    EXPECT_EQ(raisedBy([&] { b.object.SetPhase(std::string("abc")); }), errnum::TypeMismatch);
}

TEST_F(Connected, GenOffParksTheOutputAndShowsTheOffDisplay) {
    int offDisplays = 0, shown = 0;
    EXPECT_EQ(b.object.GenOff(), "OK");
    EXPECT_EQ(b.lastWrite(2).substr(0, 35), "FT_Write 57 0E 01 FC 10 73 09 76 80");  // 193 MHz
    EXPECT_EQ(b.lastWrite(), "FT_Write 59 49 01 FC 10 = 0");
    EXPECT_EQ(b.session.panel.status(1), "Status: Off");
    EXPECT_TRUE(b.session.panel.loaded());
    EXPECT_FALSE(b.session.panel.visible());
    // Without a window front end ShowUI has no panel to show; with one, the hooks reach it.
    EXPECT_EQ(b.object.ShowUI(), "Error. No instrument connected.");
    b.session.showOffDisplay = [&] { ++offDisplays; };
    b.session.showModal = [&] { ++shown; };
    EXPECT_EQ(b.object.GenOff(), "OK");
    EXPECT_EQ(b.object.ShowUI(), "OK");
    EXPECT_EQ(offDisplays, 1);
    EXPECT_EQ(shown, 1);
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

// Only bits 0 (PLL) and 2 (AGC) of the reply count.
TEST(Lock, ReplyBitsZeroAndTwoAreReported) {
    const char* byReply[] = {"Locked",        "Unlocked!",
                             "Locked",        "Unlocked!",
                             "AGC unlocked!", "PLL and AGC Unlocked!",
                             "AGC unlocked!", "PLL and AGC Unlocked!"};
    for (std::uint8_t reply = 0; reply < 8; ++reply) {
        sim::Config c;
        c.lock = reply;
        Bench b(c);
        ASSERT_EQ(b.object.FND(), 1234);
        EXPECT_EQ(b.object.LockStatus(), byReply[reply]) << int{reply};
        EXPECT_EQ(b.lastWrite(), "FT_Write 59 39 = 0");
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
    using Box = synthor::testing::RecordingPrompts::Box;
    EXPECT_EQ(b.prompts.boxes, (std::vector<Box>{{"No Response", 16, "Hardware Info"}}));
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
    // FND's result is a 16-bit integer; names are matched in any case.
    EXPECT_EQ(findAutomationMethod("fnd")->invoke(b.object, {}), Variant{std::int16_t{1234}});
    const std::vector<Variant> args = {std::string("1000"), 0.0};
    EXPECT_EQ(findAutomationMethod("SETFREQUENCY")->invoke(b.object, args),
              Variant{std::string("OK")});
}

}  // namespace
}  // namespace synthor
