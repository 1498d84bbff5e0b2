#include "ui/frm_options_flags.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>

namespace quorvane {

OptionsFlagsPage::OptionsFlagsPage(std::vector<Flag> flags, bool withFormLabels, const QString& note)
    : m_flags(std::move(flags))
{
    auto* form = new QFormLayout(this);
    if (!note.isEmpty()) {
        auto* label = new QLabel(note, this);
        label->setWordWrap(true);
        form->addRow(label);
    }
    for (const Flag& flag : m_flags) {
        auto* box = new QCheckBox(withFormLabels ? QString() : flag.text, this);
        box->setObjectName(flag.objectName);
        if (withFormLabels)
            form->addRow(flag.text, box);
        else
            form->addRow(box);
        m_boxes.push_back(box);
    }
}

void OptionsFlagsPage::load(const OptionsData& shown)
{
    for (size_t i = 0; i < m_flags.size(); ++i)
        m_boxes[i]->setChecked(shown.settings.*m_flags[i].member);
}

void OptionsFlagsPage::store(OptionsData& proposal) const
{
    for (size_t i = 0; i < m_flags.size(); ++i)
        proposal.settings.*m_flags[i].member = m_boxes[i]->isChecked();
}

OptionsFlagsPage* OptionsFlagsPage::logging()
{
    return new OptionsFlagsPage({{&Settings::WRITELOG, "WRITELOG", tr("Write daily Log Files:")},
                                 {&Settings::LOGDETAIL, "LOGDETAIL", tr("Log record details:")},
                                 {&Settings::LOGINONLY, "LOGINONLY", tr("Log incoming requests only:")}},
                                true);
}

OptionsFlagsPage* OptionsFlagsPage::extensions()
{
    return new OptionsFlagsPage(
        {{&Settings::AAAARECORDS, "AAAARECORDS",
          tr("IPv6 address records (AAAA) in zones, answers and the cache")},
         {&Settings::EDNS, "EDNS", tr("EDNS: larger replies, truncated at the size the client announces")},
         {&Settings::TCPQUERIES, "TCPQUERIES", tr("Ordinary questions over TCP port 53")},
         {&Settings::QUERYHARDENING, "QUERYHARDENING",
          tr("Random query identifiers and source ports for questions to other servers")},
         {&Settings::MORERECORDTYPES, "MORERECORDTYPES", tr("More record types: SRV and CAA")},
         {&Settings::LOCALNAMES, "LOCALNAMES",
          tr("Private reverse names, home.arpa and one-label names answered here, never sent out")},
         {&Settings::DHCPFIXEDNAMES, "DHCPFIXEDNAMES", tr("Names of fixed DHCP addresses answer while the machine is off")}},
        false, tr("Additions for today's clients. Each is off until ticked here."));
}

} // namespace quorvane
