// frmGraph, the "Performance Graph" child window: the requests of the last 60 seconds as a line,
// and with block lists in use the blocked questions as a second one.
// It paints a copy of the engine's per-second counters; it never asks the engine for them.
#pragma once

#include <QWidget>

#include <array>
#include <cstdint>

namespace quorvane {

// The graph's vertical scale: a round top value (1, 2 or 5 times a power of ten, at least 5) that
// fits the highest counter, and the number of equal steps from 0 to it, each a whole number.
struct GraphScale
{
    int top = 5;
    int steps = 5;
    bool operator==(const GraphScale&) const = default;
};
GraphScale graphScale(int highest);

class frmGraph : public QWidget
{
    Q_OBJECT
public:
    explicit frmGraph(QWidget* parent = nullptr);

    // perSecond is indexed by the second of the minute; the line ends at currentSecond (0-59).
    void setCounters(const std::array<uint16_t, 60>& perSecond, int currentSecond);
    // The blocked questions of each second, drawn from now on under the same scale.
    void setBlocked(const std::array<uint16_t, 60>& perSecond);

signals:
    void closed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void drawScale(QPainter& painter, const QRect& plot, const GraphScale& scale) const;
    void drawLine(QPainter& painter, const QRect& plot, const GraphScale& scale,
                  const std::array<uint16_t, 60>& counters, const QColor& color) const;

    std::array<uint16_t, 60> m_counters{};
    std::array<uint16_t, 60> m_blocked{};
    bool m_showBlocked = false;
    int m_current = 59;
};

} // namespace quorvane
