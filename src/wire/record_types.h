// The one table of record types: per type its code, its mnemonic, the shape of its data as a list
// of fields, whether names in it are compressed on the wire, and the setting that switches it on.
// Every reader and writer of record data (zone files, the cache file, messages, log lines) walks
// these fields; adding a type is adding a row. Pure data; no state, no I/O.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

namespace quorvane {

// The codes of the record types the server knows by name. The store adds its own entries
// (markers, DFCN) in the same namespace; see store/dns_record.h.
namespace rtype {
inline constexpr int16_t A = 1, NS = 2, CNAME = 5, SOA = 6, PTR = 12, MX = 15, TXT = 16, AAAA = 28, SRV = 33,
                         CAA = 257;
} // namespace rtype

// One field of a record's data.
enum class Field : uint8_t {
    Name,       // a domain name
    Preference, // a 16-bit number that the store keeps beside the data (MX)
    Number8,
    Number16,
    Number32,
    IPv4,    // 4 address bytes
    IPv6,    // 16 address bytes
    Strings, // character strings up to the end of the data (TXT)
    Tag,     // one character string of letters and digits, written as a bare word (CAA)
    Rest,    // the bytes up to the end of the data, written as one quoted string (CAA)
};

// The bytes a field of fixed size takes in messages and in stored data; 0 for the others.
constexpr size_t fieldSize(Field field)
{
    switch (field) {
    case Field::Number8:
        return 1;
    case Field::Number16:
        return 2;
    case Field::Number32:
        return 4;
    case Field::IPv4:
        return 4;
    case Field::IPv6:
        return 16;
    default:
        return 0;
    }
}

// When records of a type are read from files and transfers, kept and answered.
enum class TypeSetting : uint8_t { Always, AAAARecords, MoreRecordTypes };

// How the log line of a record shows its data: the fields as a zone file writes them (with an MX
// preference in brackets, "[10] mail.zone."), or an SOA's primary server and serial only.
enum class LogForm : uint8_t { Fields, PrimaryAndSerial };

// The fields of one type, in order (at most seven).
class FieldList
{
public:
    constexpr FieldList(std::initializer_list<Field> fields)
    {
        for (Field field : fields)
            m_fields[m_count++] = field;
    }
    constexpr const Field* begin() const { return m_fields.data(); }
    constexpr const Field* end() const { return m_fields.data() + m_count; }
    constexpr size_t size() const { return m_count; }

private:
    std::array<Field, 7> m_fields{};
    size_t m_count = 0;
};

struct RecordType
{
    int16_t code;
    std::string_view mnemonic; // as logs show it and zone files write it
    FieldList fields;
    bool compressed; // names in the data may be compressed on the wire (only the oldest types)
    TypeSetting setting;
    LogForm log = LogForm::Fields;
    bool additional = false; // an answer carries the addresses of the name in the data (MX, SRV)
};

// The settings that switch record types on (AAAARecords, MoreRecordTypes).
struct TypeSwitches
{
    bool aaaaRecords = false;
    bool moreRecordTypes = false;
};

// Every row, in code order.
std::span<const RecordType> recordTypes();
// The row of a code, or of a mnemonic (compared as given: zone-file words are upper-cased first);
// nullptr for none.
const RecordType* findRecordType(int code);
const RecordType* findRecordType(std::string_view mnemonic);
// Whether the row's setting is on.
bool switchedOn(const RecordType& row, TypeSwitches on);

} // namespace quorvane
