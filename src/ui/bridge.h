// The engine's events, carried to the window's thread as queued Qt signals. Log lines are not
// sent one by one: the engine thread only drops them into a bounded buffer, and a timer on the
// window's thread hands them on in batches, so a flood of queries can neither flood the window
// nor make the engine wait for it.
#pragma once

#include "host/engine_events.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <mutex>
#include <string>
#include <vector>

namespace quorvane {

class Bridge : public QObject, public EngineEvents
{
    Q_OBJECT
public:
    static constexpr size_t kKeptLines = 300;
    static constexpr int kBatchIntervalMs = 100;

    // Lives on the window's thread; the EngineEvents calls may come from any one other thread.
    explicit Bridge(QObject* parent = nullptr);

    void onLogLine(const std::string& line) override;
    void onMessageBox(const std::string& text, MessageIcon icon) override;
    void onErrorReport(const std::string& question, const std::string& supportFile) override;
    void onServerState(bool running) override;
    void onCaption(const std::string& caption) override;
    void onStatusText(int panel, const std::string& text) override;
    void onTray(int state) override;
    void onLeases(const std::vector<clLease>& leases) override;
    void onOptions(const OptionsData& options) override;
    void onCounters(const std::array<uint16_t, 60>& perSecond) override;
    void onBlockedCounters(const std::array<uint16_t, 60>& perSecond) override;
    void onCacheSnapshot() override;
    void onClosed() override;

    // Forgets the lines not yet handed on (the log window was just opened or cleared).
    void discardLines();

signals:
    // At most kKeptLines lines, oldest first, at most once per kBatchIntervalMs.
    void logLines(const QStringList& lines);
    void messageBox(const QString& text, quorvane::MessageIcon icon);
    void errorReport(const QString& question, const QString& supportFile);
    void serverState(bool running);
    void caption(const QString& caption);
    void statusText(int panel, const QString& text);
    void tray(int state);
    void leases(const std::vector<quorvane::clLease>& leases);
    void options(const quorvane::OptionsData& options);
    void counters(const std::array<uint16_t, 60>& perSecond);
    void blockedCounters(const std::array<uint16_t, 60>& perSecond);
    void cacheSnapshot();
    void closed();

private:
    void deliverLines();

    QTimer m_batchTimer;
    std::mutex m_mutex;
    // A ring of kKeptLines strings that the engine overwrites in place; the window's thread swaps
    // it with m_taken under the lock and reads it after.
    std::vector<std::string> m_ring;
    std::vector<std::string> m_taken;
    size_t m_next = 0;  // the slot the next line goes into
    size_t m_count = 0; // lines waiting, at most kKeptLines
};

} // namespace quorvane
