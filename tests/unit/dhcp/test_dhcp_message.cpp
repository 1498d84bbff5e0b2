#include "dhcp/dhcp_message.h"
#include "dhcp/lease_table.h"
#include "dhcp_test_support.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

TEST(DhcpMessage, DatagramsThatAreNoUsableRequestAreNotRead)
{
    const Bytes good = dhcpRequest(7, "0.0.0.0", {{53, typeOption(1)}, {255, {}}});
    const auto with = [&](size_t at, char value) { return Bytes(good).replace(at, 1, 1, value); };
    const std::pair<const char*, Bytes> cases[] = {
        {"240 bytes", good.substr(0, 240)}, {"a reply", with(0, 2)}, {"a wrong cookie", with(237, 0)},
        {"hlen 17", with(2, 17)}, {"no identity", with(2, 0)}, // no hardware address, no client identifier
    };
    for (const auto& [what, datagram] : cases) {
        SCOPED_TRACE(what);
        EXPECT_FALSE(readDhcpRequest(datagram, testInterface()));
    }
    // The good one has neither a name nor an identifier: both come from the hardware address.
    const auto bare = readDhcpRequest(good, testInterface()).value();
    EXPECT_EQ(bare.ClientName, "dhcp-020000000007.home.lan.");
    EXPECT_EQ(bare.ClientID, Bytes("\x01\x02\0\0\0\0\x07", 7));
    EXPECT_FALSE(bare.ClientIDSent);
}

// A request's fields and options are read: pads skipped, the walk ends at an option whose length runs
// past the end, no end option needed. The reply carries the server's options, then the added ones the
// client asked for (119, 42 and 26, in that order), then the rest as configured.
TEST(DhcpMessage, RequestsAreReadAndRepliesCarryTheirOptionsInOrder)
{
    const DhcpOptions options{{0, {}}, {53, typeOption(3)}, {12, "PC1.local"}, {50, IPToData("10.0.0.101")},
                              {54, IPToData("10.0.0.1")}, {61, "\x01id"}, {55, "\x01\x77\x2a\x03\x1a"},
                              {99, Bytes(3, 'x')}};
    auto request =
        readDhcpRequest(dhcpRequest(7, "10.0.0.100", options) + Bytes("\x0c\x09pc2", 5), testInterface()).value();
    EXPECT_EQ(request.MessageType, 3);
    EXPECT_EQ(request.ClientName, "pc1.home.lan.");
    EXPECT_EQ(request.ReqIP, "10.0.0.101");
    EXPECT_EQ(request.ServerID, "10.0.0.1");

    const std::vector<DhcpOptionData> added{{2, Bytes(4, '\1')}, {26, Bytes(2, '\2')}, {42, Bytes(4, '\3')},
                                            {119, Bytes(3, '\4')}};
    const Bytes offer = buildDhcpReply(request, dhcptype::Offer, "10.0.0.100", added);
    // op, htype, hlen, hops, xid, secs and flags, ciaddr, yiaddr (the address), siaddr, giaddr, chaddr;
    // the request's ciaddr, host name (12) and client identifier (61) come back in the offer.
    EXPECT_EQ(HWToHex(offer.substr(0, 44)), "02010600" "12345678" "00000000" "0A000064" "0A000064" "00000000"
                                            "00000000" "02000000000700000000000000000000");
    EXPECT_EQ(offer.substr(236, 4), "\x63\x82\x53\x63");
    // 53, 61, 1, 54, 51, 6, 3, 12, 15, then 119, 42, 26, 2 and 255.
    EXPECT_EQ(HWToHex(offer.substr(240)), "350102" "3D03016964" "0104FFFFFF00" "36040A000001" "330400000258"
                                          "06040A000001" "03040A0000FE" "0C0470633100" "0F08686F6D652E6C616E"
                                          "7703040404" "2A0403030303" "1A020202" "020401010101" "FF");

    // A negative reply names no address and carries no added option; without a gateway there is no
    // router option, and without option 61 in the request none in the reply.
    request.Interface.Gateway.clear();
    request.ClientIDSent = false;
    const Bytes nak = buildDhcpReply(request, dhcptype::Nak, "10.0.0.100", added);
    EXPECT_EQ(nak.substr(16, 4), Bytes(4, '\0'));
    EXPECT_EQ(HWToHex(nak.substr(240)), "350106" "0104FFFFFF00" "36040A000001" "330400000258" "06040A000001"
                                        "0C0470633100" "0F08686F6D652E6C616E" "FF");
}

TEST(DhcpMessage, AddedOptionsAreEncodedOrRefused)
{
    const auto encode = [](const Args& a) {
        const auto data = encodeDhcpOption(std::stoi(a[0]), a[1]);
        return data ? HWToHex(*data) : "refused";
    };
    runCallTable(QUORVANE_DHCP_DATA "/added_options.txt", {{"Encode", encode}}, 13);
}

} // namespace
} // namespace quorvane::test
