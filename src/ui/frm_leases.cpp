// frmLeases: a flat four-column list; the context menu's "Delete" asks first and then asks the engine.
#include "ui/frm_leases.h"

#include "dhcp/reservations.h"
#include "net/network.h"

#include <QAction>
#include <QCloseEvent>
#include <QHeaderView>
#include <QMessageBox>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace quorvane {

namespace {

enum Column { NameColumn, AddressColumn, ClientColumn, EndColumn };

bool askYesNo(QWidget* parent, const QString& text)
{
    return QMessageBox::question(parent, QStringLiteral("Quorvane"), text) == QMessageBox::Yes;
}

uint32_t sortKey(const clLease& lease)
{
    return addressFromText(lease.IPaddr).value_or(0);
}

} // namespace

frmLeases::frmLeases(QWidget* parent)
    : QWidget(parent), m_list(new QTreeWidget(this)), m_delete(new QAction(QStringLiteral("Delete"), this)),
      m_reserve(new QAction(QStringLiteral("Reserve this address"), this)), m_ask(askYesNo)
{
    setWindowTitle(QStringLiteral("DHCP Leases"));
    m_list->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("IP Address"),
                             QStringLiteral("Client ID"), QStringLiteral("Lease End")});
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_list->addAction(m_delete);
    m_list->addAction(m_reserve);
    m_delete->setEnabled(false);
    m_reserve->setEnabled(false);
    connect(m_delete, &QAction::triggered, this, &frmLeases::DelLease);
    connect(m_reserve, &QAction::triggered, this, &frmLeases::reserve);
    connect(m_list, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* current) {
        m_delete->setEnabled(current != nullptr);
        m_reserve->setEnabled(current != nullptr);
    });
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
}

void frmLeases::setLeases(const std::vector<clLease>& leases)
{
    const QTreeWidgetItem* current = m_list->currentItem();
    const QString selected = current ? current->text(AddressColumn) : QString();
    std::vector<const clLease*> sorted;
    sorted.reserve(leases.size());
    for (const clLease& lease : leases)
        sorted.push_back(&lease);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const clLease* a, const clLease* b) { return sortKey(*a) < sortKey(*b); });

    m_list->clear();
    for (const clLease* lease : sorted) {
        auto* row = new QTreeWidgetItem(m_list, {QString::fromStdString(lease->ClientName),
                                                 QString::fromStdString(lease->IPaddr),
                                                 QString::fromStdString(HWToHex(lease->ClientID)),
                                                 QString::fromStdString(dateTimeText(lease->End))});
        if (!selected.isEmpty() && row->text(AddressColumn) == selected) m_list->setCurrentItem(row);
    }
}

void frmLeases::DelLease()
{
    const QTreeWidgetItem* row = m_list->currentItem();
    if (!row) return;
    const QString address = row->text(AddressColumn);
    if (m_ask(this, QStringLiteral("Please re-boot that client to avoid IP-Address conflicts!")))
        emit deleteRequested(address);
}

// The selected lease's client keeps its address under the first label of its name: by hardware
// address when its identifier is the usual Ethernet one (type 1 and six bytes), else by identifier.
void frmLeases::reserve()
{
    const QTreeWidgetItem* row = m_list->currentItem();
    if (!row) return;
    const std::string id = row->text(ClientColumn).toStdString();
    const bool ethernet = id.size() == 14 && id.starts_with("01");
    const std::string name = row->text(NameColumn).toStdString();
    emit reserveRequested({cleanFixedClient(ethernet ? id.substr(2) : "id:" + id),
                           row->text(AddressColumn).toStdString(), name.substr(0, name.find('.'))});
}

void frmLeases::closeEvent(QCloseEvent* event)
{
    emit closed();
    event->accept();
}

} // namespace quorvane
