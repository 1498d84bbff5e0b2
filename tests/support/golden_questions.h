// Golden question files: questions to one server, each with the whole expected outcome as text.
// Blocks are separated by blank lines; lines starting with '#' are comments. A block's first line
// is the question, "NAME TYPE", with "norec" after it for a question without recursion; the rest
// is what transcript() gives for it: the reply's header, question and records with their TTLs,
// the log lines, and the queries sent to other servers.
#pragma once

#include "support/dns_fixture.h"
#include "wire/type_names.h"

#include <gtest/gtest.h>

#include <filesystem>
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

// Control characters (the length bytes of TXT data) as a backslash and their decimal code.
inline std::string visible(const std::string& text)
{
    std::string out;
    for (const char c : text) out += c >= 0 && c < 0x20 ? "\\" + std::to_string(c) : std::string(1, c);
    return out;
}

inline uint16_t typeCode(const std::string& mnemonic)
{
    for (uint16_t type = 1; type < 300; ++type)
        if (RTypeN(type) == mnemonic) return type;
    ADD_FAILURE() << "unknown record type " << mnemonic;
    return 0;
}

inline std::string transcript(DnsFixture& s, const std::string& question)
{
    std::istringstream words(question);
    std::string name, type, flag;
    words >> name >> type >> flag;
    s.host.lines.clear();
    const size_t sentBefore = s.rig.queries().size();
    const DecodedReply r = s.ask(name, typeCode(type), flag != "norec");
    std::ostringstream out;
    if (!r.ok) {
        out << "no reply\n";
    } else {
        out << "id " << r.id << " rcode " << r.rcode << (r.qr ? " qr" : "") << (r.aa ? " aa" : "")
            << (r.tc ? " tc" : "") << (r.rd ? " rd" : "") << (r.ra ? " ra" : "") << '\n'
            << "question " << r.qname << ' ' << RTypeN(r.qtype) << '\n';
        const char* names[] = {"", "", "answer", "authority", "additional"};
        for (const auto& rec : r.records)
            out << names[rec.section] << ' ' << rec.name << ' ' << RTypeN(rec.type) << ' ' << visible(rec.data)
                << " ttl " << rec.ttl << '\n';
    }
    for (const auto& line : s.host.lines) out << "log " << line << '\n';
    const auto queries = s.rig.queries();
    for (size_t i = sentBefore; i < queries.size(); ++i) {
        const DecodedReply q = decodeReply(queries[i].message);
        out << "sent " << addressText(queries[i].to.address) << ' ' << q.qname << ' ' << RTypeN(q.qtype)
            << (q.rd ? " rd" : "") << '\n';
    }
    return out.str();
}

// Asks every question of the file in turn and compares each outcome with its expected text.
inline void checkGolden(DnsFixture& s, const std::string& file)
{
    std::istringstream in(readData(file));
    std::string line, question, expected;
    const auto check = [&] {
        if (!question.empty()) {
            EXPECT_EQ(transcript(s, question), expected) << file << ": " << question;
        }
        question.clear();
        expected.clear();
    };
    while (std::getline(in, line)) {
        if (line.starts_with('#')) continue;
        if (line.empty()) check();
        else if (question.empty()) question = line;
        else expected += line + '\n';
    }
    check();
}

} // namespace quorvane::test
