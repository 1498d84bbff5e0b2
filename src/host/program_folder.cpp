#include "host/program_folder.h"

#include <cstdlib>
#include <system_error>

namespace quorvane {

std::filesystem::path programFolder(const std::filesystem::path& dirArgument,
                                    const std::filesystem::path& executable)
{
    if (!dirArgument.empty()) return dirArgument;
    if (const char* env = std::getenv("QUORVANE_DIR"); env != nullptr && *env != '\0') return env;
    // Both paths come from the build's install prefix, so a build tree never matches.
    if (executable.parent_path().lexically_normal() == std::filesystem::path(QUORVANE_INSTALL_BINDIR))
        return QUORVANE_INSTALL_STATEDIR;
    return executable.parent_path();
}

std::filesystem::path executablePath(const char* argv0)
{
    std::error_code ec;
    auto path = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::absolute(argv0) : path;
}

} // namespace quorvane
