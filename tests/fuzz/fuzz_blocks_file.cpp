// Reads arbitrary bytes as the flood block list "blocks.dat", writes the list and reads it again:
// the second reading must give the same list. Any crash, sanitizer report, hang or difference is a
// finding.
#include "fuzz_support.h"
#include "query/flood_guard.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    static const test::TempFolder dir;
    dir.write("in.dat", std::string(fuzz::bytesOf(data, size)));
    FloodGuard first([](const std::string&) {}, [](const std::string&) {});
    first.LoadBlocks(dir.path() / "in.dat");
    fuzz::check(first.SaveBlocks(dir.path() / "out.dat"));
    FloodGuard second([](const std::string&) {}, [](const std::string&) {});
    second.LoadBlocks(dir.path() / "out.dat");
    fuzz::check(second.BlockList() == first.BlockList());
    return 0;
}
