#include "uZnHTTPBase/Url.h"

#include <gtest/gtest.h>

#include "common/Encoding.h"
#include "common/Exceptions.h"

namespace
{

/// The fields in the order Scheme Username Password Hostname Port | SubPath | Document | FilePath |
/// QueryString | Fragment | Origin | Resource, "-" for an empty one.
std::string Fields(const TZnURLData& AData)
{
    const auto Shown = [](const std::string& AText) { return AText.empty() ? std::string("-") : AText; };
    EXPECT_EQ(AData.DocumentUri, AData.Origin + AData.FilePath);
    return Shown(AData.Scheme) + " " + Shown(AData.Username) + " " + Shown(AData.Password) + " " +
           Shown(AData.Hostname) + " " + std::to_string(AData.Port) + " | " + Shown(AData.SubPath) + " | " +
           Shown(AData.Document) + " | " + Shown(AData.FilePath) + " | " + Shown(AData.QueryString) + " | " +
           Shown(AData.Fragment) + " | " + AData.Origin + " | " + Shown(AData.Resource);
}

struct TRow
{
    const char* URL;
    const char* Fields;
};

const TRow cRows[] = {
    // Without a scheme.
    {"example", "http - - example 80 | - | - | - | - | - | http://example | -"},
    {"example/a", "http - - example 80 | - | a | /a | - | - | http://example | /a"},
    {"example/", "http - - example 80 | - | - | / | - | - | http://example | /"},
    {"example:81", "http - - example 81 | - | - | - | - | - | http://example:81 | -"},
    {"/", "http - - - 80 | - | - | / | - | - | http:// | /"},
    {"a/b//c", "http - - a 80 | b/ | c | /b//c | - | - | http://a | /b//c"},
    // Authority.
    {"http://u:p@h:8080/a/b/c.txt?x=1#f",
     "http u p h 8080 | a/b | c.txt | /a/b/c.txt | x=1 | f | http://h:8080 | /a/b/c.txt?x=1#f"},
    {"http://u@h/", "http u - h 80 | - | - | / | - | - | http://h | /"},
    {"http://u:@h", "http u - h 80 | - | - | - | - | - | http://h | -"},
    {"http://:p@h", "http - p h 80 | - | - | - | - | - | http://h | -"},
    {"http://u:p@[::1]:81/", "http u p [::1] 81 | - | - | / | - | - | http://[::1]:81 | /"},
    {"http://u@h@i/", "http u - h@i 80 | - | - | / | - | - | http://h@i | /"},
    {"https://[::1]:8443/", "https - - [::1] 8443 | - | - | / | - | - | https://[::1]:8443 | /"},
    {"http://[::1]", "http - - [::1] 80 | - | - | - | - | - | http://[::1] | -"},
    {"http:///a", "http - - - 80 | - | a | /a | - | - | http:// | /a"},
    {"http://", "http - - - 80 | - | - | - | - | - | http:// | -"},
    {"//h/a", "- - - h 0 | - | a | /a | - | - | ://h:0 | /a"},
    // Ports.
    {"http://h:80", "http - - h 80 | - | - | - | - | - | http://h | -"},
    {"http://h:443/", "http - - h 443 | - | - | / | - | - | http://h:443 | /"},
    {"https://h:443/", "https - - h 443 | - | - | / | - | - | https://h | /"},
    {"http://h:0/", "http - - h 80 | - | - | / | - | - | http://h | /"},
    {"http://h:65616/", "http - - h 80 | - | - | / | - | - | http://h | /"},
    {"http://h:65535/", "http - - h 65535 | - | - | / | - | - | http://h:65535 | /"},
    {"http://h:81?x", "http - - h 81 | - | - | - | x | - | http://h:81 | ?x"},
    {"http://u:p@h:81#f", "http u p h 81 | - | - | - | - | f | http://h:81 | #f"},
    {"ftp://h/", "ftp - - h 21 | - | - | / | - | - | ftp://h | /"},
    {"sftp://h/", "sftp - - h 115 | - | - | / | - | - | sftp://h | /"},
    {"ftps://h/", "ftps - - h 0 | - | - | / | - | - | ftps://h:0 | /"},
    {"ws://h/", "ws - - h 0 | - | - | / | - | - | ws://h:0 | /"},
    {"HTTPS://h/", "HTTPS - - h 0 | - | - | / | - | - | HTTPS://h:0 | /"},
    // Paths.
    {"http://h", "http - - h 80 | - | - | - | - | - | http://h | -"},
    {"http://h/", "http - - h 80 | - | - | / | - | - | http://h | /"},
    {"http://h/a/", "http - - h 80 | a | - | /a/ | - | - | http://h | /a/"},
    {"http://h//", "http - - h 80 | - | - | // | - | - | http://h | //"},
    {"http://h//a", "http - - h 80 | - | a | //a | - | - | http://h | //a"},
    {"http://h/a//b/", "http - - h 80 | a//b | - | /a//b/ | - | - | http://h | /a//b/"},
    {"http://h///a", "http - - h 80 | / | a | ///a | - | - | http://h | ///a"},
    {"http://h/a:b@c[d]", "http - - h 80 | - | a:b@c[d] | /a:b@c[d] | - | - | http://h | /a:b@c[d]"},
    {"http://h/a%20b", "http - - h 80 | - | a%20b | /a%20b | - | - | http://h | /a%20b"},
    {"http://h/\xC3\xA4/\xFF",
     "http - - h 80 | \xC3\xA4 | \xFF | /\xC3\xA4/\xFF | - | - | http://h | /\xC3\xA4/\xFF"},
    // Query and fragment.
    {"http://h?x=1", "http - - h 80 | - | - | - | x=1 | - | http://h | ?x=1"},
    {"http://h/?", "http - - h 80 | - | - | / | - | - | http://h | /"},
    {"http://h/#", "http - - h 80 | - | - | / | - | - | http://h | /"},
    {"http://h/?a/b?c#d/e?f#g", "http - - h 80 | - | - | / | a/b?c | d/e?f#g | http://h | /?a/b?c#d/e?f#g"},
    {"http://h#?x", "http - - h 80 | - | - | - | - | ?x | http://h | #?x"},
};

TEST(Url, TakesApartTextAndBuffersAlike)
{
    for (const TRow& Row : cRows) {
        SCOPED_TRACE(Row.URL);
        const TZnURLData Data = ZnDecodeURL(Row.URL);
        EXPECT_EQ(Data.URL, Row.URL);
        EXPECT_EQ(Fields(Data), Row.Fields);
        EXPECT_EQ(TZnURLData::Create(Row.URL), Data);
        EXPECT_EQ(ZnDecodeURL(Row.URL, static_cast<int>(std::string_view(Row.URL).size()), cZnCodePageUTF8),
                  Data);
        if (ZnIsUtf8(Row.URL)) {
            const std::string Wide = TZnEncoding::ConvertW(Row.URL, cZnCodePageUTF16);
            EXPECT_EQ(ZnDecodeURL(Wide.data(), static_cast<int>(Wide.size()), cZnCodePageUTF16), Data);
        }
    }
}

TEST(Url, RefusesWithOneText)
{
    for (const char* Text : {"h:x/", "h:/", "h:", "http://h:8x/", "http://h: 80/", "http://h:+80/",
                             "http://h:-1/", "http://[::1", "http://[::1]:/", "http://u:p@h:x",
                             "http://u:p@[h", "http://h:99999999999999999999/"}) {
        try {
            ZnDecodeURL(Text);
            ADD_FAILURE() << Text;
        } catch (const EInvalidArgument& Failure) {
            EXPECT_EQ(Failure.Message(), "The provided URL is not a valid URL!") << Text;
        }
    }
}

TEST(Url, EmptyInputIsTheCallersError)
{
    EXPECT_THROW(ZnDecodeURL(""), EAssertionFailed);
    EXPECT_THROW(ZnDecodeURL("a", 0, cZnCodePageUTF8), EAssertionFailed);
    EXPECT_THROW(ZnDecodeURL("a", -1, cZnCodePageUTF8), EAssertionFailed);
    EXPECT_EQ(TZnURLData::Create(""), TZnURLData());
}

} // namespace
