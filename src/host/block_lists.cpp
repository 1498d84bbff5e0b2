// The worker thread that builds block lists for the engine.
#include "host/block_lists.h"

#include <malloc.h>

#include <utility>

namespace quorvane {

ThreadListLoader::~ThreadListLoader()
{
    if (m_fetcher != nullptr) m_fetcher->cancel(); // a slow server must not hold up closing
    if (m_worker.joinable()) m_worker.join();
}

FetchOutcomes fetchLists(const FilterSources& sources, ListFetcher* fetcher)
{
    FetchOutcomes outcomes;
    if (fetcher == nullptr) return outcomes;
    for (const std::string& source : sources.lists) {
        if (!isListAddress(source)) continue;
        const auto saved = listFile(source, sources.folder);
        std::error_code ignored;
        std::filesystem::create_directories(saved.parent_path(), ignored);
        outcomes.push_back(fetcher->fetch(source, saved));
        outcomes.back().source = source;
    }
    return outcomes;
}

void ThreadListLoader::load(FilterSources sources, bool fetch, FilterReady done)
{
    if (m_busy) {
        // A fetch asked for meanwhile is not lost to a plain reload asked for after it.
        const bool fetchToo = fetch || (m_next && m_next->fetch);
        m_next = Job{std::move(sources), fetchToo, std::move(done)};
        return;
    }
    m_busy = true;
    if (m_worker.joinable()) m_worker.join(); // the last build has already handed its result over
    m_worker = std::thread([this, job = Job{std::move(sources), fetch, std::move(done)}]() mutable {
        FetchOutcomes fetched = job.fetch ? fetchLists(job.sources, m_fetcher) : FetchOutcomes{};
        auto set = buildFilter(job.sources);
        // The tables outgrown while building are free but still resident in this thread's heap.
        malloc_trim(0);
        m_post([this, set = std::move(set), fetched = std::move(fetched), done = std::move(job.done)]() mutable {
            finished(std::move(set), std::move(fetched), std::move(done));
        });
    });
}

void ThreadListLoader::finished(std::shared_ptr<const FilterSet> set, FetchOutcomes fetched, FilterReady done)
{
    m_busy = false;
    std::shared_ptr<const FilterSet> old = std::exchange(m_delivered, set);
    done(std::move(set), std::move(fetched));
    if (m_worker.joinable()) m_worker.join(); // it has only the posting of this call left to finish
    // Freeing millions of names takes milliseconds: not on the engine thread. The memory goes back
    // to the system now, not at some later point.
    m_worker = std::thread([old = std::move(old)]() mutable {
        old.reset();
        malloc_trim(0);
    });
    if (!m_next) return;
    Job next = std::move(*m_next);
    m_next.reset();
    load(std::move(next.sources), next.fetch, std::move(next.done));
}

} // namespace quorvane
