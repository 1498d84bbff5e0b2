// An editable table of text rows for the options dialog (forwarding rules, fixed addresses): "Add"
// appends an empty row to type into, "Remove" drops the selected rows. Rows whose cells are all
// empty are not given back.
#pragma once

#include <QStringList>
#include <QWidget>

#include <string>
#include <vector>

class QTableWidget;

namespace quorvane {

class RulesTable : public QWidget
{
    Q_OBJECT
public:
    using Rows = std::vector<std::vector<std::string>>;
    RulesTable(const QStringList& headers, QWidget* parent = nullptr);

    void setRows(const Rows& rows);
    Rows rows() const;
    // Appends a row (the leases window's "Reserve this address" arrives this way too).
    void addRow(const std::vector<std::string>& cells);

private:
    QTableWidget* m_table;
};

} // namespace quorvane
