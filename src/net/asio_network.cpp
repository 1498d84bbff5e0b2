// UDP: one readiness wait, then the socket is drained without blocking, many datagrams per system
// call (recvmmsg), and the replies sent meanwhile leave together (sendmmsg). TCP is in asio_tcp.cpp.
#include "net/asio_network.h"

#include "net/asio_impl.h"

#include <algorithm>
#include <array>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quorvane {

namespace {

constexpr size_t kBatch = 32;         // datagrams per system call
constexpr size_t kMaxDatagram = 4096; // larger datagrams are no DNS or DHCP request: dropped
constexpr int kBatchesPerWake = 4;    // leave room for timers and other sockets under load

std::optional<asio::ip::address_v4> bindAddress(const std::string& text)
{
    if (text.empty()) return asio::ip::address_v4::any();
    std::error_code ec;
    const auto address = asio::ip::make_address_v4(text, ec);
    if (ec) return std::nullopt;
    return address;
}

sockaddr_in toSockaddr(const Endpoint& to)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(to.address);
    address.sin_port = htons(to.port);
    return address;
}

// The name of the interface that holds the address ("eth0"); empty when none does.
std::string interfaceOf(uint32_t address)
{
    std::string name;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return name;
    for (const ifaddrs* i = list; i != nullptr && name.empty(); i = i->ifa_next) {
        if (i->ifa_addr == nullptr || i->ifa_addr->sa_family != AF_INET) continue;
        if (ntohl(reinterpret_cast<const sockaddr_in*>(i->ifa_addr)->sin_addr.s_addr) == address)
            name = i->ifa_name;
    }
    freeifaddrs(list);
    return name;
}

} // namespace

struct AsioNetwork::Udp
{
    explicit Udp(asio::io_context& io) : socket(io) {}
    asio::ip::udp::socket socket;
    // Receiving: one buffer, address and header per datagram of a batch.
    std::array<std::array<char, kMaxDatagram>, kBatch> buffers{};
    std::array<sockaddr_in, kBatch> from{};
    std::array<iovec, kBatch> iov{};
    std::array<mmsghdr, kBatch> headers{};
    // Sending while a batch is handled: replies wait here and leave together after it.
    bool holdingSends = false;
    std::vector<std::string> outData;
    std::vector<sockaddr_in> outTo;
    size_t outCount = 0;
};

AsioNetwork::AsioNetwork(AsioLoop& loop) : m_loop(loop) {}
AsioNetwork::~AsioNetwork() = default;

SocketId AsioNetwork::bindUdp(const std::string& address, uint16_t port)
{
    const auto ip = bindAddress(address);
    if (!ip) return kNoSocket;
    auto udp = std::make_unique<Udp>(m_loop.impl().io);
    std::error_code ec;
    udp->socket.open(asio::ip::udp::v4(), ec);
    if (!ec) udp->socket.bind({*ip, port}, ec);
    if (!ec) udp->socket.non_blocking(true, ec);
    if (ec) return kNoSocket;
    return addUdp(std::move(udp));
}

SocketId AsioNetwork::addUdp(std::unique_ptr<Udp> udp)
{
    const SocketId id = m_nextId++;
    armRead(id, *udp);
    m_udp.emplace(id, std::move(udp));
    return id;
}

void AsioNetwork::armRead(SocketId id, Udp& udp)
{
    udp.socket.async_wait(asio::socket_base::wait_read, [this, id, &udp](std::error_code ec) {
        if (ec == asio::error::operation_aborted) return; // closing
        if (!ec) drainDatagrams(id, udp);
        // The handler of a datagram may have closed this very socket.
        if (m_udp.count(id) != 0) armRead(id, udp);
    });
}

void AsioNetwork::drainDatagrams(SocketId id, Udp& udp)
{
    const int fd = udp.socket.native_handle();
    for (int round = 0; round < kBatchesPerWake; ++round) {
        for (size_t i = 0; i < kBatch; ++i) {
            udp.iov[i] = {udp.buffers[i].data(), kMaxDatagram};
            udp.headers[i] = {};
            udp.headers[i].msg_hdr.msg_name = &udp.from[i];
            udp.headers[i].msg_hdr.msg_namelen = sizeof(sockaddr_in);
            udp.headers[i].msg_hdr.msg_iov = &udp.iov[i];
            udp.headers[i].msg_hdr.msg_iovlen = 1;
        }
        const int received = ::recvmmsg(fd, udp.headers.data(), kBatch, MSG_DONTWAIT, nullptr);
        if (received <= 0) return; // would block, or an error such as an ICMP report: wait again
        udp.holdingSends = true;
        for (size_t i = 0; i < static_cast<size_t>(received); ++i) {
            if ((udp.headers[i].msg_hdr.msg_flags & MSG_TRUNC) != 0) continue;
            const Endpoint from{ntohl(udp.from[i].sin_addr.s_addr), ntohs(udp.from[i].sin_port)};
            if (m_events)
                m_events->onDatagram(id, from,
                                     std::string_view(udp.buffers[i].data(), udp.headers[i].msg_len));
            if (m_udp.count(id) == 0) return; // the handler closed this socket
        }
        udp.holdingSends = false;
        flushSends(udp);
        if (static_cast<size_t>(received) < kBatch) return;
    }
}

void AsioNetwork::flushSends(Udp& udp)
{
    std::array<iovec, kBatch> iov{};
    std::array<mmsghdr, kBatch> headers{};
    for (size_t done = 0; done < udp.outCount;) {
        const size_t count = std::min(kBatch, udp.outCount - done);
        for (size_t i = 0; i < count; ++i) {
            std::string& data = udp.outData[done + i];
            iov[i] = {data.data(), data.size()};
            headers[i] = {};
            headers[i].msg_hdr.msg_name = &udp.outTo[done + i];
            headers[i].msg_hdr.msg_namelen = sizeof(sockaddr_in);
            headers[i].msg_hdr.msg_iov = &iov[i];
            headers[i].msg_hdr.msg_iovlen = 1;
        }
        const int sent =
            ::sendmmsg(udp.socket.native_handle(), headers.data(), static_cast<unsigned>(count), 0);
        // Send errors are ignored: a message that failed is skipped, the rest still go.
        done += sent > 0 ? static_cast<size_t>(sent) : 1;
    }
    udp.outCount = 0;
}

void AsioNetwork::sendTo(SocketId socket, const Endpoint& to, std::string_view data)
{
    const auto it = m_udp.find(socket);
    if (it == m_udp.end()) return;
    Udp& udp = *it->second;
    const sockaddr_in address = toSockaddr(to);
    if (!udp.holdingSends) {
        ::sendto(udp.socket.native_handle(), data.data(), data.size(), 0,
                 reinterpret_cast<const sockaddr*>(&address),
                 sizeof address); // errors ignored
        return;
    }
    if (udp.outCount == udp.outData.size()) {
        udp.outData.emplace_back();
        udp.outTo.emplace_back();
    }
    udp.outData[udp.outCount].assign(data); // keeps the slot's capacity from batch to batch
    udp.outTo[udp.outCount] = address;
    ++udp.outCount;
}

uint16_t AsioNetwork::localPort(SocketId socket) const
{
    std::error_code ec;
    if (const auto it = m_udp.find(socket); it != m_udp.end())
        return it->second->socket.local_endpoint(ec).port();
    return localTcpPort(socket);
}

void AsioNetwork::close(SocketId socket)
{
    // Erasing destroys the Asio object, which cancels its pending wait; the handler then sees
    // operation_aborted and touches nothing.
    m_udp.erase(socket);
    closeTcp(socket);
}

// The DHCP sockets. On Linux a socket bound to an interface's own address never receives datagrams
// sent to 255.255.255.255, and a client without an address can only broadcast. So each DHCP socket
// is bound to the wildcard address, port 67, and tied to the interface that owns the address
// (SO_BINDTODEVICE): it hears that interface's broadcasts and nothing of the others, and its
// broadcast replies leave through that interface. SO_REUSEADDR lets one such socket per interface
// share the port.
SocketId AsioNetwork::bindDhcp(const std::string& address)
{
    constexpr uint16_t kServerPort = 67;
    const auto own = addressFromText(address);
    const std::string device = own ? interfaceOf(*own) : std::string();
    if (device.empty()) return kNoSocket;
    auto udp = std::make_unique<Udp>(m_loop.impl().io);
    std::error_code ec;
    udp->socket.open(asio::ip::udp::v4(), ec);
    if (!ec) udp->socket.set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) udp->socket.set_option(asio::socket_base::broadcast(true), ec);
    if (!ec && ::setsockopt(udp->socket.native_handle(), SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                            static_cast<socklen_t>(device.size())) != 0)
        return kNoSocket;
    if (!ec) udp->socket.bind({asio::ip::address_v4::any(), kServerPort}, ec);
    if (!ec) udp->socket.non_blocking(true, ec);
    if (ec) return kNoSocket;
    return addUdp(std::move(udp));
}

std::vector<std::string> AsioNetwork::localAddresses() const
{
    std::vector<std::string> addresses;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return addresses;
    for (const ifaddrs* i = list; i != nullptr; i = i->ifa_next) {
        if (i->ifa_addr == nullptr || i->ifa_addr->sa_family != AF_INET) continue;
        if ((i->ifa_flags & IFF_UP) == 0 || (i->ifa_flags & IFF_LOOPBACK) != 0) continue;
        const auto* in = reinterpret_cast<const sockaddr_in*>(i->ifa_addr);
        addresses.push_back(addressText(ntohl(in->sin_addr.s_addr)));
    }
    freeifaddrs(list);
    // A machine with no network still has itself, as the host-name lookup would say.
    if (addresses.empty()) addresses.emplace_back("127.0.0.1");
    return addresses;
}

} // namespace quorvane
