#include "service_notify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace quorvane {

ServiceNotifier::ServiceNotifier()
{
    const char* socket = std::getenv("NOTIFY_SOCKET");
    // A path, or '@' for a name in the abstract namespace; anything else is not for us.
    if (socket != nullptr && (socket[0] == '/' || socket[0] == '@') && socket[1] != '\0' &&
        std::strlen(socket) < sizeof(sockaddr_un::sun_path)) {
        m_address = socket;
        if (m_address[0] == '@') m_address[0] = '\0';
    }
    const char* usec = std::getenv("WATCHDOG_USEC");
    const char* pid = std::getenv("WATCHDOG_PID");
    m_watchdog = usec != nullptr && std::strtoull(usec, nullptr, 10) > 0 &&
                 (pid == nullptr || std::strtoll(pid, nullptr, 10) == getpid());
}

ServiceNotifier::~ServiceNotifier()
{
    if (m_fd >= 0) ::close(m_fd);
}

bool ServiceNotifier::send(std::string_view message)
{
    if (m_address.empty()) return false;
    if (m_fd < 0) m_fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (m_fd < 0) return false;
    sockaddr_un to{};
    to.sun_family = AF_UNIX;
    std::memcpy(to.sun_path, m_address.data(), m_address.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_address.size());
    return ::sendto(m_fd, message.data(), message.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&to),
                    length) == static_cast<ssize_t>(message.size());
}

} // namespace quorvane
