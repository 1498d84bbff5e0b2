// The Cache Snapshot Viewer on the offscreen platform: 200 000 records load, sort and filter,
// the rows shown export as CSV, and a missing or foreign file is said to be one.
#include "gui/gui_support.h"
#include "support/temp_folder.h"
#include "tools/snapshot_window.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QTableView>
#include <QTest>

#include <fstream>

using namespace quorvane;

class SnapshotWindowTest : public QObject
{
    Q_OBJECT
private slots:
    void loadsFiltersAndExportsTwoHundredThousandRecords()
    {
        const test::TempFolder temp;
        const std::filesystem::path& folder = temp.path();
        {
            std::ofstream out(folder / "snapshot.dat");
            out << "; Quorvane - Cache\n";
            for (int i = 0; i < 100000; ++i)
                out << "host" << i << ".example. " << 300 + i % 1000 << " A 10." << i / 65536 << '.'
                    << i / 256 % 256 << '.' << i % 256 << "\n " << 60 << " TXT \"note, " << i << "\"\n";
        }
        QElapsedTimer clock;
        clock.start();
        SnapshotWindow window(folder / "snapshot.dat");
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        qInfo("200 000 records from start to a filled table: %lld ms", clock.elapsed());
        QCOMPARE(window.shown().rowCount(), 200000);
        QVERIFY(test::saveScreenshot(window, "snapshot_window"));

        clock.restart();
        window.setFilter("HOST99999.");
        qInfo("filter over 200 000 records: %lld ms", clock.elapsed());
        QCOMPARE(window.shown().rowCount(), 2);
        window.findChild<QTableView*>()->sortByColumn(SnapshotModel::TTL, Qt::AscendingOrder);
        QVERIFY(window.exportCsv(QString::fromStdString((folder / "shown.csv").string())));
        QCOMPARE(QString::fromStdString(temp.read("shown.csv")), QString("Name,Type,TTL,Data\n"
                                                             "host99999.example.,TXT,60,\"\"\"note, 99999\"\"\"\n"
                                                             "host99999.example.,A,1299,10.1.134.159\n"));

        window.hide(); // a visible window would say it in a message box
        std::ofstream(folder / "snapshot.dat") << "; not a snapshot\n";
        QVERIFY(!window.reload());
        QCOMPARE(window.shown().rowCount(), 0);
        SnapshotWindow missing(folder / "none.dat");
        QVERIFY(missing.findChildren<QLabel*>().last()->text().startsWith("Cannot open "));
    }
};

QTEST_MAIN(SnapshotWindowTest)
#include "test_snapshot_window.moc"
