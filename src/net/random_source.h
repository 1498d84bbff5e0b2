// Unpredictable numbers from the system's random source, read a block at a time so that a busy
// server makes one system call per 64 numbers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quorvane {

class RandomSource {
public:
    uint32_t next();
    // A number from 0 to bound - 1 (bound above 0), without the bias of a plain remainder.
    uint32_t below(uint32_t bound);

private:
    std::array<uint32_t, 64> m_block{};
    size_t m_left = 0;
};

} // namespace quorvane
