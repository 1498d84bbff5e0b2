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

using FilterReady = std::function<void(std::shared_ptr<const FilterSet>)>;

// Builds filter sets; done is called on the engine thread.
class ListLoader {
public:
    virtual ~ListLoader() = default;
    virtual void load(FilterSources sources, FilterReady done) = 0;
};

// Builds at once, on the calling thread: the engine's default, and the tests'.
class InlineListLoader : public ListLoader {
public:
    void load(FilterSources sources, FilterReady done) override { done(buildFilter(sources)); }
};

// Builds on a worker thread and hands the result to the engine thread through post (which must
// be callable from any thread). One build at a time; of loads asked for meanwhile only the last
// is made, once the running one has finished.
class ThreadListLoader : public ListLoader {
public:
    using Post = std::function<void(std::function<void()>)>;
    explicit ThreadListLoader(Post post) : m_post(std::move(post)) {}
    ~ThreadListLoader() override;
    ThreadListLoader(const ThreadListLoader&) = delete;
    ThreadListLoader& operator=(const ThreadListLoader&) = delete;
    void load(FilterSources sources, FilterReady done) override;

private:
    void finished(std::shared_ptr<const FilterSet> set, FilterReady done);

    Post m_post;
    std::thread m_worker;
    bool m_busy = false; // engine thread only, like m_next
    std::optional<std::pair<FilterSources, FilterReady>> m_next;
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
