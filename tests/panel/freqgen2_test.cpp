#include "form/freqgen2.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "runtime/errors.hpp"
#include "runtime/raised_by.hpp"

namespace synthor::panel {
namespace {

using synthor::testing::raisedBy;

// Every name unique and every control inside a frame that exists.
TEST(FormLayout, UniqueNamesAndFrames) {
    FreqGen2 form;
    std::set<std::string> names;
    for (const Control& c : form.controls()) {
        EXPECT_TRUE(names.insert(std::string(c.name())).second) << c.name();
        if (c.frame().empty()) continue;
        const Control* frame = form.find(c.frame());
        ASSERT_NE(frame, nullptr) << c.name();
        EXPECT_EQ(frame->kind(), ControlKind::Frame);
    }
    EXPECT_EQ(kFormCaption, "KX30-11-02 Signal generator utility");
}

TEST(FormModel, LookupIsCaseInsensitiveAndTypingGoesOnlyIntoTextBoxes) {
    FreqGen2 form;
    EXPECT_EQ(form.find("TEXT8"), form.find("Text8"));
    EXPECT_EQ(form.find("Text99"), nullptr);
    EXPECT_THROW(form.text("Text99"), std::out_of_range);
    EXPECT_TRUE(form.typeText("text8", "1500"));
    EXPECT_EQ(form.text("Text8"), "1500");
    EXPECT_FALSE(form.typeText("Label1", "x"));
    EXPECT_FALSE(form.typeText("Nothing", "x"));
    EXPECT_EQ(form.text("Label1"), "Frequency");
    form.setText("Command23", "OFF");  // code may change captions
    EXPECT_EQ(form.text("Command23"), "OFF");
}

TEST(FormModel, DefaultOptionsAndSelectingClearsOnlyItsOwnGroup) {
    FreqGen2 form;
    for (const char* on : {"Option1", "Option4", "Option7", "Option10"})
        EXPECT_TRUE(form.value(on)) << on;
    for (const char* off : {"Option2", "Option5", "Option8", "Option11", "Option14", "Check1"})
        EXPECT_FALSE(form.value(off)) << off;
    form.select("Option5");
    EXPECT_TRUE(form.value("Option5"));
    EXPECT_FALSE(form.value("Option4"));
    EXPECT_FALSE(form.value("Option6"));
    EXPECT_TRUE(form.value("Option7"));  // the level sweep's group is another frame
    EXPECT_THROW(form.select("Text1"), std::invalid_argument);
}

// A handler runs once per change of selection, never for the option already selected, never
// re-entered by selecting its own option, and may run another control's handler.
TEST(FormModel, OptionHandlers) {
    FreqGen2 form;
    std::vector<std::string> order;
    form.onClick("Option4", [&] {
        order.push_back("Option4");
        form.select("Option4");
    });
    form.onClick("Option5", [&] {
        order.push_back("Option5");
        form.select("Option8");  // the other group mirrors the trigger
    });
    form.onClick("Option8", [&] {
        order.push_back("Option8");
        form.select("Option5");
    });
    form.select("Option5");
    form.select("Option5");
    EXPECT_TRUE(form.click("option5"));
    EXPECT_EQ(order, (std::vector<std::string>{"Option5", "Option8"}));
    EXPECT_TRUE(form.value("Option8"));
    form.select("Option4");
    form.select("Option5");
    EXPECT_EQ(order, (std::vector<std::string>{"Option5", "Option8", "Option4", "Option5"}));
}

TEST(FormModel, ClicksOnCheckBoxesButtonsAndOtherKinds) {
    FreqGen2 form;
    std::vector<bool> seen;
    form.onClick("Check1", [&] { seen.push_back(form.value("Check1")); });
    EXPECT_TRUE(form.click("Check1"));
    form.setChecked("Check1", true);  // no change: nothing runs
    form.setChecked("Check1", false);
    EXPECT_EQ(seen, (std::vector<bool>{true, false}));

    int runs = 0;
    form.onClick("Command11", [&] {
        ++runs;
        throw RuntimeError::of(errnum::Overflow);
    });
    EXPECT_THROW(form.click("command11"), RuntimeError);
    EXPECT_THROW(form.click("Command11"), RuntimeError);  // a throwing handler can run again
    EXPECT_EQ(runs, 2);
    EXPECT_TRUE(form.click("Command12"));  // no handler yet: nothing happens
    EXPECT_FALSE(form.click("Label1"));
    EXPECT_FALSE(form.click("Nothing"));
    EXPECT_FALSE(form.choose("Command11"));
}

TEST(StatusBar, SevenPanelsWithDefaultsAndRangeError) {
    FreqGen2 form;
    EXPECT_EQ(form.status(1), "Status: CW");
    EXPECT_EQ(form.status(2), "Trig: Free run");
    EXPECT_EQ(form.status(3), "");
    form.setStatus(7, lock::BothUnlocked);
    EXPECT_EQ(form.status(7), "PLL and AGC Unlocked!");
    for (int bad : {0, 8, -1}) {
        EXPECT_EQ(raisedBy([&] { form.status(bad); }), errnum::Subscript) << bad;
        EXPECT_EQ(raisedBy([&] { form.setStatus(bad, "x"); }), errnum::Subscript) << bad;
    }
}

TEST(FormLifecycle, LoadRunsOnceCloseHidesWithoutUnloadingAndTheOffDisplay) {
    FreqGen2 form;
    int loads = 0, closes = 0;
    form.onLoad([&] {
        ++loads;
        form.load();  // touching the form during its start-up does not load it again
    });
    form.onQueryUnload([&] { ++closes; });
    form.load();
    form.load();
    EXPECT_EQ(loads, 1);
    form.show();
    form.close();
    EXPECT_EQ(closes, 1);
    EXPECT_FALSE(form.visible());
    EXPECT_TRUE(form.loaded());

    FreqGen2 off;
    for (const auto stop : kStopButtons)
        off.setBold(stop, true);
    showOffDisplay(off);
    EXPECT_EQ(off.text("Command23"), "OFF");
    EXPECT_EQ(off.status(1), "Status: Off");
    for (const auto stop : kStopButtons)
        EXPECT_FALSE(off.bold(stop)) << stop;
    EXPECT_FALSE(off.loaded());
}

}  // namespace
}  // namespace synthor::panel
