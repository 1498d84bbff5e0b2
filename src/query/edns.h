// EDNS: the OPT record of a client's query, the OPT record of our replies and queries, and the size
// a reply to a client may have. Pure functions on bytes; malformed input gives a result, never an
// exception.
#pragma once

#include "net/bytes.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorvane {

// The payload we state and the most we send over UDP: a size that passes every common path
// without fragments.
inline constexpr uint16_t kEdnsPayload = 1232;
// A datagram reply to a client without OPT.
inline constexpr size_t kPlainReplyLimit = 512;
// An OPT record with no options takes this many bytes.
inline constexpr size_t kOptSize = 11;

struct ClientOpt {
    bool present = false;
    bool malformed = false; // several OPT records, one not owned by the root, or a record cut short
    int version = 0;
    uint16_t size = 0; // the payload the client accepts
};

// Walks the records after the question (which ends at offset) for an OPT record. Options are
// checked for their lengths and otherwise ignored.
ClientOpt readClientOpt(std::string_view message, size_t offset);

// Appends our OPT record (payload 1232, version 0, no options) with the high bits of rcode as its
// extended response code.
void appendOpt(Bytes& out, int rcode);

// The largest datagram reply a client takes: 512 bytes without OPT, its stated size (at least 512,
// at most 1232) with one.
size_t replyLimit(const ClientOpt& opt);

} // namespace quorvane
