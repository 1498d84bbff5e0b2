// Reads arbitrary text as the lease file "dhcp.dat", then writes the table and reads it again: the
// second reading must give the same file. Any crash, sanitizer report, hang or difference is a
// finding.
#include "dhcp/lease_table.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    LeaseTable table;
    table.load(in);
    const std::string written = table.fileText();
    std::istringstream again(written);
    LeaseTable reread;
    reread.load(again);
    if (reread.fileText() != written) std::abort();
    return 0;
}
