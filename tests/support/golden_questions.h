// Scripts of questions and answers kept as data, each step with the whole outcome it gives: replies
// with every record and TTL, log lines and the queries sent to other servers.
#pragma once

#include "support/call_table.h"
#include "support/dns_fixture.h"
#include "wire/addresses.h"
#include "wire/dns_codes.h"
#include "wire/record_types.h"
#include "wire/type_names.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace quorvane::test {

// A file of the golden data folder, whole.
inline std::string readData(const std::string& file)
{
    const std::filesystem::path path = std::filesystem::path(QUORVANE_SCENARIO_DATA) / file;
    EXPECT_TRUE(std::filesystem::exists(path)) << file;
    return fileText(path);
}

// A type as the scripts write it: a row's mnemonic, or "*" for ANY, as the log shows it.
inline uint16_t typeCode(const std::string& mnemonic)
{
    if (mnemonic == "*") return kTypeAny;
    const RecordType* row = findRecordType(mnemonic);
    EXPECT_NE(row, nullptr) << "unknown record type " << mnemonic;
    return row == nullptr ? 0 : static_cast<uint16_t>(row->code);
}

// The log lines and daily log entries (then forgotten) and every query sent to another server from the given one on.
inline std::string logAndSent(DnsFixture& s, size_t sentBefore)
{
    std::ostringstream out;
    for (const auto& line : s.host.lines) out << "log " << line << '\n';
    for (const auto& entry : s.host.dailyLogs) {
        out << "daily ";
        for (const char c : entry) out << (c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c));
        out << '\n';
    }
    s.host.lines.clear();
    s.host.dailyLogs.clear();
    const auto queries = s.rig.queries();
    for (size_t i = sentBefore; i < queries.size(); ++i) {
        const DecodedReply q = decodeReply(queries[i].message);
        out << "sent " << addressText(queries[i].to.address) << ' ' << q.qname << ' ' << RTypeN(q.qtype)
            << (q.rd ? " rd" : "");
        for (const auto& extra : q.section(4)) out << " + " << extra;
        out << '\n';
    }
    return out.str();
}

// Replay scripts drive a server step by step. Blocks: a step ("ask NAME TYPE [norec]", "answer FROM[:PORT] RCODE"
// with aa, tc or tcp after it, "tick SECOND" or "wait SECONDS"), an answer's records ("+ SECTION NAME TYPE
// DATA TTL"; a SOA's data is its minimum), then all the step gives: replies to clients, log lines, queries.

// The timer's work on the tick at the given whole second after 10:00:00.
inline void replayTick(DnsFixture& s, int second)
{
    s.clock.set(fromCalendar({2026, 11, 22, 10, 0, second}));
    s.dns.removeFinished();
    s.dns.retryWaiting();
}

inline WireRecord scriptRecord(const std::string& text)
{
    std::istringstream words(text);
    int section;
    std::string owner, type, data;
    uint32_t ttl;
    words >> section >> owner >> type >> data >> ttl;
    if (type == "A") return wireA(section, owner, data, ttl);
    if (type == "SOA") return wireSoa(owner, ttl, static_cast<uint32_t>(std::stoul(data)), 1, section);
    return wireName(section, owner, typeCode(type), data, ttl);
}

inline std::string replayStep(DnsFixture& s, const std::string& step, const std::vector<WireRecord>& records)
{
    const size_t replied = s.host.replies.size(), sent = s.rig.queries().size();
    s.host.lines.clear();
    std::istringstream words(step);
    std::string verb, first, second;
    words >> verb >> first >> second;
    const std::set<std::string> flags{std::istream_iterator<std::string>(words), {}};
    if (verb == "ask") {
        s.dns.ProcReq(kClient, makeQuery(7, first, typeCode(second), flags.count("norec") == 0));
    } else if (verb == "answer") { // to the last query sent
        Bytes answer = makeAnswer(s.rig.queries().back().message, std::stoi(second), flags.count("aa") != 0, records);
        if (flags.count("tc") != 0) answer[2] = static_cast<char>(answer[2] | 2);
        const std::string address = first.substr(0, first.find(':'));
        uint32_t from = 0;
        for (const char byte : IPToData(address)) from = from << 8 | static_cast<unsigned char>(byte);
        const auto port = static_cast<uint16_t>(address == first ? 53 : std::stoi(first.substr(address.size() + 1)));
        s.dns.ProcAns({from, port}, answer, flags.count("tcp") != 0);
    } else if (verb == "tick") {
        replayTick(s, std::stoi(first));
    } else {
        s.clock.advance(std::chrono::seconds(std::stoi(first)));
    }
    std::string out;
    for (size_t i = replied; i < s.host.replies.size(); ++i) {
        const DecodedReply reply = decodeReply(s.host.replies[i].message);
        EXPECT_TRUE(reply.ok) << "a reply with bytes left over or missing";
        out += replyText(reply);
    }
    return out + logAndSent(s, sent);
}

// Replays a script of the data folder and compares the whole outcome with it.
inline void replay(DnsFixture& s, const std::string& file)
{
    std::istringstream in(readData(file) + "\n");
    std::string out, step;
    std::vector<WireRecord> records;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with('#') || line.starts_with("+ ") || (step.empty() && !line.empty())) out += line + '\n';
        if (line.starts_with("+ ")) {
            records.push_back(scriptRecord(line.substr(2)));
        } else if (line.empty()) {
            if (!step.empty()) out += replayStep(s, step, records) + '\n';
            step.clear();
            records.clear();
        } else if (step.empty() && !line.starts_with('#')) {
            step = line;
        }
    }
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/" + file, out);
}

} // namespace quorvane::test
