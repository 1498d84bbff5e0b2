#include "tools/lookup_window.h"

#include "tools/lookup_message.h"
#include "wire/record_types.h"
#include "wire/tcp_frame.h"
#include "wire/type_names.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QHostAddress>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QNetworkDatagram>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QSplitter>
#include <QTableWidget>
#include <QTcpSocket>
#include <QUdpSocket>

namespace quorvane {

namespace {

constexpr int kHistorySize = 20;
constexpr std::chrono::seconds kTimeout{5};

} // namespace

LookupWindow::LookupWindow(const QString& server, QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(tr("DNS Look Up"));
    createWidgets();
    m_server->setText(server.isEmpty() ? "127.0.0.1" : server);
    m_timeout.setSingleShot(true);
    m_timeout.setInterval(kTimeout);
    connect(&m_timeout, &QTimer::timeout, this, [this] {
        giveUp(tr("No answer from %1 within %2 s.").arg(m_asked).arg(m_timeout.interval() / 1000.0));
    });
    resize(820, 520);
}

void LookupWindow::createWidgets()
{
    m_name = new QLineEdit;
    m_name->setPlaceholderText(tr("name, or an address for its PTR"));
    m_type = new QComboBox;
    for (const RecordType& row : recordTypes())
        m_type->addItem(
            QString::fromLatin1(row.mnemonic.data(), static_cast<qsizetype>(row.mnemonic.size())));
    m_type->addItem("ANY");
    m_server = new QLineEdit;
    m_server->setMinimumWidth(150);
    m_transport = new QComboBox;
    m_transport->addItems({"UDP", "TCP"});
    m_recursion = new QCheckBox(tr("Recursion desired"));
    m_recursion->setChecked(true);
    m_raw = new QCheckBox(tr("Show raw bytes"));
    m_ask = new QPushButton(tr("Look Up"));
    m_ask->setDefault(true);
    connect(m_ask, &QPushButton::clicked, this, &LookupWindow::ask);
    connect(m_name, &QLineEdit::returnPressed, this, &LookupWindow::ask);

    m_status = new QLabel(tr("Type a name and press Enter."));
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_rows = new QTableWidget(0, 5);
    m_rows->setHorizontalHeaderLabels({tr("Section"), tr("Name"), tr("TTL"), tr("Type"), tr("Data")});
    m_rows->horizontalHeader()->setStretchLastSection(true);
    m_rows->verticalHeader()->hide();
    m_rows->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_bytes = new QPlainTextEdit;
    m_bytes->setReadOnly(true);
    m_bytes->setFont(QFont("monospace"));
    m_bytes->setVisible(false);
    connect(m_raw, &QCheckBox::toggled, m_bytes, &QWidget::setVisible);
    m_history = new QListWidget;
    connect(m_history, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) {
        const QStringList words = item->text().split(' ');
        m_name->setText(words.value(0));
        m_type->setCurrentText(words.value(1));
        ask();
    });

    auto* fields = new QHBoxLayout;
    fields->addWidget(m_name, 3);
    fields->addWidget(m_type);
    fields->addWidget(new QLabel(tr("Server:")));
    fields->addWidget(m_server, 1);
    fields->addWidget(m_transport);
    fields->addWidget(m_recursion);
    fields->addWidget(m_ask);
    auto* results = new QWidget;
    auto* resultLayout = new QVBoxLayout(results);
    resultLayout->setContentsMargins(0, 0, 0, 0);
    resultLayout->addWidget(m_status);
    resultLayout->addWidget(m_rows, 2);
    resultLayout->addWidget(m_raw);
    resultLayout->addWidget(m_bytes, 1);
    auto* splitter = new QSplitter;
    splitter->addWidget(results);
    splitter->addWidget(m_history);
    splitter->setSizes({620, 180});
    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->addLayout(fields);
    layout->addWidget(splitter, 1);
    setCentralWidget(central);
}

void LookupWindow::ask()
{
    const QString typed = m_name->text().trimmed();
    if (typed.isEmpty()) return;
    stop();
    const LookupQuestion question =
        lookupQuestion(typed.toStdString(), m_type->currentText().toStdString(), m_recursion->isChecked());
    m_type->setCurrentText(QString::fromStdString(RTypeN(question.type)));
    remember(typed + ' ' + m_type->currentText());
    m_id = static_cast<uint16_t>(QRandomGenerator::global()->bounded(65536));
    m_asked = m_server->text().trimmed() + tr(" over ") + m_transport->currentText();
    m_status->setText(tr("Asking %1 for %2 %3...")
                          .arg(m_asked, QString::fromStdString(question.name), m_type->currentText()));
    m_rows->setRowCount(0);
    m_bytes->clear();
    m_clock.start();
    m_timeout.start();
    send(lookupQuery(question, m_id));
}

void LookupWindow::send(const Bytes& message)
{
    const QStringList parts = m_server->text().trimmed().split('#');
    const QHostAddress address(parts.value(0));
    const quint16 port = parts.size() > 1 ? static_cast<quint16>(parts[1].toUInt()) : 53;
    if (address.isNull()) return giveUp(tr("'%1' is not an address.").arg(parts.value(0)));
    const QByteArray bytes(message.data(), static_cast<qsizetype>(message.size()));
    if (m_transport->currentText() == "UDP") {
        m_udp = new QUdpSocket(this);
        connect(m_udp, &QUdpSocket::readyRead, this, &LookupWindow::udpReady);
        m_udp->writeDatagram(bytes, address, port);
        return;
    }
    m_tcp = new QTcpSocket(this);
    connect(m_tcp, &QTcpSocket::readyRead, this, &LookupWindow::tcpReady);
    connect(m_tcp, &QTcpSocket::errorOccurred, this,
            [this] { giveUp(m_asked + ": " + m_tcp->errorString()); });
    m_tcp->connectToHost(address, port);
    Bytes framed;
    appendFramed(framed, message);
    m_tcp->write(framed.data(), static_cast<qint64>(framed.size()));
}

void LookupWindow::udpReady()
{
    while (m_udp && m_udp->hasPendingDatagrams()) {
        const QByteArray datagram = m_udp->receiveDatagram().data();
        received(std::string_view(datagram.constData(), static_cast<size_t>(datagram.size())));
    }
}

void LookupWindow::tcpReady()
{
    const QByteArray bytes = m_tcp->readAll();
    m_stream.append(bytes.constData(), static_cast<size_t>(bytes.size()));
    size_t at = 0;
    if (const auto message = nextFramed(m_stream, at)) received(*message);
}

void LookupWindow::received(std::string_view message)
{
    const LookupAnswer answer = readLookupAnswer(message, m_id);
    if (!answer.ok && answer.error == "not a reply to the question") return; // a stray datagram: keep waiting
    const double took = static_cast<double>(m_clock.nsecsElapsed()) / 1e6;
    const Bytes bytes(message);
    stop();
    m_bytes->setPlainText(QString::fromStdString(hexDump(bytes)));
    if (!answer.ok) return giveUp(QString::fromStdString(answer.error));
    m_status->setText(tr("%1 from %2 in %3 ms; flags: %4")
                          .arg(QString::fromStdString(RCodeN(answer.rcode)), m_asked)
                          .arg(took, 0, 'f', 1)
                          .arg(QString::fromStdString(answer.flags)));
    m_rows->setRowCount(static_cast<int>(answer.rows.size()));
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        const LookupRow& item = answer.rows[static_cast<size_t>(row)];
        const QStringList cells{QString::fromStdString(item.section), QString::fromStdString(item.name),
                                QString::number(item.ttl), QString::fromStdString(item.type),
                                QString::fromStdString(item.data)};
        for (int column = 0; column < 5; ++column)
            m_rows->setItem(row, column, new QTableWidgetItem(cells[column]));
    }
    m_rows->resizeColumnsToContents();
    emit finished();
}

void LookupWindow::giveUp(const QString& why)
{
    stop();
    m_status->setText(why);
    emit finished();
}

// Ends the question in flight: later datagrams and bytes of it are not read.
void LookupWindow::stop()
{
    m_timeout.stop();
    for (QAbstractSocket* socket : std::initializer_list<QAbstractSocket*>{m_udp, m_tcp})
        if (socket) {
            socket->disconnect(this);
            socket->abort();
            socket->deleteLater();
        }
    m_udp = nullptr;
    m_tcp = nullptr;
    m_stream.clear();
}

void LookupWindow::remember(const QString& question)
{
    const auto same = m_history->findItems(question, Qt::MatchExactly);
    for (QListWidgetItem* item : same)
        delete item;
    m_history->insertItem(0, question);
    while (m_history->count() > kHistorySize)
        delete m_history->takeItem(kHistorySize);
}

} // namespace quorvane
