// The DNS Records editor: the zone files of the program folder's data/, one open at a time as a
// table of its records. Own zones are edited through the zone-editing library and saved with a
// raised serial, then the server is told to reload them; secondary zones are shown read-only.
#pragma once

#include "replication/zone_edit.h"
#include "store/zone_parser.h"

#include <QMainWindow>

#include <filesystem>
#include <functional>
#include <optional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTableWidget;

namespace quorvane {

class RecordsWindow : public QMainWindow
{
    Q_OBJECT
public:
    // Asks the operator a yes-or-no question; the tests answer for him.
    using Ask = std::function<bool(QWidget* parent, const QString& question)>;

    explicit RecordsWindow(std::filesystem::path programFolder, QWidget* parent = nullptr);
    void setAsk(Ask ask) { m_ask = std::move(ask); }

    // The steps behind the buttons, each complete with its questions and messages.
    bool openZone(const QString& zone);
    // Adds a record to the open zone; for an A or AAAA record, offers its PTR when the reverse
    // zone is one of data/'s own zones.
    bool addRecord(const ZoneRecord& record);
    // Checks, saves and has the server reload the zone; false when it was not saved.
    bool save();
    // Creates the zone of a name or of a network ("192.168.1.0/24") and opens it.
    bool newZone(const QString& what);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void createWidgets();
    void listZones();
    void showRecords();
    void enableButtons();
    void editSelected();
    void deleteSelected();
    void showRecordDialog(std::optional<size_t> index);
    void takeTransferSettings();
    void offerPtr(const ZoneRecord& record);
    bool saveZone(OpenZone& zone);
    // Sends "RELOAD P zone" to the server; the status bar shows done and whether it went out.
    void reloadZone(const std::string& zone, const QString& done);
    bool askToKeepChanges();
    void tell(const QString& text);
    QStringList offeredTypes() const;

    std::filesystem::path m_folder;
    std::optional<OpenZone> m_zone;
    bool m_readOnly = false;
    Ask m_ask;
    QListWidget* m_zones = nullptr;
    QTableWidget* m_records = nullptr;
    QLineEdit* m_notify = nullptr;
    QCheckBox* m_notSecure = nullptr;
    QLabel* m_title = nullptr;
    QPushButton *m_add = nullptr, *m_edit = nullptr, *m_delete = nullptr, *m_soa = nullptr, *m_save = nullptr;
};

} // namespace quorvane
