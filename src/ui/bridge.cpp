#include "ui/bridge.h"

namespace quorvane {

namespace {

QString text(const std::string& s)
{
    return QString::fromStdString(s);
}

} // namespace

Bridge::Bridge(QObject* parent) : QObject(parent), m_ring(kKeptLines), m_taken(kKeptLines)
{
    qRegisterMetaType<quorvane::MessageIcon>();
    qRegisterMetaType<std::vector<quorvane::clLease>>();
    qRegisterMetaType<quorvane::OptionsData>();
    qRegisterMetaType<std::array<uint16_t, 60>>();
    connect(&m_batchTimer, &QTimer::timeout, this, &Bridge::deliverLines);
    m_batchTimer.start(kBatchIntervalMs);
}

void Bridge::onLogLine(const std::string& line)
{
    const std::lock_guard lock(m_mutex);
    m_ring[m_next].assign(line); // keeps the slot's capacity: no allocation once the ring is warm
    m_next = (m_next + 1) % kKeptLines;
    if (m_count < kKeptLines) ++m_count;
}

void Bridge::discardLines()
{
    const std::lock_guard lock(m_mutex);
    m_count = 0;
}

void Bridge::deliverLines()
{
    size_t next = 0;
    size_t count = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (m_count == 0) return;
        m_ring.swap(m_taken);
        next = m_next;
        count = m_count;
        m_count = 0;
    }
    QStringList lines;
    lines.reserve(static_cast<qsizetype>(count));
    for (size_t i = 0; i < count; ++i)
        lines.append(text(m_taken[(next + kKeptLines - count + i) % kKeptLines]));
    emit logLines(lines);
}

void Bridge::onMessageBox(const std::string& message, MessageIcon icon)
{
    emit messageBox(text(message), icon);
}

void Bridge::onErrorReport(const std::string& question, const std::string& supportFile)
{
    emit errorReport(text(question), text(supportFile));
}

void Bridge::onServerState(bool running)
{
    emit serverState(running);
}

void Bridge::onCaption(const std::string& value)
{
    emit caption(text(value));
}

void Bridge::onStatusText(int panel, const std::string& value)
{
    emit statusText(panel, text(value));
}

void Bridge::onTray(int state)
{
    emit tray(state);
}

void Bridge::onLeases(const std::vector<clLease>& list)
{
    emit leases(list);
}

void Bridge::onOptions(const OptionsData& data)
{
    emit options(data);
}

void Bridge::onCounters(const std::array<uint16_t, 60>& perSecond)
{
    emit counters(perSecond);
}

void Bridge::onBlockedCounters(const std::array<uint16_t, 60>& perSecond)
{
    emit blockedCounters(perSecond);
}

void Bridge::onCacheSnapshot()
{
    emit cacheSnapshot();
}

void Bridge::onClosed()
{
    emit closed();
}

} // namespace quorvane
