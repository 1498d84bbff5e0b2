// The main window against a real engine on the fake network and clock: each menu command reaches
// the engine, questions are answered through the window's hooks, the layout survives a restart,
// and a screenshot shows the frame with its three child windows.
#include "gui_support.h"
#include "support/dns_message.h"
#include "support/fake_clock.h"
#include "support/fake_network.h"
#include "support/temp_folder.h"
#include "ui/frm_graph.h"
#include "ui/frm_leases.h"
#include "ui/frm_log.h"
#include "ui/frm_main.h"
#include "ui/frm_options.h"

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <deque>

using namespace quorvane;
using quorvane::test::FakeClock;
using quorvane::test::FakeNetwork;
using quorvane::test::TempFolder;

namespace {

// Runs sent commands on the test's own thread, when the test lets it.
struct TestLink : EngineLink
{
    void send(EngineCommand command) override { pending.push_back(std::move(command)); }
    std::deque<EngineCommand> pending;
};

// A program folder, an engine on fakes and the window on top, with every hook recorded.
struct Desk
{
    // prepare fills the program folder before the engine starts.
    explicit Desk(const std::function<void(TempFolder&)>& prepare = {})
    {
        if (prepare) prepare(folder);
        folder.write("manual.html", "<html></html>");
        folder.write("quorvane-snapshot", "#!/bin/sh\n");
        std::filesystem::permissions(folder.path() / "quorvane-snapshot", std::filesystem::perms::owner_all);
        DesktopHooks hooks;
        hooks.ask = [this](const QString& question, QMessageBox::Icon) {
            questions.append(question);
            return answer;
        };
        hooks.tell = [this](const QString& text, QMessageBox::Icon) { messages.append(text); };
        hooks.openUrl = [this](const QUrl& url) {
            opened.append(url.toLocalFile());
            return true;
        };
        hooks.startProgram = [this](const QString& program, const QStringList& arguments, const QString&) {
            started.append(QFileInfo(program).fileName() + ' ' + arguments.join(' '));
            return true;
        };
        window.setHooks(hooks);
        engine.Main();
    }
    // Runs what the window sent and delivers what the engine answered, until both are quiet.
    void settle()
    {
        for (int round = 0; round < 10; ++round) {
            while (!link.pending.empty()) {
                const EngineCommand command = std::move(link.pending.front());
                link.pending.pop_front();
                engine.run(command);
            }
            QCoreApplication::processEvents();
            if (link.pending.empty()) return;
        }
    }
    void trigger(const char* name)
    {
        QAction* action = window.findChild<QAction*>(QString::fromLatin1(name));
        QVERIFY2(action != nullptr, name);
        action->trigger();
        settle();
    }
    // What the last command did: the server's state, the questions asked, messages, files opened,
    // programs started and the Active Log's size and new lines (the program folder as @DIR@).
    QString report()
    {
        QStringList parts{engine.serverRunning() ? "running" : "paused",
                          window.findChild<QAction*>("mnuStartStop")->text()};
        const auto label = [&](const char* name, QStringList& items) {
            for (const QString& item : items) parts << name + item;
            items.clear();
        };
        label("ask: ", questions);
        label("tell: ", messages);
        label("open: ", opened);
        label("start: ", started);
        const auto& lines = engine.log().activeLog();
        parts << "log " + QString::number(lines.size());
        for (size_t i = std::min(logSeen, lines.size()); i < lines.size(); ++i)
            parts << QString::fromStdString(lines[i].substr(11));
        logSeen = lines.size();
        return parts.join(" | ").replace(path(""), "@DIR@").replace("\n", "\\n");
    }
    QString path(const char* name) const { return QString::fromStdString((folder.path() / name).string()); }

    TempFolder folder;
    FakeNetwork network;
    FakeClock clock;
    Bridge bridge;
    Engine engine{network, clock, bridge, EngineOptions{folder.path(), "/opt/quorvane/quorvane", false}};
    TestLink link;
    frmMain window{link, bridge,
                   FrameSetup{path(""), {path("")}, {path("missing.html"), path("manual.html")}}};
    bool answer = true;
    QStringList questions, messages, opened, started;
    size_t logSeen = 0;
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           QDir::temp().filePath("quorvane-gui-test"));
    }
    void init() { QSettings(QStringLiteral("Quorvane"), QStringLiteral("Quorvane")).clear(); }

    // A session on the example home network with three leases: the first start tiles the log and the
    // graph; a minute of questions makes the README's picture; accepted options and each menu command
    // reach the engine; closing asks first, then saves the layout, which the next start opens again.
    void sessionFromFirstStartToClosing()
    {
        Desk d([](TempFolder& folder) {
            const std::filesystem::path example = QUORVANE_SOURCE_DIR "/examples/home-office";
            std::filesystem::copy(example, folder.path(), std::filesystem::copy_options::recursive);
            std::filesystem::copy_file(QUORVANE_SOURCE_DIR "/tests/data/gui/dhcp.dat", folder.path() / "dhcp.dat");
        });
        d.window.resize(1000, 700);
        d.window.start(false); // no saved layout
        QTest::qWait(20);
        d.trigger("mnuViewW1"); // already open: brought to the front, not opened twice
        const auto* mdi = d.window.findChild<QMdiArea*>();
        const auto windows = mdi->subWindowList(QMdiArea::CreationOrder);
        QCOMPARE(windows.size(), 2);
        QVERIFY(qobject_cast<frmLog*>(windows[0]->widget()) && qobject_cast<frmGraph*>(windows[1]->widget()));
        for (const QMdiSubWindow* window : windows) {
            QCOMPARE(window->width(), mdi->viewport()->width());
            QCOMPARE(window->height(), mdi->viewport()->height() / 2);
        }
        d.trigger("mnuViewW2"); // a window opened later is readable too
        QVERIFY(d.window.findChild<frmLeases*>()->parentWidget()->width() >= 560);
        const char* names[] = {"nas.home.lan.", "www.home.lan.", "printer.home.lan.", "laptop.home.lan."};
        for (int second = 0; second < 60; ++second) {
            for (int i = 0; i < 1 + second % 7; ++i)
                d.network.deliver(d.network.findOpen(false, 53), {0xC0A80164, static_cast<uint16_t>(40000 + i)},
                                  test::makeQuery(static_cast<uint16_t>(second * 10 + i), names[(second + i) % 4], 1,
                                                  false));
            d.clock.advance(std::chrono::seconds(1));
        }
        QTest::qWait(1200); // the graph asks for its counters once a second
        d.settle();
        d.trigger("mnuTile1"); // the three windows one above the other
        QVERIFY(test::saveScreenshot(d.window, "main_window"));
        d.window.childWindow(kLeasesWindow)->parentWidget()->close();

        // Accepted options go back to the engine, which applies and saves them.
        d.trigger("mnuOptions");
        auto* dialog = d.window.findChild<frmOptions*>();
        QVERIFY(dialog != nullptr);
        Settings changed = d.engine.settings();
        changed.NAME = "changed.lan";
        emit dialog->optionsAccepted(changed, {"10.9.9.9"});
        d.settle();
        QCOMPARE(d.engine.settings().NAME, std::string("changed.lan"));
        QCOMPARE(d.engine.floodGuard().BlockList(), std::vector<std::string>{"10.9.9.9"});
        QCOMPARE(d.window.windowTitle(), QString("changed.lan - Quorvane"));
        QVERIFY(d.folder.read("quorvane.ini").starts_with("Name: changed.lan\n")); // rewritten with the change
        d.trigger("mnuVTool");
        QCOMPARE(QSettings("Quorvane", "Quorvane").value("Main/ToolBar").toString(), QString("false"));

        // Closing the log tells the engine, which then keeps no lines for the window, until it is opened again.
        d.window.childWindow(kLogWindow)->parentWidget()->close();
        d.settle();
        QVERIFY(!d.engine.log().activeLogOpen());
        QVERIFY(!d.window.findChild<QAction*>("mnuClearWindow")->isEnabled());
        d.trigger("mnuViewW1");
        QVERIFY(d.engine.log().activeLogOpen());
        QVERIFY(d.window.findChild<QAction*>("mnuClearWindow")->isEnabled());

        // Each command in turn, closing the window last, with what it changed compared with a golden transcript.
        const std::string layout = d.window.currentLayout();
        QSignalSpy closedDown(&d.window, &frmMain::closedDown);
        d.report(); // what came before is not looked at here
        QString transcript;
        for (const char* action : {"mnuStartStop", "mnuStartStop", "mnuReload", "!mnuClearCache", "mnuClearCache",
                                   "mnuViewCache", "mnuQuery", "mnuDump", "mnuHelpDHCP", "mnuClearWindow",
                                   "!mnuExit", "mnuExit"}) {
            d.answer = action[0] != '!';
            d.trigger(action + !d.answer);
            transcript += action + (" | " + d.report()) + "\n";
        }
        test::expectGolden("main_window_session.txt", transcript);
        QVERIFY(QFile::exists(d.path("snapshot.dat")) && QFile::exists(d.path("support.txt")));
        QCOMPARE(closedDown.count(), 1);
        QCOMPARE(QSettings("Quorvane", "Quorvane").value("Main/Windows").toString().toStdString(), layout);

        // The next start opens the same child windows; the end of a session closes without asking.
        Desk again;
        again.window.start(false);
        QVERIFY(again.window.childWindow(kGraphWindow) != nullptr &&
                again.window.childWindow(kLogWindow) != nullptr);
        QVERIFY(again.window.childWindow(kLeasesWindow) == nullptr);
        again.window.endSession();
        again.settle();
        QCOMPARE(again.report(), // no question asked
                 "running | &Pause Server | log 1 | Program was closed because Windows session ended.");
    }

    void layoutStringRoundTrip()
    {
        WindowLayout layout;
        layout.main = {WindowState::Normal, 10, 20, 800, 600};
        layout.children[kLogWindow] = {true, {WindowState::Normal, 0, 0, 400, 300}};
        layout.children[kLeasesWindow] = {true, {WindowState::Maximised}};
        QCOMPARE(formatLayout(layout), std::string("0 10 20 800 600 0 1 0 0 0 400 300 1 2"));
        QVERIFY(parseLayout(formatLayout(layout)) == layout);
        QVERIFY(layoutHasActiveLog(formatLayout(layout)));
        for (const char* bad : {"", "x", "3", "0 1 2 3", "2 1", "2 0 0 0 7", "2 0 0 0 0 5"})
            QVERIFY2(!parseLayout(bad), bad);
        QVERIFY(!layoutHasActiveLog("2 1 2 0"));
    }
};

QTEST_MAIN(TestMainWindow)
#include "test_main_window.moc"
