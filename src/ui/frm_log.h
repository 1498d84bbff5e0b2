// frmLog, the "Active Log" child window: the last 300 log lines in a read-only monospace view.
// It only shows what it is given; the lines come from the bridge in batches.
#pragma once

#include <QStringList>
#include <QWidget>

class QPlainTextEdit;

namespace quorvane {

class frmLog : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kMaxLines = 300;

    explicit frmLog(QWidget* parent = nullptr);

    // Adds the lines at the bottom, drops the oldest beyond kMaxLines and scrolls to the end.
    void appendLines(const QStringList& lines);
    void clearLog();

signals:
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QPlainTextEdit* m_view;
};

} // namespace quorvane
