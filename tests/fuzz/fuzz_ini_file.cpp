// Reads arbitrary text as quorvane.ini. What the writer makes of the settings read must read back
// to the same settings. Any crash, sanitizer report, hang or difference is a finding.
#include "host/ini_file.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    const Settings read = parseIni(std::string(reinterpret_cast<const char*>(data), size));
    const std::string written = formatIni(read, 53000);
    if (formatIni(parseIni(written), 53000) != written) __builtin_trap();
    return 0;
}
