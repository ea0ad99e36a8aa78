// The Qt panel on the simulated instrument: its widgets mirror the form model, clicks reach the
// model and the wire, and the snapshot program saves a picture of the window.
#include <QAbstractButton>
#include <QCheckBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <fstream>
#include <sstream>

#include "cli/runner.hpp"
#include "cli/session_host.hpp"
#include "form/form_geometry.hpp"
#include "imaging/qt/qt_image_exporter.hpp"
#include "qt/panel_window.hpp"
#include "runtime/clock.hpp"
#include "runtime/prompts.hpp"

namespace synthor::panel::qt {

class PanelWindowTest : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir dir_;
    std::unique_ptr<SystemClock> clock_;
    std::unique_ptr<LoggedPrompts> prompts_;
    std::unique_ptr<cli::SessionHost> host_;
    std::unique_ptr<PanelWindow> window_;
    std::ostringstream out_;

    QString tracePath() const { return dir_.filePath("trace.txt"); }
    std::string trace() const {
        std::ifstream in(tracePath().toStdString());
        return {std::istreambuf_iterator<char>(in), {}};
    }
    FreqGen2& form() { return host_->session().panel; }
    template <typename W>
    W* widget(const char* name) {
        auto* w = window_->findChild<W*>(name);
        if (w == nullptr) qFatal("no widget %s", name);
        return w;
    }

  private slots:
    void init() {
        cli::Options o;
        o.sim = true;
        o.tracePath = tracePath().toStdString();
        clock_ = std::make_unique<SystemClock>();
        prompts_ = std::make_unique<LoggedPrompts>(out_, std::deque<std::string>{});
        host_ = std::make_unique<cli::SessionHost>(o, *prompts_, *clock_, out_);
        form().load();
        form().show();
        window_ = std::make_unique<PanelWindow>(form());
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    }
    void cleanup() {
        window_.reset();
        host_.reset();
    }

    // Every control but the file dialog has its widget with the model's text, tooltip and
    // enabled state, and its text fits the shared geometry in the font actually used.
    void oneWidgetPerControl() {
        form().setEnabled("Command4", false);
        window_->refresh();
        for (const Control& c : form().controls()) {
            if (c.kind() == ControlKind::FileDialog) continue;
            const QString name = QString::fromUtf8(c.name().data(), c.name().size());
            QWidget* w = window_->findChild<QWidget*>(name);
            QVERIFY2(w != nullptr, qPrintable(name));
            QCOMPARE(w->toolTip().toStdString(), std::string(c.tooltip()));
            QCOMPARE(w->isEnabled(), c.enabled());
            QString text;
            if (auto* b = qobject_cast<QAbstractButton*>(w)) text = b->text();
            if (auto* l = qobject_cast<QLabel*>(w)) text = l->text();
            if (auto* g = qobject_cast<QGroupBox*>(w)) text = g->title();
            if (auto* e = qobject_cast<QLineEdit*>(w)) text = e->text();
            if (c.kind() == ControlKind::Line || c.kind() == ControlKind::StatusBar) continue;
            QCOMPARE(text.toStdString(), c.text());
            QFont bold = w->font();
            bold.setBold(true);
            const int room = c.kind() == ControlKind::CommandButton ? 8
                             : c.kind() == ControlKind::Label       ? 0
                                                                    : 24;
            QVERIFY2(QFontMetrics(bold).horizontalAdvance(text) + room <= w->width(),
                     qPrintable(name + " clips " + text));
        }
        QVERIFY(!widget<QWidget>("Command4")->isEnabled());
        for (int p = 1; p <= 7; ++p) {
            const QLabel* panel = window_->statusPanel(p);
            QCOMPARE(panel->text().toStdString(), form().status(p));
            QVERIFY(panel->fontMetrics().horizontalAdvance(panel->text()) < panel->width());
        }
    }

    // Typing and clicking reach the model; the view redraws from it (the wire is compared with the
    // tool's below).
    void clicksReachTheModel() {
        auto* text1 = widget<QLineEdit>("Text1");
        text1->selectAll();
        QTest::keyClicks(text1, "1500");
        QCOMPARE(form().text("Text1"), std::string("1500"));
        QTest::mouseClick(widget<QAbstractButton>("Command1"), Qt::LeftButton);
        QCOMPARE(text1->text(), QString("1500.00000"));

        const QImage plainStop = widget<QWidget>("Command14")->grab().toImage();
        QTest::mouseClick(widget<QAbstractButton>("Command13"), Qt::LeftButton);
        QVERIFY(form().bold("Command14"));
        QVERIFY(widget<QWidget>("Command14")->grab().toImage() != plainStop);  // drawn bold
        QVERIFY(!widget<QWidget>("Command12")->font().bold());

        // FM on; the options of another frame keep their state (no form-wide exclusivity).
        QTest::mouseClick(widget<QAbstractButton>("Option2"), Qt::LeftButton);
        QVERIFY(form().value("Option2"));
        QVERIFY(!widget<QAbstractButton>("Option1")->isChecked());
        QVERIFY(widget<QAbstractButton>("Option10")->isChecked());
        QVERIFY(widget<QAbstractButton>("Option4")->isChecked());

        window_->close();  // the title-bar close hides the form too
        QVERIFY(!form().visible());
    }

    // A bench session by mouse gives the same wire trace as the same session through the tool.
    void benchSessionMatchesTheTool() {
        const std::vector<const char*> clicks = {"Command1",  "Option2",   "Command11",
                                                 "Command12", "Command23", "Command10"};
        auto* text1 = widget<QLineEdit>("Text1");
        text1->selectAll();
        QTest::keyClicks(text1, "1500");
        std::string script = "Panel.Load\nPanel.Set Text1 1500\n";
        for (const char* name : clicks) {
            QTest::mouseClick(widget<QAbstractButton>(name), Qt::LeftButton);
            script += std::string("Panel.Click ") + name + "\n";
        }
        QVERIFY(!window_->isVisible());

        const QString toolTrace = dir_.filePath("tool.txt");
        std::istringstream in(script);
        std::ostringstream out, err;
        QCOMPARE(
            cli::run({"--sim", "--trace", toolTrace.toStdString(), "--script", "-"}, in, out, err),
            0);
        std::ifstream tool(toolTrace.toStdString());
        const std::string expected{std::istreambuf_iterator<char>(tool), {}};
        QVERIFY(expected.find("FT_Write 51 = 0") != std::string::npos);
        QCOMPARE(trace(), expected);
    }

    // The snapshot program's picture decodes at the window's size; JPEG quality shrinks it; a
    // "." in a folder name is no extension.
    void snapshots() {
        const QString png = dir_.filePath("panel.png");
        QProcess run;
        run.start(SYNTHOR_PANEL, {"--sim", "--snapshot", png});
        QVERIFY(run.waitForFinished(30000));
        QCOMPARE(run.exitCode(), 0);
        const QImage picture(png);
        QCOMPARE(picture.size(), QSize(formGeometry().clientWidth, formGeometry().clientHeight));

        imaging::QtImageExporter exporter;
        const QImage grabbed = window_->grab().toImage();
        const QString low = dir_.filePath("low.JPG"), high = dir_.filePath("high.jpeg");
        QVERIFY(exporter.PictureBoxToFile(grabbed, low.toStdString(), 10));
        QVERIFY(exporter.PictureBoxToFile(grabbed, high.toStdString(), 95));
        QVERIFY(QFileInfo(low).size() < QFileInfo(high).size());
        QCOMPARE(QImage(low).size(), grabbed.size());

        QVERIFY(QDir(dir_.path()).mkdir("out.dir"));
        const QString none = dir_.filePath("out.dir/picture");
        QVERIFY(!exporter.PictureBoxToFile(grabbed, none.toStdString(), 90));
        QVERIFY(!QFileInfo::exists(none));

        long reported = 0;
        exporter.onError = [&](long error, long, const std::string&) { reported = error; };
        const QString unwritable = dir_.filePath("no/such/folder.png");
        QVERIFY(!exporter.PictureBoxToFile(grabbed, unwritable.toStdString(), 90));
        QVERIFY(reported != 0);
    }
};

}  // namespace synthor::panel::qt

QTEST_MAIN(synthor::panel::qt::PanelWindowTest)
#include "panel_window_test.moc"
