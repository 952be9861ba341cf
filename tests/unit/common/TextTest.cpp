#include "common/Text.h"

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "common/StringList.h"

namespace
{

using TParts = std::vector<std::string>;

TEST(Text, TokenizeKeepsEmptyParts)
{
    EXPECT_EQ(ZnTokenize("", '.'), TParts{});
    EXPECT_EQ(ZnTokenize("a", '.'), TParts{"a"});
    EXPECT_EQ(ZnTokenize(".a..b.", '.'), (TParts{"", "a", "", "b", ""}));
    TStringList List{"first"};
    ZnTokenize("u=1&p=2", List, '&');
    EXPECT_EQ(List.GetText(), "first\r\nu=1\r\np=2\r\n");
}

TEST(Text, TrimsAndStrips)
{
    EXPECT_EQ(ZnTrim(std::string_view(" \t\0a b\r\n", 8)), "a b");
    EXPECT_EQ(ZnTrim(" \x01 "), "");
    EXPECT_EQ(ZnTrim("\xC3\xA4"), "\xC3\xA4");
    EXPECT_EQ(ZnStripLiterals("\"a\""), "a");
    for (const char* Text : {"", "\"", "\"a", "a\"", "'a'", "a\"b\"c"})
        EXPECT_EQ(ZnStripLiterals(Text), Text);
}

TEST(Text, ComparesWithoutRegardToAsciiCase)
{
    EXPECT_TRUE(SameText("Set-Cookie", "sET-cOOKIE"));
    EXPECT_FALSE(SameText("a", "ab"));
    EXPECT_FALSE(SameText("\xC3\x84", "\xC3\xA4"));
    EXPECT_FALSE(SameText("[", "{")) << "they differ by the bit that tells letters' case";
    EXPECT_TRUE(ContainsText("application/JSON", "json"));
    EXPECT_TRUE(ContainsText("", ""));
    EXPECT_FALSE(ContainsText("", "a"));
    EXPECT_TRUE(StartsText("bAsic ", "Basic abc"));
    EXPECT_FALSE(StartsText("Basic ", "Basi"));
    EXPECT_TRUE(EndsText(".SHTML", "a.shtml"));
    EXPECT_FALSE(EndsText("shtml", "tml"));
    EXPECT_LT(CompareText("A", "b"), 0);
    EXPECT_EQ(CompareText("aB", "Ab"), 0);
    EXPECT_GT(CompareText("ab", "A"), 0);
}

TEST(Text, ParseIntTakesDigitsOnly)
{
    EXPECT_EQ(ZnParseInt<std::uint16_t>("65535"), 65535);
    EXPECT_EQ(ZnParseInt<std::int32_t>("-2147483648"), INT32_MIN);
    EXPECT_EQ(ZnParseInt<std::uint32_t>("ff", 16), 255u);
    for (const char* Text : {"", " 1", "1 ", "+1", "-1", "65536", "1x", "0x1", "1.0", "\xD9\xA1"})
        EXPECT_FALSE(ZnParseInt<std::uint16_t>(Text)) << Text;
    EXPECT_FALSE(ZnParseInt<std::int32_t>("2147483648"));
    EXPECT_FALSE(ZnParseInt<std::int32_t>("--1"));
    EXPECT_EQ(StrToIntDef("12a", 7), 7);
    EXPECT_EQ(StrToInt64Def("99999999999", 0), 99999999999);
}

TEST(Text, StrToFloatIsStrictAndKnowsNoLocale)
{
    EXPECT_EQ(ZnStrToFloat("0.5"), 0.5);
    EXPECT_EQ(ZnStrToFloat(" 1 "), 1.0);
    EXPECT_EQ(ZnStrToFloat("-2.5e3"), -2500.0);
    for (const char* Text : {"", ".", "0,5", "1.0q", "nan", "inf", "1e999", "0x10", "1 2"})
        EXPECT_THROW(ZnStrToFloat(Text), EConvertError) << Text;
}

} // namespace
