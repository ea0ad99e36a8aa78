// Message boxes, the file-open dialog and the calibration progress window `EEPROMdata` as Qt
// dialogs. Without a person at the screen (a snapshot run) the prompts are answered as the
// command-line tool answers them.
#pragma once

#include <QProgressDialog>
#include <memory>

#include "panel/eeprom_data.hpp"
#include "runtime/prompts.hpp"

class QWidget;

namespace synthor::panel::qt {

class QtPrompts final : public Prompts {
  public:
    // `unattended`: when set, every prompt goes to it instead of a dialog.
    explicit QtPrompts(Prompts* unattended = nullptr) : unattended_(unattended) {}

    // The window the dialogs belong to.
    void setParent(QWidget* parent) { parent_ = parent; }

    MsgResult msgBox(std::string_view text, int style, std::string_view title) override;
    std::optional<std::string> openFile(const OpenFileRequest& request) override;
    void doEvents() override;

  private:
    Prompts* unattended_;
    QWidget* parent_ = nullptr;
};

// The `EEPROMdata` window: draws the progress model (caption, label, bar, shown or hidden)
// whenever it changes.
class EepromDataWindow {
  public:
    explicit EepromDataWindow(EepromData& model);
    ~EepromDataWindow();
    EepromDataWindow(const EepromDataWindow&) = delete;
    EepromDataWindow& operator=(const EepromDataWindow&) = delete;

  private:
    void redraw();

    EepromData& model_;
    std::unique_ptr<QProgressDialog> dialog_;
};

}  // namespace synthor::panel::qt
