// Shared by the fuzz targets: the input as bytes, findings, segmented streams, and the shared test
// fixtures with what their doubles record dropped after each run.
#pragma once

#include "support/dns_fixture.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace quorvane::fuzz {

inline std::string_view bytesOf(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

// A broken promise of the code under test is a finding like a crash.
inline void check(bool condition)
{
    if (!condition) __builtin_trap();
}

// Cuts a stream into segments, each a length byte (0 stands for 256) and that many bytes, and
// hands each to use.
template <class Use>
void forEachSegment(std::string_view stream, Use&& use)
{
    while (!stream.empty()) {
        const size_t length =
            std::min<size_t>(stream[0] == 0 ? 256 : static_cast<unsigned char>(stream[0]), stream.size() - 1);
        use(stream.substr(1, length));
        stream.remove_prefix(1 + length);
    }
}

// Drops what the fixture's doubles recorded, so that millions of runs do not pile it up.
inline void forget(test::DnsFixture& f)
{
    f.host.lines.clear();
    f.host.replies.clear();
    f.host.dailyLogs.clear();
    f.rig.network.sent.clear();
    f.rig.network.tcpSent.clear();
    f.rig.network.connects.clear();
    f.rig.network.tlsNames.clear();
}

} // namespace quorvane::fuzz
