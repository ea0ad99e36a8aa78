// synthor-panel: the control panel as a Qt window over the simulated or real instrument, with the
// command-line tool's instrument options; or, with --snapshot, a picture of the panel after its
// start-up and a script.
#include <QApplication>
#include <QEventLoop>
#include <QImage>
#include <fstream>
#include <iostream>

#include "cli/session_host.hpp"
#include "imaging/qt/qt_image_exporter.hpp"
#include "qt/panel_window.hpp"
#include "qt/qt_prompts.hpp"
#include "runtime/clock.hpp"
#include "runtime/prompts.hpp"

namespace {

constexpr const char* kUsage =
    "usage: synthor-panel [OPTION]...\n"
    "\n"
    "Shows the control panel. Takes the instrument options of `synthor` (--sim, the --sim-*\n"
    "options, --driver NAME, --trace FILE, --dialog PATH, --coalesce) and:\n"
    "  --script FILE           run a script of Panel.* and automation calls after the start-up\n"
    "  --snapshot FILE         save a picture of the panel to FILE (its extension names the\n"
    "                          format) and exit, answering every prompt as the tool does\n"
    "  --quality N             JPEG quality of the picture (default 90)\n"
    "  --help                  show this text\n";

struct PanelOptions {
    std::optional<std::string> snapshot;
    long quality = 90;
};

}  // namespace

int main(int argc, char** argv) {
    using namespace synthor;
    QApplication app(argc, argv);
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i)
        args.emplace_back(argv[i]);

    PanelOptions extra;
    cli::Options options;
    try {
        options = cli::parseOptions(args, [&](const std::string& name, const auto& value) {
            if (name == "--snapshot") {
                extra.snapshot = value();
            } else if (name == "--quality") {
                const std::string text = value();
                std::size_t used = 0;
                try {
                    extra.quality = std::stol(text, &used);
                } catch (const std::exception&) {
                    used = 0;
                }
                if (used == 0 || used != text.size())
                    throw cli::UsageError{"--quality takes a whole number"};
            } else {
                return false;
            }
            return true;
        });
        if (!options.call.empty()) throw cli::UsageError{"unexpected " + options.call.front()};
    } catch (const cli::UsageError& e) {
        std::cerr << "synthor-panel: " << e.message << '\n' << kUsage;
        return 2;
    }
    if (options.help) {
        std::cout << kUsage;
        return 0;
    }
    std::ifstream script;
    if (options.scriptPath) {
        script.open(*options.scriptPath);
        if (!script) {
            std::cerr << "synthor-panel: cannot read the script " << *options.scriptPath << '\n';
            return 2;
        }
    }

    LoggedPrompts unattended(std::cout, options.dialogs);
    panel::qt::QtPrompts prompts(extra.snapshot ? &unattended : nullptr);
    SystemClock clock;
    std::unique_ptr<cli::SessionHost> host;
    try {
        host = std::make_unique<cli::SessionHost>(options, prompts, clock, std::cerr);
    } catch (const cli::UsageError& e) {
        std::cerr << "synthor-panel: " << e.message << '\n';
        return 2;
    }
    Session& session = host->session();
    panel::FreqGen2& form = session.panel;

    panel::qt::PanelWindow window(form);
    prompts.setParent(&window);
    panel::qt::EepromDataWindow eeprom(host->eepromData());
    const auto waitWhileShown = [&] {
        QEventLoop shown;
        window.onHidden = [&] { shown.quit(); };
        if (window.isVisible()) shown.exec();
        window.onHidden = nullptr;
    };
    const auto show = [&] {
        form.load();
        form.show();
        window.refresh();
        window.show();
        QApplication::processEvents();
    };
    session.showModal = [&] {
        show();
        if (!extra.snapshot) waitWhileShown();
    };

    show();
    if (script.is_open()) {
        cli::runScript(*host, script, std::cout, std::cerr, [&] {
            window.refresh();
            QApplication::processEvents();
        });
    }
    if (!extra.snapshot) {
        waitWhileShown();
        return 0;
    }

    // The picture of the window as it stands after the script, even when the script hid it; no
    // text box shows a caret.
    window.refresh();
    if (QWidget* focus = QApplication::focusWidget()) focus->clearFocus();
    QApplication::processEvents();
    imaging::QtImageExporter exporter;
    int status = 0;
    exporter.onError = [&](long error, long, const std::string& description) {
        std::cerr << "synthor-panel: cannot save " << *extra.snapshot << ": " << description << " ("
                  << error << ")\n";
        status = 1;
    };
    if (!exporter.PictureBoxToFile(window.grab().toImage(), *extra.snapshot, extra.quality) &&
        status == 0) {
        std::cerr << "synthor-panel: no image format for " << *extra.snapshot
                  << "; nothing saved\n";
        status = 1;
    }
    return status;
}
