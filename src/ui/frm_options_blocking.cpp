#include "ui/frm_options_blocking.h"

#include "ui/frm_options_address_list.h"
#include "ui/separator_line.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QSpinBox>

#include <cstdint>
#include <limits>

namespace quorvane {

OptionsBlockingPage::OptionsBlockingPage(QWidget* parent)
    : OptionsPage(parent), m_bombLevel(new QSpinBox(this)), m_logBlock(new QCheckBox(this)),
      m_blocked(new AddressListEditor(this)), m_noBlock(new AddressListEditor(this))
{
    m_bombLevel->setObjectName("BOMBLEVEL");
    m_logBlock->setObjectName("LOGBLOCK");
    m_blocked->setObjectName("blockList");
    m_noBlock->setObjectName("NOBLOCK");
    m_bombLevel->setRange(0, std::numeric_limits<int16_t>::max());
    m_bombLevel->setSpecialValueText(tr("0 (no flood protection)"));

    auto* form = new QFormLayout(this);
    form->addRow(tr("Maximum Requests per Second:"), m_bombLevel);
    form->addRow(tr("Log requests from blocked IP addresses:"), m_logBlock);
    form->addRow(new ctlLine3D(this));
    form->addRow(tr("Blocked IP addresses:"), m_blocked);
    form->addRow(tr("Never block these IP addresses:"), m_noBlock);
}

void OptionsBlockingPage::load(const OptionsData& shown)
{
    m_bombLevel->setValue(shown.settings.BOMBLEVEL);
    m_logBlock->setChecked(shown.settings.LOGBLOCK);
    m_blocked->setAddresses(shown.blockList);
    m_noBlock->setAddresses(shown.settings.NOBLOCK);
}

void OptionsBlockingPage::store(OptionsData& proposal) const
{
    proposal.settings.BOMBLEVEL = static_cast<uint16_t>(m_bombLevel->value());
    proposal.settings.LOGBLOCK = m_logBlock->isChecked();
    proposal.blockList = m_blocked->addresses();
    proposal.settings.NOBLOCK = m_noBlock->addresses();
}

} // namespace quorvane
