#include "ui/desktop_app.h"

#include "host/ini_file.h"
#include "ui/bridge.h"
#include "ui/engine_link.h"
#include "ui/frm_main.h"
#include "ui/window_layout.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSessionManager>
#include <QSettings>
#include <QTimer>

#include <algorithm>
#include <fstream>
#include <memory>
#include <vector>

namespace quorvane {

namespace {

// How late a 50 ms timer fires on the window's thread, for the desktop benchmark.
class LoopProbe
{
public:
    static constexpr qint64 kIntervalNs = 50'000'000;

    explicit LoopProbe(QString file) : m_file(std::move(file))
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { tick(); });
        m_clock.start();
        m_timer.start(static_cast<int>(kIntervalNs / 1'000'000));
    }
    ~LoopProbe()
    {
        std::sort(m_lateness.begin(), m_lateness.end());
        std::ofstream out(m_file.toStdString());
        const double median =
            m_lateness.empty() ? 0 : static_cast<double>(m_lateness[m_lateness.size() / 2]) / 1e6;
        const double worst = m_lateness.empty() ? 0 : static_cast<double>(m_lateness.back()) / 1e6;
        out << "samples=" << m_lateness.size() << "\nmedian_ms=" << median << "\nworst_ms=" << worst << '\n';
    }
    LoopProbe(const LoopProbe&) = delete;
    LoopProbe& operator=(const LoopProbe&) = delete;

private:
    void tick()
    {
        const qint64 now = m_clock.nsecsElapsed();
        m_lateness.push_back(std::max<qint64>(0, now - m_last - kIntervalNs));
        m_last = now;
    }

    QString m_file;
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    std::vector<qint64> m_lateness;
};

QString savedLayout()
{
    return QSettings(QStringLiteral("Quorvane"), QStringLiteral("Quorvane"))
        .value(QStringLiteral("Main/Windows"))
        .toString();
}

} // namespace

int runDesktop(int& argc, char** argv, const DesktopSetup& setup)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Quorvane"));
    QApplication::setApplicationName(QStringLiteral("Quorvane"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/quorvane.svg")));
    // The window may be hidden behind the icon; the program ends when the engine has closed.
    QApplication::setQuitOnLastWindowClosed(false);

    // Whether to start hidden is needed before the engine has read its settings on its thread.
    const bool startHidden = LoadINI(setup.programFolder).STARTMINI;
    const QString folder = QString::fromStdString(setup.programFolder.string());
    const QString executableFolder = QString::fromStdString(setup.executable.parent_path().string());

    Bridge bridge;
    const auto engine = setup.makeEngine(
        bridge, EngineOptions{setup.programFolder, setup.executable, layoutHasActiveLog(savedLayout().toStdString())});
    frmMain window(*engine, bridge, FrameSetup{folder, {executableFolder, folder}, setup.manualCandidates});
    QObject::connect(&window, &frmMain::closedDown, &app, &QCoreApplication::quit, Qt::QueuedConnection);
    QObject::connect(&app, &QGuiApplication::commitDataRequest, &window,
                     [&window](QSessionManager&) { window.endSession(); });

    std::unique_ptr<LoopProbe> probe;
    if (const QString file = qEnvironmentVariable("QUORVANE_UI_PROBE"); !file.isEmpty())
        probe = std::make_unique<LoopProbe>(file);

    window.start(startHidden);
    engine->start();
    return QApplication::exec();
}

} // namespace quorvane
