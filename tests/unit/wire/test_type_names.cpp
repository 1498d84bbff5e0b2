#include "wire/type_names.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(RTypeN, MnemonicsFromTheFixedWidthTables)
{
    const std::pair<int, const char*> cases[] = {
        {1, "A"},       {2, "NS"},      {5, "CNAME"},     {6, "SOA"},     {10, "NULL"},
        {11, "WKS"},    {13, "HINFO"},  {14, "MINFO"},    {15, "MX"},     {16, "TXT"},
        {28, "AAAA"},   {33, "SRV"},    {252, "AXFR"},    {253, "MAILB"}, {254, "MAILA"},
        {255, "*"},     {-1, "A"},      {-15, "MX"},      {0, "?0?"},     {17, "?17?"},
        {251, "?251?"}, {256, "?256?"}, {3000, "?3000?"}, {-99, "?99?"},  {65535, "?65535?"},
    };
    for (const auto& [type, text] : cases)
        EXPECT_EQ(RTypeN(type), text) << type;
}

TEST(CodeTexts, UnknownCodes)
{
    EXPECT_EQ(RCodeN(5), "Refused - will not answer this client or this query type.");
    EXPECT_EQ(RCodeN(6), "Unknown error.");
    EXPECT_EQ(RCodeN(-1), "Unknown error.");
    // The opcode text keeps a blank before a non-negative number; the class text has none.
    EXPECT_EQ(OpCodeN(4), "Notification Request");
    EXPECT_EQ(OpCodeN(3), "Unknown Query Type (OpCode 3)");
    EXPECT_EQ(OpCodeN(-2), "Unknown Query Type (OpCode-2)");
    EXPECT_EQ(ClassN(1), "Internet class record");
    EXPECT_EQ(ClassN(0), "Unknown class (0) record");
    EXPECT_EQ(ClassN(-3), "Unknown class (-3) record");
}

} // namespace quorvane
