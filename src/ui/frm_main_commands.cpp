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
    m_engine.post([](Engine& engine) { engine.execute(Command::StartStop); });
}

void frmMain::mnuReload()
{
    m_engine.post([](Engine& engine) { engine.execute(Command::ReloadRecords); });
}

void frmMain::mnuClearCache()
{
    if (!m_hooks.ask(QStringLiteral("Are you sure you want to clear the cached records ?"),
                     QMessageBox::Question))
        return;
    m_engine.post([](Engine& engine) { engine.execute(Command::ClearCache); });
}

// The look-up tool is told which server to ask: this one, at its bound address or on loopback.
void frmMain::mnuQuery()
{
    fetch<std::string>(
        [](Engine& engine) {
            const std::string& bound = engine.settings().DNSBIND;
            return bound.empty() ? std::string("127.0.0.1") : bound;
        },
        [](frmMain& window, const std::string& server) {
            window.startTool(CompanionTool::LookUp, {QString::fromStdString(server)});
        });
}

void frmMain::mnuViewCache()
{
    fetch<bool>(
        [](Engine& engine) {
            engine.execute(Command::CacheSnapshot);
            return true;
        },
        [](frmMain& window, bool) {
            const QString snapshot =
                QDir(window.m_setup.programFolder).filePath(QStringLiteral("snapshot.dat"));
            window.startTool(CompanionTool::CacheSnapshot, {snapshot});
        });
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

// The dialog works on a copy of the engine's settings; accepted settings go back to the engine.
void frmMain::mnuOptions()
{
    if (QDialog* open = findChild<frmOptions*>()) {
        open->activateWindow();
        return;
    }
    fetch<OptionsData>(
        [](Engine& engine) {
            return OptionsData{engine.settings(), engine.floodGuard().BlockList(), engine.localAddresses()};
        },
        [](frmMain& window, const OptionsData& options) {
            auto* dialog = new frmOptions(options, &window);
            dialog->setAttribute(Qt::WA_DeleteOnClose);
            dialog->setWarningHook(
                [&window](const QString& text) { window.m_hooks.tell(text, QMessageBox::Warning); });
            connect(dialog, &frmOptions::optionsAccepted, &window,
                    [&window](const Settings& accepted, const std::vector<std::string>& blockList) {
                        window.m_engine.post([accepted, blockList](Engine& engine) {
                            engine.applyOptions(accepted, blockList);
                        });
                    });
            dialog->open();
        });
}

void frmMain::mnuDump()
{
    m_engine.post([](Engine& engine) { engine.execute(Command::WriteSupportFile); });
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
