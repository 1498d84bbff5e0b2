// The DHCP server through the engine: bound with the services, its leases answered in DNS, written
// on the tick after a change, shown to the leases window, deleted by the operator and kept at exit.
#include "support/engine_fixture.h"
#include "unit/dhcp/dhcp_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

using namespace std::chrono_literals;

TEST(DhcpWiring, LeasesAnswerInDnsAreSavedOnTheTickAndDeletedByTheOperator)
{
    EngineFixture f("DHCP: 10.0.0.1 home.lan 10.0.0.100 10.0.0.102 255.255.255.0 10.0.0.254 600\n");
    auto& [clock, network, events, folder, engine] = f;
    network.addresses = {"10.0.0.1"};
    f.start();
    const SocketId dhcp = network.findOpen(false, 67);
    ASSERT_NE(dhcp, kNoSocket);

    for (const int type : {1, 3})
        network.deliver(
            dhcp, {0, 68},
            dhcpRequest(7, "0.0.0.0",
                        {{53, typeOption(type)}, {12, "pc1"}, {50, IPToData("10.0.0.100")}, {255, {}}}));
    const DecodedReply reply = f.ask(makeQuery(1, "pc1.home.lan.", 1, false));
    EXPECT_EQ(reply.section(2), Lines{"pc1.home.lan. A 10.0.0.100"});
    EXPECT_TRUE(reply.aa);

    EXPECT_FALSE(folder.read("dhcp.dat").find("pc1.home.lan.  10.0.0.100") != std::string::npos);
    clock.advance(1s);
    EXPECT_NE(folder.read("dhcp.dat").find("pc1.home.lan.  10.0.0.100  01020000000007  "), std::string::npos);
    ASSERT_EQ(events.leases.size(), 1u);

    engine->deleteLease("10.0.0.100");
    EXPECT_TRUE(events.leases.empty());
    engine->close(CloseReason::User);
    EXPECT_EQ(folder.read("dhcp.dat"), "; Quorvane - DHCP Leases\n");
}

} // namespace
} // namespace quorvane::test
