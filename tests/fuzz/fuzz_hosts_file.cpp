// Reads arbitrary text as a hosts file, one line at a time. Every line taken has an address of 4 or
// 16 bytes and names in normal form. Any crash, sanitizer report, hang or broken line is a finding.
#include "store/hosts_file.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(data), size);
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const auto line = quorvane::parseHostsLine(text.substr(0, end));
        if (line) {
            if (line->address.size() != 4 && line->address.size() != 16) __builtin_trap();
            if (line->names.empty()) __builtin_trap();
            for (const auto& name : line->names)
                if (name.empty() || name.back() != '.') __builtin_trap();
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return 0;
}
