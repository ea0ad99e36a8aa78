// The control panel `FreqGen2` without a window: every control's state (text or caption, value,
// enabled, bold), the seven status-bar panels, option-button groups and the hooks for event
// handlers. The plan routines, the automation class, the command-line tool and window front
// ends all work on this one model; a front end only draws it and feeds it clicks.
//
// Events follow the toolkit's rules:
// - An option button runs its Click handler when it becomes selected, by a click or by code;
//   selecting an option that is already selected runs nothing. Selecting one clears the other
//   options of its frame.
// - A check box runs its Click handler whenever its value changes, by a click or by code.
// - A handler is never re-entered: while a control's handler runs, a nested event on the same
//   control only changes the control's state.
// - Form load runs the Load handler once; the title-bar close runs the QueryUnload handler and
//   leaves the form loaded (the panel hides, it is never unloaded).
// - Reading or writing a control never loads the form: routines that write into a panel that has
//   not started up change its state without running its start-up.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "form/form_layout.hpp"
#include "form/status_texts.hpp"

namespace synthor::panel {

// The Stop buttons of the five sweeps and hops; bold marks the one running.
inline constexpr std::array<std::string_view, 5> kStopButtons = {
    "Command12", "Command14", "Command16", "Command18", "Command20"};

class Control {
  public:
    std::string_view name() const { return entry_->name; }
    ControlKind kind() const { return entry_->kind; }
    std::string_view frame() const { return entry_->frame; }
    std::string_view tooltip() const { return entry_->tooltip; }
    std::string_view defaultText() const { return entry_->caption; }

    // A text box's text, or the caption of any other control.
    const std::string& text() const { return text_; }
    // The value of an option button (selected) or check box (checked); false for the rest.
    bool value() const { return value_; }
    bool enabled() const { return enabled_; }
    bool bold() const { return bold_; }

  private:
    friend class FreqGen2;
    explicit Control(const ControlEntry& entry)
        : entry_(&entry), text_(entry.caption), value_(entry.selected) {}

    const ControlEntry* entry_;
    std::string text_;
    bool value_;
    bool enabled_ = true;
    bool bold_ = false;
    bool running_ = false;  // its Click handler is running
    std::function<void()> onClick_;
};

class FreqGen2 {
  public:
    using Handler = std::function<void()>;

    FreqGen2();
    FreqGen2(const FreqGen2&) = delete;
    FreqGen2& operator=(const FreqGen2&) = delete;

    // The control of that name, compared case-insensitively; nullptr if there is none.
    const Control* find(std::string_view name) const;
    // All controls in layout order.
    const std::vector<Control>& controls() const { return controls_; }

    // State by name. The names are the form's own; an unknown name is a programming error and
    // throws std::out_of_range.
    const std::string& text(std::string_view name) const;
    bool value(std::string_view name) const;
    bool enabled(std::string_view name) const;
    bool bold(std::string_view name) const;

    // Writes a text box's text or any other control's caption; runs no handler.
    void setText(std::string_view name, std::string text);
    void setEnabled(std::string_view name, bool enabled);
    void setBold(std::string_view name, bool bold);

    // Selects an option button by code: clears the other options of its frame and runs its
    // Click handler if it was not selected before.
    void select(std::string_view name);
    // Sets a check box's value by code; its Click handler runs if the value changed.
    void setChecked(std::string_view name, bool checked);

    // What a person does. Each returns false, changing nothing, when no control of that name
    // (case-insensitive) is of a kind that takes the action.
    // Types into a text box (replaces its text).
    bool typeText(std::string_view name, std::string text);
    // Clicks a command button (runs its handler), toggles a check box, or selects an option.
    bool click(std::string_view name);
    // Selects an option button.
    bool choose(std::string_view name);

    // Status-bar panel 1..7; a panel number outside that range raises the runtime's
    // subscript-out-of-range error.
    const std::string& status(int panel) const;
    void setStatus(int panel, std::string_view text);

    // Handlers. Setting one replaces the previous; an empty function removes it.
    void onClick(std::string_view name, Handler handler);
    void onLoad(Handler handler) { onLoad_ = std::move(handler); }
    void onQueryUnload(Handler handler) { onQueryUnload_ = std::move(handler); }

    // Runs the start-up (Load handler) unless it has run already.
    void load();
    bool loaded() const { return loaded_; }
    // The title-bar close: runs the QueryUnload handler and hides the form; it stays loaded.
    void close();
    void show() { visible_ = true; }
    void hide() { visible_ = false; }
    bool visible() const { return visible_; }

    // Panel-level run flags (kept with the form, used by its handlers).
    bool ModeActive = false;
    bool ModulationOn = false;

  private:
    Control* lookup(std::string_view name);
    const Control* lookup(std::string_view name) const;
    Control& at(std::string_view name);
    const Control& at(std::string_view name) const;
    void runClick(Control& control);
    void selectOption(Control& option);
    void setCheck(Control& box, bool checked);

    std::vector<Control> controls_;
    std::vector<std::string> panels_;
    Handler onLoad_;
    Handler onQueryUnload_;
    bool loaded_ = false;
    bool visible_ = false;
};

// The panel after the output was switched off: RF button "OFF", "Status: Off", no Stop button
// bold.
void showOffDisplay(FreqGen2& form);

}  // namespace synthor::panel
