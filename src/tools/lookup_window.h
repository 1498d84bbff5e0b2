// DNS Look Up: one question at a time to a server over UDP or TCP, without ever blocking the
// window; the answer's code, flags, time and sections as a table, its bytes on request, and the
// last questions to ask again. A question without an answer ends after a few seconds.
#pragma once

#include "net/bytes.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimer>

#include <chrono>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QPushButton;
class QTableWidget;
class QTcpSocket;
class QUdpSocket;

namespace quorvane {

class LookupWindow : public QMainWindow
{
    Q_OBJECT
public:
    // server: the address asked by default ("127.0.0.1" when empty); "address#port" for another port.
    explicit LookupWindow(const QString& server, QWidget* parent = nullptr);
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout.setInterval(timeout); }

    // Sends the question the fields hold (as the Look Up button and Enter do).
    void ask();

signals:
    // After each question, with its answer, failure or time-out shown.
    void finished();

private:
    void createWidgets();
    void send(const Bytes& message);
    void received(std::string_view message);
    void udpReady();
    void tcpReady();
    void giveUp(const QString& why);
    void stop();
    void remember(const QString& question);

    QLineEdit* m_name = nullptr;
    QComboBox* m_type = nullptr;
    QLineEdit* m_server = nullptr;
    QComboBox* m_transport = nullptr;
    QCheckBox* m_recursion = nullptr;
    QCheckBox* m_raw = nullptr;
    QPushButton* m_ask = nullptr;
    QLabel* m_status = nullptr;
    QTableWidget* m_rows = nullptr;
    QPlainTextEdit* m_bytes = nullptr;
    QListWidget* m_history = nullptr;

    QUdpSocket* m_udp = nullptr;
    QTcpSocket* m_tcp = nullptr;
    Bytes m_stream; // what TCP has brought so far
    QTimer m_timeout;
    QElapsedTimer m_clock;
    uint16_t m_id = 0;
    QString m_asked; // "server over UDP", for the status line
};

} // namespace quorvane
