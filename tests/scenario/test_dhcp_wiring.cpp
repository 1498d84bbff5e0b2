// The DHCP server through the engine: bound with the services, its leases answered in DNS, written
// on the tick after a change, shown to the leases window, deleted by the operator and kept at exit.
#include "host/engine.h"
#include "support/dns_message.h"
#include "support/fake_clock.h"
#include "support/fake_network.h"
#include "support/recording_events.h"
#include "support/temp_folder.h"
#include "unit/dhcp/dhcp_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

TEST(DhcpWiring, LeasesAnswerInDnsAreSavedOnTheTickAndDeletedByTheOperator)
{
    FakeClock clock;
    FakeNetwork network;
    RecordingEvents events;
    TempFolder folder;
    network.addresses = {"10.0.0.1"};
    folder.write("quorvane.ini",
                 "DHCP: 10.0.0.1 home.lan 10.0.0.100 10.0.0.102 255.255.255.0 10.0.0.254 600\n");
    Engine engine(network, clock, events, EngineOptions{folder.path(), "quorvane", true});
    engine.Main();
    const SocketId dhcp = network.findOpen(false, 67);
    ASSERT_NE(dhcp, kNoSocket);

    for (const int type : {1, 3})
        network.deliver(
            dhcp, {0, 68},
            dhcpRequest(7, "0.0.0.0",
                        {{53, typeOption(type)}, {12, "pc1"}, {50, IPToData("10.0.0.100")}, {255, {}}}));
    network.sent.clear();
    network.deliver(network.findOpen(false, 53), {0x0A000005, 999}, makeQuery(1, "pc1.home.lan.", 1, false));
    ASSERT_EQ(network.sent.size(), 1u);
    const DecodedReply reply = decodeReply(network.sent[0].data);
    EXPECT_EQ(reply.section(2), Lines{"pc1.home.lan. A 10.0.0.100"});
    EXPECT_TRUE(reply.aa);

    EXPECT_FALSE(folder.read("dhcp.dat").find("pc1.home.lan.  10.0.0.100") != std::string::npos);
    clock.advance(1s);
    EXPECT_NE(folder.read("dhcp.dat").find("pc1.home.lan.  10.0.0.100  01020000000007  "), std::string::npos);
    ASSERT_EQ(events.leases.size(), 1u);

    engine.deleteLease("10.0.0.100");
    EXPECT_TRUE(events.leases.empty());
    engine.close(CloseReason::User);
    EXPECT_EQ(folder.read("dhcp.dat"), "; Quorvane - DHCP Leases\n");
}

} // namespace
} // namespace quorvane::test
