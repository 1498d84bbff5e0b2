// The engine's block lists: loads asked for at start, on reload and when the lists change in the
// options, and fetches of the lists at addresses when due or asked for; built by the list loader
// and swapped in whole on the engine thread.
#include "host/engine.h"

#include <algorithm>

namespace quorvane {

namespace {

// A failed fetch is tried again after an hour.
constexpr double kFetchRetrySeconds = 3600;

} // namespace

BlockAnswer blockAnswerOf(const std::string& setting)
{
    if (setting == "NXDOMAIN") return BlockAnswer::NameError;
    if (setting == "REFUSED") return BlockAnswer::Refused;
    return BlockAnswer::Zero;
}

void Engine::loadBlockLists(bool fetch)
{
    const uint64_t generation = ++m_listGeneration;
    const auto& lists = m_settings.BLOCKLIST;
    const bool addresses = std::any_of(lists.begin(), lists.end(), isListAddress);
    // The saved copies serve until the first tick fetches them: a start never waits for the network.
    if (fetch || !addresses)
        m_nextFetch = 0; // planned again when this fetch has ended
    else if (m_nextFetch == 0)
        m_nextFetch = m_clock.now();
    // Without lists the loader still runs, to an empty set: it is the loader that lets go of the old one.
    FilterSources sources{lists, m_settings.ALLOWLIST, m_options.programFolder};
    m_listLoader->load(std::move(sources), fetch,
                       [this, generation](std::shared_ptr<const FilterSet> set, FetchOutcomes fetched) {
                           guarded("modFilter LoadLists", [&] {
                               noteFetches(fetched);
                               if (generation == m_listGeneration) swapBlockLists(std::move(set));
                           });
                       });
}

void Engine::fetchListsWhenDue(DateTime now)
{
    if (m_nextFetch == 0 || now < m_nextFetch) return;
    loadBlockLists(true);
}

// A failure is logged once with its reason, until the list is fetched again or fails otherwise.
void Engine::noteFetches(const FetchOutcomes& fetched)
{
    if (fetched.empty()) return;
    const DateTime now = m_clock.now();
    bool failed = false;
    for (const FetchOutcome& outcome : fetched) {
        std::string& last = m_lastFetch[outcome.source];
        if (outcome.ok) {
            last = (outcome.changed ? "fetched " : "not modified, checked ") + dateTimeText(now);
            continue;
        }
        failed = true;
        const std::string text = "failed: " + outcome.error;
        if (!last.starts_with(text)) AddLine(0, "Block list " + outcome.source + ": fetch " + text);
        last = text + ", " + dateTimeText(now);
    }
    const double hours = m_settings.BLOCKLISTUPDATE;
    m_nextFetch = addSeconds(now, failed ? kFetchRetrySeconds : hours * 3600);
}

void Engine::swapBlockLists(std::shared_ptr<const FilterSet> set)
{
    m_blockLists.swap(set != nullptr && !set->lists.empty() ? std::move(set) : nullptr);
    const FilterSet* lists = m_blockLists.current();
    m_dns.answerer().setFilter(lists != nullptr ? &m_blockLists : nullptr);
    m_blockListReport.clear();
    if (lists == nullptr) return sendOptions();
    const std::string when = dateTimeText(m_clock.now());
    for (const ListCount& list : lists->lists) {
        const std::string line = list.source + ": " +
                                 (list.read ? std::to_string(list.names) + " names (" + std::to_string(list.skipped) +
                                                  " lines skipped)"
                                            : std::string("cannot be read"));
        AddLine(0, "Block list " + line);
        const auto fetch = m_lastFetch.find(list.source);
        m_blockListReport.push_back(line + ", read " + when +
                                    (fetch != m_lastFetch.end() ? ", last fetch " + fetch->second : ""));
    }
    sendOptions(); // the options dialog shows each list's result
}

} // namespace quorvane
