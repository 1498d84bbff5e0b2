// The look-up tool's question and the reading of its answer, on the program's own message kit:
// bytes in, rows of text out. No sockets, no Qt; never throws and never reads past a message.
#pragma once

#include "net/bytes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

inline constexpr int kTypeAny = 255;

struct LookupQuestion
{
    std::string name; // absolute, lower case
    int type = 1;
    bool recursion = true;
};

// The question for what was typed: an IPv4 or IPv6 address becomes its reverse name asked as PTR;
// any other text is a name made absolute. type is a mnemonic of the record-type table or "ANY".
LookupQuestion lookupQuestion(std::string_view typed, std::string_view type, bool recursion);

// The query message with identifier id.
Bytes lookupQuery(const LookupQuestion& question, uint16_t id);

struct LookupRow
{
    std::string section; // "Answer", "Authority", "Additional"
    std::string name;
    int32_t ttl = 0;
    std::string type, data;
};

struct LookupAnswer
{
    bool ok = false;   // a whole reply to the question with that identifier
    std::string error; // why not, when not ok
    int rcode = 0;
    std::string flags; // "qr aa rd ra", as set
    std::vector<LookupRow> rows;
};

LookupAnswer readLookupAnswer(std::string_view message, uint16_t id);

// The bytes as lines of 16: offset, hex and printable characters.
std::string hexDump(std::string_view bytes);

} // namespace quorvane
