#include "ui/frm_main.h"

#include <QAction>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QLabel>
#include <QMdiArea>
#include <QMenuBar>
#include <QProcess>
#include <QSettings>
#include <QStatusBar>
#include <QToolBar>

#include <memory>

namespace quorvane {

namespace {

const QString kProgramTitle = QStringLiteral("Quorvane");

// The program's own section of the settings (the registry on Windows).
std::unique_ptr<QSettings> mainSettings()
{
    auto settings = std::make_unique<QSettings>(QStringLiteral("Quorvane"), QStringLiteral("Quorvane"));
    settings->beginGroup(QStringLiteral("Main"));
    return settings;
}

QMessageBox::Icon boxIcon(MessageIcon icon)
{
    switch (icon) {
    case MessageIcon::Warning:
        return QMessageBox::Warning;
    case MessageIcon::Critical:
        return QMessageBox::Critical;
    case MessageIcon::Information:
        return QMessageBox::Information;
    }
    return QMessageBox::NoIcon;
}

} // namespace

DesktopHooks defaultHooks(QWidget* parent)
{
    DesktopHooks hooks;
    hooks.ask = [parent](const QString& question, QMessageBox::Icon icon) {
        QMessageBox box(icon, kProgramTitle, question, QMessageBox::Yes | QMessageBox::No, parent);
        return box.exec() == QMessageBox::Yes;
    };
    hooks.tell = [parent](const QString& text, QMessageBox::Icon icon) {
        QMessageBox(icon, kProgramTitle, text, QMessageBox::Ok, parent).exec();
    };
    hooks.openUrl = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
    hooks.startProgram = [](const QString& program, const QStringList& arguments, const QString& folder) {
        return QProcess::startDetached(program, arguments, folder);
    };
    return hooks;
}

frmMain::frmMain(EngineLink& engine, Bridge& bridge, FrameSetup setup, QWidget* parent)
    : QMainWindow(parent), m_engine(engine), m_bridge(bridge), m_setup(std::move(setup)),
      m_hooks(defaultHooks(this)),
      m_tools(m_setup.toolFolders, m_setup.programFolder,
              [this](const QString& program, const QStringList& arguments, const QString& folder) {
                  return m_hooks.startProgram(program, arguments, folder);
              }),
      m_mdi(new QMdiArea(this)), m_tray(this)
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(kProgramTitle);
    setWindowIcon(QIcon(QStringLiteral(":/icons/quorvane.svg")));
    setCentralWidget(m_mdi);
    m_mdi->setBackground(QColor(0x5a, 0x6e, 0x82));
    createActions();
    createMenus();
    createToolBar();
    createStatusBar();
    connectBridge();
    readSettings();
    m_graphTimer.setInterval(1000);
    connect(&m_graphTimer, &QTimer::timeout, this, &frmMain::requestCounters);
    connect(&m_tray, &Tray::restoreRequested, this, &frmMain::showFromTray);
}

QAction* frmMain::addAction(QMenu* menu, const char* name, const QString& caption, void (frmMain::*slot)())
{
    auto* action = new QAction(caption, this);
    action->setObjectName(QString::fromLatin1(name));
    if (slot != nullptr) connect(action, &QAction::triggered, this, slot);
    menu->addAction(action);
    return action;
}

void frmMain::createActions()
{
    // The actions are made with their menus (createMenus); the two bar switches need their state
    // before the settings are read.
    auto* tool = new QAction(QStringLiteral("&Tool Bar"), this);
    tool->setObjectName(QStringLiteral("mnuVTool"));
    tool->setCheckable(true);
    auto* stat = new QAction(QStringLiteral("&Status Bar"), this);
    stat->setObjectName(QStringLiteral("mnuVStat"));
    stat->setCheckable(true);
    connect(tool, &QAction::toggled, this, [this](bool on) {
        if (m_toolBar != nullptr) m_toolBar->setVisible(on);
        mainSettings()->setValue(QStringLiteral("ToolBar"), on);
    });
    connect(stat, &QAction::toggled, this, [this](bool on) {
        statusBar()->setVisible(on);
        mainSettings()->setValue(QStringLiteral("StatusBar"), on);
    });
}

void frmMain::createMenus()
{
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuFile"));
    addAction(file, "mnuStartStop", QStringLiteral("&Start Server"), &frmMain::mnuStartStop);
    file->addSeparator();
    addAction(file, "mnuExit", QStringLiteral("E&xit"), nullptr);
    connect(findChild<QAction*>(QStringLiteral("mnuExit")), &QAction::triggered, this, &QWidget::close);

    QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
    view->setObjectName(QStringLiteral("mnuView"));
    view->addAction(findChild<QAction*>(QStringLiteral("mnuVTool")));
    view->addAction(findChild<QAction*>(QStringLiteral("mnuVStat")));
    view->addSeparator();
    addAction(view, "mnuViewW0", QStringLiteral("Performance &Graph"), &frmMain::mnuViewGraph);
    addAction(view, "mnuViewW1", QStringLiteral("&Active Log"), &frmMain::mnuViewLog);
    addAction(view, "mnuViewW2", QStringLiteral("DHCP &Leases"), &frmMain::mnuViewLeases);

    QMenu* tools = menuBar()->addMenu(QStringLiteral("&Tools"));
    tools->setObjectName(QStringLiteral("mnuTools"));
    addAction(tools, "mnuQuery", QStringLiteral("DNS &Look Up..."), &frmMain::mnuQuery)
        ->setIconText("Look Up");
    addAction(tools, "mnuViewCache", QStringLiteral("&DNS Cache Snapshot..."), &frmMain::mnuViewCache)
        ->setIconText("Cache");
    addAction(tools, "mnuPerm", QStringLiteral("&Edit DNS Records..."), &frmMain::mnuPerm)
        ->setIconText("Records");
    tools->addSeparator();
    addAction(tools, "mnuReload", QStringLiteral("&Reload DNS Records"), &frmMain::mnuReload);
    addAction(tools, "mnuClearCache", QStringLiteral("&Clear DNS Cache"), &frmMain::mnuClearCache);
    tools->addSeparator();
    addAction(tools, "mnuOptions", QStringLiteral("&Options..."), &frmMain::mnuOptions)
        ->setIconText("Options");

    QMenu* window = menuBar()->addMenu(QStringLiteral("&Window"));
    window->setObjectName(QStringLiteral("mnuWindow"));
    addAction(window, "mnuClearWindow", QStringLiteral("Clear &Active Log"), &frmMain::mnuClearWindow)
        ->setEnabled(false);
    window->addSeparator();
    addAction(window, "mnuTile1", QStringLiteral("Tile &Horizontally"), &frmMain::mnuTile1);
    addAction(window, "mnuTile2", QStringLiteral("Tile &Vertically"), &frmMain::mnuTile2);
    addAction(window, "mnuTile3", QStringLiteral("&Cascade"), &frmMain::mnuTile3);

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("mnuHelp"));
    addAction(help, "mnuHelpDHCP", QStringLiteral("&Contents and Index..."), &frmMain::mnuHelpDHCP)
        ->setIconText("Help");
    addAction(help, "mnuDump", QStringLiteral("&Support File..."), &frmMain::mnuDump);
    addAction(help, "mnuWebSupport", QStringLiteral("&Online Support..."), &frmMain::mnuWebSupport);
    help->addSeparator();
    addAction(help, "mnuAbout", QStringLiteral("&About..."), &frmMain::mnuAbout);
}

void frmMain::createToolBar()
{
    m_toolBar = addToolBar(QStringLiteral("Tool Bar"));
    m_toolBar->setObjectName(QStringLiteral("ToolBar"));
    m_toolBar->setMovable(false);
    m_toolBar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    const std::array<std::pair<const char*, const char*>, 5> buttons{{{"mnuQuery", ":/icons/lookup.svg"},
                                                                      {"mnuViewCache", ":/icons/cache.svg"},
                                                                      {"mnuPerm", ":/icons/records.svg"},
                                                                      {"mnuOptions", ":/icons/options.svg"},
                                                                      {"mnuHelpDHCP", ":/icons/help.svg"}}};
    for (const auto& [name, icon] : buttons) {
        QAction* action = findChild<QAction*>(QString::fromLatin1(name));
        action->setIcon(QIcon(QString::fromLatin1(icon)));
        m_toolBar->addAction(action);
    }
}

void frmMain::createStatusBar()
{
    for (size_t i = 0; i < m_panels.size(); ++i) {
        m_panels[i] = new QLabel(this);
        m_panels[i]->setFrameShape(QFrame::StyledPanel);
        m_panels[i]->setFrameShadow(QFrame::Sunken);
        m_panels[i]->setMinimumWidth(i == 0 ? 220 : 120);
        statusBar()->addWidget(m_panels[i], i == 1 ? 1 : 0);
    }
}

void frmMain::connectBridge()
{
    constexpr auto queued = Qt::QueuedConnection;
    connect(&m_bridge, &Bridge::logLines, this, &frmMain::showLogLines, queued);
    connect(&m_bridge, &Bridge::messageBox, this, &frmMain::showMessage, queued);
    connect(&m_bridge, &Bridge::errorReport, this, &frmMain::showErrorReport, queued);
    connect(&m_bridge, &Bridge::serverState, this, &frmMain::setServerState, queued);
    connect(&m_bridge, &Bridge::caption, this, &QWidget::setWindowTitle, queued);
    connect(&m_bridge, &Bridge::statusText, this, &frmMain::setStatusText, queued);
    connect(&m_bridge, &Bridge::tray, &m_tray, &Tray::setState, queued);
    connect(&m_bridge, &Bridge::leases, this, &frmMain::showLeases, queued);
    connect(&m_bridge, &Bridge::options, this, &frmMain::showOptions, queued);
    connect(&m_bridge, &Bridge::counters, this, &frmMain::showCounters, queued);
    connect(&m_bridge, &Bridge::blockedCounters, this, &frmMain::showBlockedCounters, queued);
    connect(&m_bridge, &Bridge::cacheSnapshot, this, &frmMain::cacheSnapshotWritten, queued);
    connect(&m_bridge, &Bridge::closed, this, &frmMain::engineClosed, queued);
}

void frmMain::readSettings()
{
    const auto settings = mainSettings();
    m_savedLayout = settings->value(QStringLiteral("Windows")).toString();
    const bool toolBar = settings->value(QStringLiteral("ToolBar"), true).toBool();
    const bool statusBarShown = settings->value(QStringLiteral("StatusBar"), true).toBool();
    findChild<QAction*>(QStringLiteral("mnuVTool"))->setChecked(toolBar);
    findChild<QAction*>(QStringLiteral("mnuVStat"))->setChecked(statusBarShown);
    m_toolBar->setVisible(toolBar);
    statusBar()->setVisible(statusBarShown);
}

void frmMain::saveSettings()
{
    // A window that stayed in the notification area all along keeps the layout it was given.
    if (m_everShown)
        mainSettings()->setValue(QStringLiteral("Windows"), QString::fromStdString(currentLayout()));
}

void frmMain::setServerState(bool running)
{
    findChild<QAction*>(QStringLiteral("mnuStartStop"))
        ->setText(running ? QStringLiteral("&Pause Server") : QStringLiteral("&Start Server"));
}

void frmMain::setStatusText(int panel, const QString& text)
{
    if (panel >= 0 && panel < static_cast<int>(m_panels.size()))
        m_panels[static_cast<size_t>(panel)]->setText(text);
}

void frmMain::showMessage(const QString& text, MessageIcon icon)
{
    m_hooks.tell(text, boxIcon(icon));
}

void frmMain::showErrorReport(const QString& question, const QString& supportFile)
{
    // The same question follows an unexpected error and the Help menu's support file; only the
    // first is an error.
    const bool error = question.startsWith(QStringLiteral("An error"));
    if (supportFile.isEmpty()) return m_hooks.tell(question, QMessageBox::Warning); // it could not be written
    if (m_hooks.ask(question, error ? QMessageBox::Critical : QMessageBox::Question)) openFile(supportFile);
}

void frmMain::start(bool hidden)
{
    const auto layout = parseLayout(m_savedLayout.toStdString());
    m_tray.show();
    if (hidden && QSystemTrayIcon::isSystemTrayAvailable()) {
        if (layout) applyLayout(*layout);
        return;
    }
    if (layout) placeMain(layout->main);
    showWithState(layout ? layout->main.state : WindowState::Normal);
    if (layout) applyLayout(*layout);
    else openFirstLayout();
}

void frmMain::placeMain(const WindowPlacement& placement)
{
    if (placement.state == WindowState::Normal)
        setGeometry(placement.left, placement.top, placement.width, placement.height);
}

void frmMain::showWithState(WindowState state)
{
    m_everShown = true;
    switch (state) {
    case WindowState::Minimised:
        showMinimized();
        break;
    case WindowState::Maximised:
        showMaximized();
        break;
    case WindowState::Normal:
        showNormal();
        break;
    }
}

// The icon's click: the window comes back as the saved layout has it (maximised without one).
void frmMain::showFromTray()
{
    if (m_everShown && isVisible() && !isMinimized()) {
        activateWindow();
        return;
    }
    const auto layout = parseLayout(m_savedLayout.toStdString());
    if (layout) placeMain(layout->main);
    showWithState(layout ? layout->main.state : WindowState::Maximised);
    activateWindow();
}

void frmMain::closeEvent(QCloseEvent* event)
{
    if (m_engineClosed) return event->accept();
    event->ignore();
    if (m_closeRequested) return;
    if (m_hooks.ask(QStringLiteral("Exit Quorvane ?"), QMessageBox::Question))
        requestClose(CloseReason::User);
}

void frmMain::endSession()
{
    if (!m_closeRequested) requestClose(CloseReason::SessionEnded);
}

void frmMain::requestClose(CloseReason reason)
{
    m_closeRequested = true;
    m_engine.send(reason);
}

// The engine has logged the reason and saved its files (after the operator's close, the end of
// the session or a signal): the layout is saved and the program may end.
void frmMain::engineClosed()
{
    if (m_engineClosed) return;
    m_engineClosed = true;
    m_closeRequested = true;
    m_graphTimer.stop();
    saveSettings();
    hide();
    emit closedDown();
}

} // namespace quorvane
