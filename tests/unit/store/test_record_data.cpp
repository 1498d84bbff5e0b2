#include "store/record_data.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(RecordData, TxtTextAndDataRoundTrip)
{
    struct Case
    {
        const char* text;
        Bytes data;
        const char* written;
    };
    const Case cases[] = {
        {"hello", Bytes("\x05hello"), "\"hello\""},
        {"two words", Bytes("\x03two\x05words"), "\"two\" \"words\""},
        {"\"two words\"", Bytes("\x09two words"), "\"two words\""},
        {"\"\"", Bytes(1, '\0'), "\"\""},
        {R"("say \"hi\"" back\\slash)",
         Bytes("\x08say \"hi\"\x0a"
               "back\\slash"),
         R"("say \"hi\"" "back\\slash")"},
        {R"("v=spf1 \059 x\255")", Bytes("\x0bv=spf1 ; x\xff"), R"("v=spf1 \059 x\255")"},
        {"tab\\009", Bytes("\x04tab\t"), R"("tab\009")"},
        {"end\\",
         Bytes("\x04"
               "end\\"),
         R"("end\\")"},
    };
    for (const Case& c : cases) {
        const auto data = prepareTxt(c.text);
        ASSERT_TRUE(data) << c.text;
        EXPECT_EQ(*data, c.data) << c.text;
        EXPECT_EQ(txtText(*data), c.written) << c.text;
        EXPECT_EQ(prepareTxt(txtText(*data)), data) << c.text;
    }
    // A long string is cut into pieces of 255; text without a string, or with an open quote, is none.
    const auto longData = prepareTxt(std::string(600, 'x'));
    ASSERT_TRUE(longData);
    EXPECT_EQ(longData->size(), 603u);
    EXPECT_EQ(static_cast<unsigned char>((*longData)[256]), 255);
    EXPECT_EQ((*longData)[512], static_cast<char>(90));
    EXPECT_FALSE(prepareTxt(""));
    EXPECT_FALSE(prepareTxt("   "));
    EXPECT_FALSE(prepareTxt("\"open"));
    // A length byte past the end of learned data takes what is there.
    EXPECT_EQ(txtText(Bytes("\x09"
                            "abc")),
              "\"abc\"");
}

TEST(RecordData, SoaAndDataFilesCannotCarry)
{
    const SoaFields soa{"ns.zone.", "admin.zone.", 4000000000u, 3600, 600, 604800, 300};
    const Bytes data = makeSoaData(soa);
    EXPECT_EQ(data.size(), 9u + 12u + 20u);
    const auto back = readSoa(data);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->serial, 4000000000u);
    EXPECT_EQ(back->minimum, 300u);
    EXPECT_FALSE(readSoa(data.substr(0, data.size() - 1)));
    EXPECT_FALSE(readSoa("ns.zone."));

    auto line = [](int16_t type, Bytes bytes, int32_t pref = 0) {
        clDNSRecord record;
        record.RecType = type;
        record.Data = std::move(bytes);
        record.Pref = pref;
        return recordDataText(record).value_or("-");
    };
    EXPECT_EQ(line(rtype::A, "abc"), "-");
    EXPECT_EQ(line(rtype::CNAME, "a b."), "-") << "a blank would split the name when read back";
    EXPECT_EQ(line(rtype::SOA, data), "SOA ns.zone. admin.zone. 4000000000 3600 600 604800 300");
    EXPECT_EQ(line(rtype::SOA, data + "x"), "-") << "a byte after the last field";
    EXPECT_EQ(line(rtype::MX, "mail.zone.", 70000), "-");
    EXPECT_EQ(line(rtype::TXT, ""), "-");
    EXPECT_EQ(line(rtype::DFCN, "target."), "-");
    EXPECT_EQ(line(rtype::kNameMarker, ""), "-");
    EXPECT_EQ(line(rtype::AAAA, Bytes(4, '\1')), "-");
    EXPECT_EQ(line(99, "bytes"), "-");
}

} // namespace quorvane
