// The texts of record types, response codes, opcodes and classes, as the log, the failure log
// and the cache file show them. Pure functions; every code has a text, none throws.
#pragma once

#include <string>

namespace quorvane {

// The record type's mnemonic ("A", "CNAME", "AXFR", "*"). A negative code (cache marker entries)
// shows its positive counterpart; a code without a mnemonic reads "?99?".
std::string RTypeN(int type);

// "No Error", "Name does not exist!" ...; "Unknown error." for codes other than 0-5.
std::string RCodeN(int rcode);

// "Standard Query" ...; other opcodes read "Unknown Query Type (OpCode 3)".
std::string OpCodeN(int opcode);

// "Internet class record" ...; other classes read "Unknown class (255) record".
std::string ClassN(int dnsClass);

} // namespace quorvane
