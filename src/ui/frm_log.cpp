// frmLog: a plain-text view whose document drops its oldest blocks itself, so a batch of lines costs
// one insertion and the view lays out only what is visible.
#include "ui/frm_log.h"

#include <QCloseEvent>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

namespace quorvane {

frmLog::frmLog(QWidget* parent) : QWidget(parent), m_view(new QPlainTextEdit(this))
{
    setWindowTitle(QStringLiteral("Active Log"));
    m_view->setObjectName(QStringLiteral("ListDNS"));
    m_view->setReadOnly(true);
    m_view->setUndoRedoEnabled(false);
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setMaximumBlockCount(kMaxLines);
    m_view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
}

void frmLog::appendLines(const QStringList& lines)
{
    if (lines.isEmpty()) return;
    // Only the lines that will stay are inserted: a flood of thousands costs no more than 300.
    const qsizetype first = std::max<qsizetype>(0, lines.size() - kMaxLines);
    m_view->appendPlainText(lines.mid(first).join(QLatin1Char('\n')));
    QScrollBar* bar = m_view->verticalScrollBar();
    bar->setValue(bar->maximum());
}

void frmLog::clearLog()
{
    m_view->clear();
}

void frmLog::closeEvent(QCloseEvent* event)
{
    emit closed();
    event->accept();
}

} // namespace quorvane
