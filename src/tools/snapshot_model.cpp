#include "tools/snapshot_model.h"

#include "store/cache_file.h"
#include "store/record_data.h"
#include "store/zone_parser.h"

#include <QRegularExpression>

#include <fstream>

namespace quorvane {

bool SnapshotModel::load(const std::filesystem::path& path, QString& error)
{
    beginResetModel();
    m_rows.clear();
    m_counts.clear();
    std::ifstream in(path, std::ios::binary);
    std::string header;
    const QString file = QString::fromStdString(path.string());
    if (!in)
        error = tr("Cannot open %1: there is no such file, or it cannot be read.").arg(file);
    else if (!std::getline(in, header) || !header.starts_with(kCacheFileHeader))
        error = tr("%1 is not a cache snapshot: it does not begin with \"%2\".")
                    .arg(file, QString::fromLatin1(kCacheFileHeader.data(),
                                                   static_cast<qsizetype>(kCacheFileHeader.size())));
    else
        error.clear();
    if (error.isEmpty()) {
        readZoneText(
            in, ".",
            [this](ZoneRecord&& record) {
                clDNSRecord stored;
                stored.RecType = record.type;
                stored.Data = std::move(record.data);
                stored.Pref = record.pref;
                const QString text = QString::fromStdString(recordDataText(stored).value_or(""));
                const QString type = text.section(' ', 0, 0);
                ++m_counts[type];
                m_rows.push_back(
                    {QString::fromStdString(record.owner), type, text.section(' ', 1), record.ttl});
            },
            nullptr);
    }
    endResetModel();
    return error.isEmpty();
}

int SnapshotModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int SnapshotModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant SnapshotModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid()) return {};
    const Row& row = m_rows[static_cast<size_t>(index.row())];
    switch (index.column()) {
    case Name:
        return row.name;
    case Type:
        return row.type;
    case TTL:
        return row.ttl; // a number, so that it sorts as one
    case Data:
        return row.data;
    }
    return {};
}

QVariant SnapshotModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal) return {};
    const QStringList names{tr("Name"), tr("Type"), tr("TTL left"), tr("Data")};
    return names.value(section);
}

QString SnapshotModel::csvLine(const QStringList& cells)
{
    QStringList out;
    for (QString cell : cells) {
        if (cell.contains(QRegularExpression("[\",\\n]"))) cell = '"' + cell.replace("\"", "\"\"") + '"';
        out << cell;
    }
    return out.join(',') + '\n';
}

} // namespace quorvane
