// The wire form of record data, by the fields of the record-type table.
#include "query/record_wire.h"

#include "store/record_data.h"
#include "wire/message.h"
#include "wire/names.h"
#include "wire/numbers.h"

namespace quorvane {

namespace {

// The stored data in wire form, field by field: names written out (compressed against the message
// when the type allows it), the preference from Pref, other fields as stored. Data that does not
// fit its fields stops at the field that does not fit; a type without a row goes out as stored.
void appendRdata(Bytes& out, const clDNSRecord& record)
{
    const RecordType* row = findRecordType(record.RecType);
    if (row == nullptr) {
        out += record.Data;
        return;
    }
    std::string_view data = record.Data;
    size_t index = 0;
    for (const Field field : row->fields) {
        const auto bytes = takeStoredField(data, field, ++index == row->fields.size());
        if (!bytes) return;
        if (field == Field::Name)
            appendName(out, *bytes, row->compressed);
        else if (field == Field::Preference)
            putShort(out, static_cast<uint16_t>(record.Pref));
        else
            out += *bytes;
    }
}

// Takes one field off the front of rdata into the record's stored data; false when it is not
// there whole or is a name that cannot be read.
bool readField(std::string_view message, std::string_view& rdata, Field field, bool last, clDNSRecord& record)
{
    switch (field) {
    case Field::Name: {
        const std::string name = ExtractName(message, rdata, true);
        if (endsIncomplete(name)) return false;
        addStoredField(record.Data, field, name, last);
        return true;
    }
    case Field::Preference:
        if (rdata.size() < 2) return false;
        record.Pref = ExtractShort(rdata, true);
        return true;
    default: {
        // Fixed-size fields and a CAA tag are stored as they travel; the rest of the data too.
        std::string_view copy = rdata;
        const auto bytes = takeStoredField(copy, field, last);
        if (!bytes) return false;
        record.Data += *bytes;
        rdata = copy;
        return true;
    }
    }
}

} // namespace

void appendRecord(Bytes& out, const clDNSRecord& record, int32_t ttl)
{
    appendName(out, record.Name);
    putShort(out, static_cast<uint16_t>(record.RecType));
    putShort(out, 1);
    putLong(out, static_cast<uint32_t>(ttl));
    const size_t lengthAt = out.size();
    putShort(out, 0);
    appendRdata(out, record);
    patchShort(out, lengthAt, out.size() - lengthAt - 2);
}

bool readRecordData(std::string_view message, std::string_view rdata, clDNSRecord& record)
{
    record.Data.clear();
    const RecordType* row = findRecordType(record.RecType);
    if (row == nullptr) {
        record.Data = rdata;
        return true;
    }
    size_t index = 0;
    for (const Field field : row->fields)
        if (!readField(message, rdata, field, ++index == row->fields.size(), record)) return false;
    return rdata.empty();
}

} // namespace quorvane
