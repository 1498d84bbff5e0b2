// The options dialog: which page it shows for a wrong entry, what it hands on for a good set, the
// recursion choices following the binding, and the entry controls. The rules themselves are checked
// by the unit tests of the options.
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
    data.settings.NAME = "ns.example.lan";
    data.settings.DNSBIND = "192.168.1.10";
    data.settings.NOBLOCK = {"10.1.1.1"};
    data.settings.DHCP = {{"192.168.1.10", ".example.lan", "192.168.1.100", "192.168.1.200", "255.255.255.0",
                           "192.168.1.1", clDHCPif::kDefaultLease, true},
                          {"172.16.0.1", ".lab", "172.16.0.10", "172.16.0.20", "255.255.0.0", "", 3600, true}};
    data.blockList = {"10.9.9.9"};
    data.localAddresses = kLocal;
    data.settings.BLOCKLIST = {"lists/ads.txt", "https://lists.example/hosts"};
    data.settings.ALLOWLIST = {"ok.example"};
    data.settings.NOFILTER = {"10.3.3.3"};
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

    explicit Harness(const OptionsData& data = validData()) : dialog(data, nullptr)
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
    // Types as the operator does, through the field's validator.
    void type(const char* name, const QString& text)
    {
        auto& field = at<QLineEdit>(name);
        field.clear();
        QTest::keyClicks(&field, text);
    }
    void tick(const char* name, bool on) { at<QCheckBox>(name).setChecked(on); }
    void choose(const char* name, const QString& text)
    {
        auto& box = at<QComboBox>(name);
        box.setCurrentIndex(box.findText(text));
    }
    void addAddress(const char* list, const QString& address)
    {
        auto& editor = at<QWidget>(list);
        QTest::keyClicks(&at<QLineEdit>("entry", &editor), address);
        at<QPushButton>("add", &editor).click();
    }
    void removeAddress(const char* list, const QString& address)
    {
        auto& editor = at<QWidget>(list);
        for (auto* item : at<QListWidget>("list", &editor).findItems(address, Qt::MatchExactly))
            item->setSelected(true);
        at<QPushButton>("remove", &editor).click();
    }
    // Adds a row to one of the rules tables, typed cell by cell.
    void addRow(const char* table, const QStringList& cells)
    {
        auto& editor = at<QWidget>(table);
        at<QPushButton>("add", &editor).click();
        auto& grid = at<QTableWidget>("table", &editor);
        for (int column = 0; column < cells.size(); ++column)
            grid.item(grid.rowCount() - 1, column)->setText(cells[column]);
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
        forwarding.tick("RECURSIONOUT", true);
        forwarding.ok();
        QCOMPARE(forwarding.warnings,
                 (QStringList{"Error trying to open notepad!",
                              "Please add at least one external DNS server\nIP Address to use forwarding!"}));
        QCOMPARE(forwarding.tab(), static_cast<int>(OptionsTab::Forwarding));

        Harness dhcp;
        dhcp.choose("dhcpInterface", "10.0.0.1");
        dhcp.tick("dhcpEnable", true); // no domain yet
        dhcp.choose("dhcpInterface", "192.168.1.10");
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
        OptionsData data = validData();
        data.settings.NS = {"10.0.0.99"};
        data.settings.NSTLS = {{"10.0.0.99", "dns.example"}};
        data.settings.TLSCERTFILE = "/etc/quorvane/dot.pem";
        Harness h(data);
        h.dialog.show();
        h.type("NAME", "NS.Example.LAN.");
        h.type("HOSTS", hosts.fileName());
        h.at<ctlTTL>("HOSTSTTL").setSeconds(7200);
        h.choose("DNSBIND", "<all>");
        h.choose("DNSRECURSION", "10.*.*.*");
        h.at<ctlTTL>("CACHETTL").setSeconds(86460);
        h.at<ctlTTL>("CHECKNEW").setSeconds(300);
        for (const char* flag : {"STARTMINI", "AUTOCNAME", "CACHERELOAD", "RECURSIONOUT", "SPOOFSECURE", "WRITELOG",
                                 "LOGINONLY", "AAAARECORDS", "EDNS", "TCPQUERIES", "QUERYHARDENING",
                                 "MORERECORDTYPES", "LOCALNAMES", "DHCPFIXEDNAMES"})
            h.tick(flag, true);
        h.tick("LOGDETAIL", false);
        h.tick("LOGBLOCK", false);
        // A forwarder's TLS name is shown after its address and edited for the selected one.
        auto& servers = h.at<QListWidget>("list", &h.at<QWidget>("NS"));
        QCOMPARE(servers.item(0)->text(), QString("10.0.0.99 tls dns.example"));
        h.addAddress("NS", "8.8.4.4");
        h.addAddress("NS", "009.009.009.009");
        h.addAddress("NS", "8.8.4.4");
        servers.setCurrentRow(1);
        QTest::keyClicks(&h.at<QLineEdit>("TLSNAME"), "Resolver.Example");
        h.type("TLSKEYFILE", "/etc/quorvane/dot.key");
        h.at<QSpinBox>("BOMBLEVEL").setValue(20);
        h.removeAddress("blockList", "10.9.9.9");
        h.addAddress("blockList", "10.6.6.6");
        h.addAddress("NOBLOCK", "10.2.2.2");
        h.type("dhcpFrom", "192.168.1.200"); // given backwards: swapped on OK
        h.type("dhcpTo", "192.168.1.100");
        h.choose("dhcpInterface", "10.0.0.1");
        h.tick("dhcpEnable", true);
        h.type("dhcpDomain", "Office.LAN");
        h.type("dhcpFrom", "10.0.0.50");
        h.type("dhcpTo", "10.0.0.60");
        h.type("dhcpGateway", "0.0.0.0");
        h.at<ctlTTL>("dhcpLease").setSeconds(86400);
        h.addRow("FORWARD", {"Corp.Test", "10.0.0.5  10.0.0.6"});
        h.addRow("FORWARD", {"lonely.test", ""}); // no server: dropped
        h.addRow("DHCPFIXED", {"AA-BB-CC-DD-EE-01", "192.168.1.50", "nas"});
        h.dialog.reserve({"id:01ff", "192.168.1.51", "printer"}); // as the leases window sends it
        h.choose("BLOCKANSWER", "Refused");
        h.at<QSpinBox>("BLOCKLISTUPDATE").setValue(6);
        h.addAddress("NOFILTER", "10.4.4.4");
        auto& tabs = h.at<QTabWidget>("tabs");
        for (int i = 0; i < tabs.count(); ++i) {
            tabs.setCurrentIndex(i);
            QVERIFY(test::saveScreenshot(h.dialog, "options_" + tabs.tabText(i).toLower()));
        }
        h.ok();

        QVERIFY(h.warnings.isEmpty());
        QVERIFY(h.accepted);
        test::expectGolden("options_accepted.ini",
                           QString::fromStdString(formatIni(h.accepted->first, 0)).replace(hosts.fileName(), "@HOSTS@"));
        QCOMPARE(h.accepted->second, (std::vector<std::string>{"10.6.6.6"}));
        QCOMPARE(h.dialog.result(), int(QDialog::Accepted));
    }

    // Changing the binding refills the recursion choices, keeping the chosen one while offered.
    void recursionChoicesFollowTheBinding()
    {
        Harness h;
        auto& recursion = h.at<QComboBox>("DNSRECURSION");
        h.choose("DNSRECURSION", "127.0.0.1");
        h.choose("DNSBIND", "<all>");
        QCOMPARE(recursion.currentText(), QString("127.0.0.1")); // still offered: kept
        h.choose("DNSRECURSION", "10.0.*.*"); // offered for all interfaces only
        QCOMPARE(recursion.currentText(), QString("10.0.*.*"));
        h.choose("DNSBIND", "192.168.1.10");
        QCOMPARE(recursion.currentText(), QString("<all>")); // no longer offered
        QCOMPARE(recursion.count(), static_cast<int>(recursionChoices("192.168.1.10", kLocal).size()));
    }

    void entryControlsRoundTrip()
    {
        const std::pair<QString, QString> typed[] = {
            {"010.001.002.003", "10.1.2.3"}, {"192.168.1", "192.168.1.0"}, {"256.1.1.1", "25.1.1.1"}, {"", ""}};
        for (const auto& [keys, text] : typed) {
            ctlIP ip;
            QTest::keyClicks(&ip, keys);
            QCOMPARE(ip.text(), text);
            ip.setText(text);
            QCOMPARE(ip.text(), text);
        }
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
