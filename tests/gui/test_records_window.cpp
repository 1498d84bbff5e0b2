// The DNS Records editor on the offscreen platform: an A record added with its PTR, both zones
// saved with a raised serial and their comments, the server told; the checks and read-only copies.
#include "gui/gui_support.h"
#include "support/temp_folder.h"
#include "tools/record_dialog.h"
#include "tools/records_window.h"

#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include <QNetworkDatagram>
#include <QUdpSocket>

#include <fstream>

using namespace quorvane;

namespace {

// What the server's reload port (a UDP socket on 127.0.0.1 here) has received since the last call.
std::string received(QUdpSocket& port)
{
    if (!port.hasPendingDatagrams()) port.waitForReadyRead(1000);
    return port.receiveDatagram().data().toStdString();
}

} // namespace

class RecordsWindowTest : public QObject
{
    Q_OBJECT
private slots:
    void addsAnARecordWithItsPtrAndSaves()
    {
        const test::TempFolder temp;
        const std::filesystem::path& folder = temp.path();
        std::filesystem::create_directories(folder / "data");
        QUdpSocket server;
        QVERIFY(server.bind(QHostAddress::LocalHost, 0));
        std::ofstream(folder / "quorvane.ini") << "Name: ns1.office.test\nReloadPort: " << server.localPort() << "\n";
        std::filesystem::copy_file(QUORVANE_ZONE_EDIT_DATA "/office.test.dns", folder / "data/office.test.dns");
        std::ofstream(folder / "data/copy.test.dns")
            << "; PrimaryIP 10.0.0.7\n@ SOA ns1.copy.test. a.copy.test. 1 2 3 4 5\n";
        RecordsWindow window(folder);
        QStringList questions;
        window.setAsk([&](QWidget*, const QString& question) { return questions << question, true; });
        QVERIFY(window.newZone("192.168.1.0/24"));
        QCOMPARE(received(server), std::string("RELOAD P 1.168.192.in-addr.arpa"));
        QVERIFY(window.openZone("office.test"));

        RecordDialog dialog("office.test.", {"A", "MX"});
        for (const auto& [label, value] :
             {std::pair{"Name", "pc1"}, {"TTL", "600"}, {"Address", "192.168.1.500"}})
            dialog.setField(label, value);
        QVERIFY(!dialog.record());
        QCOMPARE(dialog.problem(), QString("Address: '192.168.1.500' is not an IPv4 address"));
        dialog.setField("Address", "192.168.1.50");
        const auto record = dialog.record();
        QVERIFY(record);
        QVERIFY(test::saveScreenshot(dialog, "records_dialog"));
        QVERIFY(window.addRecord(*record));
        QCOMPARE(questions.last(),
                 QString("Add the PTR record 50.1.168.192.in-addr.arpa. -> pc1.office.test. to zone "
                         "1.168.192.in-addr.arpa. as well?"));
        const std::string reverse = temp.read("data/1.168.192.in-addr.arpa.dns");
        QVERIFY2(reverse.ends_with("\n50 600 PTR pc1.office.test.\n"), reverse.c_str());
        QCOMPARE(received(server), std::string("RELOAD P 1.168.192.in-addr.arpa"));

        QVERIFY(window.save());
        QCOMPARE(received(server), std::string("RELOAD P office.test"));
        const std::string saved = temp.read("data/office.test.dns");
        QVERIFY2(saved.find("\t\t" + QDate::currentDate().toString("yyyyMMdd").toStdString() +
                            "00\t; serial\n") != std::string::npos &&
                     saved.ends_with("mx\tIN\tA\t10.0.0.25   ; old mail host\npc1 600 A 192.168.1.50\n"),
                 saved.c_str());
        window.resize(900, 560);
        QVERIFY(test::saveScreenshot(window, "records_window"));

        // A CNAME beside another record is refused, and nothing is written.
        QVERIFY(window.addRecord(*readRecordLine("pc1 CNAME www", "office.test.")));
        QVERIFY(!window.save());
        QCOMPARE(temp.read("data/office.test.dns"), saved);
        QVERIFY(!window.openZone("copy.test")); // asks to save first, and cannot
        window.setAsk([](QWidget*, const QString&) { return false; });
        QVERIFY(window.openZone("copy.test")); // the changes are dropped
        for (QPushButton* button : window.findChildren<QPushButton*>())
            QVERIFY(!button->isEnabled());
        QCOMPARE(window.findChild<QTableWidget*>()->rowCount(), 1);
    }
};

QTEST_MAIN(RecordsWindowTest)
#include "test_records_window.moc"
