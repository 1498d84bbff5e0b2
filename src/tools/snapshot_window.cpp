#include "tools/snapshot_window.h"

#include "net/atomic_file.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>

namespace quorvane {

SnapshotWindow::SnapshotWindow(std::filesystem::path file, QWidget* parent)
    : QMainWindow(parent), m_file(std::move(file)), m_filter(new QLineEdit), m_view(new QTableView),
      m_counts(new QLabel)
{
    setWindowTitle(tr("Cache Snapshot Viewer"));
    QToolBar* tools = addToolBar(tr("Snapshot"));
    tools->setMovable(false);
    tools->addAction(tr("Reload"), this, &SnapshotWindow::reload);
    tools->addAction(tr("Export CSV..."), this, [this] {
        const QString path =
            QFileDialog::getSaveFileName(this, tr("Export CSV"), "snapshot.csv", "CSV (*.csv)");
        if (!path.isEmpty() && !exportCsv(path))
            QMessageBox::warning(this, windowTitle(), tr("Cannot write %1").arg(path));
    });
    m_filter->setPlaceholderText(tr("Filter: part of a name, type or data"));
    m_filter->setClearButtonEnabled(true);
    connect(m_filter, &QLineEdit::textChanged, this, &SnapshotWindow::setFilter);
    m_proxy.setSourceModel(&m_model);
    m_proxy.setFilterKeyColumn(-1);
    m_proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_view->setModel(&m_proxy);
    // The file is in the store's order, by name already: no sort until a header is clicked.
    m_view->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    m_view->setSortingEnabled(true);
    m_view->verticalHeader()->hide();
    // Fixed row heights and column widths: the view never measures 200 000 rows.
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    m_view->horizontalHeader()->setStretchLastSection(true);
    m_view->setColumnWidth(SnapshotModel::Name, 300);
    m_view->setColumnWidth(SnapshotModel::Type, 70);
    m_view->setColumnWidth(SnapshotModel::TTL, 80);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_counts->setWordWrap(true);
    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(m_filter);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_counts);
    setCentralWidget(central);
    resize(860, 560);
    reload();
}

bool SnapshotWindow::reload()
{
    QString error;
    const bool loaded = m_model.load(m_file, error);
    showCounts();
    if (!loaded) {
        m_counts->setText(error);
        if (isVisible()) QMessageBox::warning(this, windowTitle(), error);
    }
    return loaded;
}

void SnapshotWindow::setFilter(const QString& text)
{
    m_proxy.setFilterFixedString(text);
    showCounts();
}

void SnapshotWindow::showCounts()
{
    QStringList parts;
    for (const auto& [type, count] : m_model.countsPerType())
        parts << type + ' ' + QString::number(count);
    m_counts->setText(tr("%1 of %2 records shown. %3")
                          .arg(m_proxy.rowCount())
                          .arg(m_model.rowCount())
                          .arg(parts.join(", ")));
}

bool SnapshotWindow::exportCsv(const QString& path)
{
    QString text = SnapshotModel::csvLine({"Name", "Type", "TTL", "Data"});
    for (int row = 0; row < m_proxy.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < SnapshotModel::ColumnCount; ++column)
            cells << m_proxy.index(row, column).data().toString();
        text += SnapshotModel::csvLine(cells);
    }
    return writeFileAtomically(path.toStdString(), text.toStdString());
}

} // namespace quorvane
