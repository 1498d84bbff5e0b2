#include "host/drop_privileges.h"

#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace quorvane {

namespace {

constexpr int kKept[] = {CAP_NET_BIND_SERVICE, CAP_NET_RAW, CAP_NET_BROADCAST};
constexpr const char* kKeptNames = "CAP_NET_BIND_SERVICE, CAP_NET_RAW and CAP_NET_BROADCAST";

bool kept(int capability)
{
    for (int k : kKept)
        if (k == capability) return true;
    return false;
}

// Permitted and effective sets of this thread become exactly the kept capabilities; none inheritable.
bool keepOnlyNeeded()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    for (int capability : kKept) {
        const auto bit = 1u << (capability % 32);
        data[capability / 32].permitted |= bit;
        data[capability / 32].effective |= bit;
    }
    return syscall(SYS_capset, &header, data) == 0;
}

DropResult failed(const std::string& userName, const std::string& why)
{
    return {DropOutcome::Failed, "Cannot switch to user " + userName + ": " + why + " - not started."};
}

std::string systemError(const char* step)
{
    return std::string(step) + " failed (" + std::strerror(errno) + ")";
}

} // namespace

DropResult dropPrivileges(const std::string& userName)
{
    if (userName.empty()) return {DropOutcome::NotAsked, ""};
    if (geteuid() != 0)
        return {DropOutcome::NotRoot, "User: " + userName + " ignored - the program was not started as root."};

    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    const int lookup = getpwnam_r(userName.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (found == nullptr) return failed(userName, lookup == 0 ? "no such user" : std::strerror(lookup));
    if (entry.pw_uid == 0) return failed(userName, "that user is root");

    // Capabilities past the kernel's last one answer EINVAL, which ends the walk.
    for (int capability = 0; capability < 64; ++capability)
        if (!kept(capability) && prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0 && errno == EINVAL) break;
    if (prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) != 0) return failed(userName, systemError("keeping capabilities"));
    if (initgroups(entry.pw_name, entry.pw_gid) != 0) return failed(userName, systemError("initgroups"));
    if (setresgid(entry.pw_gid, entry.pw_gid, entry.pw_gid) != 0) return failed(userName, systemError("setresgid"));
    if (setresuid(entry.pw_uid, entry.pw_uid, entry.pw_uid) != 0) return failed(userName, systemError("setresuid"));
    if (!keepOnlyNeeded()) return failed(userName, systemError("capset"));
    prctl(PR_SET_KEEPCAPS, 0, 0, 0, 0);
    prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    // The way back must be closed; if root can still be had, something above did not take.
    if (setresuid(0, 0, 0) == 0) return failed(userName, "root could be taken back");

    return {DropOutcome::Dropped, "Running as user " + userName + " (uid " + std::to_string(entry.pw_uid) +
                                      "), keeping only " + kKeptNames + "."};
}

} // namespace quorvane
