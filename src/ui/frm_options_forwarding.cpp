#include "ui/frm_options_forwarding.h"

#include "host/ini_file.h"
#include "ui/frm_options_address_list.h"
#include "ui/rules_table.h"
#include "ui/separator_line.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>

namespace quorvane {

OptionsForwardingPage::OptionsForwardingPage(QWidget* parent)
    : OptionsPage(parent), m_recursionOut(new QCheckBox(this)), m_servers(new AddressListEditor(this)),
      m_spoofSecure(new QCheckBox(this)),
      m_rules(new RulesTable({tr("Domain"), tr("DNS Servers IP Addresses")}, this))
{
    m_rules->setObjectName("FORWARD");
    m_recursionOut->setObjectName("RECURSIONOUT");
    m_servers->setObjectName("NS");
    m_spoofSecure->setObjectName("SPOOFSECURE");

    // The spoofing label is long: it takes the page's width, wrapped, after its box.
    auto* spoofLabel = new QLabel(
        tr("Only accept DNS records from confimed Authoritative servers ('Spoofing' security):"), this);
    spoofLabel->setWordWrap(true);
    spoofLabel->setBuddy(m_spoofSecure);
    auto* spoofRow = new QHBoxLayout;
    spoofRow->addWidget(m_spoofSecure);
    spoofRow->addWidget(spoofLabel, 1);

    auto* form = new QFormLayout(this);
    form->addRow(spoofRow);
    form->addRow(new ctlLine3D(this));
    form->addRow(tr("Use Forwarding (external record resolution):"), m_recursionOut);
    form->addRow(tr("External DNS Servers IP Addresses:"), m_servers);
    form->addRow(new ctlLine3D(this));
    auto* rulesLabel = new QLabel(
        tr("Domains forwarded to servers of their own (addresses separated by blanks; the longest domain wins):"),
        this);
    rulesLabel->setWordWrap(true);
    form->addRow(rulesLabel);
    form->addRow(m_rules);
}

void OptionsForwardingPage::load(const OptionsData& shown)
{
    m_recursionOut->setChecked(shown.settings.RECURSIONOUT);
    m_servers->setAddresses(shown.settings.NS);
    m_spoofSecure->setChecked(shown.settings.SPOOFSECURE);
    RulesTable::Rows rows;
    for (const auto& rule : shown.settings.FORWARD) {
        std::string servers;
        for (const auto& server : rule.servers) servers += (servers.empty() ? "" : " ") + server;
        rows.push_back({rule.domain, servers});
    }
    m_rules->setRows(rows);
}

void OptionsForwardingPage::store(OptionsData& proposal) const
{
    proposal.settings.RECURSIONOUT = m_recursionOut->isChecked();
    proposal.settings.NS = m_servers->addresses();
    proposal.settings.SPOOFSECURE = m_spoofSecure->isChecked();
    // Read as the settings file reads a Forward line; a rule without a domain or a server is dropped.
    proposal.settings.FORWARD.clear();
    for (const auto& row : m_rules->rows())
        if (ForwardRule rule = parseForwardLine(row[0] + ' ' + row[1]); !rule.domain.empty())
            proposal.settings.FORWARD.push_back(std::move(rule));
}

} // namespace quorvane
