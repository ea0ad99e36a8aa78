// Message boxes, the file-open dialog and the calibration progress window `EEPROMdata` as Qt
// dialogs. Without a person at the screen (a snapshot run) the prompts are answered as the
// command-line tool answers them.
#pragma once

#include <QProgressDialog>
#include <memory>

#include "calibration/sig_gen_routines.hpp"
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

// The `EEPROMdata` window: "Loading Data from ROM" over a bar from 0 to 100, shown from the first
// progress report until close().
class EepromDataWindow final : public CalibrationProgress {
  public:
    void setValue(float value) override;
    void close();

  private:
    std::unique_ptr<QProgressDialog> dialog_;
};

}  // namespace synthor::panel::qt
