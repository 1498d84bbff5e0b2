// The rows of the record-type table. To add a type: one row here, in code order, and its cases in
// the table's test.
#include "wire/record_types.h"

#include <algorithm>

namespace quorvane {

namespace {

using enum Field;
constexpr bool kCompressed = true, kNotCompressed = false;
constexpr bool kAddresses = true; // answers carry the addresses of the name in the data

// clang-format off
constexpr RecordType kRows[] = {
    {rtype::A, "A", {IPv4}, kNotCompressed, TypeSetting::Always},
    {rtype::NS, "NS", {Name}, kCompressed, TypeSetting::Always},
    {rtype::CNAME, "CNAME", {Name}, kCompressed, TypeSetting::Always},
    {rtype::SOA, "SOA", {Name, Name, Number32, Number32, Number32, Number32, Number32}, kCompressed,
     TypeSetting::Always, LogForm::PrimaryAndSerial},
    {rtype::PTR, "PTR", {Name}, kCompressed, TypeSetting::Always},
    {rtype::MX, "MX", {Preference, Name}, kCompressed, TypeSetting::Always, LogForm::Fields, kAddresses},
    {rtype::TXT, "TXT", {Strings}, kNotCompressed, TypeSetting::Always},
    {rtype::AAAA, "AAAA", {IPv6}, kNotCompressed, TypeSetting::AAAARecords},
    // priority, weight, port, target
    {rtype::SRV, "SRV", {Number16, Number16, Number16, Name}, kNotCompressed, TypeSetting::MoreRecordTypes,
     LogForm::Fields, kAddresses},
    // flags, tag, value
    {rtype::CAA, "CAA", {Number8, Tag, Rest}, kNotCompressed, TypeSetting::MoreRecordTypes},
};
// clang-format on

} // namespace

std::span<const RecordType> recordTypes()
{
    return kRows;
}

const RecordType* findRecordType(int code)
{
    const auto row =
        std::find_if(std::begin(kRows), std::end(kRows), [&](const RecordType& r) { return r.code == code; });
    return row == std::end(kRows) ? nullptr : row;
}

const RecordType* findRecordType(std::string_view mnemonic)
{
    const auto row = std::find_if(std::begin(kRows), std::end(kRows),
                                  [&](const RecordType& r) { return r.mnemonic == mnemonic; });
    return row == std::end(kRows) ? nullptr : row;
}

bool switchedOn(const RecordType& row, TypeSwitches on)
{
    switch (row.setting) {
    case TypeSetting::Always:
        return true;
    case TypeSetting::AAAARecords:
        return on.aaaaRecords;
    case TypeSetting::MoreRecordTypes:
        return on.moreRecordTypes;
    }
    return false;
}

} // namespace quorvane
