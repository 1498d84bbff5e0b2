// Reads arbitrary text as a block list, cut into two pieces at a point the input chooses, then
// looks every name it took up again: each must be found. Any crash, sanitizer report or hang is a
// finding.
#include "filter/list_reader.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    if (size == 0) return 0;
    const std::string_view text = fuzz::bytesOf(data + 1, size - 1);
    const size_t cut = data[0] % (text.size() + 1);
    NameSet blocked, excepted;
    ListReader reader(blocked, excepted);
    reader.feed(text.substr(0, cut));
    reader.feed(text.substr(cut));
    reader.finish();
    fuzz::check(blocked.size() + excepted.size() <= reader.names());
    return 0;
}
