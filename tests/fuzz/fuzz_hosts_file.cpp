// Reads arbitrary text as a hosts file, one line at a time. Every line taken has an address of 4 or
// 16 bytes and names in normal form. Any crash, sanitizer report, hang or broken line is a finding.
#include "fuzz_support.h"
#include "store/hosts_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using quorvane::fuzz::check;
    std::string_view text = quorvane::fuzz::bytesOf(data, size);
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (const auto line = quorvane::parseHostsLine(text.substr(0, end))) {
            check(line->address.size() == 4 || line->address.size() == 16);
            check(!line->names.empty());
            for (const auto& name : line->names)
                check(!name.empty() && name.back() == '.');
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return 0;
}
