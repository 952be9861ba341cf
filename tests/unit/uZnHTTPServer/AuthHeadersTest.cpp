#include "uZnHTTPServer/BasicCredentials.h"
#include "uZnHTTPServer/Digest.h"

#include <gtest/gtest.h>

#include "common/Hash.h"
#include "common/NetEncoding.h"
#include "common/Text.h"

namespace
{

std::string Base64(std::string_view ABytes)
{
    return TZnNetEncoding::GetBase64ExEncoding().Encode(ABytes);
}

TEST(BasicCredentials, SplitsAtTheFirstColon)
{
    const struct
    {
        const char* Name;
        std::string Field;
        std::string User;
        std::string Password;
    } Rows[] = {
        {"RFC 7617, 2", "QWxhZGRpbjpvcGVuIHNlc2FtZQ==", "Aladdin", "open sesame"},
        {"RFC 7617, 2.1", "dGVzdDoxMjPCow==", "test", "123\xC2\xA3"},
        {"colons in the password", Base64("a:b:c:"), "a", "b:c:"},
        {"no colon", Base64("secret"), "", "secret"},
        {"empty name", Base64(":secret"), "", "secret"},
        {"empty password", Base64("a:"), "a", ""},
        {"colon only", Base64(":"), "", ""},
        {"blanks at the ends", Base64(" \ta:b \r\n"), "a", "b"},
        {"NUL inside", Base64(std::string_view("a\0b:c", 5)), std::string("a\0b", 3), "c"},
        {"no UTF-8", Base64("a\xFF:b"), "a\xEF\xBF\xBD", "b"},
        {"no padding", "YTpi", "a", "b"},
    };
    for (const auto& Row : Rows) {
        SCOPED_TRACE(Row.Name);
        const auto Seen = Zn::ParseBasicCredentials(Row.Field);
        ASSERT_TRUE(Seen);
        EXPECT_EQ(Seen->UserName, Row.User);
        EXPECT_EQ(Seen->Password, Row.Password);
    }
    const std::string Long(64 * 1024, 'n');
    EXPECT_EQ(Zn::ParseBasicCredentials(Base64(Long + ":p"))->UserName, Long);
}

TEST(BasicCredentials, GivesNothingForWhatIsNone)
{
    for (const char* Field :
         {"", " ", "====", "Y", "YTpi!", "YTpi=YTpi", "a:b", "IA==", "AAAA", "YTpi, Basic YTpi", "\"YTpi\""})
        EXPECT_FALSE(Zn::ParseBasicCredentials(Field)) << Field;
}

std::string Ha1(const std::string& AUser, const std::string& ARealm, const std::string& APassword)
{
    return MD5Hash(AUser + ":" + ARealm + ":" + APassword);
}

TEST(Digest, AgreesWithTheExamplesOfTheRFCs)
{
    const auto Old = Zn::ParseDigestCredentials(
        R"(username="Mufasa", realm="testrealm@host.com", nonce="dcd98b7102dd2f0e8b11d0f600bfb0c093", )"
        R"(uri="/dir/index.html", qop=auth, nc=00000001, cnonce="0a4f113b", )"
        R"(response="6629fae49393a05397450978507c4ef1", opaque="5ccc069c403ebaf9f0171e9517f40e41")");
    EXPECT_EQ(Old.UserName, "Mufasa");
    EXPECT_EQ(Old.Opaque, "5ccc069c403ebaf9f0171e9517f40e41");
    EXPECT_EQ(Zn::DigestResponse(Old, HttpVerbGET, Ha1("Mufasa", "testrealm@host.com", "Circle Of Life")),
              Old.Response);

    const auto New = Zn::ParseDigestCredentials(
        R"(username="Mufasa", realm="http-auth@example.org", uri="/dir/index.html", algorithm=MD5, )"
        R"(nonce="7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v", nc=00000001, )"
        R"(cnonce="f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ", qop=auth, )"
        R"(response="8ca523f5e9506fed4657c9700eebdbec")");
    const std::string Hash = Ha1("Mufasa", "http-auth@example.org", "Circle of Life");
    EXPECT_EQ(Zn::DigestResponse(New, HttpVerbGET, Hash), New.Response);
    EXPECT_EQ(Zn::DigestResponse(New, HttpVerbGET, UpperCase(Hash)), New.Response);
    EXPECT_NE(Zn::DigestResponse(New, HttpVerbPOST, Hash), New.Response);
}

TEST(Digest, ReadsPairsLeniently)
{
    const struct
    {
        const char* Name;
        std::string Field;
        std::string User;
        std::string Uri;
    } Rows[] = {
        {"bare values", "username=a,uri=/x", "a", "/x"},
        {"blanks everywhere", " username = \"a\" ,\turi = /x ", "a", "/x"},
        {"names count with case", "Username=\"a\",URI=/x", "", ""},
        {"comma inside quotes", R"(username="a",uri="/x,y=1")", "a", "/"},
        {"like-named pair behind a comma", R"(username="a",uri="/x,username=b")", "b\"", "/"},
        {"the last counts", "username=a,username=b,uri=/x,uri=/y", "b", "/y"},
        {"no equals sign", "username,uri=/x", "", "/x"},
        {"equals sign in the value", "username=a,uri=/x?y=z", "a", "/x?y=z"},
        {"opening quote only", "username=\"abc,uri=\"/x\"", "ab", "/x"},
        {"one quote", "username=\",uri=/x", "", "/x"},
        {"two quotes", "username=\"\",uri=/x", "", "/x"},
        {"closing quote only", "username=a\",uri=/x", "a\"", "/x"},
        {"backslashes", R"(username="dom\\user\\\x",uri=/x)", R"(dom\user\\x)", "/x"},
        {"nothing but commas", ",,,=,=,", "", ""},
    };
    for (const auto& Row : Rows) {
        SCOPED_TRACE(Row.Name);
        const auto Seen = Zn::ParseDigestCredentials(Row.Field);
        EXPECT_EQ(Seen.UserName, Row.User);
        EXPECT_EQ(Seen.Uri, Row.Uri);
    }
}

TEST(Digest, HashesTheMethodsOfTheSchemeOnly)
{
    const Zn::DigestCredentials Given{"u", "n", "/x", "c", "1", "", "auth", ""};
    const std::string Hash(32, 'a');
    const auto Expected = [&](const std::string& AHa2) { return MD5Hash(Hash + ":n:1:c:auth:" + AHa2); };
    const std::pair<THTTP_VERB, const char*> Known[] = {{HttpVerbGET, "GET"},
                                                        {HttpVerbPOST, "POST"},
                                                        {HttpVerbPUT, "PUT"},
                                                        {HttpVerbPROPPATCH, "PROPPATCH"},
                                                        {HttpVerbDELETE, "DELETE"}};
    for (const auto& [Verb, Method] : Known)
        EXPECT_EQ(Zn::DigestResponse(Given, Verb, Hash), Expected(MD5Hash(std::string(Method) + ":/x")));
    for (const THTTP_VERB Verb : {HttpVerbHEAD, HttpVerbOPTIONS, HttpVerbUnknown})
        EXPECT_EQ(Zn::DigestResponse(Given, Verb, Hash), Expected(""));
    // What the client left out is empty, the colons stay.
    EXPECT_EQ(Zn::DigestResponse({"u", "n", "/x", "", "", "", "", ""}, HttpVerbGET, Hash),
              MD5Hash(Hash + ":n::::" + MD5Hash("GET:/x")));
}

} // namespace
