// Reads arbitrary bytes as the flood block list "blocks.dat", writes the list and reads it again:
// the second reading must give the same list. Any crash, sanitizer report, hang or difference is a
// finding.
#include "fuzz_support.h"
#include "query/flood_guard.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    static const std::filesystem::path dir = fuzz::scratchFolder("quorvane-fuzz-blocks-file");
    std::ofstream(dir / "in.dat", std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    FloodGuard first([](const std::string&) {}, [](const std::string&) {});
    first.LoadBlocks(dir / "in.dat");
    if (!first.SaveBlocks(dir / "out.dat")) __builtin_trap();
    FloodGuard second([](const std::string&) {}, [](const std::string&) {});
    second.LoadBlocks(dir / "out.dat");
    if (second.BlockList() != first.BlockList()) __builtin_trap();
    return 0;
}
