#include "wire/type_names.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(RTypeN, MnemonicsFromTheTables)
{
    const std::pair<int, const char*> cases[] = {
        {1, "A"},         {2, "NS"},      {3, "MD"},          {4, "MF"},    {5, "CNAME"},   {6, "SOA"},
        {7, "MB"},        {8, "MG"},      {9, "MR"},          {10, "NULL"}, {11, "WKS"},    {12, "PTR"},
        {13, "HINFO"},    {14, "MINFO"},  {15, "MX"},         {16, "TXT"},  {28, "AAAA"},   {33, "SRV"},
        {252, "AXFR"},    {253, "MAILB"}, {254, "MAILA"},     {255, "*"},   {-1, "A"},      {-15, "MX"},
        {-255, "*"},      {0, "?0?"},     {17, "?17?"},       {27, "?27?"}, {251, "?251?"}, {256, "?256?"},
        {3000, "?3000?"}, {-99, "?99?"},  {65535, "?65535?"},
    };
    for (const auto& [type, text] : cases)
        EXPECT_EQ(RTypeN(type), text) << type;
}

TEST(CodeTexts, ResponseCodesOpcodesAndClasses)
{
    const std::pair<int, const char*> rcodes[] = {
        {0, "No Error"},
        {1, "Format Error - could not interpret the query."},
        {2, "Server Failure."},
        {3, "Name does not exist!"},
        {4, "Not implemented - no support for this query type."},
        {5, "Refused - will not answer this client or this query type."},
        {6, "Unknown error."},
        {-1, "Unknown error."},
    };
    for (const auto& [code, text] : rcodes)
        EXPECT_EQ(RCodeN(code), text) << code;

    // The opcode text keeps a blank before a non-negative number; the class text has none.
    const std::pair<int, const char*> opcodes[] = {
        {0, "Standard Query"},
        {1, "Inverse Query Request"},
        {2, "Server Status Request"},
        {3, "Unknown Query Type (OpCode 3)"},
        {4, "Notification Request"},
        {5, "Unknown Query Type (OpCode 5)"},
        {-2, "Unknown Query Type (OpCode-2)"},
    };
    for (const auto& [code, text] : opcodes)
        EXPECT_EQ(OpCodeN(code), text) << code;

    const std::pair<int, const char*> classes[] = {
        {1, "Internet class record"},      {2, "CSNET class record"},
        {3, "CHAOS class record"},         {4, "Hesiod [Dyer 87] class record"},
        {0, "Unknown class (0) record"},   {255, "Unknown class (255) record"},
        {-3, "Unknown class (-3) record"},
    };
    for (const auto& [code, text] : classes)
        EXPECT_EQ(ClassN(code), text) << code;
}

} // namespace quorvane
