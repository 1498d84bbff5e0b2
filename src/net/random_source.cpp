#include "net/random_source.h"

#include <cerrno>
#include <sys/random.h>
#include <system_error>

namespace quorvane {

uint32_t RandomSource::next()
{
    if (m_left == 0) {
        auto* bytes = reinterpret_cast<char*>(m_block.data());
        size_t filled = 0;
        while (filled < sizeof m_block) {
            const ssize_t got = getrandom(bytes + filled, sizeof m_block - filled, 0);
            if (got < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "getrandom");
            if (got > 0) filled += static_cast<size_t>(got);
        }
        m_left = m_block.size();
    }
    return m_block[--m_left];
}

uint32_t RandomSource::below(uint32_t bound)
{
    const uint32_t limit = UINT32_MAX - UINT32_MAX % bound; // values from here on would favour the low ones
    uint32_t value = next();
    while (value >= limit) value = next();
    return value % bound;
}

} // namespace quorvane
