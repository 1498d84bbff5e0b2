// frmMain, the main window: an MDI frame with the menus, tool bar and status bar, the three child
// windows and the notification-area icon. It turns the operator's commands into commands sent to
// the engine and shows what the engine reports through the bridge; it never reads engine state
// directly.
#pragma once

#include "host/engine.h"
#include "ui/bridge.h"
#include "ui/companion_tools.h"
#include "ui/engine_link.h"
#include "ui/tray.h"
#include "ui/window_layout.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <array>
#include <functional>
#include <optional>

class QLabel;
class QMdiArea;
class QMdiSubWindow;

namespace quorvane {

// Everything the window does that waits for a person or leaves the program; tests replace them.
struct DesktopHooks
{
    std::function<bool(const QString& question, QMessageBox::Icon icon)> ask; // true for Yes
    std::function<void(const QString& text, QMessageBox::Icon icon)> tell;
    std::function<bool(const QUrl& url)> openUrl; // a file in its editor, a page in the browser
    CompanionTools::Starter startProgram;
};

// Message boxes titled "Quorvane" over parent, the desktop's default programs, detached processes.
DesktopHooks defaultHooks(QWidget* parent);

struct FrameSetup
{
    QString programFolder;
    QStringList toolFolders;      // where the companion tools are looked for
    QStringList manualCandidates; // the first of these that exists is the manual
};

class frmMain : public QMainWindow
{
    Q_OBJECT
public:
    frmMain(EngineLink& engine, Bridge& bridge, FrameSetup setup, QWidget* parent = nullptr);

    void setHooks(DesktopHooks hooks) { m_hooks = std::move(hooks); }
    // Restores the saved layout; hidden, only the icon shows (when the desktop has a notification
    // area) while the child windows of the layout are opened behind it.
    void start(bool hidden);
    // The desktop session is ending: close without asking.
    void endSession();
    // The layout string of the windows as they are now.
    std::string currentLayout() const;
    QWidget* childWindow(ChildWindow which) const;

signals:
    // The engine has finished its shut-down and the window has saved its settings.
    void closedDown();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // frm_main.cpp: construction, settings, the engine's events, closing.
    void createActions();
    void createMenus();
    void createToolBar();
    void createStatusBar();
    void connectBridge();
    void readSettings();
    void saveSettings();
    QAction* addAction(QMenu* menu, const char* name, const QString& caption, void (frmMain::*slot)());
    void setServerState(bool running);
    void setStatusText(int panel, const QString& text);
    void showMessage(const QString& text, MessageIcon icon);
    void showErrorReport(const QString& question, const QString& supportFile);
    void requestClose(CloseReason reason);
    void engineClosed();
    void showFromTray();
    void showWithState(WindowState state);
    void placeMain(const WindowPlacement& placement);

    // frm_main_commands.cpp: the menu commands.
    void mnuStartStop();
    void mnuReload();
    void mnuClearCache();
    void mnuQuery();
    void mnuViewCache();
    void mnuPerm();
    void mnuOptions();
    void mnuDump();
    void mnuHelpDHCP();
    void mnuWebSupport();
    void mnuAbout();
    void startTool(CompanionTool tool, const QStringList& arguments);
    void openManual(const QString& section);
    void openFile(const QString& path);
    void showOptions(const OptionsData& options);
    void openOptions();
    void cacheSnapshotWritten();

    // frm_main_windows.cpp: the child windows and their arrangement.
    void mnuViewGraph() { openChild(kGraphWindow); }
    void mnuViewLog() { openChild(kLogWindow); }
    void mnuViewLeases() { openChild(kLeasesWindow); }
    void mnuClearWindow();
    void mnuTile1() { tile(Qt::Horizontal); }
    void mnuTile2() { tile(Qt::Vertical); }
    void mnuTile3();
    QMdiSubWindow* openChild(ChildWindow which);
    QWidget* makeChild(ChildWindow which);
    QWidget* makeGraph();
    QWidget* makeLog();
    QWidget* makeLeases();
    void childClosed(ChildWindow which);
    void tile(Qt::Orientation stacking);
    void openFirstLayout();
    void applyLayout(const WindowLayout& layout);
    void requestCounters();
    void showCounters(const std::array<uint16_t, 60>& perSecond);
    void showLogLines(const QStringList& lines);
    void showLeases(const std::vector<clLease>& leases);

    EngineLink& m_engine;
    Bridge& m_bridge;
    FrameSetup m_setup;
    DesktopHooks m_hooks;
    CompanionTools m_tools;
    QMdiArea* m_mdi;
    Tray m_tray;
    std::array<QLabel*, 4> m_panels{};
    std::array<QPointer<QMdiSubWindow>, kChildWindows> m_children;
    QTimer m_graphTimer;
    std::vector<clLease> m_leases;
    OptionsData m_options;      // the engine's, as last sent
    bool m_optionsWanted = false; // the dialog opens when the next copy arrives
    std::optional<DhcpFixed> m_reservation; // from the leases window, for the dialog about to open
    QString m_savedLayout;    // the layout read at start, for the icon's click
    bool m_everShown = false; // hidden all along: the saved layout is kept as it is
    bool m_closeRequested = false;
    bool m_engineClosed = false;
    QToolBar* m_toolBar = nullptr;
};

} // namespace quorvane
