// The shared window geometry: nothing overlaps, nothing leaves its frame or the form, and every
// caption has room for its text.
#include <gtest/gtest.h>

#include "form/form_geometry.hpp"

namespace synthor::panel {
namespace {

bool inside(const Rect& inner, const Rect& outer) {
    return inner.x >= outer.x && inner.y >= outer.y && inner.right() <= outer.right() &&
           inner.bottom() <= outer.bottom();
}

bool overlap(const Rect& a, const Rect& b) {
    return a.x < b.right() && b.x < a.right() && a.y < b.bottom() && b.y < a.bottom();
}

TEST(FormGeometry, EveryControlFitsItsFrameAndOverlapsNoSibling) {
    const auto layout = formLayout();
    const FormGeometry& g = formGeometry();
    ASSERT_EQ(g.controls.size(), layout.size());
    const Rect form{0, 0, g.clientWidth, g.clientHeight};
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const ControlEntry& e = layout[i];
        const Rect& r = g.controls[i];
        if (e.kind == ControlKind::FileDialog) continue;
        SCOPED_TRACE(std::string(e.name));
        EXPECT_GT(r.width, 0);
        EXPECT_GT(r.height, 0);
        EXPECT_TRUE(inside(r, form));
        if (!e.frame.empty()) {
            EXPECT_TRUE(inside(r, g.rect(e.frame)));
        }
        if (e.kind != ControlKind::TextBox && e.kind != ControlKind::Line) {
            EXPECT_GE(r.width, textWidth(e.caption));
        }
        for (std::size_t j = i + 1; j < layout.size(); ++j) {
            if (layout[j].frame == e.frame && layout[j].kind != ControlKind::FileDialog) {
                EXPECT_FALSE(overlap(r, g.controls[j])) << layout[j].name;
            }
        }
    }
}

TEST(FormGeometry, StatusPanelsTileTheBottomAndHoldTheirLongestTexts) {
    const FormGeometry& g = formGeometry();
    int x = 0;
    for (const Rect& p : g.statusPanels) {
        EXPECT_EQ(p.x, x);
        EXPECT_EQ(p.bottom(), g.clientHeight);
        x = p.right();
    }
    EXPECT_EQ(x, g.clientWidth);
    EXPECT_GE(g.statusPanels[6].width, textWidth("PLL and AGC Unlocked!"));
    EXPECT_GE(g.statusPanels[0].width, textWidth("Status: Level sweep"));
}

}  // namespace
}  // namespace synthor::panel
