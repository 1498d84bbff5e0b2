// frmLeases, the "DHCP Leases" child window: the lease table sorted by address, and the operator's
// "Delete" and "Reserve this address". It shows copies of the leases; a deletion is only requested,
// the engine carries it out, and a reservation goes to the options dialog to be confirmed there.
#pragma once

#include "dhcp/lease_table.h"

#include <QWidget>

#include <functional>
#include <vector>

class QAction;
class QTreeWidget;

namespace quorvane {

class frmLeases : public QWidget
{
    Q_OBJECT
public:
    // Asks the operator a Yes/No question; true for Yes. Tests replace it to answer without a box.
    using Question = std::function<bool(QWidget* parent, const QString& text)>;

    explicit frmLeases(QWidget* parent = nullptr);

    // One row per lease: name, address, client identifier in hexadecimal, lease end
    // "yyyy-mm-dd hh:mm:ss"; ordered by address. The selected address stays selected.
    void setLeases(const std::vector<clLease>& leases);
    void setQuestion(Question ask) { m_ask = std::move(ask); }

signals:
    void deleteRequested(const QString& address);
    void reserveRequested(const quorvane::DhcpFixed& fixed);
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void DelLease();
    void reserve();

    QTreeWidget* m_list;
    QAction* m_delete;
    QAction* m_reserve;
    Question m_ask;
};

} // namespace quorvane
