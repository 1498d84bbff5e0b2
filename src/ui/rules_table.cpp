#include "ui/rules_table.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <set>

namespace quorvane {

RulesTable::RulesTable(const QStringList& headers, QWidget* parent)
    : QWidget(parent), m_table(new QTableWidget(0, static_cast<int>(headers.size()), this))
{
    m_table->setObjectName("table");
    m_table->setHorizontalHeaderLabels(headers);
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_table->verticalHeader()->hide();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setMinimumHeight(110);
    auto* add = new QPushButton(tr("Add"), this);
    auto* remove = new QPushButton(tr("Remove"), this);
    add->setObjectName("add");
    remove->setObjectName("remove");
    connect(add, &QPushButton::clicked, this, [this] {
        addRow({});
        m_table->editItem(m_table->item(m_table->rowCount() - 1, 0));
    });
    connect(remove, &QPushButton::clicked, this, [this] {
        std::set<int> selected;
        for (const auto* item : m_table->selectedItems()) selected.insert(item->row());
        for (auto row = selected.rbegin(); row != selected.rend(); ++row) m_table->removeRow(*row);
    });
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch();
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);
}

void RulesTable::setRows(const Rows& rows)
{
    m_table->setRowCount(0);
    for (const auto& row : rows) addRow(row);
}

void RulesTable::addRow(const std::vector<std::string>& cells)
{
    const int row = m_table->rowCount();
    m_table->insertRow(row);
    for (int column = 0; column < m_table->columnCount(); ++column) {
        const auto at = static_cast<size_t>(column);
        m_table->setItem(row, column, new QTableWidgetItem(at < cells.size() ? QString::fromStdString(cells[at]) : ""));
    }
}

RulesTable::Rows RulesTable::rows() const
{
    Rows rows;
    for (int row = 0; row < m_table->rowCount(); ++row) {
        std::vector<std::string> cells;
        bool empty = true;
        for (int column = 0; column < m_table->columnCount(); ++column) {
            const QTableWidgetItem* item = m_table->item(row, column);
            cells.push_back(item ? item->text().trimmed().toStdString() : std::string());
            empty = empty && cells.back().empty();
        }
        if (!empty) rows.push_back(std::move(cells));
    }
    return rows;
}

} // namespace quorvane
