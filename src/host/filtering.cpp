// The engine's block lists: loads asked for at start, on reload and when the lists change in the
// options, built by the list loader, and swapped in whole on the engine thread.
#include "host/engine.h"

namespace quorvane {

BlockAnswer blockAnswerOf(const std::string& setting)
{
    if (setting == "NXDOMAIN") return BlockAnswer::NameError;
    if (setting == "REFUSED") return BlockAnswer::Refused;
    return BlockAnswer::Zero;
}

void Engine::loadBlockLists()
{
    const uint64_t generation = ++m_listGeneration;
    if (m_settings.BLOCKLIST.empty()) return swapBlockLists(nullptr);
    FilterSources sources{m_settings.BLOCKLIST, m_settings.ALLOWLIST, m_options.programFolder};
    m_listLoader->load(std::move(sources), [this, generation](std::shared_ptr<const FilterSet> set) {
        if (generation != m_listGeneration) return; // the lists changed again meanwhile
        guarded("modFilter LoadLists", [&] { swapBlockLists(std::move(set)); });
    });
}

void Engine::swapBlockLists(std::shared_ptr<const FilterSet> set)
{
    m_blockLists.swap(std::move(set));
    const FilterSet* lists = m_blockLists.current();
    m_dns.answerer().setFilter(lists != nullptr ? &m_blockLists : nullptr);
    m_blockListReport.clear();
    if (lists == nullptr) return;
    const std::string when = dateTimeText(m_clock.now());
    for (const ListCount& list : lists->lists) {
        const std::string line = list.source + ": " +
                                 (list.read ? std::to_string(list.names) + " names (" + std::to_string(list.skipped) +
                                                  " lines skipped)"
                                            : std::string("cannot be read"));
        AddLine(0, "Block list " + line);
        m_blockListReport.push_back(line + ", read " + when);
    }
}

} // namespace quorvane
