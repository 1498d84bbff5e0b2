#include "ui/frm_options_forwarding.h"

#include "ui/frm_options_address_list.h"
#include "ui/separator_line.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>

namespace quorvane {

OptionsForwardingPage::OptionsForwardingPage(QWidget* parent)
    : OptionsPage(parent), m_recursionOut(new QCheckBox(this)), m_servers(new AddressListEditor(this)),
      m_spoofSecure(new QCheckBox(this))
{
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
}

void OptionsForwardingPage::load(const OptionsData& shown)
{
    m_recursionOut->setChecked(shown.settings.RECURSIONOUT);
    m_servers->setAddresses(shown.settings.NS);
    m_spoofSecure->setChecked(shown.settings.SPOOFSECURE);
}

void OptionsForwardingPage::store(OptionsData& proposal) const
{
    proposal.settings.RECURSIONOUT = m_recursionOut->isChecked();
    proposal.settings.NS = m_servers->addresses();
    proposal.settings.SPOOFSECURE = m_spoofSecure->isChecked();
}

} // namespace quorvane
