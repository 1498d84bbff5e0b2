// Feeds arbitrary bytes to the handling of answers from other servers, as the answer to a question
// that is waiting for one: the input is the answer's flags, its three record counts and its records,
// after the identifier and question that the server expects. The first input byte also picks
// forwarding or resolution from the root, so that referrals and sub-requests are reached, and
// switches the additions (AAAA with SRV and CAA, EDNS, TCP, hardening) on or off; one bit hands the answer in as if
// it came over TCP. The raw input is offered as a whole message too. Any crash, sanitizer report or
// hang is a finding.
#include "fuzz_support.h"
#include "wire/names.h"
#include "wire/numbers.h"

namespace {

using namespace quorvane;

struct Rig : test::DnsFixture
{
    Rig()
    {
        store.CacheAddF(".", rtype::NS, 3600000, "a.root.", 0, true);
        store.CacheAddF("a.root.", rtype::A, 3600000, std::string("\x7f\x00\x00\x02", 4), 0, true);
    }
};

const std::string kName = "www.example.test.";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Rig r;
    const std::string_view input = fuzz::bytesOf(data, size);
    if (input.size() < 8) return 0;

    QuerySettings settings;
    settings.forwarding = (input[0] & 1) != 0;
    settings.forwarders = {"127.0.0.3"};
    settings.spoofSecure = (input[0] & 2) != 0;
    settings.aaaa = settings.moreTypes = (input[0] & 4) != 0;
    settings.edns = (input[0] & 8) != 0;
    settings.tcpQueries = (input[0] & 16) != 0;
    settings.hardening = (input[0] & 32) != 0;
    const bool viaTcp = (input[0] & 64) != 0;
    r.dns.configure(settings);
    r.rig.outgoing.open(settings.hardening);
    r.dns.clearPending();
    r.store.clearCache();

    r.dns.ProcReq({0x0A000005, 4000}, test::makeQuery(1, kName, rtype::A, true));
    if (r.dns.resolver().PendingRequests.empty()) return 0;

    // The answer to the query just sent: its identifier and question, then the input.
    const int32_t id = r.dns.resolver().PendingRequests.front().CurOutID;
    Bytes answer = MakeShort(id) + std::string(input.substr(0, 2)) + MakeShort(1) + std::string(input.substr(2, 6)) +
                   ZipName(kName, "") + MakeShort(1) + MakeShort(1) + std::string(input.substr(8));
    answer[2] = static_cast<char>(answer[2] | 0x80);
    r.dns.ProcAns({0x7F000002, 53}, answer, viaTcp);
    r.dns.ProcAns({0x7F000002, 53}, input, viaTcp);
    r.dns.retryWaiting();
    fuzz::forget(r);
    return 0;
}
