#include "query/dns_tcp.h"

#include "query/answerer.h"
#include "wire/dns_codes.h"
#include "wire/message.h"
#include "wire/tcp_frame.h"
#include "wire/wire_reader.h"

namespace quorvane {

namespace {

// While a transfer runs, requests that come in wait in the buffer; a peer that sends more than two
// of the largest messages meanwhile is not a secondary and is cut off.
constexpr size_t kMaxBuffered = 2 * (65535 + 2);

// A standard query for anything but a zone: what the answerer answers when it takes TCP.
bool ordinaryQuestion(std::string_view message)
{
    if ((byteAt(message, 2) & 0x78) != 0) return false;
    WireReader reader(message, 12);
    reader.name();
    const int type = reader.shortValue();
    return !reader.ok() || (type != kTypeAXFR && type != kTypeIXFR);
}

} // namespace

DnsTcpService::DnsTcpService(Network& network, Clock& clock, QueryHost& host, Answerer& answerer,
                             const FloodGuard& flood)
    : m_network(network), m_clock(clock), m_host(host), m_answerer(answerer), m_flood(flood)
{
    m_timer = m_clock.startTimer(std::chrono::milliseconds(1000), [this] { Timer1(); });
}

DnsTcpService::~DnsTcpService()
{
    m_clock.stopTimer(m_timer);
}

void DnsTcpService::connectionRequest(SocketId connection, const Endpoint& from, bool running, bool overTls)
{
    if (!running) return m_network.close(connection);
    const std::string address = addressText(from.address);
    if (m_flood.isBlocked(from.address)) {
        m_host.AddLine(0, "TCP Connection Request from " + address + " on Block list. Ignored!");
        return m_network.close(connection); // left unanswered, and its descriptor is not kept
    }
    for (auto& element : m_TCPcon)
        if (!element->Busy) return Accept(*element, connection, from, overTls);
    if (m_TCPcon.size() < kMaxConnections) {
        m_TCPcon.push_back(std::make_unique<ctlZT>());
        return Accept(*m_TCPcon.back(), connection, from, overTls);
    }
    m_network.close(connection);
    const DateTime now = m_clock.now();
    if ((now - m_lastFullLine) * kSecondsPerDay >= 1.0) {
        m_lastFullLine = now;
        m_host.AddLine(0, "TCP Connection Request from " + address + " closed - " +
                              std::to_string(kMaxConnections) + " connections are open already");
    }
}

void DnsTcpService::Accept(ctlZT& element, SocketId connection, const Endpoint& from, bool overTls)
{
    element.overTls = overTls;
    element.buffer.clear();
    element.Busy = true;
    element.held = false;
    element.idleTicks = 0;
    element.Winsock = connection;
    element.remote = addressText(from.address);
    element.peer = from;
    m_byConnection[connection] = &element;
}

ctlZT* DnsTcpService::find(SocketId connection)
{
    const auto found = m_byConnection.find(connection);
    return found == m_byConnection.end() ? nullptr : found->second;
}

void DnsTcpService::DataArrival(SocketId connection, std::string_view data)
{
    ctlZT* element = find(connection);
    if (element == nullptr) return;
    element->buffer += data;
    element->idleTicks = 0;
    m_host.DoTray(1);
    if (element->buffer.size() > kMaxBuffered) return release(*element);
    takeMessages(*element);
}

// Each whole message is taken off the buffer before it is handled, so a message that fails is
// not handled again. A held connection stops the loop: what follows waits until it is released.
void DnsTcpService::takeMessages(ctlZT& element)
{
    while (element.Busy && !element.held) {
        size_t end = 0;
        const auto framed = nextFramed(element.buffer, end);
        if (!framed) return;
        const Bytes message(*framed);
        element.buffer.erase(0, end);
        if (message.size() < 13 || (byteAt(message, 2) & 0x80) != 0) continue; // cut short, or a response
        if ((m_answerer.answersTcp() || element.overTls) && ordinaryQuestion(message))
            m_answerer.ProcReq(element.peer, message, element.Winsock);
        else if (m_messages != nullptr)
            m_messages->takeMessage(element, message);
    }
}

void DnsTcpService::send(SocketId connection, std::string_view message)
{
    m_out.clear();
    appendFramed(m_out, message);
    sendFramed(connection, m_out);
}

void DnsTcpService::sendFramed(SocketId connection, std::string_view framed)
{
    ctlZT* element = find(connection);
    if (element == nullptr) return;
    element->idleTicks = 0;
    m_network.sendTcp(connection, framed);
    m_host.DoTray(1);
}

void DnsTcpService::hold(SocketId connection, bool held)
{
    ctlZT* element = find(connection);
    if (element == nullptr || element->held == held) return;
    element->held = held;
    if (!held) takeMessages(*element); // requests that came in while it was held
}

void DnsTcpService::close(SocketId connection)
{
    if (ctlZT* element = find(connection)) release(*element);
}

void DnsTcpService::drained(SocketId connection)
{
    if (ctlZT* element = find(connection); element != nullptr && element->held && m_messages != nullptr)
        m_messages->drained(*element);
}

void DnsTcpService::peerClosed(SocketId connection)
{
    ctlZT* element = find(connection);
    if (element == nullptr) return;
    m_byConnection.erase(connection);
    element->Winsock = kNoSocket; // already gone
    release(*element);
    if (m_messages != nullptr) m_messages->closed(connection);
}

void DnsTcpService::Timer1()
{
    for (auto& element : m_TCPcon)
        if (element->Busy && ++element->idleTicks >= kIdleSeconds) release(*element);
}

void DnsTcpService::release(ctlZT& element)
{
    const SocketId connection = element.Winsock;
    if (connection != kNoSocket) {
        m_byConnection.erase(connection);
        m_network.close(connection);
        if (m_messages != nullptr) m_messages->closed(connection);
    }
    element.Winsock = kNoSocket;
    element.Busy = false;
    element.held = false;
    element.buffer.clear();
    element.buffer.shrink_to_fit();
}

void DnsTcpService::closeAll()
{
    for (auto& element : m_TCPcon)
        if (element->Busy) release(*element);
}

} // namespace quorvane
