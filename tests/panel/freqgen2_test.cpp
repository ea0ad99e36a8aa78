#include "panel/freqgen2.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "runtime/errors.hpp"

namespace synthor::panel {
namespace {

struct Expected {
    const char* name;
    ControlKind kind;
    const char* frame;
    const char* text;
    const char* tooltip;
};

// One control of each kind and the layout's deliberate oddities: the misspelt frame caption,
// the "25" of the dwell tooltips, "dBm" beside "dB", and the differing decimals.
const Expected kSample[] = {
    {"Frame12", ControlKind::Frame, "", "Swtich RF Off", ""},
    {"Text1", ControlKind::TextBox, "Frame1", "1000.00", ""},
    {"Text8", ControlKind::TextBox, "Frame5", "1000.000", ""},
    {"Text14", ControlKind::TextBox, "Frame7", "100", "Enter dwell time between 25 and 65500 us"},
    {"Text16", ControlKind::TextBox, "Frame8", "100", "Enter dwell time between 25 and 65500 us"},
    {"Label12", ControlKind::Label, "Frame3", "dBm", ""},
    {"Label44", ControlKind::Label, "Frame6", "dB", ""},
    {"Option11", ControlKind::OptionButton, "Frame10", "400Hz", "Click to turn on 400Hz AM"},
    {"Check3", ControlKind::CheckBox, "Frame11", "Get plan from file",
     "Click to load phase & amplitude sweep plan from file"},
    {"Command23", ControlKind::CommandButton, "Frame12", "ON", ""},
    {"Line1", ControlKind::Line, "Frame5", "", ""},
    {"CommonDialog1", ControlKind::FileDialog, "", "", ""},
    {"StatusBar1", ControlKind::StatusBar, "", "", ""},
};

TEST(FormLayout, SampleControlsHaveTheirKindFrameTextAndTooltip) {
    FreqGen2 form;
    for (const Expected& e : kSample) {
        SCOPED_TRACE(e.name);
        const Control* c = form.find(e.name);
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(c->kind(), e.kind);
        EXPECT_EQ(c->frame(), e.frame);
        EXPECT_EQ(c->text(), e.text);
        EXPECT_EQ(c->defaultText(), e.text);
        EXPECT_EQ(c->tooltip(), e.tooltip);
        EXPECT_TRUE(c->enabled());
        EXPECT_FALSE(c->bold());
    }
}

TEST(FormLayout, NamesAreUniqueAndFramesExist) {
    FreqGen2 form;
    std::set<std::string> names;
    for (const Control& c : form.controls()) {
        EXPECT_TRUE(names.insert(std::string(c.name())).second) << c.name();
        if (!c.frame().empty()) {
            const Control* frame = form.find(c.frame());
            ASSERT_NE(frame, nullptr) << c.name();
            EXPECT_EQ(frame->kind(), ControlKind::Frame);
        }
    }
    // Twelve frames, 23 command buttons, 14 options, 6 check boxes, 24 text boxes.
    auto count = [&](ControlKind k) {
        int n = 0;
        for (const Control& c : form.controls())
            n += c.kind() == k ? 1 : 0;
        return n;
    };
    EXPECT_EQ(count(ControlKind::Frame), 12);
    EXPECT_EQ(count(ControlKind::CommandButton), 23);
    EXPECT_EQ(count(ControlKind::OptionButton), 14);
    EXPECT_EQ(count(ControlKind::CheckBox), 6);
    EXPECT_EQ(count(ControlKind::TextBox), 24);
    EXPECT_EQ(kFormCaption, "KX30-11-02 Signal generator utility");
}

TEST(FormModel, FindIsCaseInsensitive) {
    FreqGen2 form;
    ASSERT_NE(form.find("text8"), nullptr);
    EXPECT_EQ(form.find("TEXT8"), form.find("Text8"));
    EXPECT_EQ(form.find("Text99"), nullptr);
    EXPECT_EQ(form.find(""), nullptr);
    EXPECT_THROW(form.text("Text99"), std::out_of_range);
}

TEST(FormModel, DefaultOptionsAreOffAndFreeRun) {
    FreqGen2 form;
    for (const char* on : {"Option1", "Option4", "Option7", "Option10"}) {
        EXPECT_TRUE(form.value(on)) << on;
    }
    for (const char* off : {"Option2", "Option3", "Option5", "Option6", "Option8", "Option9",
                            "Option11", "Option12", "Option13", "Option14", "Check1"}) {
        EXPECT_FALSE(form.value(off)) << off;
    }
}

TEST(FormModel, SelectingClearsOnlyItsOwnGroup) {
    FreqGen2 form;
    form.select("Option5");
    EXPECT_TRUE(form.value("Option5"));
    EXPECT_FALSE(form.value("Option4"));
    EXPECT_FALSE(form.value("Option6"));
    EXPECT_TRUE(form.value("Option7"));  // the level sweep's group is another frame
    EXPECT_TRUE(form.value("Option1"));
    EXPECT_THROW(form.select("Text1"), std::invalid_argument);
}

TEST(FormModel, OptionHandlerRunsOnceAndNotForAnAlreadySelectedOption) {
    FreqGen2 form;
    int runs = 0;
    form.onClick("Option5", [&] { ++runs; });
    form.select("Option5");
    form.select("Option5");
    EXPECT_TRUE(form.click("option5"));
    EXPECT_EQ(runs, 1);
    form.select("Option4");
    form.select("Option5");
    EXPECT_EQ(runs, 2);
}

TEST(FormModel, HandlerSelectingItsOwnOptionDoesNotRecurse) {
    FreqGen2 form;
    form.select("Option5");
    int runs = 0;
    form.onClick("Option4", [&] {
        ++runs;
        form.select("Option4");
    });
    form.select("Option4");
    EXPECT_EQ(runs, 1);
}

TEST(FormModel, HandlerMayRunAnotherControlsHandlerButNeverReentersItsOwn) {
    FreqGen2 form;
    std::vector<std::string> order;
    form.onClick("Option5", [&] {
        order.push_back("Option5");
        form.select("Option8");  // the other group mirrors the trigger
    });
    form.onClick("Option8", [&] {
        order.push_back("Option8");
        form.select("Option5");
    });
    form.select("Option5");
    EXPECT_EQ(order, (std::vector<std::string>{"Option5", "Option8"}));
    EXPECT_TRUE(form.value("Option8"));
}

TEST(FormModel, CheckBoxRunsItsHandlerWhenTheValueChanges) {
    FreqGen2 form;
    std::vector<bool> seen;
    form.onClick("Check1", [&] { seen.push_back(form.value("Check1")); });
    EXPECT_TRUE(form.click("Check1"));
    form.setChecked("Check1", true);  // no change: nothing runs
    form.setChecked("Check1", false);
    EXPECT_EQ(seen, (std::vector<bool>{true, false}));
}

TEST(FormModel, ButtonsRunTheirHandlersAndOtherKindsTakeNoClick) {
    FreqGen2 form;
    int runs = 0;
    form.onClick("Command11", [&] { ++runs; });
    EXPECT_TRUE(form.click("command11"));
    EXPECT_TRUE(form.click("Command12"));  // no handler yet: nothing happens
    EXPECT_FALSE(form.click("Label1"));
    EXPECT_FALSE(form.click("Nothing"));
    EXPECT_FALSE(form.choose("Command11"));
    EXPECT_EQ(runs, 1);
}

TEST(FormModel, AThrowingHandlerCanRunAgain) {
    FreqGen2 form;
    int runs = 0;
    form.onClick("Command11", [&] {
        ++runs;
        throw RuntimeError::of(errnum::Overflow);
    });
    EXPECT_THROW(form.click("Command11"), RuntimeError);
    EXPECT_THROW(form.click("Command11"), RuntimeError);
    EXPECT_EQ(runs, 2);
}

TEST(FormModel, TypingGoesOnlyIntoTextBoxes) {
    FreqGen2 form;
    EXPECT_TRUE(form.typeText("text8", "1500"));
    EXPECT_EQ(form.text("Text8"), "1500");
    EXPECT_FALSE(form.typeText("Label1", "x"));
    EXPECT_FALSE(form.typeText("Nothing", "x"));
    EXPECT_EQ(form.text("Label1"), "Frequency");
    form.setText("Command23", "OFF");  // code may change captions
    EXPECT_EQ(form.text("Command23"), "OFF");
}

TEST(StatusBar, SevenPanelsWithDefaultsAndRangeError) {
    FreqGen2 form;
    EXPECT_EQ(form.status(1), "Status: CW");
    EXPECT_EQ(form.status(2), "Trig: Free run");
    for (int n = 3; n <= 7; ++n)
        EXPECT_EQ(form.status(n), "") << n;
    form.setStatus(7, lock::BothUnlocked);
    EXPECT_EQ(form.status(7), "PLL and AGC Unlocked!");
    for (int bad : {0, 8, -1}) {
        try {
            form.status(bad);
            FAIL() << bad;
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), errnum::Subscript);
        }
        EXPECT_THROW(form.setStatus(bad, "x"), RuntimeError);
    }
}

TEST(FormLifecycle, LoadRunsOnceAndCloseHidesWithoutUnloading) {
    FreqGen2 form;
    int loads = 0;
    int closes = 0;
    form.onLoad([&] {
        ++loads;
        form.load();  // touching the form during its start-up does not load it again
    });
    form.onQueryUnload([&] { ++closes; });
    EXPECT_FALSE(form.loaded());
    form.load();
    form.load();
    EXPECT_EQ(loads, 1);
    form.show();
    EXPECT_TRUE(form.visible());
    form.close();
    EXPECT_EQ(closes, 1);
    EXPECT_FALSE(form.visible());
    EXPECT_TRUE(form.loaded());
}

TEST(FormModel, OffDisplay) {
    FreqGen2 form;
    for (const auto stop : kStopButtons)
        form.setBold(stop, true);
    showOffDisplay(form);
    EXPECT_EQ(form.text("Command23"), "OFF");
    EXPECT_EQ(form.status(1), "Status: Off");
    for (const auto stop : kStopButtons)
        EXPECT_FALSE(form.bold(stop)) << stop;
    EXPECT_FALSE(form.loaded());
}

}  // namespace
}  // namespace synthor::panel
