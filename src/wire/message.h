// The message kit: every DNS message this server builds or reads goes through these helpers.
// Building: big-endian numbers appended or patched in place, the header, the question, and a
// request echoed back as its reply (names go in with appendName, records with appendRecord).
// Reading: the fixed header fields by position, and questions and records taken one at a time
// off a bounded WireReader. Framing for TCP is in tcp_frame.h.
#pragma once

#include "net/bytes.h"
#include "wire/wire_reader.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quorvane {

// --- Reading the header by position: callers check the message's length first. ----------------
inline unsigned byteAt(std::string_view message, size_t i)
{
    return static_cast<unsigned char>(message[i]);
}
// The 16-bit big-endian number at bytes i and i + 1.
inline int shortAt(std::string_view message, size_t i)
{
    return static_cast<int>(byteAt(message, i) << 8 | byteAt(message, i + 1));
}
// The count of a section: 0 the question, 1 the answer, 2 the authority, 3 the additional.
inline int countAt(std::string_view message, int section)
{
    return shortAt(message, 4 + 2 * static_cast<size_t>(section));
}

// --- Building ----------------------------------------------------------------------------------
// Two bytes, high byte first.
inline void putShort(Bytes& out, size_t value)
{
    out += static_cast<char>(value >> 8 & 0xFF);
    out += static_cast<char>(value & 0xFF);
}
inline void putLong(Bytes& out, uint32_t value)
{
    putShort(out, value >> 16);
    putShort(out, value & 0xFFFF);
}
// Overwrites the two bytes at at, as putShort writes them.
inline void patchShort(Bytes& out, size_t at, size_t value)
{
    out[at] = static_cast<char>(value >> 8 & 0xFF);
    out[at + 1] = static_cast<char>(value & 0xFF);
}

struct SectionCounts
{
    size_t question = 1, answer = 0, authority = 0, additional = 0;
};
// Starts a message in out (emptied first): identifier, the two flag bytes, and the four counts.
void startMessage(Bytes& out, int id, unsigned flags, const SectionCounts& counts);
// The question: name (compressed against what out holds), type and class IN.
void appendQuestion(Bytes& out, std::string_view name, int type);
// The request as received with QR set, into out; fourthByte, when given, replaces the fourth
// byte (RA, Z and the response code).
void echoAsReply(Bytes& out, std::string_view request, int fourthByte = -1);

// --- Reading questions and records ---------------------------------------------------------------
// Skips the questions of a message, reader standing after the header.
void skipQuestions(WireReader& reader, int count);

// A record as read off the wire; rdata points into the message.
struct RecordView
{
    std::string name;
    int type = 0;
    int dnsClass = 0;
    int32_t ttl = 0; // 0-2147483647, as TTLs are read
    std::string_view rdata;
};
// Reads the record at the reader's position; false when it is cut short (the reader has failed).
bool readRecord(WireReader& reader, RecordView& record);

} // namespace quorvane
