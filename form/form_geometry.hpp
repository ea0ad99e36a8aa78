// The pixel geometry of the control panel `FreqGen2`, shared by every window front end: one
// rectangle per control of the layout table and the form's client size, in pixels at 96 DPI for
// an 8-point "MS Sans Serif"-like font. Computed by walking the layout table, no toolkit needed.
//
// Frames stand in four columns; inside a frame the controls form rows: a caption label, its text
// box and its unit label; a label followed by a line (a heading); a run of option buttons, of
// check boxes or of command buttons. The form's own buttons go under the shortest column and
// the status bar spans the bottom. Every rectangle is in form client coordinates (not relative to
// its frame), so a front end may create all controls as children of the form.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "form/form_layout.hpp"

namespace synthor::panel {

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int right() const { return x + width; }
    int bottom() const { return y + height; }
    friend bool operator==(const Rect&, const Rect&) = default;
};

struct FormGeometry {
    int clientWidth = 0;
    int clientHeight = 0;
    // One rectangle per entry of formLayout(), in the same order. The file dialog has no
    // window: its rectangle is empty.
    std::vector<Rect> controls;
    // The status bar's seven panels, 1..7 at indices 0..6, in form client coordinates.
    std::array<Rect, 7> statusPanels;

    // The rectangle of the control of that name (exact name); an empty one if there is none.
    Rect rect(std::string_view name) const;
};

// Sizes of the font the geometry is made for.
inline constexpr int kFontPointSize = 8;
inline constexpr int kTextHeight = 13;

// A generous estimate of a one-line text's width in pixels in that font (wider than the real
// font's, so that a substitute font still fits).
int textWidth(std::string_view text);

// The geometry, computed once.
const FormGeometry& formGeometry();

}  // namespace synthor::panel
