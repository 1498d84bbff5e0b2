// What the query path needs from the program around it: the log, the client-facing DNS sockets and
// the tray. Queries to other servers go through OutgoingQueries instead.
// The engine implements it; tests use a recording fake.
#pragma once

#include "net/network.h"

#include <string>
#include <string_view>

namespace quorvane {

class QueryHost {
public:
    virtual ~QueryHost() = default;
    // True when a line of this level would be shown or written: test it before building text.
    virtual bool wants(int level) const = 0;
    virtual void AddLine(int level, const std::string& text) = 0;
    // Sends a reply from the DNS socket (UDP 53); send errors are the host's to log.
    virtual void sendDns(const Endpoint& to, std::string_view message) = 0;
    // Sends a reply on a client's TCP connection (framed there); nothing when it has closed.
    virtual void sendDnsTcp(SocketId connection, std::string_view message) = 0;
    virtual void DoTray(int state) = 0;
    // Appends lines to the day's side log (logs/yyyymmdd + suffix, e.g. "fail.log") when log files
    // are written; otherwise nothing.
    virtual void appendDailyLog(const std::string& suffix, const std::string& lines) = 0;
};

} // namespace quorvane
