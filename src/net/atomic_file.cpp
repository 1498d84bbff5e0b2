#include "net/atomic_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace quorvane {

bool writeFileAtomically(const std::filesystem::path& path, std::string_view content)
{
    const std::filesystem::path temp = path.string() + ".tmp";
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool ok = true;
    for (size_t done = 0; ok && done < content.size();) {
        const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        ok = n > 0;
        if (ok) done += static_cast<size_t>(n);
    }
    ok = ok && ::fsync(fd) == 0; // the data must be on disk before the rename makes it current
    ok = ::close(fd) == 0 && ok;
    if (ok) ok = std::rename(temp.c_str(), path.c_str()) == 0;
    if (!ok) {
        const int failure = errno; // the caller reports why: ENOSPC on a full disk
        ::unlink(temp.c_str());
        errno = failure;
    }
    return ok;
}

} // namespace quorvane
