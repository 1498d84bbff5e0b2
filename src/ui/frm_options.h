// frmOptions: the options dialog. Shows a copy of the settings on the pages of a tab strip; on OK
// it checks the proposal with checkOptions and either points at the first problem or hands the
// accepted settings and block list on. It never applies anything itself.
#pragma once

#include "host/engine_events.h"
#include "host/settings.h"

#include <QDialog>
#include <QString>

#include <functional>
#include <string>
#include <vector>

class QTabWidget;

namespace quorvane {

class OptionsPage;
class OptionsDhcpPage;

// What the dialog shows: copies taken on the engine thread.
class frmOptions : public QDialog
{
    Q_OBJECT
public:
    // Shows a message with an exclamation icon; replaceable so that tests never wait on a box.
    using WarningHook = std::function<void(const QString& message)>;

    frmOptions(const OptionsData& shown, QWidget* parent);

    void setWarningHook(WarningHook hook) { m_warn = std::move(hook); }
    void warn(const QString& message) const { m_warn(message); }
    // Adds a reservation from the leases window to the DHCP page and shows that page.
    void reserve(const DhcpFixed& fixed);

signals:
    void optionsAccepted(const quorvane::Settings& accepted, const std::vector<std::string>& blockList);

private:
    void createPages();
    void cmdOK();
    void showError(const OptionsData& proposal, const std::string& message, int tab);

    OptionsData m_data;
    WarningHook m_warn;
    QTabWidget* m_tabs;
    std::vector<OptionsPage*> m_pages; // in tab order
    OptionsDhcpPage* m_dhcpPage = nullptr;
};

} // namespace quorvane
