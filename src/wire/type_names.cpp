// Texts for the numeric codes of DNS messages. Fixed tables only; no state.
#include "wire/type_names.h"

#include "net/error_hook.h"

#include <cstdlib>
#include <exception>
#include <string_view>

namespace quorvane {

namespace {

// Types 1-16 in cells of five characters, padded with blanks, in type order.
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
        if (n == 28) return "AAAA";
        if (n == 33) return "SRV";
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
        case 0:
            return "No Error";
        case 1:
            return "Format Error - could not interpret the query.";
        case 2:
            return "Server Failure.";
        case 3:
            return "Name does not exist!";
        case 4:
            return "Not implemented - no support for this query type.";
        case 5:
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
        case 0:
            return "Standard Query";
        case 1:
            return "Inverse Query Request";
        case 2:
            return "Server Status Request";
        case 4:
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
        case 1:
            return "Internet class record";
        case 2:
            return "CSNET class record";
        case 3:
            return "CHAOS class record";
        case 4:
            return "Hesiod [Dyer 87] class record";
        default:
            return "Unknown class (" + std::to_string(dnsClass) + ") record";
        }
    } catch (const std::exception&) {
    }
    return {};
}

} // namespace quorvane
