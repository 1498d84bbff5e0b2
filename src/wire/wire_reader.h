// A bounded cursor over one received message: each read takes its field off the front of what is
// left. It never reads past the end and never throws; a failed read is remembered, so a caller
// reads all its fields and checks ok() once.
#pragma once

#include "wire/names.h"
#include "wire/numbers.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace quorvane {

class WireReader
{
public:
    // Reading starts at the given offset of message (12 is the question after the header).
    WireReader(std::string_view message, size_t offset)
        : m_message(message), m_rest(message.substr(std::min(offset, message.size())))
    {
    }
    // The reader keeps views into the message, so it must not outlive it.
    WireReader(Bytes&&, size_t) = delete;

    // As ExtractName: a name that cannot be read is "incomplete." or ends in it, and fails.
    std::string name()
    {
        std::string text = ExtractName(m_message, m_rest, true);
        if (endsIncomplete(text)) m_ok = false;
        return text;
    }
    // As ExtractShort and ExtractLong: 0 when the bytes are missing, and everything after fails.
    int32_t shortValue() { return ExtractShort(need(2), true); }
    double longValue() { return ExtractLong(need(4), true); }
    // The next count bytes (record data); empty when fewer are left, and everything after fails.
    std::string_view bytes(size_t count)
    {
        const std::string_view taken = need(count).substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest() const { return m_rest; }
    bool ok() const { return m_ok; }

private:
    std::string_view& need(size_t count)
    {
        if (m_rest.size() < count) {
            m_ok = false;
            m_rest = {};
        }
        return m_rest;
    }

    std::string_view m_message;
    std::string_view m_rest;
    bool m_ok = true;
};

} // namespace quorvane
