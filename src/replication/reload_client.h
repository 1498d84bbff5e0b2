// Reaching a running server from another program (quorvane-ctl, the records editor): the
// ReloadPort line of its quorvane.ini, and one datagram to that port on 127.0.0.1. Writes no file.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

struct ReloadPortLine {
    bool present = false; // a ReloadPort line was found
    uint16_t port = 0;    // 0 when the last such line holds no port number 1-65535
};

// The last ReloadPort line of a quorvane.ini text. The key is matched in any letter case with
// blanks around it, as the server reads its keys; the value must be digits only, blanks aside.
ReloadPortLine reloadPortIn(std::string_view iniText);

// The port from the server's settings file (iniName, in folder); nothing, with error saying why in
// one line, when there is none to use.
std::optional<uint16_t> reloadPortOf(const std::filesystem::path& folder, std::string_view iniName,
                                     std::string& error);

enum class SendOutcome { Sent, Refused, Failed };

struct SendResult {
    SendOutcome outcome = SendOutcome::Failed;
    std::string failure; // the system's reason with Failed
};

// Sends text as one datagram to 127.0.0.1:port. The server never answers, so the socket is
// connected and waits up to `wait` for the port-unreachable that says no one listens there
// (Refused). Sent means no such news came in that time.
SendResult sendToReloadPort(uint16_t port, std::string_view text, std::chrono::milliseconds wait);

} // namespace quorvane
