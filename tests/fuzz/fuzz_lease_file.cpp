// Reads arbitrary text as the lease file "dhcp.dat", then writes the table and reads it again: the
// second reading must give the same file. Any crash, sanitizer report, hang or difference is a
// finding.
#include "dhcp/lease_table.h"
#include "fuzz_support.h"

#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    std::istringstream in{std::string(fuzz::bytesOf(data, size))};
    LeaseTable table;
    table.load(in);
    const std::string written = table.fileText();
    std::istringstream again(written);
    LeaseTable reread;
    reread.load(again);
    fuzz::check(reread.fileText() == written);
    return 0;
}
