// Reads arbitrary text as quorvane.ini. What the writer makes of the settings read must read back
// to the same settings. Any crash, sanitizer report, hang or difference is a finding.
#include "fuzz_support.h"
#include "host/ini_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    const std::string written = formatIni(parseIni(std::string(fuzz::bytesOf(data, size))), 53000);
    fuzz::check(formatIni(parseIni(written), 53000) == written);
    return 0;
}
