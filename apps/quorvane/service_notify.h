// Tells a service manager that starts us (systemd with Type=notify) how the server is doing: one
// datagram per message to the socket that $NOTIFY_SOCKET names. Without that variable it does nothing.
#pragma once

#include <string>
#include <string_view>

namespace quorvane {

class ServiceNotifier {
public:
    // Reads $NOTIFY_SOCKET, and $WATCHDOG_USEC (with $WATCHDOG_PID, when set, naming this process).
    ServiceNotifier();
    ~ServiceNotifier();
    ServiceNotifier(const ServiceNotifier&) = delete;
    ServiceNotifier& operator=(const ServiceNotifier&) = delete;

    void ready() { send("READY=1"); }
    void stopping() { send("STOPPING=1"); }
    void status(const std::string& text) { send("STATUS=" + text); }
    // Pets the watchdog; sent only when the manager asked for it.
    void watchdog()
    {
        if (m_watchdog) send("WATCHDOG=1");
    }

    // One datagram; false when there is no socket to send to or the send failed. Never throws.
    bool send(std::string_view message);

private:
    std::string m_address; // a path, or an abstract name starting with '\0'; empty: no manager
    bool m_watchdog = false;
    int m_fd = -1;
};

} // namespace quorvane
