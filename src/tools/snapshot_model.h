// The records of a cache snapshot (snapshot.dat) as a table model: name, type, TTL left, data.
// Read once into plain rows; the view sorts and filters through a proxy, so 200 000 records stay
// smooth. No widgets here.
#pragma once

#include <QAbstractTableModel>

#include <filesystem>
#include <map>
#include <vector>

namespace quorvane {

class SnapshotModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Name, Type, TTL, Data, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    // Reads the file anew; false, keeping no rows, with error saying why when it is missing or is
    // not a snapshot.
    bool load(const std::filesystem::path& path, QString& error);
    // One CSV line: cells holding a comma, a quote or a line end are quoted, quotes doubled.
    static QString csvLine(const QStringList& cells);
    const std::map<QString, int>& countsPerType() const { return m_counts; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Row
    {
        QString name, type, data;
        int ttl = 0;
    };
    std::vector<Row> m_rows;
    std::map<QString, int> m_counts;
};

} // namespace quorvane
