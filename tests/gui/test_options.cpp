// The options dialog: which page it shows for a wrong entry, what it hands on for a good set (the
// recursion choices following the binding on the way), and the entry controls. The rules
// themselves are checked by the unit tests of the options.
#include "gui/gui_support.h"
#include "host/ini_file.h"
#include "host/options.h"
#include "ui/ctl_ip.h"
#include "ui/ctl_ttl.h"
#include "ui/frm_options.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTabWidget>
#include <QTemporaryFile>
#include <QTest>

#include <optional>

using namespace quorvane;

namespace {

const std::vector<std::string> kLocal{"192.168.1.10", "10.0.0.1"};

// A set that passes every check; the tests change it through the dialog's fields.
OptionsData validData()
{
    OptionsData data;
    data.settings = parseIni(test::dataText("options_start.ini").toStdString());
    data.blockList = {"10.9.9.9"};
    data.localAddresses = kLocal;
    data.blockListReport = {"lists/ads.txt: 120000 names (3 lines skipped), read 24.11.2026 15:00:00",
                            "https://lists.example/hosts: 85000 names (0 lines skipped), read 24.11.2026 15:00:01, "
                            "last fetch not modified, checked 24.11.2026 15:00:00"};
    return data;
}

// The dialog with its warnings and its accepted settings caught.
struct Harness
{
    frmOptions dialog;
    QStringList warnings;
    std::optional<std::pair<Settings, std::vector<std::string>>> accepted;

    Harness() : dialog(validData(), nullptr)
    {
        dialog.setWarningHook([this](const QString& message) { warnings << message; });
        QObject::connect(&dialog, &frmOptions::optionsAccepted,
                         [this](const Settings& s, const std::vector<std::string>& b) {
                             accepted = {s, b};
                         });
    }
    template <class Widget> Widget& at(const char* name, QObject* in = nullptr)
    {
        auto* widget = (in ? in : &dialog)->findChild<Widget*>(name);
        if (!widget) throw std::runtime_error(std::string("no field ") + name);
        return *widget;
    }
    // One step as the operator takes it, "verb|field|value|...": text typed through the field's
    // validator, a box ticked, a choice made or compared, an address added to or removed from a list, a row of
    // cells added to a rules table.
    void act(const QString& line)
    {
        const QStringList step = line.split('|');
        const QByteArray name = step.value(1).toLatin1();
        const QString& value = step.value(2);
        if (step[0] == "type") {
            auto& field = at<QLineEdit>(name);
            field.clear();
            QTest::keyClicks(&field, value);
        } else if (step[0] == "tick") {
            at<QCheckBox>(name).setChecked(value == "on");
        } else if (step[0] == "choose") {
            auto& box = at<QComboBox>(name);
            box.setCurrentIndex(box.findText(value));
        } else if (step[0] == "expect") {
            QCOMPARE(at<QComboBox>(name).currentText(), value);
        } else if (step[0] == "ttl") {
            at<ctlTTL>(name).setSeconds(value.toInt());
        } else if (step[0] == "spin") {
            at<QSpinBox>(name).setValue(value.toInt());
        } else if (step[0] == "add") {
            QTest::keyClicks(&at<QLineEdit>("entry", &at<QWidget>(name)), value);
            at<QPushButton>("add", &at<QWidget>(name)).click();
        } else if (step[0] == "remove") {
            for (auto* item : at<QListWidget>("list", &at<QWidget>(name)).findItems(value, Qt::MatchExactly))
                item->setSelected(true);
            at<QPushButton>("remove", &at<QWidget>(name)).click();
        } else if (step[0] == "select") {
            at<QListWidget>("list", &at<QWidget>(name)).setCurrentRow(value.toInt());
        } else if (step[0] == "row") {
            auto& editor = at<QWidget>(name);
            at<QPushButton>("add", &editor).click();
            auto& grid = at<QTableWidget>("table", &editor);
            for (int column = 2; column < step.size(); ++column)
                grid.item(grid.rowCount() - 1, column - 2)->setText(step[column]);
        } else {
            throw std::runtime_error("no step " + line.toStdString());
        }
    }
    void ok() { dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click(); }
    int tab() { return at<QTabWidget>("tabs").currentIndex(); }
};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT
private slots:
    // A wrong entry turns the dialog to its page, and on the DHCP page to the interface at fault;
    // editing a hosts file that is not given only warns.
    void wrongEntriesWarn()
    {
        Harness forwarding;
        forwarding.at<QPushButton>("editHosts").click();
        forwarding.act("remove|NS|10.0.0.99 tls dns.example");
        forwarding.act("tick|RECURSIONOUT|on");
        forwarding.ok();
        QCOMPARE(forwarding.warnings,
                 (QStringList{"Error trying to open notepad!",
                              "Please add at least one external DNS server\nIP Address to use forwarding!"}));
        QCOMPARE(forwarding.tab(), static_cast<int>(OptionsTab::Forwarding));

        Harness dhcp;
        dhcp.act("choose|dhcpInterface|10.0.0.1");
        dhcp.act("tick|dhcpEnable|on"); // no domain yet
        dhcp.act("choose|dhcpInterface|192.168.1.10");
        dhcp.ok();
        QCOMPARE(dhcp.warnings, QStringList{"Please enter domain name for DHCP!"});
        QCOMPARE(dhcp.tab(), static_cast<int>(OptionsTab::Dhcp));
        QCOMPARE(dhcp.at<QComboBox>("dhcpInterface").currentText(), QString("10.0.0.1"));
        QVERIFY(!forwarding.accepted && !dhcp.accepted);
        QCOMPARE(dhcp.dialog.result(), int(QDialog::Rejected));
    }

    // Every field typed, ticked or chosen reaches the accepted settings (compared with a golden file);
    // a screenshot of each page before OK.
    void validSetIsHandedOn()
    {
        QTemporaryFile hosts;
        QVERIFY(hosts.open());
        Harness h;
        h.dialog.show();
        // A forwarder's TLS name is shown after its address.
        QCOMPARE(h.at<QListWidget>("list", &h.at<QWidget>("NS")).item(0)->text(),
                 QString("10.0.0.99 tls dns.example"));
        const QString steps = test::dataText("options_typed.txt").replace("@HOSTS@", hosts.fileName());
        for (const QString& line : steps.split('\n'))
            if (!line.isEmpty() && !line.startsWith('#') && !QTest::currentTestFailed()) h.act(line);
        h.dialog.reserve({"id:01ff", "192.168.1.51", "printer"}); // as the leases window sends it
        auto& tabs = h.at<QTabWidget>("tabs");
        for (int i = 0; i < tabs.count(); ++i) {
            tabs.setCurrentIndex(i);
            QVERIFY(test::saveScreenshot(h.dialog, "options_" + tabs.tabText(i).toLower()));
        }
        h.ok();

        QVERIFY(h.warnings.isEmpty());
        QVERIFY(h.accepted);
        const QString ini = QString::fromStdString(formatIni(h.accepted->first, 0));
        test::expectGolden("options_accepted.ini", QString(ini).replace(hosts.fileName(), "@HOSTS@"));
        QCOMPARE(h.accepted->second, (std::vector<std::string>{"10.6.6.6"}));
        QCOMPARE(h.dialog.result(), int(QDialog::Accepted));
    }

    void entryControlsRoundTrip()
    {
        ctlIP ip;
        ip.setText(""); // an empty address stays empty, both ways
        QCOMPARE(ip.text(), QString());
        ctlTTL ttl;
        ttl.setSeconds(90061);
        const auto boxes = ttl.findChildren<QSpinBox*>();
        QCOMPARE(boxes.size(), 3);
        QCOMPARE((std::array{boxes[0]->value(), boxes[1]->value(), boxes[2]->value()}), (std::array{1, 1, 1}));
        QCOMPARE(ttl.seconds(), 90061);
        boxes[2]->setValue(2); // an edit drops the seconds below a minute
        QCOMPARE(ttl.seconds(), 90120);
        ttl.setSeconds(-5);
        QCOMPARE(ttl.seconds(), 0);
    }
};

QTEST_MAIN(TestOptions)
#include "test_options.moc"
