// The data of a record in the form the store holds it, walked field by field as the record-type
// table describes it, and its text in zone files, the cache file and log lines. Pure functions;
// malformed data gives a result, never an exception.
#pragma once

#include "net/bytes.h"
#include "store/dns_record.h"
#include "wire/record_types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

// Takes the next field off the front of stored data (clDNSRecord's Data): a name without its zero
// byte, the bytes of other fields, nothing for a preference (it is in Pref). Nothing when the field
// is not there whole; last says whether it is the type's last field.
std::optional<std::string_view> takeStoredField(std::string_view& data, Field field, bool last);
// Appends a field to stored data: a name with its zero byte unless it is the last field.
void addStoredField(Bytes& data, Field field, std::string_view bytes, bool last);
// The first name in a record's data (MX's exchange, SRV's target); empty when it has none.
std::string_view dataName(const clDNSRecord& record);

// The text routine for TXT records. The stored form is the wire form: one or more
// character-strings, each a length byte and up to 255 bytes. In text, a quoted string ("...") keeps
// its blanks and an unquoted word is a string of its own; inside both, \" \\ and \DDD (a byte in
// decimal) stand for the byte, and a string longer than 255 bytes is split. Gives nothing when the
// text holds no string or ends inside quotes.
std::optional<Bytes> prepareTxt(std::string_view text);
// The one string at the front of text (quoted or a bare word), read as prepareTxt reads one but
// of any length; what follows it is left. Nothing for none or an open quote.
std::optional<Bytes> prepareString(std::string_view text);
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
// "TXT \"text\"", "AAAA 2001:db8::1". Nothing for types without a row (markers, DFCN, unknown
// learned types) and for data that would not read back the same (a name with blanks or syntax
// characters, an A record of other than 4 bytes, a malformed SOA).
std::optional<std::string> recordDataText(const clDNSRecord& record);
// The data as the log line of a record in a reply shows it: the fields as above, an MX preference
// in brackets ("[10] mail.zone."), an SOA as its primary server and "(Serial N)"; empty for types
// without a row.
std::string recordLogText(const clDNSRecord& record);

} // namespace quorvane
