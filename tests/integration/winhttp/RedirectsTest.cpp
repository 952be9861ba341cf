// Redirects, cookies, and what must not follow to another host.

#include <gtest/gtest.h>

#include "tests/integration/winhttp/Exchange.h"
#include "tests/support/ScriptedPeer.h"

namespace
{

/// Redirects /REST/... to a place named in the path: "/302/http://host/x" leads there, "/loop" to itself,
/// "/count/N" to
/// "/count/N-1". Everything else is answered with the head and body that came.
void Serve(PeerConnection& APeer)
{
    for (std::string Head; !(Head = APeer.ReadHead()).empty();) {
        std::string Body;
        if (const std::size_t At = Head.find("Content-Length: "); At != std::string::npos)
            Body = APeer.ReadBytes(std::stoull(Head.substr(At + 16)));
        const std::size_t Begin = Head.find(' ') + 1;
        const std::string Target = Head.substr(Begin, Head.find(' ', Begin) - Begin);
        const auto Redirect = [&](const std::string& ACode, const std::string& ALocation) {
            APeer.Send("HTTP/1.1 " + ACode + " Go\r\nLocation: " + ALocation +
                       "\r\nSet-Cookie: seen=" + ACode + "; Path=/\r\nContent-Length: 4\r\n\r\ngone");
        };
        if (Target.starts_with("/loop"))
            Redirect("302", "/loop");
        else if (Target.starts_with("/count/"))
            Target == "/count/0"
                ? (void)APeer.Answer("there")
                : Redirect("302", "/count/" + std::to_string(std::stoi(Target.substr(7)) - 1));
        else if (Target.size() > 5 && Target[0] == '/' && Target[1] == '3')
            Redirect(Target.substr(1, 3), Target.substr(Target.find(':') == std::string::npos ? 4 : 5));
        else
            APeer.Answer(Head + Body);
    }
}

class Redirects : public ::testing::Test
{
protected:
    std::string Ask(std::string_view AVerb, std::string_view ATarget, std::string_view ABody = {})
    {
        const Handle Request = Here.Open(AVerb, ATarget);
        const std::uint32_t Error = Send(Request, ABody);
        return Error == 0 ? Status(Request) + " " + ReadAll(Request) : "error " + std::to_string(Error);
    }
    std::string Elsewhere(const std::string& APath) const
    {
        return "http://127.0.0.1:" + std::to_string(OtherPeer.Port()) + APath;
    }

    ScriptedPeer Peer{Serve};
    ScriptedPeer OtherPeer{Serve};
    Client Here{Peer.Port()};
};

TEST_F(Redirects, MethodsChangeAsEverybodyChangesThem)
{
    EXPECT_TRUE(Ask("POST", "/302/x", "body").starts_with("200 GET /x HTTP/1.1"));
    EXPECT_TRUE(Ask("POST", "/301/x", "body").starts_with("200 GET /x "));
    EXPECT_TRUE(Ask("PUT", "/303/x", "body").starts_with("200 GET /x "));
    EXPECT_TRUE(Ask("PUT", "/302/x", "body").starts_with("200 PUT /x "));
    EXPECT_TRUE(Ask("PUT", "/302/x", "body").ends_with("\r\n\r\nbody"));
    EXPECT_TRUE(Ask("POST", "/307/x", "body").ends_with("\r\n\r\nbody"));
    EXPECT_TRUE(Ask("POST", "/308/x", "body").starts_with("200 POST /x "));
    EXPECT_EQ(Ask("POST", "/302/x", "body").find("Content-"), std::string::npos);
    EXPECT_TRUE(Ask("GET", "/304/x").starts_with("304"));
    EXPECT_EQ(Peer.Connections(), 1);
}

TEST_F(Redirects, TenHopsAndNoMore)
{
    EXPECT_EQ(Ask("GET", "/count/10"), "200 there");
    EXPECT_EQ(Ask("GET", "/count/11"), "error 12156");
    EXPECT_EQ(Ask("GET", "/loop"), "error 12156");
    EXPECT_EQ(Ask("GET", "/302/ftp://host/"), "error 12156");
    EXPECT_EQ(Ask("GET", "/302/http://"), "error 12156");
}

TEST_F(Redirects, ThePolicyDecides)
{
    const Handle Never = Here.Open("GET", "/302/x");
    Client::Set(Never, WINHTTP_OPTION_REDIRECT_POLICY, WINHTTP_OPTION_REDIRECT_POLICY_NEVER);
    ASSERT_EQ(Send(Never), 0u);
    EXPECT_EQ(Status(Never), "302");
    EXPECT_EQ(ReadAll(Never), "gone");
    const Handle Address = Here.Open("GET", "/302/x?y");
    ASSERT_EQ(Send(Address), 0u);
    char16_t Url[100];
    std::uint32_t Size = sizeof Url;
    ASSERT_TRUE(WinHttpQueryOption(Address, WINHTTP_OPTION_URL, Url, &Size));
    EXPECT_EQ(Zn::Utf8FromUtf16(Url), "http://127.0.0.1:" + std::to_string(Peer.Port()) + "/x?y");
}

TEST_F(Redirects, NothingSecretGoesToAnotherHost)
{
    const Handle Request = Here.Open("GET", "/302/" + Elsewhere("/y"));
    AddHeaders(Request, "Authorization: Bearer secret\r\nCookie: own=secret\r\nX: y");
    SetLogin(Request, WINHTTP_AUTH_SCHEME_BASIC, "user", "secret");
    ASSERT_EQ(Send(Request), 0u);
    const std::string Seen = ReadAll(Request);
    EXPECT_TRUE(Seen.starts_with("GET /y HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(OtherPeer.Port())))
        << Seen;
    EXPECT_EQ(Seen.find("Authorization"), std::string::npos);
    EXPECT_EQ(Seen.find("own"), std::string::npos);
    EXPECT_NE(Seen.find("X: y"), std::string::npos);
    const Handle Same = Here.Open("GET", "/302/z");
    SetLogin(Same, WINHTTP_AUTH_SCHEME_BASIC, "user", "secret");
    ASSERT_EQ(Send(Same), 0u);
    EXPECT_NE(ReadAll(Same).find("Authorization: Basic dXNlcjpzZWNyZXQ=\r\n"), std::string::npos);
}

TEST_F(Redirects, TheSessionKeepsCookiesUnlessToldNotTo)
{
    EXPECT_EQ(Ask("GET", "/a").find("Cookie:"), std::string::npos);
    EXPECT_NE(Ask("GET", "/302/a").find("Cookie: seen=302\r\n"),
              std::string::npos); // already in the second hop
    const Handle With = Here.Open("GET", "/a");
    AddHeaders(With, "Cookie: own=1");
    ASSERT_EQ(Send(With), 0u);
    EXPECT_NE(ReadAll(With).find("Cookie: seen=302; own=1\r\n"), std::string::npos);
    const Handle Without = Here.Open("GET", "/303/a");
    Client::Set(Without, WINHTTP_OPTION_DISABLE_FEATURE, WINHTTP_DISABLE_COOKIES);
    AddHeaders(Without, "Cookie: own=1");
    ASSERT_EQ(Send(Without), 0u);
    EXPECT_NE(ReadAll(Without).find("\r\nCookie: own=1\r\n"), std::string::npos);
    EXPECT_NE(Ask("GET", "/a").find("Cookie: seen=302\r\n"), std::string::npos); // nothing was kept meanwhile
}

} // namespace
