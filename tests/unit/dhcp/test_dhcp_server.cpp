#include "dhcp/dhcp_server.h"
#include "dhcp_test_support.h"

#include "support/fake_clock.h"
#include "support/fake_network.h"

#include <gtest/gtest.h>

#include <fstream>

namespace quorvane::test {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

constexpr Endpoint kBroadcast{0xFFFFFFFF, 68};

struct DhcpFixture
{
    FakeClock clock;
    FakeNetwork network;
    Lines lines;
    int counted = 0;
    DhcpServer server{network, clock, [this](int, const std::string& text) { lines.push_back(text); },
                      [this] { ++counted; }, [](std::string_view name) { return name == "www.home.lan."; }};
    SocketId socket = kNoSocket;

    DhcpFixture()
    {
        network.addresses = {"10.0.0.1"};
        clDHCPif elsewhere = testInterface();
        elsewhere.IPaddr = "10.9.9.9"; // no interface of this machine
        server.bind({testInterface(), elsewhere});
        socket = network.findOpen(false, 67);
    }
    // Sends a request of the given type from host 02 00 00 00 00 <host>, through the relay agent at
    // giaddr if one is given; the replies it got.
    std::vector<FakeNetwork::Sent> ask(int host, int type, const std::string& ciaddr, DhcpOptions options,
                                       const std::string& giaddr = "0.0.0.0")
    {
        options.insert(options.begin(), {53, typeOption(type)});
        options.push_back({255, {}});
        network.sent.clear();
        server.DataArrival(socket, dhcpRequest(host, ciaddr, options).replace(24, 4, IPToData(giaddr)));
        return network.sent;
    }
    std::vector<FakeNetwork::Sent> discover(int host, const std::string& name)
    {
        return ask(host, dhcptype::Discover, "0.0.0.0", {{12, name}});
    }
    std::vector<FakeNetwork::Sent> request(int host, const std::string& name, const std::string& address)
    {
        return ask(host, dhcptype::Request, "0.0.0.0",
                   {{12, name}, {50, IPToData(address)}, {54, IPToData("10.0.0.1")}});
    }
};

// The type and offered address of a reply.
std::pair<int, std::string> typeAndAddress(const FakeNetwork::Sent& reply)
{
    return {reply.data[242], DataToIP(reply.data.substr(16, 4))};
}

TEST(DhcpServer, AClientIsOfferedAcknowledgedRenewedAndReleased)
{
    DhcpFixture f;
    const auto offer = f.discover(7, "pc1").at(0);
    EXPECT_EQ(offer.to, kBroadcast); // the client has no address yet
    EXPECT_EQ(typeAndAddress(offer), std::make_pair(2, std::string("10.0.0.100")));
    EXPECT_EQ(typeAndAddress(f.request(7, "pc1", "10.0.0.100").at(0)), std::make_pair(5, std::string("10.0.0.100")));
    EXPECT_EQ(f.server.leaseAddress("pc1.home.lan.")->data, "10.0.0.100");
    EXPECT_EQ(f.server.leaseAddress("pc1.home.lan.")->ttl, 600);
    EXPECT_EQ(f.server.leaseName("10.0.0.100")->data, "pc1.home.lan.");

    // A renewal names its address in ciaddr only, and is answered there.
    const auto renewed = f.ask(7, dhcptype::Request, "10.0.0.100", {{12, "pc1"}}).at(0);
    EXPECT_EQ(renewed.to, (Endpoint{0x0A000064, 68}));
    EXPECT_EQ(typeAndAddress(renewed).first, 5);

    // Through a relay agent, the reply goes back to the relay's server port.
    const auto relayed = f.ask(7, dhcptype::Discover, "0.0.0.0", {{12, "pc1"}}, "10.0.0.2").at(0);
    EXPECT_EQ(relayed.to, (Endpoint{0x0A000002, 67}));
    EXPECT_EQ(relayed.data.substr(24, 4), IPToData("10.0.0.2"));

    // Another client may not take the address, nor the name.
    EXPECT_EQ(typeAndAddress(f.discover(8, "pc2").at(0)).second, "10.0.0.101");
    EXPECT_EQ(typeAndAddress(f.request(8, "pc2", "10.0.0.100").at(0)).first, 6);
    EXPECT_TRUE(f.discover(9, "pc1").empty());
    EXPECT_TRUE(f.discover(9, "www").empty()); // a name of a permanent record

    EXPECT_TRUE(f.ask(7, dhcptype::Release, "10.0.0.100", {}).empty());
    EXPECT_FALSE(f.server.leaseAddress("pc1.home.lan."));
    std::ifstream golden(QUORVANE_DHCP_DATA "/client_story.log");
    Lines expected;
    for (std::string line; std::getline(golden, line);) expected.push_back(line);
    EXPECT_EQ(f.lines, expected);
    EXPECT_EQ(f.counted, 9);
    EXPECT_TRUE(f.server.takeChanged());
    EXPECT_FALSE(f.server.takeChanged());
}

TEST(DhcpServer, OffersDeclinesAndOtherServersFreeAddressesInTheirTime)
{
    DhcpFixture f;
    EXPECT_EQ(typeAndAddress(f.discover(7, "pc1").at(0)).second, "10.0.0.100");
    f.ask(7, dhcptype::Decline, "0.0.0.0", {{12, "pc1"}, {50, IPToData("10.0.0.100")}});
    EXPECT_EQ(f.lines.back(), "DHCP Decline from pc1.home.lan.");
    EXPECT_EQ(typeAndAddress(f.discover(7, "pc1").at(0)).second, "10.0.0.101");
    // The client takes another server's offer: ours goes at once.
    EXPECT_TRUE(
        f.ask(7, dhcptype::Request, "0.0.0.0", {{50, IPToData("10.0.0.101")}, {54, IPToData("10.0.0.2")}})
            .empty());
    EXPECT_TRUE(f.server.leases().empty());

    EXPECT_EQ(typeAndAddress(f.discover(8, "pc2").at(0)).second, "10.0.0.101");
    EXPECT_EQ(typeAndAddress(f.discover(9, "pc3").at(0)).second, "10.0.0.102");
    EXPECT_TRUE(f.discover(10, "pc4").empty()); // .100 declined, the others offered
    f.clock.advance(61s); // unanswered offers end, and the tick finds their addresses free
    f.server.purge();
    EXPECT_EQ(typeAndAddress(f.discover(10, "pc4").at(0)).second, "10.0.0.101");
    f.clock.advance(3600s); // the declined address rests no longer
    f.server.purge();
    EXPECT_EQ(typeAndAddress(f.discover(11, "pc5").at(0)).second, "10.0.0.100");
}

TEST(DhcpServer, FixedAddressesGoToTheirOwnersOnly)
{
    DhcpFixture f;
    const auto rebind = [&](std::vector<DhcpFixed> fixed) {
        f.server.setReservations(fixed, true);
        f.server.bind({testInterface()});
        f.socket = f.network.findOpen(false, 67);
    };
    rebind({{"02:00:00:00:00:07", "10.0.0.50", "nas"}, // outside the scope
            {"id:0102", "10.0.0.101", "printer"},
            {"02:00:00:00:00:09", "10.0.0.100", "cam"}});
    // With DHCPFixedNames the names answer before their machines ever asked.
    EXPECT_EQ(f.server.leaseAddress("nas.home.lan.")->data, "10.0.0.50");
    EXPECT_EQ(f.server.leaseName("10.0.0.101")->data, "printer.home.lan.");

    // Host, request (a Discover, or a Request for the address), and the reply's type and address.
    const std::tuple<int, const char*, int, const char*> steps[] = {
        {7, "", dhcptype::Offer, "10.0.0.50"},
        {7, "10.0.0.50", dhcptype::Ack, "10.0.0.50"},
        {7, "10.0.0.102", dhcptype::Nak, "0.0.0.0"}, // its own address is free: that one
        {8, "", dhcptype::Offer, "10.0.0.102"},      // 100 and 101 are others', owners away
        {8, "10.0.0.100", dhcptype::Nak, "0.0.0.0"},
        {8, "10.0.0.102", dhcptype::Ack, "10.0.0.102"},
    };
    for (const auto& [host, address, type, replied] : steps) {
        const auto replies = *address == '\0' ? f.discover(host, "any") : f.request(host, "any", address);
        EXPECT_EQ(typeAndAddress(replies.at(0)), std::make_pair(type, std::string(replied))) << host << address;
    }
    EXPECT_TRUE(f.discover(10, "any").empty()); // nothing left for a client without a reservation
    EXPECT_EQ(f.server.leaseName("10.0.0.50")->data, "nas.home.lan."); // the reserved name, not "any"
    // A client identifier reservation.
    const auto byId = f.ask(11, dhcptype::Discover, "0.0.0.0", {{61, Bytes("\x01\x02", 2)}});
    EXPECT_EQ(typeAndAddress(byId.at(0)).second, "10.0.0.101");

    // A reservation of an address another client holds waits for that lease to end.
    rebind({{"02:00:00:00:00:0c", "10.0.0.102", "tv"}});
    f.lines.clear();
    EXPECT_TRUE(f.discover(12, "tv").empty()); // the rest of the scope is taken by now
    EXPECT_EQ(f.lines.at(1), "DHCP fixed address 10.0.0.102 of tv.home.lan. is leased to another client - it "
                              "takes effect when that lease ends");
    f.clock.advance(601s);
    EXPECT_EQ(typeAndAddress(f.discover(12, "tv").at(0)).second, "10.0.0.102");
}

} // namespace
} // namespace quorvane::test
