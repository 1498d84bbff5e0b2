// DNS Look Up on the offscreen platform against a scripted responder on the loopback: an answer
// over UDP and over TCP shown as a table, an address asked as its PTR, and a silent server.
#include "gui/gui_support.h"
#include "support/dns_message.h"
#include "tools/lookup_window.h"
#include "wire/wire_reader.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QNetworkDatagram>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

using namespace quorvane;

namespace {

// The reply to any question: an A record for 192.0.2.8 and an additional one for the name server; the
// question's name and type kept in asked.
std::string reply(std::string_view query, std::string& asked)
{
    WireReader reader(query, 12);
    asked = reader.name();
    asked += " " + std::to_string(reader.shortValue());
    return test::makeAnswer(query, 0, true,
                            {test::wireA(2, "www.example.test.", "192.0.2.8"),
                             test::wireA(4, "ns.example.test.", "192.0.2.53")});
}

} // namespace

class LookupWindowTest : public QObject
{
    Q_OBJECT
private slots:
    void answersTimeOutsAndReverseNames()
    {
        QUdpSocket udp;
        QVERIFY(udp.bind(QHostAddress::LocalHost, 0));
        QTcpServer tcp;
        QVERIFY(tcp.listen(QHostAddress::LocalHost, udp.localPort()));
        std::string asked;
        int queries = 0;
        connect(&udp, &QUdpSocket::readyRead, [&] {
            const QNetworkDatagram query = udp.receiveDatagram();
            ++queries;
            const std::string answer = reply(query.data().toStdString(), asked);
            udp.writeDatagram(QByteArray(answer.data(), static_cast<qsizetype>(answer.size())),
                              query.senderAddress(), static_cast<quint16>(query.senderPort()));
        });
        connect(&tcp, &QTcpServer::newConnection, [&] {
            QTcpSocket* client = tcp.nextPendingConnection();
            connect(client, &QTcpSocket::readyRead, [&, client] {
                const QByteArray framed = client->readAll();
                const std::string answer = test::framed(reply(framed.mid(2).toStdString(), asked));
                client->write(answer.data(), static_cast<qint64>(answer.size()));
            });
        });

        const QString server = "127.0.0.1#" + QString::number(udp.localPort());
        LookupWindow window(server);
        QSignalSpy finished(&window, &LookupWindow::finished);
        auto* name = window.findChild<QLineEdit*>();
        auto* status = window.findChildren<QLabel*>().last();
        auto* rows = window.findChild<QTableWidget*>();
        name->setText("www.example.test");
        QElapsedTimer clock;
        clock.start();
        QTest::keyClick(name, Qt::Key_Return);
        QVERIFY(finished.wait(2000));
        qInfo("Enter to shown answer: %.2f ms", static_cast<double>(clock.nsecsElapsed()) / 1e6);
        QCOMPARE(QString::fromStdString(asked), QString("www.example.test. 1"));
        QVERIFY2(status->text().startsWith("No Error from " + server + " over UDP in "),
                 qPrintable(status->text()));
        QVERIFY2(status->text().endsWith("flags: qr aa rd ra"), qPrintable(status->text()));
        QCOMPARE(rows->rowCount(), 2);
        QCOMPARE(queries, 1);
        QCOMPARE(rows->item(0, 4)->text(), QString("192.0.2.8"));
        QCOMPARE(rows->item(1, 0)->text() + " " + rows->item(1, 4)->text(), QString("Additional 192.0.2.53"));
        window.resize(820, 520);
        QVERIFY(test::saveScreenshot(window, "lookup_window"));

        window.findChildren<QComboBox*>()[1]->setCurrentText("TCP");
        name->setText("192.0.2.8");
        window.ask();
        QVERIFY(finished.wait(2000));
        QCOMPARE(QString::fromStdString(asked), QString("8.2.0.192.in-addr.arpa. 12"));
        QVERIFY2(status->text().contains(" over TCP in "), qPrintable(status->text()));

        udp.close(); // nobody answers now
        window.findChildren<QComboBox*>()[1]->setCurrentText("UDP");
        window.setTimeout(std::chrono::milliseconds(300));
        window.ask();
        QVERIFY(finished.wait(2000));
        QCOMPARE(status->text(), "No answer from " + server + " over UDP within 0.3 s.");
        QCOMPARE(rows->rowCount(), 0);
    }
};

QTEST_MAIN(LookupWindowTest)
#include "test_lookup_window.moc"
