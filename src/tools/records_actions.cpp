// The records editor's steps that reach beyond the open zone: saving and the reload, the PTR that
// goes with a new address record, a new zone.
#include "tools/records_window.h"

#include "host/ini_file.h"
#include "net/atomic_file.h"
#include "replication/reload_client.h"
#include "replication/zone_checks.h"
#include "store/zone.h"
#include "wire/addresses.h"
#include "wire/addresses6.h"

#include <QCloseEvent>
#include <QDate>
#include <QStatusBar>

namespace quorvane {

namespace {

// The server gives notice only of a refusal; this long is enough to hear one on the loopback.
constexpr std::chrono::milliseconds kRefusalWait{300};

SaveOptions today(bool overwrite)
{
    const QDate date = QDate::currentDate();
    return {overwrite, true, date.year(), date.month(), date.day()};
}

// The own zone of data/ that holds name (the longest such), or empty.
std::string zoneHolding(const std::filesystem::path& data, const std::string& name)
{
    std::string best;
    for (const ZoneFileInfo& zone : listZoneFiles(data))
        if (!zone.secondary && (name == zone.zone || name.ends_with("." + zone.zone)) &&
            zone.zone.size() > best.size())
            best = zone.zone;
    return best;
}

} // namespace

bool RecordsWindow::addRecord(const ZoneRecord& record)
{
    if (!m_zone || m_readOnly || !m_zone->document.add(record)) return false;
    showRecords();
    if (record.type == rtype::A || record.type == rtype::AAAA) offerPtr(record);
    return true;
}

void RecordsWindow::offerPtr(const ZoneRecord& record)
{
    const std::string reverse = record.type == rtype::A ? DataToArpa(record.data) : Data6ToArpa(record.data);
    const std::string zone = zoneHolding(m_folder / "data", reverse);
    if (zone.empty()) return;
    const QString question = tr("Add the PTR record %1 -> %2 to zone %3 as well?")
                                 .arg(QString::fromStdString(reverse), QString::fromStdString(record.owner),
                                      QString::fromStdString(zone));
    if (!m_ask(this, question)) return;
    const ZoneRecord ptr{reverse, rtype::PTR, record.ttl, record.owner, 0};
    if (zone == m_zone->document.origin()) {
        m_zone->document.add(ptr);
        return showRecords();
    }
    std::string error;
    auto reverseZone = openZoneFile(m_folder / "data", zone, error);
    if (!reverseZone || !reverseZone->document.add(ptr)) return tell(QString::fromStdString(error));
    saveZone(*reverseZone);
}

bool RecordsWindow::save()
{
    if (!m_zone || m_readOnly) return false;
    const std::vector<std::string> problems = zoneProblems(m_zone->document);
    if (!problems.empty()) {
        QStringList lines;
        for (const std::string& problem : problems)
            lines << QString::fromStdString(problem);
        tell(tr("The zone was not saved:\n") + lines.join('\n'));
        return false;
    }
    const bool saved = saveZone(*m_zone);
    showRecords();
    return saved;
}

// Writes a zone (asking first when its file changed on disk) and tells the server to reload it.
bool RecordsWindow::saveZone(OpenZone& zone)
{
    const QString path = QString::fromStdString(zone.path.string());
    SaveOutcome outcome = saveZoneFile(zone, today(false));
    if (outcome == SaveOutcome::ChangedOnDisk &&
        m_ask(this, tr("%1 changed on disk since it was opened. Overwrite it?").arg(path)))
        outcome = saveZoneFile(zone, today(true));
    if (outcome == SaveOutcome::WriteFailed) tell(tr("Cannot write %1").arg(path));
    if (outcome != SaveOutcome::Saved) return outcome == SaveOutcome::Unchanged;
    reloadZone(zone.document.origin(), tr("Saved %1 (serial %2)")
                                           .arg(QString::fromStdString(zone.document.origin()))
                                           .arg(zone.document.serial().value_or(0)));
    return true;
}

void RecordsWindow::reloadZone(const std::string& zone, const QString& done)
{
    const std::string command = "RELOAD P " + zone.substr(0, zone.size() > 1 ? zone.size() - 1 : 1);
    std::string error = "the server was not told";
    const auto port = reloadPortOf(m_folder, kIniFileName, error);
    const bool sent = port && sendToReloadPort(*port, command, kRefusalWait).outcome == SendOutcome::Sent;
    statusBar()->showMessage(done + (sent
                                         ? tr("; the server reloads it.")
                                         : tr("; the server was not told: ") + QString::fromStdString(error)),
                             10000);
}

bool RecordsWindow::newZone(const QString& what)
{
    std::string server = LoadINI(m_folder).NAME;
    const QDate date = QDate::currentDate();
    const auto zone =
        newZoneFile(what.trimmed().toStdString(), server.empty() ? "ns." + what.toStdString() : server,
                    date.year(), date.month(), date.day());
    if (!zone) {
        tell(tr("'%1' is neither a zone name nor a network such as 192.168.1.0/24").arg(what));
        return false;
    }
    const std::filesystem::path path = m_folder / "data" / zoneFileName(zone->zone, "dns");
    std::error_code ec;
    std::filesystem::create_directories(path.parent_path(), ec);
    if (std::filesystem::exists(path, ec))
        tell(tr("Zone %1 exists already.").arg(QString::fromStdString(zone->zone)));
    else if (!writeFileAtomically(path, zone->text))
        tell(tr("Cannot write %1").arg(QString::fromStdString(path.string())));
    else
        reloadZone(zone->zone, tr("Created %1").arg(QString::fromStdString(zone->zone)));
    listZones();
    return openZone(QString::fromStdString(zone->zone));
}

bool RecordsWindow::askToKeepChanges()
{
    if (!m_zone || !m_zone->document.modified()) return true;
    if (!m_ask(this, tr("Save the changes to %1?").arg(QString::fromStdString(m_zone->document.origin()))))
        return true;
    return save();
}

void RecordsWindow::closeEvent(QCloseEvent* event)
{
    if (askToKeepChanges())
        event->accept();
    else
        event->ignore();
}

} // namespace quorvane
