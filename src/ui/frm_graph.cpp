// frmGraph: caption, a labelled grid from "0" to a round top value, and the 60 counters oldest first.
#include "ui/frm_graph.h"

#include <QCloseEvent>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>

namespace quorvane {

namespace {

const QColor kGridColor(0xd8, 0xdc, 0xe2);
const QColor kLineColor(0x1f, 0x6f, 0xc9);
const QColor kBlockedColor(0xd0, 0x3a, 0x2f);

} // namespace

GraphScale graphScale(int highest)
{
    const int needed = std::max(highest, 5);
    for (int power = 1;; power *= 10) {
        if (needed <= power) return {power, 5};
        if (needed <= 2 * power) return {2 * power, 4};
        if (needed <= 5 * power) return {5 * power, 5};
    }
}

frmGraph::frmGraph(QWidget* parent) : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Performance Graph"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(160, 100);
}

void frmGraph::setCounters(const std::array<uint16_t, 60>& perSecond, int currentSecond)
{
    m_counters = perSecond;
    m_current = ((currentSecond % 60) + 60) % 60;
    update();
}

void frmGraph::setBlocked(const std::array<uint16_t, 60>& perSecond)
{
    m_blocked = perSecond;
    m_showBlocked = true;
    update();
}

void frmGraph::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    painter.setPen(palette().text().color());
    const QFontMetrics metrics = fontMetrics();
    const int margin = metrics.height() / 2 + 2;
    painter.drawText(margin, margin + metrics.ascent(), QStringLiteral("Requests per second:"));
    if (m_showBlocked) {
        const QString blocked = QStringLiteral("Blocked");
        painter.setPen(kBlockedColor);
        painter.drawText(width() - margin - metrics.horizontalAdvance(blocked), margin + metrics.ascent(), blocked);
    }

    const GraphScale scale = graphScale(*std::max_element(m_counters.begin(), m_counters.end()));
    const int labelWidth = metrics.horizontalAdvance(QString::number(scale.top));
    const QRect plot(QPoint(margin + labelWidth + 6, margin + metrics.height() * 2),
                     QPoint(width() - margin - 1, height() - margin - metrics.height() - 1));
    if (plot.width() < 20 || plot.height() < 20) return;
    drawScale(painter, plot, scale);
    drawLine(painter, plot, scale, m_counters, kLineColor);
    if (m_showBlocked) drawLine(painter, plot, scale, m_blocked, kBlockedColor);
}

void frmGraph::drawScale(QPainter& painter, const QRect& plot, const GraphScale& scale) const
{
    const QFontMetrics metrics = fontMetrics();
    const QColor textColor = palette().text().color();
    for (int step = 0; step <= scale.steps; ++step) {
        const int y = plot.bottom() - plot.height() * step / scale.steps;
        painter.setPen(step == 0 ? textColor : kGridColor);
        painter.drawLine(plot.left(), y, plot.right(), y);
        painter.setPen(textColor);
        const QRect label(0, y - metrics.height() / 2, plot.left() - 6, metrics.height());
        painter.drawText(label, Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(scale.top / scale.steps * step));
    }
    painter.drawLine(plot.topLeft(), plot.bottomLeft());
    const QRect under(plot.left(), plot.bottom() + 2, plot.width(), metrics.height());
    painter.drawText(under, Qt::AlignLeft | Qt::AlignTop, QStringLiteral("-60 s"));
    painter.drawText(under, Qt::AlignRight | Qt::AlignTop, QStringLiteral("now"));
}

void frmGraph::drawLine(QPainter& painter, const QRect& plot, const GraphScale& scale,
                        const std::array<uint16_t, 60>& counters, const QColor& color) const
{
    QPolygonF line;
    line.reserve(60);
    for (int i = 0; i < 60; ++i) {
        const int value = counters[static_cast<size_t>((m_current + 1 + i) % 60)];
        line << QPointF(plot.left() + plot.width() * i / 59.0,
                        plot.bottom() - plot.height() * static_cast<double>(value) / scale.top);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 2));
    painter.drawPolyline(line);
}

void frmGraph::closeEvent(QCloseEvent* event)
{
    emit closed();
    event->accept();
}

} // namespace quorvane
