// Texts for the numeric codes of DNS messages. Fixed tables only; no state.
#include "wire/type_names.h"

#include "net/error_hook.h"
#include "wire/dns_codes.h"
#include "wire/record_types.h"

#include <cstdlib>
#include <exception>
#include <string_view>

namespace quorvane {

namespace {

// Types 1-16 in cells of five characters, padded with blanks, in type order: the obsolete ones have
// no row in the record-type table, and the rows of this range agree with their cells.
constexpr std::string_view kTypeCells =
    "A    NS   MD   MF   CNAMESOA  MB   MG   MR   NULL WKS  PTR  HINFOMINFOMX   TXT  ";
// The query-only types 252-255, in the same form.
constexpr std::string_view kQueryTypeCells = "AXFR MAILBMAILA*    ";
constexpr size_t kCellWidth = 5;

std::string cellText(std::string_view cells, long long index)
{
    const std::string_view cell = cells.substr(static_cast<size_t>(index) * kCellWidth, kCellWidth);
    return std::string(cell.substr(0, cell.find_last_not_of(' ') + 1));
}

} // namespace

std::string RTypeN(int type)
{
    try {
        const long long n = std::llabs(type);
        if (n >= 1 && n <= 16) return cellText(kTypeCells, n - 1);
        if (const RecordType* row = findRecordType(static_cast<int>(n))) return std::string(row->mnemonic);
        if (n >= 252 && n <= 255) return cellText(kQueryTypeCells, n - 252);
        return "?" + std::to_string(n) + "?";
    } catch (const std::exception& e) {
        reportError("modDNS RTypeN", e.what());
    }
    return {};
}

std::string RCodeN(int rcode)
{
    try {
        switch (rcode) {
        case kRcodeNoError:
            return "No Error";
        case kRcodeFormatError:
            return "Format Error - could not interpret the query.";
        case kRcodeServerFailure:
            return "Server Failure.";
        case kRcodeNameError:
            return "Name does not exist!";
        case kRcodeNotImplemented:
            return "Not implemented - no support for this query type.";
        case kRcodeRefused:
            return "Refused - will not answer this client or this query type.";
        default:
            return "Unknown error.";
        }
    } catch (const std::exception& e) {
        reportError("modDNS RCodeN", e.what());
    }
    return {};
}

// The opcode and class texts have no error label of their own: a failure (only ever running out
// of memory) gives an empty text.

std::string OpCodeN(int opcode)
{
    try {
        switch (opcode) {
        case kOpcodeQuery:
            return "Standard Query";
        case kOpcodeInverse:
            return "Inverse Query Request";
        case kOpcodeStatus:
            return "Server Status Request";
        case kOpcodeNotify:
            return "Notification Request";
        // The number keeps the blank that stands before a non-negative number in the log.
        default:
            return "Unknown Query Type (OpCode" + std::string(opcode >= 0 ? " " : "") +
                   std::to_string(opcode) + ")";
        }
    } catch (const std::exception&) {
    }
    return {};
}

std::string ClassN(int dnsClass)
{
    try {
        switch (dnsClass) {
        case kClassIN:
            return "Internet class record";
        case kClassCS:
            return "CSNET class record";
        case kClassCH:
            return "CHAOS class record";
        case kClassHS:
            return "Hesiod [Dyer 87] class record";
        default:
            return "Unknown class (" + std::to_string(dnsClass) + ") record";
        }
    } catch (const std::exception&) {
    }
    return {};
}

} // namespace quorvane
