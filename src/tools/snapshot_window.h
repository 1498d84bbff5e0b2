// Cache Snapshot Viewer: the records of a snapshot.dat as a sortable table with a filter box and
// counts per type; reloads the file and exports what is shown as CSV.
#pragma once

#include "tools/snapshot_model.h"

#include <QMainWindow>
#include <QSortFilterProxyModel>

class QLabel;
class QLineEdit;
class QTableView;

namespace quorvane {

class SnapshotWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit SnapshotWindow(std::filesystem::path file, QWidget* parent = nullptr);

    // Reads the file again; a missing or damaged one empties the table and says why.
    bool reload();
    // Writes the rows the filter lets through, in the order shown; false when it cannot.
    bool exportCsv(const QString& path);
    void setFilter(const QString& text);
    const QSortFilterProxyModel& shown() const { return m_proxy; }

private:
    void showCounts();

    std::filesystem::path m_file;
    SnapshotModel m_model;
    QSortFilterProxyModel m_proxy;
    QLineEdit* m_filter = nullptr;
    QTableView* m_view = nullptr;
    QLabel* m_counts = nullptr;
};

} // namespace quorvane
