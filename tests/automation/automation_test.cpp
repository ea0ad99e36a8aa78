// The automation class where a transcript cannot reach: identity memory with odd serial fields,
// and the method table that the COM server's dispatch identifiers follow.
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
