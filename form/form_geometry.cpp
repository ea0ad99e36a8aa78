#include "form/form_geometry.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>

#include "form/status_texts.hpp"

namespace synthor::panel {
namespace {

using K = ControlKind;

// Which frames stand in which column, top to bottom. A frame missing here goes to the bottom of
// the shortest column.
constexpr std::array<std::array<std::string_view, 4>, 4> kColumns = {{
    {"Frame1", "Frame2", "Frame3", "Frame12"},
    {"Frame4", "Frame10", "Frame11", "Frame8"},
    {"Frame5", "Frame7", "", ""},
    {"Frame6", "Frame9", "", ""},
}};

constexpr int kMargin = 8;      // form edge to the frames
constexpr int kFrameGap = 6;    // between frames of a column and between columns
constexpr int kPadTop = 20;     // frame top to its first row, below the caption
constexpr int kPadSide = 10;    // frame side to its rows
constexpr int kPadBottom = 10;  // last row to the frame's bottom
constexpr int kRowGap = 6;      // between rows of a frame
constexpr int kItemGap = 6;     // between controls of a row
constexpr int kTextBoxWidth = 80;
constexpr int kTextBoxHeight = 21;
constexpr int kButtonHeight = 24;
constexpr int kButtonMinWidth = 56;
constexpr int kButtonPad = 20;  // button border and margin around its caption
constexpr int kMarkWidth = 20;  // an option's circle or a check box's box and its gap
constexpr int kMarkHeight = 17;
constexpr int kStatusHeight = 22;
constexpr int kStatusPad = 14;  // panel borders and margins around its text

int charWidth(char c) {
    switch (c) {
        case ' ':
        case 'i':
        case 'l':
        case 'j':
        case 'I':
        case '.':
        case ',':
        case ':':
        case ';':
        case '!':
        case '\'':
        case '|':
            return 3;
        case 'f':
        case 't':
        case 'r':
        case '(':
        case ')':
        case '-':
        case '/':
            return 4;
        case 'm':
        case 'w':
        case 'M':
        case 'W':
        case '%':
            return 10;
        default:
            return c >= 'A' && c <= 'Z' ? 8 : 6;
    }
}

// Bold captions are a tenth wider; command buttons may turn bold at any time.
int boldTextWidth(std::string_view text) {
    return textWidth(text) * 11 / 10 + 1;
}

int buttonWidth(std::string_view caption) {
    return std::max(kButtonMinWidth, boldTextWidth(caption) + kButtonPad);
}

enum class RowKind { Field, Heading, Options, Checks, Buttons, Label };

// Indices into the layout table. Field: caption label, text box, optional unit label.
struct Row {
    RowKind kind;
    std::vector<std::size_t> items;
};

struct Frame {
    std::size_t index = 0;
    std::vector<Row> rows;
    int captionColumn = 0;  // widest caption label of the field rows
    int unitColumn = 0;     // widest unit label
    int width = 0;          // natural width
    int height = 0;
};

int rowHeight(RowKind kind) {
    switch (kind) {
        case RowKind::Field:
            return kTextBoxHeight;
        case RowKind::Buttons:
            return kButtonHeight;
        case RowKind::Options:
        case RowKind::Checks:
            return kMarkHeight;
        default:
            return kTextHeight;
    }
}

int itemWidth(const ControlEntry& e) {
    switch (e.kind) {
        case K::CommandButton:
            return buttonWidth(e.caption);
        case K::OptionButton:
        case K::CheckBox:
            return kMarkWidth + textWidth(e.caption);
        default:
            return textWidth(e.caption);
    }
}

// The rows of a frame: the controls after it in the table that name it as their frame.
std::vector<Row> rowsOf(std::span<const ControlEntry> layout, std::string_view frame) {
    std::vector<std::size_t> mine;
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].frame == frame) mine.push_back(i);
    }
    std::vector<Row> rows;
    for (std::size_t k = 0; k < mine.size();) {
        const auto kindAt = [&](std::size_t j) {
            return j < mine.size() ? layout[mine[j]].kind : K::FileDialog;
        };
        const K kind = kindAt(k);
        if (kind == K::Label && kindAt(k + 1) == K::Label && kindAt(k + 2) == K::TextBox) {
            rows.push_back({RowKind::Field, {mine[k], mine[k + 2], mine[k + 1]}});
            k += 3;
        } else if (kind == K::Label && kindAt(k + 1) == K::TextBox) {
            rows.push_back({RowKind::Field, {mine[k], mine[k + 1]}});
            k += 2;
        } else if (kind == K::Label && kindAt(k + 1) == K::Line) {
            rows.push_back({RowKind::Heading, {mine[k], mine[k + 1]}});
            k += 2;
        } else if (kind == K::OptionButton || kind == K::CheckBox || kind == K::CommandButton) {
            Row row{kind == K::OptionButton ? RowKind::Options
                    : kind == K::CheckBox   ? RowKind::Checks
                                            : RowKind::Buttons,
                    {}};
            while (kindAt(k) == kind)
                row.items.push_back(mine[k++]);
            rows.push_back(std::move(row));
        } else {
            rows.push_back({RowKind::Label, {mine[k]}});
            ++k;
        }
    }
    return rows;
}

Frame measure(std::span<const ControlEntry> layout, std::size_t index) {
    Frame f;
    f.index = index;
    f.rows = rowsOf(layout, layout[index].name);
    for (const Row& r : f.rows) {
        if (r.kind != RowKind::Field) continue;
        f.captionColumn = std::max(f.captionColumn, textWidth(layout[r.items[0]].caption));
        if (r.items.size() > 2)
            f.unitColumn = std::max(f.unitColumn, textWidth(layout[r.items[2]].caption));
    }
    int content = textWidth(layout[index].caption) + 10;
    int height = kPadTop + kPadBottom - kRowGap;
    for (const Row& r : f.rows) {
        int w = 0;
        if (r.kind == RowKind::Field) {
            w = f.captionColumn + kItemGap + kTextBoxWidth + (f.unitColumn ? kItemGap : 0) +
                f.unitColumn;
        } else if (r.kind == RowKind::Heading) {
            w = textWidth(layout[r.items[0]].caption) + kItemGap + 40;
        } else {
            for (const std::size_t i : r.items)
                w += itemWidth(layout[i]) + kItemGap;
            w -= kItemGap;
        }
        content = std::max(content, w);
        height += rowHeight(r.kind) + kRowGap;
    }
    f.width = content + 2 * kPadSide;
    f.height = height;
    return f;
}

// Places a frame's rows inside its rectangle.
void place(std::span<const ControlEntry> layout, const Frame& f, const Rect& box,
           std::vector<Rect>& out) {
    out[f.index] = box;
    const int left = box.x + kPadSide;
    const int content = box.width - 2 * kPadSide;
    int y = box.y + kPadTop;
    for (const Row& r : f.rows) {
        const int h = rowHeight(r.kind);
        const int labelY = y + (h - kTextHeight) / 2;
        if (r.kind == RowKind::Field) {
            const int boxX = left + f.captionColumn + kItemGap;
            out[r.items[0]] = {left, labelY, f.captionColumn, kTextHeight};
            out[r.items[1]] = {boxX, y, kTextBoxWidth, h};
            if (r.items.size() > 2)
                out[r.items[2]] = {boxX + kTextBoxWidth + kItemGap, labelY, f.unitColumn,
                                   kTextHeight};
        } else if (r.kind == RowKind::Heading) {
            const int w = textWidth(layout[r.items[0]].caption);
            out[r.items[0]] = {left, y, w, kTextHeight};
            out[r.items[1]] = {left + w + kItemGap, y + kTextHeight / 2, content - w - kItemGap, 2};
        } else {
            // Spread the row over the frame's width: the spare width goes evenly to its items.
            int natural = -kItemGap;
            for (const std::size_t i : r.items)
                natural += itemWidth(layout[i]) + kItemGap;
            const int count = static_cast<int>(r.items.size());
            const int extra = (content - natural) / count;
            int x = left;
            for (const std::size_t i : r.items) {
                const int w = itemWidth(layout[i]) + extra;
                out[i] = {x, y, w, h};
                x += w + kItemGap;
            }
        }
        y += h + kRowGap;
    }
}

// The widest text each status panel can show.
std::array<std::string, 7> statusSamples() {
    const auto longest = [](auto texts) {
        std::string_view best;
        for (const std::string_view t : texts)
            if (textWidth(t) > textWidth(best)) best = t;
        return std::string(best);
    };
    const std::array<std::string_view, 4> locks = {lock::Locked, lock::Unlocked, lock::AgcUnlocked,
                                                   lock::BothUnlocked};
    // Panels 3 to 5 show 11- and 3-byte memory blocks after their prefixes.
    return {longest(status::kAll),
            longest(trigger::kByMode),
            std::string(kSerialPrefix) + "00000000000",
            std::string(kSoftwarePrefix) + "0.00",
            std::string(kHardwarePrefix) + "00000000000",
            std::string(kPanelVersionPrefix) + std::string(kPanelVersion),
            longest(locks)};
}

FormGeometry compute() {
    const auto layout = formLayout();
    FormGeometry g;
    g.controls.assign(layout.size(), Rect{});

    struct Column {
        std::vector<Frame> frames;
        int width = 0;
        int height = 0;
    };
    std::array<Column, kColumns.size()> columns;
    const auto shortest = [&] {
        return std::min_element(
            columns.begin(), columns.end(),
            [](const Column& a, const Column& b) { return a.height < b.height; });
    };
    const auto columnOf = [&](std::string_view frame) -> Column* {
        for (std::size_t c = 0; c < kColumns.size(); ++c)
            for (const std::string_view name : kColumns[c])
                if (name == frame) return &columns[c];
        return nullptr;
    };
    // Columns in their listed order, then any frame not listed.
    for (std::size_t c = 0; c < kColumns.size(); ++c) {
        for (const std::string_view name : kColumns[c]) {
            for (std::size_t i = 0; i < layout.size(); ++i) {
                if (layout[i].kind == K::Frame && layout[i].name == name) {
                    columns[c].frames.push_back(measure(layout, i));
                    columns[c].height += columns[c].frames.back().height + kFrameGap;
                }
            }
        }
    }
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].kind != K::Frame || columnOf(layout[i].name)) continue;
        Column& c = *shortest();
        c.frames.push_back(measure(layout, i));
        c.height += c.frames.back().height + kFrameGap;
    }

    // The form's own buttons, under the shortest column, right-aligned.
    std::vector<std::size_t> formButtons;
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].frame.empty() && layout[i].kind == K::CommandButton) formButtons.push_back(i);
    }
    Column& under = *shortest();
    const int buttonsTop = under.height;
    int buttonsWidth = -kItemGap;
    for (const std::size_t i : formButtons)
        buttonsWidth += buttonWidth(layout[i].caption) + kItemGap;
    if (!formButtons.empty()) under.height += kButtonHeight + kFrameGap;

    int x = kMargin;
    int tallest = 0;
    for (Column& c : columns) {
        for (const Frame& f : c.frames)
            c.width = std::max(c.width, f.width);
        if (&c == &under) c.width = std::max(c.width, buttonsWidth);
        int y = kMargin;
        for (const Frame& f : c.frames) {
            place(layout, f, {x, y, c.width, f.height}, g.controls);
            y += f.height + kFrameGap;
        }
        if (&c == &under) {
            int bx = x + c.width - buttonsWidth;
            for (const std::size_t i : formButtons) {
                const int w = buttonWidth(layout[i].caption);
                g.controls[i] = {bx, kMargin + buttonsTop, w, kButtonHeight};
                bx += w + kItemGap;
            }
        }
        tallest = std::max(tallest, c.height - kFrameGap);
        x += c.width + kFrameGap;
    }
    const int framesWidth = x - kFrameGap + kMargin;

    // The status bar: each panel as wide as its widest text; spare width goes evenly to all.
    const auto samples = statusSamples();
    std::array<int, 7> widths{};
    for (std::size_t p = 0; p < samples.size(); ++p)
        widths[p] = textWidth(samples[p]) + kStatusPad;
    const int statusWidth = std::accumulate(widths.begin(), widths.end(), 0);
    g.clientWidth = std::max(framesWidth, statusWidth);
    g.clientHeight = kMargin + tallest + kMargin + kStatusHeight;
    const int statusTop = g.clientHeight - kStatusHeight;
    const int spare = g.clientWidth - statusWidth;
    int px = 0;
    for (std::size_t p = 0; p < widths.size(); ++p) {
        int w = widths[p] + spare / 7;
        if (p + 1 == widths.size()) w = g.clientWidth - px;
        g.statusPanels[p] = {px, statusTop, w, kStatusHeight};
        px += w;
    }
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].kind == K::StatusBar)
            g.controls[i] = {0, statusTop, g.clientWidth, kStatusHeight};
    }
    return g;
}

}  // namespace

int textWidth(std::string_view text) {
    int w = 0;
    for (const char c : text)
        w += charWidth(c);
    return (w * 115 + 99) / 100 + 2;
}

Rect FormGeometry::rect(std::string_view name) const {
    const auto layout = formLayout();
    for (std::size_t i = 0; i < layout.size() && i < controls.size(); ++i) {
        if (layout[i].name == name) return controls[i];
    }
    return {};
}

const FormGeometry& formGeometry() {
    static const FormGeometry geometry = compute();
    return geometry;
}

}  // namespace synthor::panel
