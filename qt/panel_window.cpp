#include "qt/panel_window.hpp"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>

#include "form/form_geometry.hpp"
#include "runtime/errors.hpp"

namespace synthor::panel::qt {
namespace {

QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QRect toQt(const Rect& r) {
    return {r.x, r.y, r.width, r.height};
}

// The substitute when the system has no scalable "MS Sans Serif": wine's Tahoma, as wine itself
// substitutes it. (Wine's own "MS Sans Serif" is a bitmap font that Qt cannot draw bold, and a
// bold Stop button is how the panel marks a running sweep.)
constexpr const char* kSubstituteFamily = "Tahoma";
constexpr std::array<const char*, 2> kSubstituteFiles = {"/usr/share/wine/fonts/tahoma.ttf",
                                                         "/usr/share/wine/fonts/tahomabd.ttf"};

}  // namespace

QFont panelFont() {
    QString family = qs(kFontName);
    if (!QFontDatabase::hasFamily(family) || !QFontDatabase::isSmoothlyScalable(family)) {
        family = kSubstituteFamily;
        if (!QFontDatabase::hasFamily(family)) {
            for (const char* file : kSubstituteFiles)
                QFontDatabase::addApplicationFont(file);
        }
    }
    QFont font(family);
    font.setPointSize(kFontPointSize);
    return font;
}

PanelWindow::PanelWindow(FreqGen2& form, QWidget* parent) : QWidget(parent), form_(form) {
    setWindowTitle(qs(kFormCaption));
    setObjectName(qs(kFormName));
    setFont(panelFont());
    build();
    refresh();
}

void PanelWindow::build() {
    const FormGeometry& geometry = formGeometry();
    setFixedSize(geometry.clientWidth, geometry.clientHeight);
    const auto layout = formLayout();
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const ControlEntry& entry = layout[i];
        const std::string name(entry.name);
        QWidget* w = nullptr;
        switch (entry.kind) {
            case ControlKind::Frame:
                w = new QGroupBox(qs(entry.caption), this);
                break;
            case ControlKind::Label:
                w = new QLabel(qs(entry.caption), this);
                break;
            case ControlKind::Line: {
                auto* line = new QFrame(this);
                line->setFrameShape(QFrame::HLine);
                line->setFrameShadow(QFrame::Sunken);
                w = line;
                break;
            }
            case ControlKind::TextBox: {
                auto* box = new QLineEdit(this);
                connect(box, &QLineEdit::textEdited, this, [this, name](const QString& text) {
                    forward([&] { form_.typeText(name, text.toStdString()); });
                });
                w = box;
                break;
            }
            case ControlKind::CommandButton:
            case ControlKind::OptionButton:
            case ControlKind::CheckBox: {
                QAbstractButton* button = nullptr;
                if (entry.kind == ControlKind::CommandButton) {
                    button = new QPushButton(this);
                } else if (entry.kind == ControlKind::CheckBox) {
                    button = new QCheckBox(this);
                } else {
                    button = new QRadioButton(this);
                    // The model keeps each frame's options exclusive; Qt would group the form.
                    button->setAutoExclusive(false);
                }
                // A click presses a button, toggles a check box or selects an option.
                connect(button, &QAbstractButton::clicked, this,
                        [this, name] { forward([&] { form_.click(name); }); });
                w = button;
                break;
            }
            case ControlKind::StatusBar: {
                auto* bar = new QFrame(this);
                for (int p = 0; p < statuspanel::Count; ++p) {
                    auto* label = new QLabel(this);
                    label->setObjectName(qs(name) + QString::number(p + 1));
                    label->setFrameShape(QFrame::Panel);
                    label->setFrameShadow(QFrame::Sunken);
                    label->setIndent(3);
                    label->setGeometry(toQt(geometry.statusPanels[static_cast<std::size_t>(p)]));
                    panels_[static_cast<std::size_t>(p)] = label;
                }
                w = bar;
                break;
            }
            case ControlKind::FileDialog:
                break;
        }
        if (w == nullptr) continue;
        w->setObjectName(qs(entry.name));
        w->setGeometry(toQt(geometry.controls[i]));
        if (!entry.tooltip.empty()) w->setToolTip(qs(entry.tooltip));
        widgets_[name] = w;
        if (entry.kind == ControlKind::StatusBar) w->lower();
    }
}

template <typename Event>
void PanelWindow::forward(Event&& event) {
    try {
        event();
    } catch (const RuntimeError& e) {
        QMessageBox::critical(
            this, qs(kFormCaption),
            QStringLiteral("Run-time error '%1':\n\n%2").arg(e.number()).arg(qs(e.description())));
    }
    refresh();
}

void PanelWindow::refresh() {
    for (const Control& c : form_.controls()) {
        QWidget* w = widgetFor(std::string(c.name()));
        if (w == nullptr) continue;
        const QString text = QString::fromStdString(c.text());
        w->setEnabled(c.enabled());
        QFont font = w->font();
        font.setBold(c.bold());
        w->setFont(font);
        switch (c.kind()) {
            case ControlKind::TextBox: {
                auto* box = static_cast<QLineEdit*>(w);
                if (box->text() != text) box->setText(text);
                break;
            }
            case ControlKind::Label:
                static_cast<QLabel*>(w)->setText(text);
                break;
            case ControlKind::Frame:
                static_cast<QGroupBox*>(w)->setTitle(text);
                break;
            case ControlKind::CommandButton:
            case ControlKind::OptionButton:
            case ControlKind::CheckBox: {
                auto* button = static_cast<QAbstractButton*>(w);
                button->setText(text);
                if (c.kind() != ControlKind::CommandButton) button->setChecked(c.value());
                break;
            }
            default:
                break;
        }
    }
    for (int p = 1; p <= statuspanel::Count; ++p)
        statusPanel(p)->setText(QString::fromStdString(form_.status(p)));
    if (!form_.visible() && isVisible()) hide();
}

QWidget* PanelWindow::widgetFor(const std::string& name) const {
    const auto it = widgets_.find(name);
    return it == widgets_.end() ? nullptr : it->second;
}

QLabel* PanelWindow::statusPanel(int panel) const {
    return panels_.at(static_cast<std::size_t>(panel - 1));
}

void PanelWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (onHidden) onHidden();
}

void PanelWindow::closeEvent(QCloseEvent* event) {
    // The panel is never unloaded: the model's close runs its QueryUnload work and hides it.
    event->ignore();
    forward([this] { form_.close(); });
    if (!form_.visible()) hide();
}

}  // namespace synthor::panel::qt
