#include "ui/frm_options_dhcp.h"

#include "host/ini_file.h"
#include "ui/ctl_ip.h"
#include "ui/ctl_ttl.h"
#include "ui/rules_table.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>

namespace quorvane {

namespace {

// How an interface that nobody configured yet starts out.
clDHCPif freshRow(const std::string& address)
{
    clDHCPif row;
    row.IPaddr = address;
    row.Subnet = "255.255.255.0";
    return row;
}

template <class Widget> Widget* named(Widget* widget, const char* name)
{
    widget->setObjectName(name);
    return widget;
}

} // namespace

OptionsDhcpPage::OptionsDhcpPage(QWidget* parent)
    : OptionsPage(parent), m_interface(named(new QComboBox(this), "dhcpInterface")),
      m_enable(named(new QCheckBox(this), "dhcpEnable")), m_domain(named(new QLineEdit(this), "dhcpDomain")),
      m_from(named(new ctlIP(this), "dhcpFrom")), m_to(named(new ctlIP(this), "dhcpTo")),
      m_subnet(named(new ctlIP(this), "dhcpSubnet")), m_gateway(named(new ctlIP(this), "dhcpGateway")),
      m_lease(named(new ctlTTL(this), "dhcpLease")),
      m_fixed(named(new RulesTable({tr("MAC or id:HEX"), tr("IP-Address"), tr("Name")}, this),
                    "DHCPFIXED"))
{
    auto* range = new QHBoxLayout;
    range->addWidget(m_from);
    range->addWidget(new QLabel(tr("to"), this));
    range->addWidget(m_to);

    auto* form = new QFormLayout(this);
    form->addRow(tr("Interface:"), m_interface);
    form->addRow(tr("Enable DHCP:"), m_enable);
    form->addRow(tr("Domain Name:"), m_domain);
    form->addRow(tr("IP-Addresses:"), range);
    form->addRow(tr("Subnet Mask:"), m_subnet);
    form->addRow(tr("Default Gateway:"), m_gateway);
    form->addRow(tr("Lease period:"), m_lease);
    form->addRow(new QLabel(tr("Fixed addresses (on the interface whose network holds them):"), this));
    form->addRow(m_fixed);

    connect(m_interface, &QComboBox::currentIndexChanged, this, &OptionsDhcpPage::showRow);
}

void OptionsDhcpPage::load(const OptionsData& shown)
{
    m_rows.clear();
    for (const auto& address : shown.localAddresses) {
        const auto& configured = shown.settings.DHCP;
        const auto found = std::find_if(configured.begin(), configured.end(),
                                        [&](const clDHCPif& d) { return d.IPaddr == address; });
        m_rows.push_back(found != configured.end() ? *found : freshRow(address));
    }
    for (const auto& d : shown.settings.DHCP) {
        const auto known = std::find(shown.localAddresses.begin(), shown.localAddresses.end(), d.IPaddr);
        if (known == shown.localAddresses.end()) m_rows.push_back(d);
    }

    const QSignalBlocker quiet(m_interface);
    m_interface->clear();
    for (const auto& row : m_rows)
        m_interface->addItem(QString::fromStdString(row.IPaddr));
    m_shown = -1;
    showRow(m_rows.empty() ? -1 : 0);
    setEnabled(!m_rows.empty());
    RulesTable::Rows fixed;
    for (const auto& f : shown.settings.DHCPFIXED) fixed.push_back({f.Client, f.IPaddr, f.Name});
    m_fixed->setRows(fixed);
}

void OptionsDhcpPage::addReservation(const DhcpFixed& fixed)
{
    m_fixed->addRow({fixed.Client, fixed.IPaddr, fixed.Name});
}

void OptionsDhcpPage::store(OptionsData& proposal) const
{
    proposal.settings.DHCP = m_rows;
    if (m_shown >= 0) proposal.settings.DHCP[static_cast<size_t>(m_shown)] = fields();
    // Read as the settings file reads a DHCPFixed line; an unusable row is dropped.
    proposal.settings.DHCPFIXED.clear();
    for (const auto& row : m_fixed->rows())
        if (DhcpFixed f = parseFixedLine(row[0] + ' ' + row[1] + ' ' + row[2]); !f.Client.empty())
            proposal.settings.DHCPFIXED.push_back(std::move(f));
}

void OptionsDhcpPage::selectInterface(size_t row)
{
    m_interface->setCurrentIndex(static_cast<int>(row));
}

// The row shown, as the fields now stand.
clDHCPif OptionsDhcpPage::fields() const
{
    clDHCPif row;
    row.IPaddr = m_rows[static_cast<size_t>(m_shown)].IPaddr;
    row.Enable = m_enable->isChecked();
    row.Domain = m_domain->text().trimmed().toStdString();
    row.ScopeFrom = m_from->text().toStdString();
    row.ScopeTo = m_to->text().toStdString();
    row.Subnet = m_subnet->text().toStdString();
    row.Gateway = m_gateway->text().toStdString();
    if (row.Gateway == "0.0.0.0") row.Gateway.clear(); // no gateway, as the settings file writes it
    row.TTL = m_lease->seconds();
    return row;
}

// Keeps the fields of the row shown so far, then shows another row (-1: none).
void OptionsDhcpPage::showRow(int row)
{
    if (m_shown >= 0) m_rows[static_cast<size_t>(m_shown)] = fields();
    m_shown = row;
    const clDHCPif shown = row >= 0 ? m_rows[static_cast<size_t>(row)] : clDHCPif{};
    m_enable->setChecked(shown.Enable);
    QString domain = QString::fromStdString(shown.Domain);
    if (domain.startsWith('.')) domain.remove(0, 1); // shown without the leading dot it is kept with
    m_domain->setText(domain);
    m_from->setText(QString::fromStdString(shown.ScopeFrom));
    m_to->setText(QString::fromStdString(shown.ScopeTo));
    m_subnet->setText(QString::fromStdString(shown.Subnet));
    m_gateway->setText(QString::fromStdString(shown.Gateway));
    m_lease->setSeconds(shown.TTL);
}

} // namespace quorvane
