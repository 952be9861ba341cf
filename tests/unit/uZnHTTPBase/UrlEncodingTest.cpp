#include "uZnHTTPBase/UrlEncoding.h"

#include <gtest/gtest.h>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Streams.h"

namespace
{

TEST(UrlEncoding, EncodesAComponent)
{
    EXPECT_EQ(ZnURLEncode("a/b"), "a%2Fb");
    EXPECT_EQ(ZnURLEncode("100%"), "100%25");
    EXPECT_EQ(ZnURLEncode("%41 +"), "%2541%20%2B");
    EXPECT_EQ(ZnURLEncode("!#$&'()*+,/:;=?@[]"), "%21%23%24%26%27%28%29%2A%2B%2C%2F%3A%3B%3D%3F%40%5B%5D");
    EXPECT_EQ(ZnURLEncode("aZ09-._~"), "aZ09-._~");
}

TEST(UrlEncoding, DecodesWithPlusAsBlank)
{
    EXPECT_EQ(ZnURLDecode(AnsiString("a+b%2B%C3%A4")), "a b+\xC3\xA4");
    EXPECT_EQ(ZnURLDecode(AnsiString("\xFF")), "\xEF\xBF\xBD");
    EXPECT_THROW(ZnURLDecode(AnsiString("%4")), EConvertError);
    std::string All;
    for (int Char = 1; Char < 128; ++Char)
        All.push_back(static_cast<char>(Char));
    EXPECT_EQ(ZnURLDecode(AnsiString(ZnURLEncode(All))), All);
}

TEST(UrlEncoding, DecodesStreams)
{
    TStringStream Input("a%20b");
    Input.SetPosition(3);
    TStringStream Output("12345");
    Output.SetPosition(1);
    ZnURLDecode(Input, Output);
    EXPECT_EQ(Output.DataString(), "1a b5");
}

} // namespace
