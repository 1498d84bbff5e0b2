// The menu commands of the main window: each posts its work to the engine, and questions and
// messages go through the window's hooks.
#include "ui/about_box.h"
#include "ui/frm_main.h"
#include "ui/frm_options.h"

#include <QDir>
#include <QFileInfo>

namespace quorvane {

void frmMain::mnuStartStop()
{
    m_engine.send(Command::StartStop);
}

void frmMain::mnuReload()
{
    m_engine.send(Command::ReloadRecords);
}

void frmMain::mnuClearCache()
{
    if (!m_hooks.ask(QStringLiteral("Are you sure you want to clear the cached records ?"),
                     QMessageBox::Question))
        return;
    m_engine.send(Command::ClearCache);
}

// The look-up tool is told which server to ask: this one, at its bound address or on loopback.
void frmMain::mnuQuery()
{
    const std::string& bound = m_options.settings.DNSBIND;
    startTool(CompanionTool::LookUp, {QString::fromStdString(bound.empty() ? "127.0.0.1" : bound)});
}

// The viewer starts once the engine has written the snapshot.
void frmMain::mnuViewCache()
{
    m_engine.send(Command::CacheSnapshot);
}

void frmMain::cacheSnapshotWritten()
{
    startTool(CompanionTool::CacheSnapshot, {QDir(m_setup.programFolder).filePath(QStringLiteral("snapshot.dat"))});
}

void frmMain::mnuPerm()
{
    startTool(CompanionTool::RecordEditor, {m_setup.programFolder});
}

void frmMain::startTool(CompanionTool tool, const QStringList& arguments)
{
    if (!m_tools.start(tool, arguments))
        m_hooks.tell(CompanionTools::failureMessage(tool), QMessageBox::Warning);
}

// The dialog works on a fresh copy of the engine's options (the flood block list changes as the
// server runs); accepted settings go back to the engine.
void frmMain::mnuOptions()
{
    if (QDialog* open = findChild<frmOptions*>()) {
        open->activateWindow();
        return;
    }
    m_optionsWanted = true;
    m_engine.send(Command::SendOptions);
}

void frmMain::showOptions(const OptionsData& options)
{
    m_options = options;
    if (!m_optionsWanted) return;
    m_optionsWanted = false;
    openOptions();
}

void frmMain::openOptions()
{
    if (findChild<frmOptions*>() != nullptr) return;
    auto* dialog = new frmOptions(m_options, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWarningHook([this](const QString& text) { m_hooks.tell(text, QMessageBox::Warning); });
    connect(dialog, &frmOptions::optionsAccepted, this,
            [this](const Settings& accepted, const std::vector<std::string>& blockList) {
                m_engine.send(ApplyOptions{accepted, blockList});
            });
    if (m_reservation) dialog->reserve(*m_reservation);
    m_reservation.reset();
    dialog->open();
}

void frmMain::mnuDump()
{
    m_engine.send(Command::WriteSupportFile);
}

void frmMain::mnuHelpDHCP()
{
    openManual(QString());
}

void frmMain::mnuWebSupport()
{
    openManual(QStringLiteral("support"));
}

void frmMain::mnuAbout()
{
    showAboutBox(this);
}

void frmMain::openManual(const QString& section)
{
    for (const QString& candidate : m_setup.manualCandidates) {
        if (!QFileInfo(candidate).isFile()) continue;
        QUrl url = QUrl::fromLocalFile(QFileInfo(candidate).absoluteFilePath());
        if (!section.isEmpty()) url.setFragment(section);
        if (!m_hooks.openUrl(url))
            m_hooks.tell(QStringLiteral("Could not open ") + url.toString(), QMessageBox::Warning);
        return;
    }
    m_hooks.tell(QStringLiteral("Could not find the manual (manual.html)!"), QMessageBox::Warning);
}

void frmMain::openFile(const QString& path)
{
    if (!m_hooks.openUrl(QUrl::fromLocalFile(path)))
        m_hooks.tell(QStringLiteral("Could not open ") + path, QMessageBox::Warning);
}

} // namespace quorvane
