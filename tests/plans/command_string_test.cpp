#include "plans/command_string.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "frames/sweep_frames.hpp"
#include "plans/trigger.hpp"
#include "support/session_fixture.hpp"

namespace synthor::testing {
namespace {

using Commands = PlanTest;

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

}  // namespace
}  // namespace synthor::testing
