// Feeds arbitrary datagrams to the DHCP server's socket, as clients' requests would arrive: the
// reader, the dispatch and the lease table behind it. The scope is small, so offers, NAKs, a full
// scope and declined addresses are all reached. Also checks that the server never hands out an
// address outside its scope or its own address. The same bytes, read as an option code and a
// value, go to the encoder of the operator's added options. Any crash, sanitizer report or hang is
// a finding.
#include "dhcp/dhcp_server.h"
#include "fuzz_support.h"
#include "wire/addresses.h"

namespace {

using namespace quorvane;

struct Server
{
    Server()
    {
        network.addresses = {"10.0.0.1"};
        server.bind({{.IPaddr = "10.0.0.1", .Domain = ".fuzz.lan", .ScopeFrom = "10.0.0.100",
                      .ScopeTo = "10.0.0.103", .Subnet = "255.255.255.0", .Gateway = "10.0.0.254", .TTL = 600,
                      .Enable = true}});
    }
    test::FakeClock clock;
    test::FakeNetwork network;
    DhcpServer server{network, clock, [](int, const std::string&) {}, [] {},
                      [](std::string_view name) { return name == "www.fuzz.lan."; }};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Server s;
    s.server.DataArrival(s.network.findOpen(false, 67), fuzz::bytesOf(data, size));
    s.server.purge();
    for (const auto& reply : s.network.sent) {
        fuzz::check(reply.data.size() >= 20);
        const auto offered = addressFromText(DataToIP(reply.data.substr(16, 4)));
        fuzz::check(offered && (*offered == 0 || (*offered >= 0x0A000064 && *offered <= 0x0A000067)));
    }
    s.network.sent.clear();
    if (size > 0) (void)encodeDhcpOption(data[0], fuzz::bytesOf(data + 1, size - 1));
    return 0;
}
