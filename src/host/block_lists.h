// The block lists of the engine: the filter set the answerer consults, replaced whole when a new
// one has been built. Building happens off the engine thread through a ListLoader; the engine
// itself only swaps a pointer.
#pragma once

#include "filter/filter_set.h"
#include "query/name_filter.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace quorvane {

// What fetching one list at an address gave.
struct FetchOutcome {
    std::string source;
    bool ok = false;
    bool changed = false; // false: the server said the saved copy is current
    std::string error;    // why it failed
};
using FetchOutcomes = std::vector<FetchOutcome>;

// Fetches a list at an address into its saved copy, replacing it only with a whole new one.
// Blocks: runs on the loader's worker thread.
class ListFetcher {
public:
    virtual ~ListFetcher() = default;
    virtual FetchOutcome fetch(const std::string& address, const std::filesystem::path& savedCopy) = 0;
    // From any thread, when the program closes: a fetch under way ends soon, later ones at once.
    virtual void cancel() {}
};

using FilterReady = std::function<void(std::shared_ptr<const FilterSet>, FetchOutcomes)>;

// Builds filter sets, after fetching the lists at addresses again when fetch is set (and a
// fetcher is there); done is called on the engine thread.
class ListLoader {
public:
    virtual ~ListLoader() = default;
    virtual void load(FilterSources sources, bool fetch, FilterReady done) = 0;
};

// Fetches (through fetcher, when given) and builds at once, on the calling thread.
FetchOutcomes fetchLists(const FilterSources& sources, ListFetcher* fetcher);

// Builds at once, on the calling thread: the engine's default, and the tests'.
class InlineListLoader : public ListLoader {
public:
    void load(FilterSources sources, bool fetch, FilterReady done) override
    {
        FetchOutcomes fetched = fetch ? fetchLists(sources, fetcher) : FetchOutcomes{};
        done(buildFilter(sources), std::move(fetched));
    }
    ListFetcher* fetcher = nullptr;
};

// Builds on a worker thread and hands the result to the engine thread through post (which must
// be callable from any thread). One build at a time; of loads asked for meanwhile only the last
// is made, once the running one has finished.
class ThreadListLoader : public ListLoader {
public:
    using Post = std::function<void(std::function<void()>)>;
    ThreadListLoader(Post post, ListFetcher* fetcher) : m_post(std::move(post)), m_fetcher(fetcher) {}
    ~ThreadListLoader() override;
    ThreadListLoader(const ThreadListLoader&) = delete;
    ThreadListLoader& operator=(const ThreadListLoader&) = delete;
    void load(FilterSources sources, bool fetch, FilterReady done) override;

private:
    struct Job {
        FilterSources sources;
        bool fetch;
        FilterReady done;
    };
    void finished(std::shared_ptr<const FilterSet> set, FetchOutcomes fetched, FilterReady done);

    Post m_post;
    ListFetcher* m_fetcher;
    std::thread m_worker;
    bool m_busy = false; // engine thread only, like m_next
    std::optional<Job> m_next;
    // The set handed over last, held here too so that the engine thread never frees a set: once
    // the next one is in, a thread of its own lets go of it.
    std::shared_ptr<const FilterSet> m_delivered;
};

// The answerer's view of the current set.
class BlockLists : public NameFilter {
public:
    std::string_view blockedBy(std::string_view name) override
    {
        return m_set ? m_set->blockedBy(name, m_scratch) : std::string_view{};
    }
    void swap(std::shared_ptr<const FilterSet> set) { m_set = std::move(set); }
    const FilterSet* current() const { return m_set.get(); }

private:
    std::shared_ptr<const FilterSet> m_set;
    std::string m_scratch;
};

} // namespace quorvane
