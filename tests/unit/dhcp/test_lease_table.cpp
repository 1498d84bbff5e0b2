#include "dhcp/lease_table.h"
#include "dhcp_test_support.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

#include <fstream>

namespace quorvane::test {
namespace {

const DateTime kNow = fromCalendar({2026, 11, 23, 12, 0, 0});

TEST(LeaseTable, ValidLeaseKeepsAddressesAndNamesToTheirClients)
{
    LeaseTable table;
    table.add({kNow + 1, "10.0.0.100", "pc1.home.lan.", "id1"});   // running
    table.add({kNow - 1, "10.0.0.101", "old.home.lan.", "idold"}); // ended
    const auto valid = [&table](const Args& a) {
        const auto permanent = [](std::string_view name) { return name == "www.home.lan."; };
        return yes(table.ValidLease(testInterface(), a[0], {0, "", a[1], a[2]}, a[3] == "true", kNow, permanent));
    };
    runCallTable(QUORVANE_DHCP_DATA "/valid_leases.txt", {{"Valid", valid}}, 11);
}

TEST(LeaseTable, TheFileIsWrittenAndReadBackLineByLine)
{
    // Bad times, a missing field, a blank line; names and addresses cleaned, hex in capitals.
    std::ifstream file(QUORVANE_DHCP_DATA "/leases_read.txt", std::ios::binary);
    LeaseTable table;
    table.load(file);
    ASSERT_EQ(table.leases().size(), 2u);
    EXPECT_EQ(table.leases()[0], (clLease{fromCalendar({2026, 11, 23, 12, 30, 0}), "10.0.0.100",
                                          "pc1.home.lan.", Bytes("\x01\x02", 2)}));
    EXPECT_EQ(table.fileText(), "; Quorvane - DHCP Leases\n"
                                "pc1.home.lan.  10.0.0.100  0102  2026-11-23 12:30:00\n"
                                "x.home.lan.  10.0.0.102  FF  2025-12-23 12:00:05\n");

    // Ended leases stay a day, so a client coming back gets its address again.
    EXPECT_EQ(table.purge(fromCalendar({2026, 11, 24, 12, 10, 0})), 1u);
    EXPECT_EQ(table.leases().size(), 1u);
    EXPECT_EQ(table.currentByName("pc1.home.lan.", fromCalendar({2026, 11, 23, 12, 29, 0}))->IPaddr,
              "10.0.0.100");
    EXPECT_EQ(table.currentByName("pc1.home.lan.", fromCalendar({2026, 11, 23, 12, 31, 0})), nullptr);
}

} // namespace
} // namespace quorvane::test
