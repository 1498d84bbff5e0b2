#include "ui/frm_options_address_list.h"

#include "ui/ctl_ip.h"

#include <QGridLayout>

#include <algorithm>
#include <QListWidget>
#include <QPushButton>

namespace quorvane {

AddressListEditor::AddressListEditor(QWidget* parent)
    : QWidget(parent), m_entry(new ctlIP(this)), m_list(new QListWidget(this))
{
    auto* add = new QPushButton(tr("Add"), this);
    auto* remove = new QPushButton(tr("Remove"), this);
    m_entry->setObjectName("entry");
    m_list->setObjectName("list");
    add->setObjectName("add");
    remove->setObjectName("remove");
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_entry, 0, 0);
    layout->addWidget(add, 0, 1);
    layout->addWidget(m_list, 1, 0, 2, 1);
    layout->addWidget(remove, 1, 1);
    layout->setRowStretch(2, 1);

    connect(add, &QPushButton::clicked, this, &AddressListEditor::addEntry);
    connect(remove, &QPushButton::clicked, this, &AddressListEditor::removeSelected);
}

void AddressListEditor::setAddresses(const std::vector<std::string>& addresses)
{
    m_list->clear();
    for (const auto& address : addresses)
        m_list->addItem(QString::fromStdString(address));
}

std::vector<std::string> AddressListEditor::addresses() const
{
    std::vector<std::string> result;
    for (int row = 0; row < m_list->count(); ++row)
        result.push_back(m_list->item(row)->text().section(' ', 0, 0).toStdString()); // a note may follow
    return result;
}

void AddressListEditor::addEntry()
{
    const QString address = m_entry->text();
    if (address.isEmpty()) return;
    const auto listed = addresses();
    if (std::find(listed.begin(), listed.end(), address.toStdString()) == listed.end()) m_list->addItem(address);
    m_entry->clear();
    m_entry->setFocus();
}

void AddressListEditor::removeSelected()
{
    qDeleteAll(m_list->selectedItems());
}

} // namespace quorvane
