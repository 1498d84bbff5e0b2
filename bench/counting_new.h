// Counts every heap allocation of a benchmark program: link counting_new.cpp, which replaces
// operator new, and wrap the timed loop in an AllocationCount to report allocations per iteration.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>

namespace quorvane {

size_t allocationsSoFar();

class AllocationCount {
public:
    explicit AllocationCount(benchmark::State& state) : m_state(state), m_start(allocationsSoFar()) {}
    ~AllocationCount()
    {
        m_state.counters["allocs"] = benchmark::Counter(static_cast<double>(allocationsSoFar() - m_start),
                                                        benchmark::Counter::kAvgIterations);
    }
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

private:
    benchmark::State& m_state;
    size_t m_start;
};

} // namespace quorvane
