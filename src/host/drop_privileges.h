// Leaving root: the server takes on the identity of the user named by "User:" in quorvane.ini and
// keeps only the capabilities its ports need (DNS on 53, DHCP on 67 on a named interface,
// broadcasts), so that it binds them, and binds them again after a pause, without being root.
// Done before start-up, so that every file the server makes belongs to that user. No network.
#pragma once

#include <string>

namespace quorvane {

enum class DropOutcome {
    NotAsked, // no user named
    Dropped, // now running as that user with only the kept capabilities
    NotRoot, // not started as root: nothing to drop, nothing done
    Failed,  // still privileged or half-way: the program must not go on
};

struct DropResult {
    DropOutcome outcome;
    std::string logLine; // what the log says about it
};

// Switches every thread of the process to user userName (its group and supplementary groups), keeps
// only CAP_NET_BIND_SERVICE, CAP_NET_RAW and CAP_NET_BROADCAST, and drops every other capability
// from the bounding set. Call it while the process has one thread: capabilities are per thread.
DropResult dropPrivileges(const std::string& userName);

} // namespace quorvane
