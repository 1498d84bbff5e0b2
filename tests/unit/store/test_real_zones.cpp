// Zone files nobody here wrote: Debian's root hints and BIND's own zone files, read by the store and
// by BIND's zone compiler. Every record of a type this format carries must come out the same; the
// other types ($TTL, AAAA) are the format's known differences and are left out on both sides.
#include "store/record_store.h"
#include "store/zone_text.h"

#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

namespace quorvane::test {

namespace {

struct RealZone
{
    const char* file;
    const char* origin;
    bool ttlsGiven; // every line gives its TTL, so TTLs must agree too; only the root hints have no SOA
};

const RealZone kRealZones[] = {
    {"/usr/share/dns/root.hints", ".", true},         {QUORVANE_PEER_ZONES "/db.local", "localhost.", false},
    {QUORVANE_PEER_ZONES "/db.127", "127.in-addr.arpa.", false}, {QUORVANE_PEER_ZONES "/db.0", "0.in-addr.arpa.", false},
    {QUORVANE_PEER_ZONES "/db.255", "255.in-addr.arpa.", false}, {QUORVANE_PEER_ZONES "/db.empty", "empty.", false},
};

// A start of authority for BIND's compiler, which loads no zone without one; the root hints have
// none. Its record is left out of the comparison again.
constexpr std::string_view kPeerSoa = "@ 1 IN SOA peer.invalid. peer.invalid. 1 1 1 1 1\n";

// "owner [ttl] TYPE data" of every record BIND reads, in its canonical full form, lower-cased.
std::multiset<std::string> bindRecords(const RealZone& zone, const TempFolder& scratch)
{
    const std::filesystem::path copy = scratch.path() / "peer.zone";
    std::ifstream original(zone.file, std::ios::binary);
    std::ostringstream peerText;
    if (zone.ttlsGiven) peerText << kPeerSoa;
    peerText << original.rdbuf();
    std::ofstream(copy, std::ios::binary) << peerText.str();
    const std::string command = std::string("named-compilezone -q -i none -s full -o - ") + zone.origin +
                                " " + copy.string() + " 2>/dev/null";
    std::multiset<std::string> out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return out;
    char buffer[4096];
    std::string text;
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, n);
    pclose(pipe);
    std::istringstream lines(lowerAscii(text));
    for (std::string owner, ttl, cls, type; lines >> owner >> ttl >> cls >> type;) {
        std::string data;
        std::getline(lines, data);
        data = data.substr(std::min(data.find_first_not_of(" \t"), data.size()));
        if (data.starts_with("peer.invalid.")) continue;
        if (type == "a" || type == "ns" || type == "cname" || type == "soa" || type == "ptr" ||
            type == "mx" || type == "txt")
            out.insert(owner + (zone.ttlsGiven ? " " + ttl : "") + " " + lowerAscii(type) + " " + data);
    }
    return out;
}

std::multiset<std::string> storeRecords(const RecordStore& store, bool withTTL)
{
    std::multiset<std::string> out;
    for (const auto& [owner, record] : store.CacheRecords()) {
        const std::string ttl = withTTL ? " " + std::to_string(record.TTL(0)) : "";
        out.insert(owner + ttl + " " + lowerAscii(recordDataText(record).value_or("?")));
    }
    return out;
}

} // namespace

TEST(RealZones, ReadAsBindReadsThem)
{
    for (const RealZone& zone : kRealZones) {
        ASSERT_TRUE(std::filesystem::exists(zone.file)) << zone.file << ": install dns-root-data and bind9";
        StoreFixture f;
        const std::multiset<std::string> expected = bindRecords(zone, f.folder);
        ASSERT_FALSE(expected.empty()) << zone.file << ": named-compilezone (bind9-utils) read nothing";
        std::filesystem::copy_file(zone.file, f.folder.path() / "data" / zoneFileName(zone.origin, "dns"));
        f.store.LoadZone(zone.origin);
        EXPECT_EQ(storeRecords(f.store, zone.ttlsGiven), expected) << zone.file;
        EXPECT_TRUE(f.errors.empty());
    }
}

} // namespace quorvane::test
