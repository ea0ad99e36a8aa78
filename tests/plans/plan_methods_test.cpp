#include <gtest/gtest.h>

#include "plan_fixture.hpp"

namespace synthor::testing {
namespace {

using PlanMethods = PlanTest;

// ClearFPlan needs no instrument and returns an empty result; it resets the sweep boxes.
TEST_F(PlanMethods, EveryMethodButClearFPlanNeedsAnInstrument) {
    session.link.InstrumentFound = kFalse;
    const std::string none = "Error. No instrument connected.";
    EXPECT_EQ(object.ReadFplan("?"), none);
    EXPECT_EQ(object.SetFreqPlan("abc", 0, 0, 0, 0), none);  // checked before converting
    EXPECT_EQ(object.GoFreqSweep(), none);
    session.plans.freq.FreqPlanValid = kTrue;
    session.panel.typeText("Text8", "5");
    session.panel.typeText("Text5", "9");
    session.panel.setEnabled("Text10", false);
    EXPECT_EQ(object.ClearFPlan(), "");
    EXPECT_EQ(session.plans.freq.FreqPlanValid, 0);
    for (const auto& [box, shown] : {std::pair{"Text8", "1000.000"},
                                     {"Text9", "2000.000"},
                                     {"Text10", "10.00"},
                                     {"Text11", "100"},
                                     {"Text5", "0.0"}}) {
        EXPECT_EQ(text(box), shown) << box;
        EXPECT_TRUE(session.panel.enabled(box)) << box;
    }
    EXPECT_TRUE(prompts.dialogs.empty());
    EXPECT_TRUE(frames().empty());
}

TEST_F(PlanMethods, ReadFplanShowsTheLoadedPlan) {
    EXPECT_EQ(object.ReadFplan(file("f.dat", kFreqSweepFile)), "OK");
    EXPECT_EQ(session.plans.freq.FreqPlanValid, -1);
    EXPECT_EQ(text("Text9"), "1002.000");
    EXPECT_EQ(text("Text10"), "-");
    EXPECT_FALSE(session.panel.enabled("Text9"));
    EXPECT_EQ(object.ReadFplan(file("l.dat", kLevelSweepFile)), "Error reading file.");
    EXPECT_EQ(session.plans.freq.FreqPlanValid, 0);
    prompts.files.push_back(file("g.dat", kFreqSweepFile));
    EXPECT_EQ(object.ReadFplan("?"), "OK");
    EXPECT_EQ(prompts.dialogs.size(), 1u);
}

// SetFreqPlan ignores its level and answers "Error" for a bad count; the sweep it starts is sent
// with a point count of 0.
TEST_F(PlanMethods, SetFreqPlanAndGoFreqSweep) {
    EXPECT_EQ(object.GoFreqSweep(), "Error. No freq plan.");
    EXPECT_EQ(object.SetFreqPlan(1000, 10, 0, 100, 10), "Error");
    EXPECT_EQ(object.SetFreqPlan(1000, "10", 5, 100.4, "not a number"), "OK");
    EXPECT_EQ(session.plans.freq.FreqPlanLevel, 0.0F);
    EXPECT_EQ(session.plans.freq.FreqPlanDwell, 100);
    EXPECT_EQ(session.plans.freq.FreqPlanValid, -1);
    EXPECT_EQ(inst.readPoint(1024 + 14 * 4).a.frequencyHz.value_or(0), 1040e6);
    frames();
    EXPECT_EQ(object.GoFreqSweep(), "OK");
    EXPECT_EQ(frames(), Frames{"59 42 00 04 00 00 00 00 4A"});
    EXPECT_EQ(inst.runState().mode, sim::Mode::FrequencySweep);
    EXPECT_EQ(raisedBy([&] { object.SetFreqPlan(1000, 10, "five", 100, 0); }),
              errnum::TypeMismatch);
    EXPECT_EQ(object.ClearFPlan(), "");
    EXPECT_EQ(object.GoFreqSweep(), "Error. No freq plan.");
}

}  // namespace
}  // namespace synthor::testing
