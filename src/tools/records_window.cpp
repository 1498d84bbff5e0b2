#include "tools/records_window.h"

#include "host/ini_file.h"
#include "store/record_data.h"
#include "tools/record_dialog.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTableWidget>
#include <QToolBar>
#include <QVBoxLayout>

namespace quorvane {

RecordsWindow::RecordsWindow(std::filesystem::path programFolder, QWidget* parent)
    : QMainWindow(parent), m_folder(std::move(programFolder)),
      m_ask([](QWidget* where, const QString& question) {
          return QMessageBox::question(where, tr("DNS Records Editor"), question) == QMessageBox::Yes;
      })
{
    setWindowTitle(tr("DNS Records Editor"));
    createWidgets();
    listZones();
    if (m_zones->count() > 0) openZone(m_zones->item(0)->data(Qt::UserRole).toString());
    enableButtons();
    resize(900, 560);
}

void RecordsWindow::createWidgets()
{
    QToolBar* tools = addToolBar(tr("Zones"));
    tools->setMovable(false);
    tools->addAction(tr("New Zone..."), this, [this] {
        const QString what = QInputDialog::getText(this, tr("New Zone"),
                                                   tr("Zone name, or a network such as 192.168.1.0/24:"));
        if (!what.isEmpty()) newZone(what);
    });
    tools->addAction(tr("Refresh List"), this, &RecordsWindow::listZones);

    m_zones = new QListWidget;
    connect(m_zones, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { openZone(item->data(Qt::UserRole).toString()); });
    m_records = new QTableWidget(0, 4);
    m_records->setHorizontalHeaderLabels({tr("Name"), tr("TTL"), tr("Type"), tr("Data")});
    m_records->horizontalHeader()->setStretchLastSection(true);
    m_records->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_records->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_records->verticalHeader()->hide();
    m_records->verticalHeader()->setDefaultSectionSize(m_records->fontMetrics().height() + 6);
    connect(m_records, &QTableWidget::cellDoubleClicked, this, &RecordsWindow::editSelected);
    connect(m_records, &QTableWidget::itemSelectionChanged, this, &RecordsWindow::enableButtons);

    m_title = new QLabel(tr("Click a zone to open it."));
    m_notify = new QLineEdit;
    m_notify->setPlaceholderText(tr("addresses of secondaries to notify, separated by blanks"));
    m_notSecure = new QCheckBox(tr("Zone transfers to anyone (NotSecure)"));
    connect(m_notify, &QLineEdit::editingFinished, this, &RecordsWindow::takeTransferSettings);
    connect(m_notSecure, &QCheckBox::toggled, this, &RecordsWindow::takeTransferSettings);

    m_add = new QPushButton(tr("Add..."));
    m_edit = new QPushButton(tr("Edit..."));
    m_delete = new QPushButton(tr("Delete"));
    m_soa = new QPushButton(tr("SOA..."));
    m_save = new QPushButton(tr("Save"));
    connect(m_add, &QPushButton::clicked, this, [this] { showRecordDialog(std::nullopt); });
    connect(m_edit, &QPushButton::clicked, this, &RecordsWindow::editSelected);
    connect(m_delete, &QPushButton::clicked, this, &RecordsWindow::deleteSelected);
    connect(m_soa, &QPushButton::clicked, this, [this] {
        for (size_t i = 0; m_zone && i < m_zone->document.records().size(); ++i)
            if (m_zone->document.records()[i].record.type == rtype::SOA) return showRecordDialog(i);
    });
    connect(m_save, &QPushButton::clicked, this, &RecordsWindow::save);

    auto* settings = new QHBoxLayout;
    settings->addWidget(new QLabel(tr("Notify:")));
    settings->addWidget(m_notify, 1);
    settings->addWidget(m_notSecure);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* button : {m_add, m_edit, m_delete, m_soa})
        buttons->addWidget(button);
    buttons->addStretch(1);
    buttons->addWidget(m_save);
    auto* zonePane = new QWidget;
    auto* zoneLayout = new QVBoxLayout(zonePane);
    zoneLayout->addWidget(m_title);
    zoneLayout->addWidget(m_records, 1);
    zoneLayout->addLayout(settings);
    zoneLayout->addLayout(buttons);
    auto* splitter = new QSplitter;
    splitter->addWidget(m_zones);
    splitter->addWidget(zonePane);
    splitter->setSizes({220, 680});
    setCentralWidget(splitter);
    statusBar();
}

void RecordsWindow::listZones()
{
    m_zones->clear();
    for (const ZoneFileInfo& zone : listZoneFiles(m_folder / "data")) {
        auto* item = new QListWidgetItem(QString::fromStdString(zone.zone) +
                                         (zone.secondary ? tr(" (secondary)") : ""));
        item->setData(Qt::UserRole, QString::fromStdString(zone.zone));
        if (zone.secondary) item->setForeground(palette().color(QPalette::Disabled, QPalette::Text));
        m_zones->addItem(item);
    }
}

bool RecordsWindow::openZone(const QString& zone)
{
    if (!askToKeepChanges()) return false;
    std::string error;
    auto opened = openZoneFile(m_folder / "data", zone.toStdString(), error);
    if (!opened) {
        tell(QString::fromStdString(error));
        return false;
    }
    m_zone = std::move(opened);
    m_readOnly = !m_zone->document.comments().primaryIP.empty();
    const QString name = QString::fromStdString(m_zone->document.origin());
    m_title->setText(m_readOnly
                         ? tr("%1: a copy of %2, read-only")
                               .arg(name, QString::fromStdString(m_zone->document.comments().primaryIP))
                         : name);
    const QSignalBlocker blockNotify(m_notify), blockSecure(m_notSecure);
    QStringList notify;
    for (const std::string& address : m_zone->document.comments().notify)
        notify << QString::fromStdString(address);
    m_notify->setText(notify.join(' '));
    m_notSecure->setChecked(m_zone->document.comments().notSecure);
    showRecords();
    return true;
}

void RecordsWindow::showRecords()
{
    const auto& entries = m_zone ? m_zone->document.records() : std::vector<ZoneEntry>{};
    m_records->setRowCount(static_cast<int>(entries.size()));
    for (int row = 0; row < m_records->rowCount(); ++row) {
        const ZoneRecord& record = entries[static_cast<size_t>(row)].record;
        clDNSRecord stored;
        stored.RecType = record.type;
        stored.Data = record.data;
        stored.Pref = record.pref;
        const QString shown = QString::fromStdString(recordDataText(stored).value_or(""));
        const QStringList cells{QString::fromStdString(record.owner), QString::number(record.ttl),
                                shown.section(QChar(32), 0, 0), shown.section(QChar(32), 1)};
        for (int column = 0; column < 4; ++column)
            m_records->setItem(row, column, new QTableWidgetItem(cells[column]));
    }
    m_records->resizeColumnsToContents();
    enableButtons();
}

void RecordsWindow::enableButtons()
{
    const bool editable = m_zone && !m_readOnly;
    const bool selected = editable && m_records->currentRow() >= 0 && !m_records->selectedItems().isEmpty();
    for (QWidget* widget : std::initializer_list<QWidget*>{m_add, m_soa, m_notify, m_notSecure})
        widget->setEnabled(editable);
    m_edit->setEnabled(selected);
    m_delete->setEnabled(selected);
    m_save->setEnabled(editable && m_zone->document.modified());
}

QStringList RecordsWindow::offeredTypes() const
{
    QStringList types{"A", "AAAA", "CNAME", "MX", "NS", "PTR", "TXT"};
    if (LoadINI(m_folder).MORERECORDTYPES)
        types << "SRV"
              << "CAA";
    return types;
}

void RecordsWindow::showRecordDialog(std::optional<size_t> index)
{
    const bool soa = index && m_zone->document.records()[*index].record.type == rtype::SOA;
    RecordDialog dialog(QString::fromStdString(m_zone->document.origin()),
                        soa ? QStringList{"SOA"} : offeredTypes(), this);
    if (index) dialog.setRecord(m_zone->document.records()[*index].record);
    if (dialog.exec() != QDialog::Accepted) return;
    const auto record = dialog.record();
    if (index ? !m_zone->document.replace(*index, *record) : !addRecord(*record))
        tell(tr("This record cannot be written to a zone file."));
    showRecords();
}

void RecordsWindow::editSelected()
{
    if (m_zone && !m_readOnly && m_records->currentRow() >= 0)
        showRecordDialog(static_cast<size_t>(m_records->currentRow()));
}

void RecordsWindow::deleteSelected()
{
    const int row = m_records->currentRow();
    if (!m_zone || row < 0) return;
    if (m_zone->document.records()[static_cast<size_t>(row)].record.type == rtype::SOA)
        return tell(tr("The SOA record cannot be deleted; change it with SOA..."));
    m_zone->document.remove(static_cast<size_t>(row));
    showRecords();
}

void RecordsWindow::takeTransferSettings()
{
    if (!m_zone || m_readOnly) return;
    std::vector<std::string> notify;
    for (const QString& address : m_notify->text().split(' ', Qt::SkipEmptyParts))
        notify.push_back(address.toStdString());
    const ZoneComments& now = m_zone->document.comments();
    if (notify != now.notify || m_notSecure->isChecked() != now.notSecure)
        m_zone->document.setTransferSettings(notify, m_notSecure->isChecked());
    enableButtons();
}

void RecordsWindow::tell(const QString& message)
{
    statusBar()->showMessage(message, 10000);
    if (isVisible()) QMessageBox::information(this, windowTitle(), message);
}

} // namespace quorvane
