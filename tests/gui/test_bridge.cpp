// The bridge under a flood of log lines from another thread: the engine side never waits for the
// window, the window gets at most 300 lines a batch and about ten batches a second, and the
// newest line always arrives.
#include "ui/bridge.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <chrono>
#include <thread>

using namespace quorvane;

namespace {

constexpr int kLines = 100000;

std::string lineText(int i)
{
    return "12:00:00   line " + std::to_string(i);
}

struct Batch
{
    qint64 atMs;
    QStringList lines;
};

} // namespace

class TestBridge : public QObject
{
    Q_OBJECT
private slots:
    void floodOfLogLines()
    {
        Bridge bridge;
        std::vector<Batch> batches;
        QThread* statusThread = nullptr;
        QElapsedTimer clock;
        clock.start();
        connect(&bridge, &Bridge::logLines, this, [&](const QStringList& lines) {
            batches.push_back({clock.elapsed(), lines});
        });
        connect(&bridge, &Bridge::statusText, this,
                [&](int, const QString&) { statusThread = QThread::currentThread(); });

        // Lines pushed while the window's thread runs no events at all: nothing may wait for it, and
        // what it then receives is one batch of the newest 300.
        std::thread([&] {
            for (int i = 0; i < kLines; ++i)
                bridge.onLogLine(lineText(i));
            bridge.onStatusText(0, "Uptime...");
        }).join();
        QVERIFY2(clock.elapsed() < 2000, "pushing lines took too long");
        QTRY_COMPARE_WITH_TIMEOUT(batches.size(), size_t{1}, 1000);
        QCOMPARE(statusThread, QThread::currentThread()); // queued to the window's thread
        const QStringList& lines = batches.front().lines;
        QCOMPARE(lines.size(), qsizetype{Bridge::kKeptLines});
        QCOMPARE(lines.first().toStdString(), lineText(kLines - static_cast<int>(Bridge::kKeptLines)));
        QCOMPARE(lines.last().toStdString(), lineText(kLines - 1));
        QTest::qWait(250);
        QCOMPARE(batches.size(), size_t{1}); // nothing new, nothing sent

        // Lines pushed while the window runs: bounded batches, about ten a second, the newest arriving.
        batches.clear();
        std::thread engine([&] {
            for (int i = kLines; i < 2 * kLines; ++i) {
                bridge.onLogLine(lineText(i));
                if (i % 2000 == 1999) std::this_thread::sleep_for(std::chrono::milliseconds(10)); // ~0.5 s in all
            }
        });
        QTRY_VERIFY_WITH_TIMEOUT(
            !batches.empty() && batches.back().lines.last().toStdString() == lineText(2 * kLines - 1), 5000);
        engine.join();

        const qint64 spanMs = batches.back().atMs - batches.front().atMs;
        QVERIFY2(batches.size() >= 3, "the lines should arrive over several batches");
        QVERIFY2(static_cast<qint64>(batches.size()) <= spanMs / Bridge::kBatchIntervalMs + 2,
                 qPrintable(QString("%1 batches in %2 ms").arg(batches.size()).arg(spanMs)));
        int previous = kLines - 1;
        for (const Batch& batch : batches) {
            QVERIFY(batch.lines.size() <= qsizetype{Bridge::kKeptLines});
            for (const QString& line : batch.lines) {
                const int number = line.section(' ', -1).toInt();
                QVERIFY2(number > previous, "lines out of order");
                previous = number;
            }
        }
    }
};

QTEST_MAIN(TestBridge)
#include "test_bridge.moc"
