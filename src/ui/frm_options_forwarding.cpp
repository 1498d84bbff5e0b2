#include "ui/frm_options_forwarding.h"

#include "host/ini_file.h"
#include "ui/frm_options_address_list.h"
#include "ui/rules_table.h"
#include "ui/separator_line.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

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
    addTlsRows(form);
    form->addRow(new ctlLine3D(this));
    auto* rulesLabel = new QLabel(
        tr("Domains forwarded to servers of their own (addresses separated by blanks; the longest domain wins):"),
        this);
    rulesLabel->setWordWrap(true);
    form->addRow(rulesLabel);
    form->addRow(m_rules);
}

void OptionsForwardingPage::addTlsRows(QFormLayout* form)
{
    m_list = m_servers->findChild<QListWidget*>("list");
    m_tlsName = new QLineEdit(this);
    m_caFile = new QLineEdit(this);
    m_certFile = new QLineEdit(this);
    m_keyFile = new QLineEdit(this);
    m_tlsName->setObjectName("TLSNAME");
    m_caFile->setObjectName("TLSCAFILE");
    m_certFile->setObjectName("TLSCERTFILE");
    m_keyFile->setObjectName("TLSKEYFILE");
    m_tlsName->setPlaceholderText(tr("empty: plain DNS"));
    m_caFile->setPlaceholderText(tr("empty: the system's certificate store"));
    m_tlsName->setEnabled(false);
    form->addRow(tr("TLS name of the selected server:"), m_tlsName);
    form->addRow(tr("Certificate authorities for TLS servers:"), m_caFile);
    form->addRow(new ctlLine3D(this));
    form->addRow(new QLabel(tr("DNS over TLS for this network's clients (TCP port 853):"), this));
    form->addRow(tr("Certificate file:"), m_certFile);
    form->addRow(tr("Key file:"), m_keyFile);
    connect(m_list, &QListWidget::currentItemChanged, this, &OptionsForwardingPage::showTlsName);
    connect(m_tlsName, &QLineEdit::textEdited, this, &OptionsForwardingPage::setTlsName);
}

void OptionsForwardingPage::showTlsName(QListWidgetItem* item)
{
    m_tlsName->setEnabled(item != nullptr);
    const auto found = item ? m_tlsNames.find(item->text().section(' ', 0, 0).toStdString()) : m_tlsNames.end();
    m_tlsName->setText(found == m_tlsNames.end() ? QString() : QString::fromStdString(found->second));
}

void OptionsForwardingPage::setTlsName(const QString& name)
{
    QListWidgetItem* item = m_list->currentItem();
    if (item == nullptr) return;
    const QString address = item->text().section(' ', 0, 0);
    const QString clean = name.trimmed().toLower();
    if (clean.isEmpty()) m_tlsNames.erase(address.toStdString());
    else m_tlsNames[address.toStdString()] = clean.toStdString();
    item->setText(clean.isEmpty() ? address : address + " tls " + clean); // as in the settings file
}

void OptionsForwardingPage::load(const OptionsData& shown)
{
    m_recursionOut->setChecked(shown.settings.RECURSIONOUT);
    m_servers->setAddresses(shown.settings.NS);
    m_tlsNames = shown.settings.NSTLS;
    for (int row = 0; row < m_list->count(); ++row) {
        m_list->setCurrentRow(row);
        setTlsName(QString::fromStdString(m_tlsNames[m_list->item(row)->text().toStdString()]));
    }
    m_list->setCurrentRow(-1);
    m_caFile->setText(QString::fromStdString(shown.settings.TLSCAFILE));
    m_certFile->setText(QString::fromStdString(shown.settings.TLSCERTFILE));
    m_keyFile->setText(QString::fromStdString(shown.settings.TLSKEYFILE));
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
    auto& names = proposal.settings.NSTLS;
    names.clear();
    for (const auto& address : proposal.settings.NS)
        if (const auto name = m_tlsNames.find(address); name != m_tlsNames.end()) names.insert(*name);
    proposal.settings.TLSCAFILE = m_caFile->text().trimmed().toStdString();
    proposal.settings.TLSCERTFILE = m_certFile->text().trimmed().toStdString();
    proposal.settings.TLSKEYFILE = m_keyFile->text().trimmed().toStdString();
}

} // namespace quorvane
