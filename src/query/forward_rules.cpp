#include "query/query_settings.h"

namespace quorvane {

const ForwardRule* forwardRuleFor(const std::vector<ForwardRule>& rules, std::string_view name)
{
    if (name.ends_with('.')) name.remove_suffix(1);
    const ForwardRule* best = nullptr;
    for (const auto& rule : rules) {
        const std::string& domain = rule.domain;
        const bool holds = name == domain || (name.size() > domain.size() && name.ends_with(domain) &&
                                              name[name.size() - domain.size() - 1] == '.');
        if (holds && (best == nullptr || domain.size() > best->domain.size())) best = &rule;
    }
    return best;
}

} // namespace quorvane
