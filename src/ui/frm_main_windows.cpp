// The child windows of the main window: opening and closing them (and telling the engine when the
// Active Log opens or closes), feeding them, arranging them, and the layout string.
#include "ui/frm_graph.h"
#include "ui/frm_leases.h"
#include "ui/frm_options.h"
#include "ui/frm_log.h"
#include "ui/frm_main.h"

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTime>
#include <QTimer>

namespace quorvane {

namespace {

WindowPlacement placementOf(const QWidget& window)
{
    WindowPlacement p;
    if (window.isMinimized())
        p.state = WindowState::Minimised;
    else if (window.isMaximized())
        p.state = WindowState::Maximised;
    const QRect r = window.geometry();
    p.left = r.x();
    p.top = r.y();
    p.width = r.width();
    p.height = r.height();
    return p;
}

// The least size at which a child window's text and graph can be read.
constexpr QSize kReadableChild(560, 320);

} // namespace

QWidget* frmMain::childWindow(ChildWindow which) const
{
    const QMdiSubWindow* sub = m_children[static_cast<size_t>(which)];
    return sub != nullptr ? sub->widget() : nullptr;
}

QMdiSubWindow* frmMain::openChild(ChildWindow which)
{
    auto& slot = m_children[static_cast<size_t>(which)];
    if (slot) {
        m_mdi->setActiveSubWindow(slot);
        return slot;
    }
    QWidget* child = makeChild(which);
    slot = m_mdi->addSubWindow(child);
    slot->setAttribute(Qt::WA_DeleteOnClose);
    slot->setWindowIcon(windowIcon());
    // A child's own size hint is too small to read; a saved layout still sets its own geometry.
    slot->resize(slot->sizeHint().expandedTo(kReadableChild).boundedTo(m_mdi->viewport()->size()));
    slot->show();
    return slot;
}

QWidget* frmMain::makeChild(ChildWindow which)
{
    if (which == kGraphWindow) return makeGraph();
    if (which == kLogWindow) return makeLog();
    return makeLeases();
}

QWidget* frmMain::makeGraph()
{
    auto* graph = new frmGraph;
    connect(graph, &frmGraph::closed, this, [this] { childClosed(kGraphWindow); });
    m_graphTimer.start();
    requestCounters();
    return graph;
}

QWidget* frmMain::makeLog()
{
    auto* log = new frmLog;
    connect(log, &frmLog::closed, this, [this] { childClosed(kLogWindow); });
    m_bridge.discardLines(); // an opened log starts empty
    m_engine.send(Command::OpenActiveLog);
    findChild<QAction*>(QStringLiteral("mnuClearWindow"))->setEnabled(true);
    return log;
}

QWidget* frmMain::makeLeases()
{
    auto* leases = new frmLeases;
    leases->setQuestion(
        [this](QWidget*, const QString& text) { return m_hooks.ask(text, QMessageBox::Question); });
    leases->setLeases(m_leases);
    connect(leases, &frmLeases::closed, this, [this] { childClosed(kLeasesWindow); });
    connect(leases, &frmLeases::deleteRequested, this, [this](const QString& address) {
        m_engine.send(DeleteLease{address.toStdString()});
    });
    // A reservation is confirmed in the options dialog, on its DHCP page.
    connect(leases, &frmLeases::reserveRequested, this, [this](const DhcpFixed& fixed) {
        if (auto* open = findChild<frmOptions*>()) return open->reserve(fixed);
        m_reservation = fixed;
        mnuOptions();
    });
    return leases;
}

void frmMain::childClosed(ChildWindow which)
{
    m_children[static_cast<size_t>(which)] = nullptr;
    if (which == kGraphWindow) m_graphTimer.stop();
    if (which != kLogWindow) return;
    m_engine.send(Command::CloseActiveLog);
    findChild<QAction*>(QStringLiteral("mnuClearWindow"))->setEnabled(false);
}

void frmMain::mnuClearWindow()
{
    if (auto* log = qobject_cast<frmLog*>(childWindow(kLogWindow))) log->clearLog();
    m_bridge.discardLines();
    m_engine.send(Command::ClearActiveLog);
}

void frmMain::showLogLines(const QStringList& lines)
{
    if (auto* log = qobject_cast<frmLog*>(childWindow(kLogWindow))) log->appendLines(lines);
}

void frmMain::showLeases(const std::vector<clLease>& leases)
{
    m_leases = leases;
    if (auto* window = qobject_cast<frmLeases*>(childWindow(kLeasesWindow))) window->setLeases(m_leases);
}

// The graph's counters are copied on the engine thread, once a second while the graph is open.
void frmMain::requestCounters()
{
    m_engine.send(Command::SendCounters);
}

void frmMain::showCounters(const std::array<uint16_t, 60>& perSecond)
{
    if (auto* graph = qobject_cast<frmGraph*>(childWindow(kGraphWindow)))
        graph->setCounters(perSecond, QTime::currentTime().second());
}

// Horizontal tiling stacks the windows one above the other, each as wide as the frame; vertical
// tiling sets them side by side.
void frmMain::tile(Qt::Orientation stacking)
{
    QList<QMdiSubWindow*> windows;
    for (QMdiSubWindow* window : m_mdi->subWindowList(QMdiArea::CreationOrder))
        if (window->isVisible() && !window->isMinimized()) windows.append(window);
    if (windows.isEmpty()) return;
    const QRect area = m_mdi->viewport()->rect();
    const int count = static_cast<int>(windows.size());
    for (int i = 0; i < count; ++i) {
        windows[i]->showNormal();
        if (stacking == Qt::Horizontal) {
            const int height = area.height() / count;
            windows[i]->setGeometry(0, i * height, area.width(), height);
        } else {
            const int width = area.width() / count;
            windows[i]->setGeometry(i * width, 0, width, area.height());
        }
    }
}

// A first start (no saved layout) shows the server at work at once: the Active Log above the
// Performance Graph, filling the frame.
void frmMain::openFirstLayout()
{
    openChild(kLogWindow);
    openChild(kGraphWindow);
    QTimer::singleShot(0, this, [this] { tile(Qt::Horizontal); }); // once the frame has its size
}

void frmMain::mnuTile3()
{
    m_mdi->cascadeSubWindows();
}

void frmMain::applyLayout(const WindowLayout& layout)
{
    for (int i = 0; i < kChildWindows; ++i) {
        const ChildPlacement& child = layout.children[static_cast<size_t>(i)];
        if (!child.open) continue;
        QMdiSubWindow* window = openChild(static_cast<ChildWindow>(i));
        const WindowPlacement& p = child.placement;
        if (p.state == WindowState::Normal)
            window->setGeometry(p.left, p.top, p.width, p.height);
        else if (p.state == WindowState::Minimised)
            window->showMinimized();
        else
            window->showMaximized();
    }
}

std::string frmMain::currentLayout() const
{
    WindowLayout layout;
    layout.main = placementOf(*this);
    for (size_t i = 0; i < m_children.size(); ++i) {
        if (!m_children[i]) continue;
        layout.children[i].open = true;
        layout.children[i].placement = placementOf(*m_children[i]);
    }
    return formatLayout(layout);
}

} // namespace quorvane
