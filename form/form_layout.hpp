// The layout of the control panel `FreqGen2` as data: every control with its kind, the frame it
// sits in, its caption (or a text box's default text) and its tooltip. Pixel geometry is not
// kept; the grouping, texts and defaults are.
#pragma once

#include <span>
#include <string_view>

namespace synthor::panel {

enum class ControlKind {
    Frame,
    Label,
    Line,
    TextBox,
    CommandButton,
    OptionButton,
    CheckBox,
    FileDialog,
    StatusBar,
};

struct ControlEntry {
    std::string_view name;
    ControlKind kind;
    std::string_view frame;    // the containing frame; empty for controls on the form itself
    std::string_view caption;  // a text box's default text, everything else's caption
    std::string_view tooltip;
    bool selected = false;  // option buttons selected when the panel opens
};

inline constexpr std::string_view kFormName = "FreqGen2";
inline constexpr std::string_view kFormCaption = "KX30-11-02 Signal generator utility";
inline constexpr std::string_view kFontName = "MS Sans Serif";

// Every control of the form, frame by frame; frames come before the controls they hold.
std::span<const ControlEntry> formLayout();

}  // namespace synthor::panel
