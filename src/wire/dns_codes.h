// Numbers of the DNS protocol other than record types (those are in record_types.h): the port,
// classes, the types of questions and pseudo-records that are no record types, opcodes and
// response codes.
#pragma once

#include <cstdint>

namespace quorvane {

inline constexpr uint16_t kDnsPort = 53;

inline constexpr int kClassIN = 1;
inline constexpr int kClassCS = 2;
inline constexpr int kClassCH = 3;
inline constexpr int kClassHS = 4;

inline constexpr int kTypeOPT = 41;
inline constexpr int kTypeIXFR = 251;
inline constexpr int kTypeAXFR = 252;
inline constexpr int kTypeAny = 255;

inline constexpr int kOpcodeQuery = 0;
inline constexpr int kOpcodeInverse = 1;
inline constexpr int kOpcodeStatus = 2;
inline constexpr int kOpcodeNotify = 4;

inline constexpr int kRcodeNoError = 0;
inline constexpr int kRcodeFormatError = 1;
inline constexpr int kRcodeServerFailure = 2;
inline constexpr int kRcodeNameError = 3;
inline constexpr int kRcodeNotImplemented = 4;
inline constexpr int kRcodeRefused = 5;
// The extended response code of a query whose EDNS version we do not speak.
inline constexpr int kRcodeBadVersion = 16;

} // namespace quorvane
