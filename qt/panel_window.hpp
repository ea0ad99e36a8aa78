// The control panel `FreqGen2` as a Qt window: one widget per control of the form model, placed
// by the shared form geometry. The window holds no behaviour: it forwards clicks, typing and the
// title-bar close to the model, then redraws every widget from the model.
#pragma once

#include <QWidget>
#include <functional>
#include <map>
#include <string>

#include "form/freqgen2.hpp"

class QLabel;

namespace synthor::panel::qt {

class PanelWindow final : public QWidget {
  public:
    explicit PanelWindow(FreqGen2& form, QWidget* parent = nullptr);

    // Redraws every widget from the model (texts, values, enabled, bold, status panels) and
    // hides the window when the model is hidden.
    void refresh();

    // The widget drawing the named control; nullptr for none (the file dialog has none).
    QWidget* widgetFor(const std::string& name) const;
    // The status bar's panel 1..7.
    QLabel* statusPanel(int panel) const;

    // Called whenever the window hides (the model hid the panel).
    std::function<void()> onHidden;

  protected:
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    // Runs a model event, reports a runtime error the way the panel does, then redraws.
    template <typename Event>
    void forward(Event&& event);
    void build();

    FreqGen2& form_;
    std::map<std::string, QWidget*> widgets_;
    std::array<QLabel*, statuspanel::Count> panels_{};
};

// The font every control uses: "MS Sans Serif" at 8 points, or the substitute wine uses for it
// when the system has no scalable font of that name.
QFont panelFont();

}  // namespace synthor::panel::qt
