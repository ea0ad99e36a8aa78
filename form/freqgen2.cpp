#include "form/freqgen2.hpp"

#include <cctype>
#include <stdexcept>

#include "runtime/errors.hpp"
#include "runtime/text.hpp"

namespace synthor::panel {
FreqGen2::FreqGen2() : panels_(statuspanel::Count) {
    const auto layout = formLayout();
    controls_.reserve(layout.size());
    for (const auto& entry : layout)
        controls_.push_back(Control(entry));
    // The panel opens in CW on a free-running trigger, as its default options say.
    panels_[statuspanel::Mode - 1] = status::CW;
    panels_[statuspanel::Trigger - 1] = trigger::FreeRun;
}

Control* FreqGen2::lookup(std::string_view name) {
    for (auto& c : controls_) {
        if (equalsIgnoreCase(c.name(), name)) return &c;
    }
    return nullptr;
}

const Control* FreqGen2::lookup(std::string_view name) const {
    for (const auto& c : controls_) {
        if (equalsIgnoreCase(c.name(), name)) return &c;
    }
    return nullptr;
}

Control& FreqGen2::at(std::string_view name) {
    if (Control* c = lookup(name)) return *c;
    throw std::out_of_range("FreqGen2 has no control " + std::string(name));
}

const Control& FreqGen2::at(std::string_view name) const {
    if (const Control* c = lookup(name)) return *c;
    throw std::out_of_range("FreqGen2 has no control " + std::string(name));
}

const Control* FreqGen2::find(std::string_view name) const {
    return lookup(name);
}

const std::string& FreqGen2::text(std::string_view name) const {
    return at(name).text_;
}
bool FreqGen2::value(std::string_view name) const {
    return at(name).value_;
}
bool FreqGen2::enabled(std::string_view name) const {
    return at(name).enabled_;
}
bool FreqGen2::bold(std::string_view name) const {
    return at(name).bold_;
}

void FreqGen2::setText(std::string_view name, std::string text) {
    at(name).text_ = std::move(text);
}
void FreqGen2::setEnabled(std::string_view name, bool enabled) {
    at(name).enabled_ = enabled;
}
void FreqGen2::setBold(std::string_view name, bool bold) {
    at(name).bold_ = bold;
}

void FreqGen2::runClick(Control& control) {
    if (!control.onClick_ || control.running_) return;
    control.running_ = true;
    // A copy: the handler may replace itself.
    const Handler handler = control.onClick_;
    try {
        handler();
    } catch (...) {
        control.running_ = false;
        throw;
    }
    control.running_ = false;
}

void FreqGen2::selectOption(Control& option) {
    if (option.value_) return;
    for (auto& other : controls_) {
        if (&other != &option && other.kind() == ControlKind::OptionButton &&
            other.frame() == option.frame()) {
            other.value_ = false;
        }
    }
    option.value_ = true;
    runClick(option);
}

void FreqGen2::setCheck(Control& box, bool checked) {
    if (box.value_ == checked) return;
    box.value_ = checked;
    runClick(box);
}

void FreqGen2::select(std::string_view name) {
    Control& c = at(name);
    if (c.kind() != ControlKind::OptionButton) {
        throw std::invalid_argument(std::string(name) + " is not an option button");
    }
    selectOption(c);
}

void FreqGen2::setChecked(std::string_view name, bool checked) {
    Control& c = at(name);
    if (c.kind() != ControlKind::CheckBox) {
        throw std::invalid_argument(std::string(name) + " is not a check box");
    }
    setCheck(c, checked);
}

bool FreqGen2::typeText(std::string_view name, std::string text) {
    Control* c = lookup(name);
    if (c == nullptr || c->kind() != ControlKind::TextBox) return false;
    c->text_ = std::move(text);
    return true;
}

bool FreqGen2::click(std::string_view name) {
    Control* c = lookup(name);
    if (c == nullptr) return false;
    switch (c->kind()) {
        case ControlKind::CommandButton:
            runClick(*c);
            return true;
        case ControlKind::CheckBox:
            setCheck(*c, !c->value_);
            return true;
        case ControlKind::OptionButton:
            selectOption(*c);
            return true;
        default:
            return false;
    }
}

bool FreqGen2::choose(std::string_view name) {
    Control* c = lookup(name);
    if (c == nullptr || c->kind() != ControlKind::OptionButton) return false;
    selectOption(*c);
    return true;
}

const std::string& FreqGen2::status(int panel) const {
    if (panel < 1 || panel > statuspanel::Count) raise(errnum::Subscript);
    return panels_[static_cast<std::size_t>(panel - 1)];
}

void FreqGen2::setStatus(int panel, std::string_view text) {
    if (panel < 1 || panel > statuspanel::Count) raise(errnum::Subscript);
    panels_[static_cast<std::size_t>(panel - 1)] = std::string(text);
}

void FreqGen2::onClick(std::string_view name, Handler handler) {
    at(name).onClick_ = std::move(handler);
}

void FreqGen2::load() {
    if (loaded_) return;
    // Loaded from the start of the handler on, as a form is: controls touched by the start-up
    // must not load it again.
    loaded_ = true;
    if (onLoad_) {
        const Handler handler = onLoad_;
        handler();
    }
}

void FreqGen2::close() {
    if (onQueryUnload_) {
        const Handler handler = onQueryUnload_;
        handler();
    }
    visible_ = false;
}

void showOffDisplay(FreqGen2& form) {
    form.setText("Command23", "OFF");
    form.setStatus(statuspanel::Mode, status::Off);
    for (const std::string_view stop : kStopButtons)
        form.setBold(stop, false);
}

}  // namespace synthor::panel
