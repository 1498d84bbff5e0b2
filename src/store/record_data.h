// The data of each record type in its two forms: as the store holds it and as text in zone files,
// the cache file and log lines. Pure functions; malformed data gives a result, never an exception.
#pragma once

#include "net/bytes.h"
#include "store/dns_record.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

// The text routine for TXT records. The stored form is the wire form: one or more
// character-strings, each a length byte and up to 255 bytes. In text, a quoted string ("...") keeps
// its blanks and an unquoted word is a string of its own; inside both, \" \\ and \DDD (a byte in
// decimal) stand for the byte, and a string longer than 255 bytes is split. Gives nothing when the
// text holds no string or ends inside quotes.
std::optional<Bytes> prepareTxt(std::string_view text);
// The text of stored TXT data: every string quoted, with " \ ; and bytes outside visible ASCII
// escaped, so that prepareTxt gives the same data back and no ";" can start a comment. A length
// byte that runs past the end takes what is there.
std::string txtText(std::string_view data);

// An SOA record's data, the two names in text form.
struct SoaFields
{
    std::string primary, mailbox;
    uint32_t serial = 0, refresh = 0, retry = 0, expire = 0, minimum = 0;
};
Bytes makeSoaData(const SoaFields& soa);
// Nothing when a zero byte or any of the 20 bytes of numbers is missing.
std::optional<SoaFields> readSoa(std::string_view data);

// The record's type word and data as one zone-file line writes them after the TTL: "A 10.0.0.1",
// "CNAME host.zone.", "MX 10 mail.zone.", "SOA ns.zone. admin.zone. 1 3600 600 86400 3600",
// "TXT \"text\"", "AAAA 2001:db8::1". Nothing for types that files do not carry (markers, DFCN, unknown learned types)
// and for data that would not read back the same (a name with blanks or syntax characters, an A
// record of other than 4 bytes, a malformed SOA).
std::optional<std::string> recordDataText(const clDNSRecord& record);

} // namespace quorvane
