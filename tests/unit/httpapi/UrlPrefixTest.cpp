#include "platform/httpapi/UrlPrefix.h"

#include <gtest/gtest.h>

#include <string>

namespace Zn
{
namespace
{

TEST(UrlPrefix, ReadsRegistrations)
{
    struct Row
    {
        const char* Text;
        const char* Expected; // "" for a refusal
    };
    const Row Rows[] = {{"http://localhost:8080/localserver/", "http 1 localhost 8080 /localserver/"},
                        {"HTTP://Example.COM.:80/A/b", "http 1 example.com 80 /a/b/"},
                        {"https://+:8443/", "https 0 + 8443 /"},
                        {"http://*:80/x/", "http 3 * 80 /x/"},
                        {"http://a/", "http 1 a 80 /"},
                        {"https://a/", "https 1 a 443 /"},
                        {"http://a:0/", "http 1 a 0 /"},
                        {"http://127.0.0.1:1/", "http 2 127.0.0.1 1 /"},
                        {"http://[0:0::1]:1/", "http 2 [::1] 1 /"},
                        {"http://[::ffff:10.0.0.1]/", "http 2 10.0.0.1 80 /"},
                        {"http://a/B%20c/\xC3\xA4/%c3%A4%7E", "http 1 a 80 /b c/\xC3\xA4/\xC3\xA4~/"},
                        {"", ""},
                        {"http", ""},
                        {"http://", ""},
                        {"http://a", ""},
                        {"http://a:80", ""},
                        {"ftp://a/", ""},
                        {"http:/a/", ""},
                        {"http:///", ""},
                        {"http://:80/", ""},
                        {"http://a:/", ""},
                        {"http://a:65536/", ""},
                        {"http://a:x/", ""},
                        {"http://u@a/", ""},
                        {"http://a b/", ""},
                        {"http://a..b/", ""},
                        {"http://++:80/", ""},
                        {"http://*.a/", ""},
                        {"http://1.2.3/", ""},
                        {"http://1.2.3.256/", ""},
                        {"http://[::1/", ""},
                        {"http://[a]/", ""},
                        {"http://a/?b", ""},
                        {"http://a/#b", ""},
                        {"http://a/../b/", ""},
                        {"http://a/%2e/", ""},
                        {"http://a/%2Fb/", ""},
                        {"http://a/%00/", ""},
                        {"http://a/%4/", ""},
                        {"http://a/\x01/", ""},
                        {"http://a/b\\c/", ""}};
    for (const Row& Each : Rows) {
        const auto Prefix = ParseUrlPrefix(Each.Text);
        const std::string Got =
            !Prefix ? ""
                    : (Prefix->Secure ? "https " : "http ") + std::to_string(static_cast<int>(Prefix->Form)) +
                          ' ' + Prefix->Host + ' ' + std::to_string(Prefix->Port) + ' ' + Prefix->Path;
        EXPECT_EQ(Got, Each.Expected) << Each.Text;
    }
}

TEST(UrlPrefix, LongestPathWinsThenTheStrongerHost)
{
    const std::string Loopback("\x7F\0\0\1", 4), Other("\x0A\0\0\1", 4);
    const std::string Mapped = std::string("\0\0\0\0\0\0\0\0\0\0\xFF\xFF", 12) + Loopback;
    const char* Texts[] = {"http://*:80/",        "http://*:80/app/",         "http://+:80/app/",
                           "http://name:80/app/", "http://127.0.0.1:80/app/", "http://name:80/app/x/",
                           "http://other:80/",    "http://*:80/a%20b/",       "https://*:80/app/y/",
                           "http://*:81/app/",    "http://[::]:82/"};
    const auto Fill = [&](bool ABackwards, std::string_view AWithout) {
        UrlPrefixTable<std::string> Table;
        for (std::size_t At = 0; At < std::size(Texts); ++At) {
            const std::string Text = Texts[ABackwards ? std::size(Texts) - 1 - At : At];
            if (AWithout.find(Text) == AWithout.npos) {
                EXPECT_TRUE(Table.Add(*ParseUrlPrefix(Text), Text));
            }
        }
        return Table;
    };
    struct Row
    {
        const char* Host;
        const std::string& Local;
        const char* Path;
        const char* Expected;
        const char* Without = "";
        std::uint16_t Port = 80;
        bool Secure = false;
    };
    const char* NoPlus = "http://+:80/app/";
    const char* NoName = "http://+:80/app/ http://name:80/app/";
    const char* NoLiteral = "http://+:80/app/ http://name:80/app/ http://127.0.0.1:80/app/";
    const Row Rows[] = {{"name", Loopback, "/", "http://*:80/"},
                        {"OTHER", Loopback, "/", "http://other:80/"},
                        {"other.", Loopback, "/apple", "http://other:80/"},
                        {"other", Loopback, "/app/", "http://+:80/app/"},
                        {"name", Loopback, "/app", "http://+:80/app/"},
                        {"name", Loopback, "/APP/z", "http://+:80/app/"},
                        {"name", Loopback, "/app/x", "http://name:80/app/x/"},
                        {"name", Loopback, "/app/%58/q", "http://name:80/app/x/"},
                        {"name", Loopback, "/app/xy", "http://+:80/app/"},
                        {"name", Loopback, "/app%2Fx/", "http://*:80/"},
                        {"name", Loopback, "/app/", "http://name:80/app/", NoPlus},
                        {"nobody", Loopback, "/app/", "http://127.0.0.1:80/app/", NoPlus},
                        {"nobody", Mapped, "/app/", "http://127.0.0.1:80/app/", NoPlus},
                        {"nobody", Other, "/app/", "http://*:80/app/", NoPlus},
                        {"127.0.0.1", Other, "/app/", "http://*:80/app/", NoPlus},
                        {"name", Loopback, "/app/", "http://127.0.0.1:80/app/", NoName},
                        {"name", Loopback, "/app/", "http://*:80/app/", NoLiteral},
                        {"", Loopback, "/A%20B/c", "http://*:80/a%20b/"},
                        {"", Loopback, "*", "http://*:80/"},
                        {"", Loopback, "/", "", "http://*:80/"},
                        {"name", Loopback, "/app/", "", "", 83},
                        {"name", Loopback, "/", "", "", 81},
                        {"name", Other, "/", "http://[::]:82/", "", 82},
                        {"name", Loopback, "/app/y/", "https://*:80/app/y/", "", 80, true},
                        {"name", Loopback, "/app/", "", "", 80, true}};
    for (const Row& Each : Rows)
        for (const bool Backwards : {false, true}) {
            const auto Table = Fill(Backwards, Each.Without);
            const auto* Found = Table.Find({Each.Secure, Each.Host, Each.Local, Each.Port, Each.Path});
            EXPECT_EQ(Found ? Found->Value : "", Each.Expected)
                << Each.Host << Each.Path << " without " << Each.Without;
        }
}

TEST(UrlPrefix, APrefixIsTakenOnce)
{
    UrlPrefixTable<int> Table;
    const auto Prefix = *ParseUrlPrefix("http://a:80/b/"), Same = *ParseUrlPrefix("HTTP://A/B");
    EXPECT_TRUE(Table.Add(Prefix, 1));
    EXPECT_FALSE(Table.Add(Same, 2));
    EXPECT_TRUE(Table.Add(*ParseUrlPrefix("https://a:80/b/"), 3));
    EXPECT_TRUE(Table.Remove(Same));
    EXPECT_FALSE(Table.Remove(Same));
    EXPECT_EQ(Table.Entries().size(), 1U);
}

} // namespace
} // namespace Zn
