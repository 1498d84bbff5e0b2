#include "wire/clean_name.h"

namespace quorvane {

std::string CleanName(std::string_view text)
{
    std::string name;
    name.reserve(text.size());
    for (char c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.') name += c;
    }
    const auto first = name.find_first_not_of('.');
    if (first == std::string::npos) return {};
    name = name.substr(first, name.find_last_not_of('.') - first + 1);
    for (auto dots = name.find(".."); dots != std::string::npos; dots = name.find("..", dots))
        name.erase(dots, 1);
    return name;
}

} // namespace quorvane
