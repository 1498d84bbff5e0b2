#include "counting_new.h"

#include <cstdlib>
#include <new>

namespace {
size_t g_allocations = 0;
}

void* operator new(size_t size)
{
    ++g_allocations;
    if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, size_t) noexcept
{
    std::free(block);
}

size_t quorvane::allocationsSoFar()
{
    return g_allocations;
}
