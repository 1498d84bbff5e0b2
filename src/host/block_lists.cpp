// The worker thread that builds block lists for the engine.
#include "host/block_lists.h"

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
        m_post([this, set = std::move(set), done = std::move(done)]() mutable {
            finished(std::move(set), std::move(done));
        });
    });
}

void ThreadListLoader::finished(std::shared_ptr<const FilterSet> set, FilterReady done)
{
    m_busy = false;
    // The old set may be large: it is freed here only if the engine let go of it in done.
    done(std::move(set));
    if (!m_next) return;
    auto [sources, next] = std::move(*m_next);
    m_next.reset();
    load(std::move(sources), std::move(next));
}

} // namespace quorvane
