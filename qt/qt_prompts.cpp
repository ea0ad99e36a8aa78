#include "qt/qt_prompts.hpp"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QStringList>
#include <array>

#include "qt/panel_window.hpp"

namespace synthor::panel::qt {
namespace {

QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QMessageBox::StandardButtons buttonsOf(int style) {
    switch (style & 7) {
        case msgstyle::OkCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case 2:
            return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
        case 3:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case 4:
            return QMessageBox::Yes | QMessageBox::No;
        case msgstyle::RetryCancel:
            return QMessageBox::Retry | QMessageBox::Cancel;
        default:
            return QMessageBox::Ok;
    }
}

QMessageBox::Icon iconOf(int style) {
    switch (style & 0x70) {
        case msgstyle::Critical:
            return QMessageBox::Critical;
        case msgstyle::Question:
            return QMessageBox::Question;
        case msgstyle::Exclamation:
            return QMessageBox::Warning;
        case msgstyle::Information:
            return QMessageBox::Information;
        default:
            return QMessageBox::NoIcon;
    }
}

// The button a box was closed with; OK for any other.
MsgResult resultOf(int button) {
    constexpr std::array<std::pair<QMessageBox::StandardButton, MsgResult>, 6> kResults = {{
        {QMessageBox::Cancel, MsgResult::Cancel},
        {QMessageBox::Abort, MsgResult::Abort},
        {QMessageBox::Retry, MsgResult::Retry},
        {QMessageBox::Ignore, MsgResult::Ignore},
        {QMessageBox::Yes, MsgResult::Yes},
        {QMessageBox::No, MsgResult::No},
    }};
    for (const auto& [qt, result] : kResults)
        if (button == qt) return result;
    return MsgResult::Ok;
}

// "Name|pattern|Name|pattern|" as Qt's "Name (pattern);;Name (pattern)".
QString qtFilter(std::string_view filter) {
    const QStringList parts = qs(filter).split('|');
    QStringList out;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString patterns = parts[i + 1];
        out << parts[i] + " (" + patterns.replace(';', ' ') + ")";
    }
    return out.join(";;");
}

}  // namespace

MsgResult QtPrompts::msgBox(std::string_view text, int style, std::string_view title) {
    if (unattended_) return unattended_->msgBox(text, style, title);
    QMessageBox box(iconOf(style), qs(title), qs(text), buttonsOf(style), parent_);
    box.setFont(panelFont());
    return resultOf(box.exec());
}

std::optional<std::string> QtPrompts::openFile(const OpenFileRequest& request) {
    if (unattended_) return unattended_->openFile(request);
    const QStringList filters = qtFilter(request.filter).split(";;");
    // The plan folder is a Windows path; where it does not exist, start in the current folder.
    const QString folder = qs(request.initialDir);
    QFileDialog dialog(parent_, QString(), QDir(folder).exists() ? folder : QDir::currentPath(),
                       filters.join(";;"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (request.filterIndex >= 1 && request.filterIndex <= filters.size())
        dialog.selectNameFilter(filters[request.filterIndex - 1]);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().front().toStdString();
}

void QtPrompts::doEvents() {
    QCoreApplication::processEvents();
}

EepromDataWindow::EepromDataWindow(EepromData& model) : model_(model) {
    model_.onChange = [this] { redraw(); };
}

EepromDataWindow::~EepromDataWindow() {
    model_.onChange = nullptr;
}

void EepromDataWindow::redraw() {
    if (!model_.visible()) {
        dialog_.reset();
        return;
    }
    if (!dialog_) {
        dialog_ = std::make_unique<QProgressDialog>();
        dialog_->setObjectName("EEPROMdata");
        dialog_->setWindowTitle(qs(EepromData::kCaption));
        dialog_->setFont(panelFont());
        dialog_->setLabelText(qs(EepromData::kLabel));
        dialog_->setCancelButton(nullptr);
        dialog_->setRange(0, 100);
        dialog_->setMinimumDuration(0);
        dialog_->setAutoClose(false);
        dialog_->setAutoReset(false);
        dialog_->show();
    }
    dialog_->setValue(static_cast<int>(model_.value()));
    QCoreApplication::processEvents();
}

}  // namespace synthor::panel::qt
