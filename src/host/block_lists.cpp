// The worker thread that builds block lists for the engine.
#include "host/block_lists.h"

#include <malloc.h>

namespace quorvane {

ThreadListLoader::~ThreadListLoader()
{
    if (m_worker.joinable()) m_worker.join();
}

void ThreadListLoader::load(FilterSources sources, FilterReady done)
{
    if (m_busy) {
        m_next.emplace(std::move(sources), std::move(done));
        return;
    }
    m_busy = true;
    if (m_worker.joinable()) m_worker.join(); // the last build has already handed its result over
    m_worker = std::thread([this, sources = std::move(sources), done = std::move(done)]() mutable {
        auto set = buildFilter(sources);
        // The tables outgrown while building are free but still resident in this thread's heap.
        malloc_trim(0);
        m_post([this, set = std::move(set), done = std::move(done)]() mutable {
            finished(std::move(set), std::move(done));
        });
    });
}

void ThreadListLoader::finished(std::shared_ptr<const FilterSet> set, FilterReady done)
{
    m_busy = false;
    done(std::move(set));
    malloc_trim(0); // and the old set's memory goes back to the system now, not at some later point
    if (!m_next) return;
    auto [sources, next] = std::move(*m_next);
    m_next.reset();
    load(std::move(sources), std::move(next));
}

} // namespace quorvane
