// Feeds arbitrary bytes to the intake of client queries as one datagram, with the additions for
// today's clients picked by the first byte: EDNS (OPT records of any shape, several of them,
// options running past their end), AAAA with SRV and CAA, and questions answered over TCP. The zone
// served holds enough records that replies are cut. Any crash, sanitizer report or hang is a
// finding.
#include "fuzz_support.h"

namespace {

using namespace quorvane;

struct Server : test::DnsFixture
{
    Server()
    {
        StoreSettings settings;
        settings.aaaa = settings.moreTypes = true;
        store.configure(settings);
        const auto add = [this](const char* owner, int16_t type, std::string data) {
            store.CacheAddF(owner, type, 60, std::move(data), 0, true);
        };
        add("fuzz.test.", rtype::SOA, std::string("ns.fuzz.test.\0admin.fuzz.test.\0", 31) + std::string(20, '\1'));
        for (int i = 0; i < 60; ++i) {
            add("many.fuzz.test.", rtype::A, std::string("\x0a\x00\x00", 3) + static_cast<char>(i));
            add("many.fuzz.test.", rtype::AAAA, std::string(15, '\x20') + static_cast<char>(i));
        }
        add("fuzz.test.", rtype::SRV, std::string("\0\1\0\2\0\3many.fuzz.test.", 21));
        add("fuzz.test.", rtype::CAA, std::string("\0\5issueca.fuzz.test.", 20));
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Server s;
    if (size < 1) return 0;
    const std::string_view input = fuzz::bytesOf(data, size);
    QuerySettings settings;
    settings.recursion = "<none>";
    settings.edns = (input[0] & 1) != 0;
    settings.aaaa = settings.moreTypes = (input[0] & 2) != 0;
    settings.tcpQueries = (input[0] & 4) != 0;
    s.dns.configure(settings);
    const SocketId tcp = (input[0] & 8) != 0 ? 7 : kNoSocket;
    s.dns.ProcReq({0x0A000005, 4000}, input.substr(1), tcp);
    s.dns.clearPending();
    fuzz::forget(s);
    return 0;
}
