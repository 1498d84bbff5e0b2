#include "replication/reload_client.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quorvane {

namespace {

std::string_view trim(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

bool isReloadPortKey(std::string_view key)
{
    constexpr std::string_view kKey = "reloadport";
    if (key.size() != kKey.size()) return false;
    for (size_t i = 0; i < key.size(); ++i)
        if ((key[i] | 0x20) != kKey[i]) return false;
    return true;
}

uint16_t portNumber(std::string_view value)
{
    if (value.empty() || value.size() > 5) return 0;
    unsigned number = 0;
    for (char c : value) {
        if (c < '0' || c > '9') return 0;
        number = number * 10 + static_cast<unsigned>(c - '0');
    }
    return number <= 65535 ? static_cast<uint16_t>(number) : 0;
}

// Closes the socket on every way out.
struct SocketHandle {
    int fd;
    ~SocketHandle()
    {
        if (fd >= 0) ::close(fd);
    }
};

SendResult failed(const char* step)
{
    return {SendOutcome::Failed, std::string(step) + ": " + std::strerror(errno)};
}

// The server reads no more of its settings file than this; neither do we.
constexpr std::streamsize kMaxIniBytes = 4 << 20;

} // namespace

std::optional<uint16_t> reloadPortOf(const std::filesystem::path& folder, std::string_view iniName,
                                     std::string& error)
{
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        error = "program folder " + folder.string() + " does not exist";
        return std::nullopt;
    }
    const auto ini = folder / iniName;
    if (!std::filesystem::is_regular_file(ini, ec)) {
        error = "no " + std::string(iniName) + " in " + folder.string() + " (has Quorvane run there?)";
        return std::nullopt;
    }
    std::ifstream in(ini, std::ios::binary);
    std::string text(static_cast<size_t>(kMaxIniBytes), '\0');
    in.read(text.data(), kMaxIniBytes);
    if (in.bad()) {
        error = "cannot read " + ini.string();
        return std::nullopt;
    }
    text.resize(static_cast<size_t>(in.gcount()));
    const ReloadPortLine line = reloadPortIn(text);
    if (!line.present) error = ini.string() + " has no ReloadPort line (is Quorvane running there?)";
    else if (line.port == 0) error = ini.string() + ": ReloadPort holds no port (the server has none open)";
    return line.port != 0 ? std::optional<uint16_t>(line.port) : std::nullopt;
}

ReloadPortLine reloadPortIn(std::string_view iniText)
{
    ReloadPortLine found;
    while (!iniText.empty()) {
        const auto end = iniText.find('\n');
        const std::string_view line = iniText.substr(0, end);
        iniText = end == std::string_view::npos ? std::string_view() : iniText.substr(end + 1);
        const auto colon = line.find(':');
        if (colon == std::string_view::npos || !isReloadPortKey(trim(line.substr(0, colon)))) continue;
        found = {true, portNumber(trim(line.substr(colon + 1)))};
    }
    return found;
}

SendResult sendToReloadPort(uint16_t port, std::string_view text, std::chrono::milliseconds wait)
{
    SocketHandle socket{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (socket.fd < 0) return failed("socket");
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Connected, the socket is told of the ICMP port-unreachable that an unconnected one never sees.
    if (::connect(socket.fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
        return failed("connect");
    if (::send(socket.fd, text.data(), text.size(), 0) < 0)
        return errno == ECONNREFUSED ? SendResult{SendOutcome::Refused, {}} : failed("send");

    pollfd ready{socket.fd, POLLIN, 0};
    const int events = ::poll(&ready, 1, static_cast<int>(wait.count()));
    if (events < 0) return failed("poll");
    if (events == 0) return {SendOutcome::Sent, {}};
    char answer[512];
    if (::recv(socket.fd, answer, sizeof answer, MSG_DONTWAIT) < 0 && errno == ECONNREFUSED)
        return {SendOutcome::Refused, {}};
    return {SendOutcome::Sent, {}}; // something answered: not the news that no one listens
}

} // namespace quorvane
