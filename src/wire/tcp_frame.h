// DNS messages over TCP: each one preceded by its length in two bytes. Every sender and reader of
// TCP streams (the TCP service, zone transfers both ways, questions asked again over TCP) frames
// and unframes with these two.
#pragma once

#include "net/bytes.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace quorvane {

// Appends message with its length in front; a message is at most 65535 bytes.
inline void appendFramed(Bytes& out, std::string_view message)
{
    out += static_cast<char>(message.size() >> 8 & 0xFF);
    out += static_cast<char>(message.size() & 0xFF);
    out += message;
}

// The whole message that begins at offset at of a stream of framed messages, with at moved past
// it; nothing while it has not all arrived.
inline std::optional<std::string_view> nextFramed(std::string_view stream, size_t& at)
{
    if (at > stream.size() || stream.size() - at < 2) return std::nullopt;
    const size_t length = static_cast<size_t>(static_cast<unsigned char>(stream[at])) << 8 |
                          static_cast<unsigned char>(stream[at + 1]);
    if (stream.size() - at - 2 < length) return std::nullopt;
    const std::string_view message = stream.substr(at + 2, length);
    at += length + 2;
    return message;
}

} // namespace quorvane
