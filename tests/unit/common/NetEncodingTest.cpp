#include "common/NetEncoding.h"

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "common/Streams.h"

namespace
{

const TURLEncoding& URL()
{
    return TZnNetEncoding::URL();
}

TEST(URLEncoding, EscapesWhatNoURLHoldsAndWhatIsAskedFor)
{
    constexpr TZnTextSet cNone;
    EXPECT_EQ(URL().Encode("a b\x7F\"<>\\^`{|}\xC3\xA4\n", cNone, {}),
              "a%20b%7F%22%3C%3E%5C%5E%60%7B%7C%7D%C3%A4%0A");
    EXPECT_EQ(URL().Encode("az09-._~!#$&'()*+,/:;=?@[]", cNone, {}), "az09-._~!#$&'()*+,/:;=?@[]");
    EXPECT_EQ(URL().Encode("a/b=c", TZnTextSet("/"), {}), "a%2Fb=c");
    EXPECT_EQ(URL().Encode("a b+", cNone, {TURLEncoding::SpacesAsPlus}), "a+b+");
    EXPECT_EQ(URL().Encode("%41 100% %zz", cNone, {}), "%41%20100%25%20%25zz");
    EXPECT_EQ(URL().Encode("%41", cNone, {TURLEncoding::EncodePercent}), "%2541");
    EXPECT_EQ(URL().EncodeForm("a b&c=\xC3\xA4~*-._"), "a+b%26c%3D%C3%A4%7E*-._");
}

TEST(URLEncoding, DecodesEscapes)
{
    EXPECT_EQ(URL().Decode("a%2fb%2F+%C3%A4"), "a/b/+\xC3\xA4");
    EXPECT_EQ(URL().Decode("a+b%2B", {TURLEncoding::PlusAsSpaces}), "a b+");
    EXPECT_EQ(URL().Decode("%00"), std::string(1, '\0'));
    EXPECT_EQ(URL().Decode("%FF!"), "\xEF\xBF\xBD!") << "what is no UTF-8 is replaced";
    for (const char* Text : {"%", "%4", "a%4", "%4g", "%g4", "%%41", "% 41", "%+1"})
        EXPECT_THROW(URL().Decode(Text), EConvertError) << Text;
}

TEST(Base64, WritesTheTestVectorsAndReadsThem)
{
    // RFC 4648, 10.
    const std::pair<const char*, const char*> Rows[] = {{"", ""},
                                                        {"f", "Zg=="},
                                                        {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},
                                                        {"foob", "Zm9vYg=="},
                                                        {"fooba", "Zm9vYmE="},
                                                        {"foobar", "Zm9vYmFy"}};
    const TZnBase64Encoding& Base64 = TZnNetEncoding::GetBase64ExEncoding();
    for (const auto& [Bytes, Text] : Rows) {
        EXPECT_EQ(Base64.Encode(Bytes), Text);
        EXPECT_EQ(Base64.Decode(Text), Bytes);
        EXPECT_EQ(Base64.Decode(Base64.EncodeURL(Bytes)), Bytes);
    }
    EXPECT_EQ(Base64.Encode("\xFB\xFF"), "+/8=");
    EXPECT_EQ(Base64.EncodeURL("\xFB\xFF"), "-_8");
    EXPECT_EQ(Base64.Decode("-_8="), "\xFB\xFF");
    EXPECT_EQ(Base64.Decode("Zm\r\n9v "), "foo");
    TMemoryStream Stream;
    Base64.Decode("Zm9v", Stream);
    EXPECT_EQ(Stream.View(), "foo");
}

TEST(Base64, RefusesWhatIsNone)
{
    for (const char* Text : {"Z", "Zm9vY", "Zg=", "Zg===", "Zm9v=", "Z=g=", "Zg==Zg==", "=", "Zm9v!", "Zh=="})
        EXPECT_THROW(TZnNetEncoding::GetBase64ExEncoding().Decode(Text), EConvertError) << Text;
}

TEST(Hex, WritesLowerAndReadsBothCases)
{
    const TZnHexEncoding& Hex = TZnNetEncoding::GetHexEncoding();
    EXPECT_EQ(Hex.Encode(std::string_view("\0\xAF", 2)), "00af");
    EXPECT_EQ(Hex.Decode("aFFa"), "\xAF\xFA");
    EXPECT_EQ(Hex.Encode(Hex.DecodeBytes("0aff")), "0aff");
    for (const char* Text : {"a", "abc", "0g", "0x", " 0"})
        EXPECT_THROW(Hex.Decode(Text), EConvertError) << Text;
}

} // namespace
