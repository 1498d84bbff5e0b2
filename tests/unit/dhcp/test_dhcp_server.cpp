#include "dhcp/dhcp_server.h"
#include "dhcp/lease_table.h"
#include "dhcp_test_support.h"

#include "support/call_table.h"
#include "support/fake_clock.h"
#include "support/fake_network.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace quorvane::test {
namespace {

struct DhcpFixture
{
    FakeClock clock;
    FakeNetwork network;
    std::vector<std::string> lines;
    int counted = 0;
    size_t logged = 0;
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
    // Replays a transcript: each "> " line a step, then what the server sent and logged for it.
    std::string replay(const std::string& script)
    {
        std::istringstream in(script);
        std::string out;
        for (std::string line; std::getline(in, line);) {
            if (!line.starts_with("> ")) continue;
            out += line + '\n' + step(line.substr(2));
            for (; logged < lines.size(); ++logged) out += "log: " + lines[logged] + '\n';
        }
        return out;
    }

    // A request, "Discover HOST CODE=VALUE...", ciaddr= and giaddr= for those fields; or a look at
    // the server: its leases, names, counts; or time passing.
    std::string step(const std::string& line)
    {
        std::istringstream words(line);
        std::string verb, word;
        words >> verb;
        const std::map<std::string, int> types{{"Discover", 1}, {"Request", 3}, {"Decline", 4}, {"Release", 7}};
        if (types.contains(verb)) {
            int host = 0;
            std::string ciaddr = "0.0.0.0", giaddr = "0.0.0.0";
            DhcpOptions options;
            for (words >> host; words >> word;) {
                const std::string key = word.substr(0, word.find('=')), value = word.substr(key.size() + 1);
                if (key == "ciaddr" || key == "giaddr") (key == "ciaddr" ? ciaddr : giaddr) = value;
                else if (key == "12") options.push_back({12, value});
                else options.push_back({std::stoi(key), key == "61" ? HexToHW(value) : IPToData(value)});
            }
            // From hardware address 02 00 00 00 00 <host>, through the relay agent at giaddr if one is given.
            options.insert(options.begin(), {53, typeOption(types.at(verb))});
            options.push_back({255, {}});
            network.sent.clear();
            server.DataArrival(socket, dhcpRequest(host, ciaddr, options).replace(24, 4, IPToData(giaddr)));
            std::string out;
            for (const auto& reply : network.sent)
                out += std::to_string(reply.data[242]) + ' ' + DataToIP(reply.data.substr(16, 4)) + " to " +
                       addressText(reply.to.address) + ':' + std::to_string(reply.to.port) + " giaddr " +
                       DataToIP(reply.data.substr(24, 4)) + '\n';
            return out;
        }
        if (verb == "Fixed") {
            std::vector<DhcpFixed> fixed;
            for (std::string client, address, name; words >> client >> address >> name;)
                fixed.push_back({client, address, name});
            server.setReservations(fixed, true);
            server.bind({testInterface()});
            socket = network.findOpen(false, 67);
        } else if (verb == "Wait") {
            clock.advance(std::chrono::seconds(std::stoi(line.substr(5))));
        } else if (verb == "Purge") {
            server.purge();
        } else if (verb == "Lease" || verb == "Name") {
            words >> word;
            const auto answer = verb == "Lease" ? server.leaseAddress(word) : server.leaseName(word);
            return answer ? std::string(answer->data) + ' ' + std::to_string(answer->ttl) + '\n' : "none\n";
        } else if (verb == "Count") {
            const bool changed = server.takeChanged();
            return std::to_string(server.leases().size()) + " leases, " + std::to_string(counted) +
                   " counted, changed " + yes(changed) + " then " + yes(server.takeChanged()) + '\n';
        }
        return "";
    }
};

// Each story starts on a fresh server serving testInterface() (leases of 600 s).
TEST(DhcpServer, StoriesOfOffersRenewalsDeclinesReleasesAndFixedAddresses)
{
    for (const char* story : {"client_story", "offers_story", "fixed_story"}) {
        const std::string file = QUORVANE_DHCP_DATA "/" + std::string(story) + ".txt";
        const std::string steps = fileText(file);
        ASSERT_NE(steps, "") << file;
        DhcpFixture f;
        expectGoldenFile(file, f.replay(steps));
    }
}

} // namespace
} // namespace quorvane::test
