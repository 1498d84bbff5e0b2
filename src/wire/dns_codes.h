// Numbers of the DNS protocol that several parts of the server name: the port, the class, the
// types of questions that are no record types, an opcode and response codes.
#pragma once

#include <cstdint>

namespace quorvane {

inline constexpr uint16_t kDnsPort = 53;
inline constexpr int kClassIN = 1;
inline constexpr int kTypeSOA = 6;
inline constexpr int kTypeTXT = 16;
inline constexpr int kTypeIXFR = 251;
inline constexpr int kTypeAXFR = 252;
inline constexpr int kTypeAny = 255;
inline constexpr int kOpcodeNotify = 4;
inline constexpr int kRcodeFormatError = 1;
inline constexpr int kRcodeNotImplemented = 4;
inline constexpr int kRcodeRefused = 5;

} // namespace quorvane
