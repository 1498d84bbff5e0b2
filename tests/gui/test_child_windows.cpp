// The child windows, the about box and the icons, on the offscreen platform.
#include "gui/gui_support.h"
#include "host/version.h"
#include "net/clock.h"
#include "ui/about_box.h"
#include "ui/frm_graph.h"
#include "ui/frm_leases.h"
#include "ui/frm_log.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

#include <algorithm>

using namespace quorvane;

namespace {

QStringList numberedLines(const QString& text, int from, int to)
{
    QStringList lines;
    for (int i = from; i < to; ++i)
        lines << text.arg(i);
    return lines;
}

} // namespace

class ChildWindowsTest : public QObject
{
    Q_OBJECT
private slots:
    void logKeepsTheLastLinesInOrder()
    {
        frmLog log;
        log.resize(520, 260);
        log.show();
        const QString line = QStringLiteral("12:00:00   Request %1");
        for (int batch = 0; batch < 10; ++batch)
            log.appendLines(numberedLines(line, batch * 100, batch * 100 + 100));
        log.appendLines({});
        const auto* view = log.findChild<QPlainTextEdit*>();
        QCOMPARE(view->toPlainText().split(QLatin1Char('\n')), numberedLines(line, 700, 1000));
        QCOMPARE(view->verticalScrollBar()->value(), view->verticalScrollBar()->maximum());
        QVERIFY(view->isReadOnly());
        QVERIFY(test::saveScreenshot(log, QStringLiteral("log")));

        log.appendLines(numberedLines(QStringLiteral("flood %1"), 0, 1000)); // one batch above the limit
        QCOMPARE(view->toPlainText().split(QLatin1Char('\n')),
                 numberedLines(QStringLiteral("flood %1"), 700, 1000));
        log.clearLog();
        QCOMPARE(view->toPlainText(), QString());
        QSignalSpy closed(&log, &frmLog::closed);
        log.close();
        QCOMPARE(closed.count(), 1);
    }

    // The highest counter of the minute -> the graph's top and its number of steps (golden file).
    void graphScaleIsRound()
    {
        QString scales;
        for (int highest : {0, 3, 5, 6, 11, 20, 21, 999, 1001, 4999, 65535}) {
            const GraphScale scale = graphScale(highest);
            scales += QString("%1 -> %2 in %3\n").arg(highest).arg(scale.top).arg(scale.steps);
        }
        test::expectGolden("graph_scale.txt", scales);
    }

    void graphRepaintsForAnyCounters()
    {
        frmGraph graph;
        graph.resize(480, 260);
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        // What the screen shows: the offscreen platform keeps the last picture painted.
        const auto shown = [&] { return graph.screen()->grabWindow(graph.winId()).toImage(); };
        std::array<uint16_t, 60> spike{}, full{}, traffic{}, blocked{};
        spike[17] = 500;
        full.fill(65535);
        for (size_t i = 0; i < 60; ++i) {
            traffic[i] = static_cast<uint16_t>(20 + (i * 37) % 50 + (i % 15 == 0 ? 60 : 0));
            blocked[i] = static_cast<uint16_t>(traffic[i] / 3);
        }
        QList<QImage> images{shown()}; // no counters yet
        for (const auto& [counters, second] : {std::pair{spike, 30}, {full, 59}, {traffic, 75}}) {
            graph.setCounters(counters, second);
            QTRY_VERIFY(!images.contains(shown())); // each set of counters changes the picture
            images << shown();
        }
        QVERIFY(test::saveScreenshot(graph, QStringLiteral("graph")));
        graph.setBlocked(blocked); // block lists in use: a second line
        QTRY_VERIFY(!images.contains(shown()));
        QVERIFY(test::saveScreenshot(graph, QStringLiteral("graph-blocked")));
        QSignalSpy closed(&graph, &frmGraph::closed);
        graph.close();
        QCOMPARE(closed.count(), 1);
    }

    void leasesAreFormattedSortedAndDeletedOnYes()
    {
        const DateTime end = fromCalendar({2024, 3, 5, 7, 8, 9});
        frmLeases window;
        window.resize(560, 200);
        window.setLeases({{end, "192.168.0.10", "pc10.home.lan.", std::string("\x01\xaa\x0b", 3)},
                          {end + 1, "192.168.0.9", "printer.home.lan.", std::string("\x00\x0a", 2)},
                          {end + 2, "10.0.0.2", "laptop.home.lan.", "AB"}});
        auto* list = window.findChild<QTreeWidget*>();
        QString shown; // newest first, the identifier in hex
        for (int row = 0; row < list->topLevelItemCount(); ++row)
            for (int column = 0; column < 4; ++column)
                shown += list->topLevelItem(row)->text(column) + (column < 3 ? " | " : "\n");
        test::expectGolden("leases.txt", shown);
        QVERIFY(test::saveScreenshot(window, QStringLiteral("leases")));

        QAction* remove = list->actions().value(0);
        QVERIFY(remove && remove->text() == QStringLiteral("Delete") && !remove->isEnabled());
        QStringList asked;
        bool answer = false;
        window.setQuestion([&](QWidget*, const QString& text) {
            asked << text;
            return answer;
        });
        QSignalSpy deleted(&window, &frmLeases::deleteRequested);
        list->setCurrentItem(list->topLevelItem(1));
        remove->trigger();
        QCOMPARE(deleted.count(), 0);
        answer = true;
        window.setLeases({{end, "192.168.0.9", "printer.home.lan.", std::string("\x01\xaa\xbb\xcc\xdd\xee\x01", 7)},
                          {end, "10.0.0.3", "x.home.lan.", "AB"}});
        remove->trigger(); // the refresh kept 192.168.0.9 selected
        QCOMPARE(asked,
                 QStringList(2, QStringLiteral("Please re-boot that client to avoid IP-Address conflicts!")));
        QCOMPARE(deleted.count(), 1);
        QCOMPARE(deleted.at(0).at(0).toString(), QStringLiteral("192.168.0.9"));

        // "Reserve this address": by hardware address for an Ethernet identifier, else by identifier.
        std::vector<DhcpFixed> reserved;
        connect(&window, &frmLeases::reserveRequested, [&](const DhcpFixed& fixed) { reserved.push_back(fixed); });
        QCOMPARE(list->actions().value(1)->text(), QStringLiteral("Reserve this address"));
        for (int row = 0; row < 2; ++row) {
            list->setCurrentItem(list->topLevelItem(row));
            list->actions().value(1)->trigger();
        }
        QVERIFY((reserved == std::vector<DhcpFixed>{{"id:4142", "10.0.0.3", "x"},
                                                    {"aa:bb:cc:dd:ee:01", "192.168.0.9", "printer"}}));
    }

    void aboutBoxShowsNameAndVersion()
    {
        showAboutBox(nullptr);
        auto* box = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        QVERIFY(box && box->isVisible());
        QStringList shown; // the program icon as "picture"
        for (const QLabel* label : box->findChildren<QLabel*>())
            shown << (label->pixmap().isNull() ? label->text() : "picture");
        QCOMPARE(shown, (QStringList{"picture", "Quorvane", "Version " + QString::fromStdString(versionText()),
                                     "DNS and DHCP server for small networks"}));
        QVERIFY(test::saveScreenshot(*box, QStringLiteral("about")));
        QPointer<QDialog> watch(box);
        box->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
        QTRY_VERIFY(watch.isNull());
    }

    void iconsRender()
    {
        const QStringList names = {"quorvane", "tray-normal", "tray-activity", "tray-error", "lookup",
                                   "cache",    "records",     "options",       "help"};
        QWidget sheet;
        auto* layout = new QHBoxLayout(&sheet);
        for (const QString& name : names) {
            const QIcon icon(":/icons/" + name + ".svg");
            QVERIFY2(!icon.isNull(), qPrintable(name));
            const QImage alpha = icon.pixmap(32, 32).toImage().convertToFormat(QImage::Format_Alpha8);
            const uchar* bits = alpha.constBits();
            const auto opaque = std::count_if(bits, bits + alpha.sizeInBytes(), [](uchar a) { return a > 128; });
            QVERIFY2(opaque > 32 * 32 / 5, qPrintable(name));
            for (int size : {48, 16}) {
                auto* label = new QLabel(&sheet);
                label->setPixmap(icon.pixmap(size, size));
                layout->addWidget(label, 0, Qt::AlignBottom);
            }
        }
        QVERIFY(test::saveScreenshot(sheet, QStringLiteral("icons")));
    }
};

QTEST_MAIN(ChildWindowsTest)
#include "test_child_windows.moc"
