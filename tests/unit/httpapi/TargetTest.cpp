#include "platform/httpapi/Target.h"

#include <gtest/gtest.h>

#include <string>

namespace Zn
{
namespace
{

TEST(Target, ResolvesDotSegmentsAndNothingElse)
{
    const char* Rows[][2] = {{"/", "/"},
                             {"/a", "/a"},
                             {"/a/", "/a/"},
                             {"//", "//"},
                             {"/a//b", "/a//b"},
                             {"/.", "/"},
                             {"/./", "/"},
                             {"/..", "/"},
                             {"/../", "/"},
                             {"/../../etc/passwd", "/etc/passwd"},
                             {"/a/.", "/a/"},
                             {"/a/./b", "/a/b"},
                             {"/a/..", "/"},
                             {"/a/../", "/"},
                             {"/a/../b", "/b"},
                             {"/a/b/..", "/a/"},
                             {"/a/b/../../../c", "/c"},
                             {"/a/%2e/b", "/a/b"},
                             {"/a/%2E%2e/b", "/b"},
                             {"/a/.%2e/b", "/b"},
                             {"/a/%2e./b", "/b"},
                             {"/%2e%2e/%2e%2e/b/%2e", "/b/"},
                             {"/a//../b", "/a/b"},
                             {"//../b", "/b"},
                             {"/...", "/..."},
                             {"/.a", "/.a"},
                             {"/a.", "/a."},
                             {"/..a/b..", "/..a/b.."},
                             {"/%2e%2e%2e/a", "/%2e%2e%2e/a"},
                             {"/%2e%2ea", "/%2e%2ea"},
                             {"/a%2f..%2fb", "/a%2f..%2fb"},
                             {"/..%2f", "/..%2f"},
                             {"/%41%2d/..;/x", "/%41%2d/..;/x"},
                             {"/a/b/c/./../../g", "/a/g"},
                             {"/mid/content=5/../6", "/mid/6"},
                             {"", nullptr},
                             {"a", nullptr},
                             {"*", nullptr},
                             {"/%", nullptr},
                             {"/%2", nullptr},
                             {"/a/%2g/..", nullptr}};
    for (const auto& [Raw, Canonical] : Rows) {
        const auto Path = CanonicalPath(Raw);
        ASSERT_EQ(Path.has_value(), Canonical != nullptr) << Raw;
        if (!Path)
            continue;
        EXPECT_EQ(*Path, Canonical) << Raw;
        EXPECT_EQ(IsCanonical(Raw), *Path == Raw) << Raw;
        EXPECT_TRUE(IsCanonical(*Path)) << Raw;
    }
}

TEST(Target, SplitsHostAndPort)
{
    const auto Is = [](std::string_view AText, std::string_view AHost, std::uint16_t APort) {
        EXPECT_EQ(SplitHost(AText, 80), (HostPort{AHost, APort})) << AText;
    };
    Is("a", "a", 80);
    Is("a:", "a", 80);
    Is("A.example.:8080", "A.example.", 8080);
    Is("127.0.0.1:65535", "127.0.0.1", 65535);
    Is("[::FFFF:1.2.3.4]:00443", "[::FFFF:1.2.3.4]", 443);
    Is("[::1]:", "[::1]", 80);
    EXPECT_TRUE(SplitHost(std::string(255, 'a'), 80));
    EXPECT_FALSE(SplitHost(std::string(256, 'a'), 80));
    EXPECT_FALSE(SplitHost("[1111:2222:3333:4444:5555:6666:123.123.123.1234567890]",
                           80)); // refusals: MalformedRequests.h
}

TEST(Target, ComposesTheUrlInPlace)
{
    std::u16string Room(64, u'?');
    auto Url = ComposeUrl("HTTP", {"WWW.Example.com", 8080}, "/A%20b", "?C=d", Room);
    ASSERT_TRUE(Url);
    const std::u16string_view Full(Room.data(), Url->Length);
    EXPECT_EQ(Full, u"http://www.example.com:8080/A%20b?C=d");
    EXPECT_EQ(Full.substr(Url->HostStart, Url->HostLength), u"www.example.com:8080");
    EXPECT_EQ(Full.substr(Url->PathStart, Url->PathLength), u"/A%20b");
    EXPECT_EQ(Full.substr(Url->QueryStart, Url->QueryLength), u"?C=d");
    EXPECT_EQ(Room[Url->Length], u'?');

    EXPECT_FALSE(ComposeUrl("http", {"a", 1}, "/", "", std::span(Room).first(10)));
    Url = ComposeUrl("http", {"a", 1}, "*", "", std::span(Room).first(11));
    ASSERT_TRUE(Url);
    EXPECT_EQ(Room.substr(0, Url->Length), u"http://a:1/");
}

} // namespace
} // namespace Zn
