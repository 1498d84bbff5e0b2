// The options dialog: what OK says for each kind of bad input and which page it shows, what it
// hands on for a good set, the recursion choices following the binding, and the entry controls.
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

#include <functional>
#include <optional>

using namespace quorvane;

namespace {

const std::vector<std::string> kLocal{"192.168.1.10", "10.0.0.1"};

clDHCPif officeRow()
{
    return {"192.168.1.10",  ".example.lan", "192.168.1.100",         "192.168.1.200",
            "255.255.255.0", "192.168.1.1",  clDHCPif::kDefaultLease, true};
}

// A set that passes every check; the tests change it through the dialog's fields.
OptionsData validData()
{
    OptionsData data;
    data.settings.NAME = "ns.example.lan";
    data.settings.DNSBIND = "192.168.1.10";
    data.settings.NOBLOCK = {"10.1.1.1"};
    data.settings.DHCP = {
        officeRow(), {"172.16.0.1", ".lab", "172.16.0.10", "172.16.0.20", "255.255.0.0", "", 3600, true}};
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

using Fill = std::function<void(Harness&)>;

struct InvalidCase
{
    const char* name;
    Fill fill;
    QString message;
    OptionsTab tab;
    QString interfaceShown; // DHCP only: the interface the page shows afterwards
};

// One bad entry per page, and a field of each kind of control: that the dialog hands each field to
// the checks and turns to the page they name. Every message of the checks is in
// Options.FirstFailureInDialogOrder and Options.DhcpChecks.
const InvalidCase kInvalid[] = {
    {"name cleans to nothing", [](Harness& h) { h.type("NAME", "..."); }, "Please enter server name!",
     OptionsTab::General, ""},
    {"forwarding without servers", [](Harness& h) { h.tick("RECURSIONOUT", true); },
     "Please add at least one external DNS server\nIP Address to use forwarding!", OptionsTab::Forwarding,
     ""},
    {"missing hosts file", [](Harness& h) { h.type("HOSTS", "/nonexistent/quorvane/hosts"); },
     "The specified 'Hosts' file does not exist!", OptionsTab::General, ""},
    {"mask with a hole", [](Harness& h) { h.type("dhcpSubnet", "255.0.255.0"); },
     "Invalid subnet mask for DHCP!", OptionsTab::Dhcp, "192.168.1.10"},
    {"gateway off the subnet", [](Harness& h) { h.type("dhcpGateway", "10.0.0.254"); },
     "DHCP Gateway must be on the same subnet as interface!", OptionsTab::Dhcp, "192.168.1.10"},
    {"lease period zero", [](Harness& h) { h.at<ctlTTL>("dhcpLease").setSeconds(0); },
     "The Lease Period cannot be zero!", OptionsTab::Dhcp, "192.168.1.10"},
    {"fault on a row not shown",
     [](Harness& h) {
         h.choose("dhcpInterface", "10.0.0.1");
         h.tick("dhcpEnable", true); // no domain yet
         h.choose("dhcpInterface", "192.168.1.10");
     },
     "Please enter domain name for DHCP!", OptionsTab::Dhcp, "10.0.0.1"},
};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT
private slots:
    void invalidInputIsNamedOnItsPage_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < static_cast<int>(std::size(kInvalid)); ++row)
            QTest::newRow(kInvalid[row].name) << row;
    }
    void invalidInputIsNamedOnItsPage()
    {
        QFETCH(int, row);
        const InvalidCase& c = kInvalid[row];
        Harness h;
        c.fill(h);
        h.ok();
        QCOMPARE(h.warnings, QStringList{c.message});
        QCOMPARE(h.tab(), static_cast<int>(c.tab));
        if (!c.interfaceShown.isEmpty())
            QCOMPARE(h.at<QComboBox>("dhcpInterface").currentText(), c.interfaceShown);
        QVERIFY(!h.accepted);
        QCOMPARE(h.dialog.result(), int(QDialog::Rejected));
    }

    void validSetIsHandedOn()
    {
        QTemporaryFile hosts;
        QVERIFY(hosts.open());
        Harness h;
        h.type("NAME", "NS.Example.LAN.");
        h.tick("STARTMINI", true);
        h.type("HOSTS", hosts.fileName());
        h.at<ctlTTL>("HOSTSTTL").setSeconds(7200);
        h.choose("DNSBIND", "<all>");
        h.choose("DNSRECURSION", "10.*.*.*");
        h.tick("AUTOCNAME", true);
        h.at<ctlTTL>("CACHETTL").setSeconds(86460);
        h.tick("CACHERELOAD", true);
        h.at<ctlTTL>("CHECKNEW").setSeconds(300);
        h.tick("RECURSIONOUT", true);
        h.addAddress("NS", "8.8.4.4");
        h.addAddress("NS", "009.009.009.009");
        h.addAddress("NS", "8.8.4.4");
        h.tick("SPOOFSECURE", true);
        h.tick("WRITELOG", true);
        h.tick("LOGDETAIL", false);
        h.tick("LOGINONLY", true);
        h.at<QSpinBox>("BOMBLEVEL").setValue(20);
        h.tick("LOGBLOCK", false);
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
        for (const char* flag : {"AAAARECORDS", "EDNS", "TCPQUERIES", "QUERYHARDENING", "MORERECORDTYPES",
                                 "LOCALNAMES", "DHCPFIXEDNAMES"})
            h.tick(flag, true);
        h.addRow("FORWARD", {"Corp.Test", "10.0.0.5  10.0.0.6"});
        h.addRow("FORWARD", {"lonely.test", ""}); // no server: dropped
        h.addRow("DHCPFIXED", {"AA-BB-CC-DD-EE-01", "192.168.1.50", "nas"});
        h.dialog.reserve({"id:01ff", "192.168.1.51", "printer"}); // as the leases window sends it
        h.choose("BLOCKANSWER", "Refused");
        h.at<QSpinBox>("BLOCKLISTUPDATE").setValue(6);
        h.addAddress("NOFILTER", "10.4.4.4");
        h.ok();

        Settings expected;
        expected.NAME = "ns.example.lan";
        expected.STARTMINI = expected.AUTOCNAME = expected.CACHERELOAD = expected.RECURSIONOUT = true;
        expected.SPOOFSECURE = expected.WRITELOG = expected.LOGINONLY = true;
        expected.AAAARECORDS = expected.EDNS = expected.TCPQUERIES = expected.QUERYHARDENING = true;
        expected.MORERECORDTYPES = expected.LOCALNAMES = expected.DHCPFIXEDNAMES = true;
        expected.FORWARD = {{"corp.test", {"10.0.0.5", "10.0.0.6"}}};
        expected.DHCPFIXED = {{"aa:bb:cc:dd:ee:01", "192.168.1.50", "nas"}, {"id:01ff", "192.168.1.51", "printer"}};
        expected.LOGDETAIL = expected.LOGBLOCK = false;
        expected.HOSTS = hosts.fileName().toStdString();
        expected.HOSTSTTL = 7200;
        expected.DNSRECURSION = "10.*.*.*";
        expected.CACHETTL = 86460;
        expected.CHECKNEW = 300;
        expected.NS = {"8.8.4.4", "9.9.9.9"};
        expected.BOMBLEVEL = 20;
        expected.NOBLOCK = {"10.1.1.1", "10.2.2.2"};
        expected.BLOCKLIST = validData().settings.BLOCKLIST;
        expected.ALLOWLIST = {"ok.example"};
        expected.BLOCKANSWER = "REFUSED";
        expected.BLOCKLISTUPDATE = 6;
        expected.NOFILTER = {"10.3.3.3", "10.4.4.4"};
        clDHCPif office = officeRow();
        expected.DHCP = {
            office,
            {"10.0.0.1", ".office.lan", "10.0.0.50", "10.0.0.60", "255.255.255.0", "", 86400, true},
            validData().settings.DHCP[1]};
        QVERIFY(h.warnings.isEmpty());
        QVERIFY(h.accepted);
        QCOMPARE(QString::fromStdString(formatIni(h.accepted->first, 0)),
                 QString::fromStdString(formatIni(expected, 0))); // readable on failure
        QVERIFY(h.accepted->first == expected);
        QCOMPARE(h.accepted->second, (std::vector<std::string>{"10.6.6.6"}));
        QCOMPARE(h.dialog.result(), int(QDialog::Accepted));
    }

    void recursionChoicesFollowTheBinding()
    {
        Harness h;
        auto& recursion = h.at<QComboBox>("DNSRECURSION");
        const auto shown = [&] {
            QStringList items;
            for (int i = 0; i < recursion.count(); ++i)
                items << recursion.itemText(i);
            return items;
        };
        const QStringList bound{"<all>", "192.*.*.*", "192.168.*.*", "192.168.1.*", "127.0.0.1", "<none>"};
        QCOMPARE(shown(), bound);
        QCOMPARE(recursion.currentText(), QString("<all>"));
        h.choose("DNSRECURSION", "127.0.0.1");
        h.choose("DNSBIND", "<all>");
        QCOMPARE(shown(), (QStringList{"<all>", "192.*.*.*", "192.168.*.*", "192.168.1.*", "10.*.*.*",
                                       "10.0.*.*", "10.0.0.*", "127.0.0.1", "<none>"}));
        QCOMPARE(recursion.currentText(), QString("127.0.0.1")); // still offered: kept
        h.choose("DNSRECURSION", "10.0.*.*");
        h.choose("DNSBIND", "192.168.1.10");
        QCOMPARE(shown(), bound);
        QCOMPARE(recursion.currentText(), QString("<all>")); // no longer offered
    }

    void editWithoutHostsFileWarns()
    {
        Harness h;
        h.at<QPushButton>("editHosts").click();
        QCOMPARE(h.warnings, QStringList{"Error trying to open notepad!"});
    }

    void entryControlsRoundTrip()
    {
        const std::pair<QString, QString> typed[] = {{"010.001.002.003", "10.1.2.3"},
                                                     {"192.168.1", "192.168.1.0"},
                                                     {"256.1.1.1", "25.1.1.1"},
                                                     {"", ""}};
        for (const auto& [keys, text] : typed) {
            ctlIP ip;
            QTest::keyClicks(&ip, keys);
            QCOMPARE(ip.text(), text);
            ip.setText(text);
            QCOMPARE(ip.text(), text);
        }
        const std::pair<int32_t, std::array<int, 3>> spans[] = {
            {0, {0, 0, 0}}, {90061, {1, 1, 1}}, {259200, {3, 0, 0}}, {-5, {0, 0, 0}}};
        for (const auto& [seconds, dhm] : spans) {
            ctlTTL ttl;
            ttl.setSeconds(seconds);
            const auto boxes = ttl.findChildren<QSpinBox*>();
            QCOMPARE(boxes.size(), 3);
            QCOMPARE((std::array{boxes[0]->value(), boxes[1]->value(), boxes[2]->value()}), dhm);
            QCOMPARE(ttl.seconds(), std::max(seconds, 0));
            boxes[2]->setValue(boxes[2]->value() + 1); // an edit drops the seconds below a minute
            QCOMPARE(ttl.seconds(), std::max(seconds, 0) / 60 * 60 + 60);
        }
    }

    // A forwarder's TLS name is shown after its address, edited for the selected one, and handed on.
    void tlsNamesAndFiles()
    {
        OptionsData data = validData();
        data.settings.NS = {"10.0.0.53", "10.0.0.99"};
        data.settings.NSTLS = {{"10.0.0.99", "dns.example"}};
        data.settings.TLSCERTFILE = "/etc/quorvane/dot.pem";
        Harness h(data);
        h.dialog.show();
        auto& list = h.at<QListWidget>("list", &h.at<QWidget>("NS"));
        QCOMPARE(list.item(1)->text(), QString("10.0.0.99 tls dns.example"));
        list.setCurrentRow(0);
        QTest::keyClicks(&h.at<QLineEdit>("TLSNAME"), "Resolver.Example");
        h.type("TLSKEYFILE", "/etc/quorvane/dot.key");
        h.at<QTabWidget>("tabs").setCurrentIndex(1);
        QVERIFY(test::saveScreenshot(h.dialog, "options_forwarding_tls"));
        h.ok();
        QVERIFY(h.accepted);
        const Settings& s = h.accepted->first;
        QCOMPARE(s.NS, data.settings.NS);
        QCOMPARE(s.NSTLS, (std::map<std::string, std::string>{{"10.0.0.53", "resolver.example"}, {"10.0.0.99", "dns.example"}}));
        QCOMPARE(s.TLSKEYFILE, std::string("/etc/quorvane/dot.key"));
        QCOMPARE(s.TLSCERTFILE, data.settings.TLSCERTFILE);
    }

    void screenshotOfEveryTab()
    {
        OptionsData data = validData();
        data.settings.FORWARD = {{"corp.test", {"10.0.0.5", "10.0.0.6"}}, {"10.in-addr.arpa", {"10.0.0.5"}}};
        data.settings.DHCPFIXED = {{"aa:bb:cc:dd:ee:01", "192.168.1.50", "nas"}};
        Harness h(data);
        h.dialog.show();
        auto& tabs = h.at<QTabWidget>("tabs");
        for (int i = 0; i < tabs.count(); ++i) {
            tabs.setCurrentIndex(i);
            QVERIFY(test::saveScreenshot(h.dialog, "options_" + tabs.tabText(i).toLower()));
        }
    }
};

QTEST_MAIN(TestOptions)
#include "test_options.moc"
