#include "uZnWinHTTP.h"

#include <gtest/gtest.h>

#include "ScriptedWinhttp.h"

// The calls of whole requests, in order and with their arguments.

namespace
{

using Calls = std::vector<std::string>;

ScriptedResponse Challenge(std::uint32_t AStatus, std::uint32_t AFirst)
{
    return {.Status = AStatus, .Supported = AFirst, .First = AFirst};
}

struct Exchange : testing::Test
{
    ScriptedWinhttp Script;
    TZnWinHTTPClient Client{nullptr};

    /// The calls of one GET but for those that make the session and connection ready.
    Calls CallsOf(const std::string& AURL)
    {
        Client.Request(httpGET, AURL, false);
        Calls All = Script.TakeCalls();
        const auto First =
            std::ranges::find_if(All, [](auto& AEach) { return AEach.starts_with("OpenRequest"); });
        return {First, All.end()};
    }
    static bool Has(const Calls& ACalls, const std::string& ACall)
    {
        return std::ranges::find(ACalls, ACall) != ACalls.end();
    }
};

} // namespace

TEST_F(Exchange, PlainGetMakesTheseCallsAndNoOthers)
{
    Script.Responses = {{.Fields = "Content-Length: 5\r\n", .Body = {"hello"}}};
    EXPECT_EQ(Client.Request(httpGET, " http://h:8080/a?x=1 ", true)->GetResponse(), "hello");
    EXPECT_EQ(Script.TakeCalls(), (Calls{
                                      "Open Tolmary WinHTTP Client 0 - - 0",
                                      "SetOption S1 3 30000",
                                      "Connect S1 h 8080",
                                      "SetOption S1 5 120000",
                                      "SetOption S1 6 120000",
                                      "OpenRequest C1 GET /a?x=1 HTTP/1.1 - [*/*] 0",
                                      "SetOption R1 5 120000",
                                      "SetOption R1 6 120000",
                                      "SetOption R1 79 1",
                                      "SetOption R1 88 1",
                                      "SendRequest R1 0/0",
                                      "ReceiveResponse R1",
                                      "QueryHeaders R1 19",
                                      "QueryHeaders R1 20",
                                      "QueryHeaders R1 22",
                                      "QueryDataAvailable R1",
                                      "QueryHeaders R1 536870917",
                                      "ReadData R1 5",
                                      "QueryDataAvailable R1",
                                      "QueryHeaders R1 65535 Content-Encoding",
                                      "CloseHandle R1",
                                  }));
}

TEST_F(Exchange, EverySettingReachesItsCall)
{
    Client.SetHTTPVersion(HTTP1_0);
    Client.SetCookieHandling(chManual);
    Client.SetRedirectPolicy(rdpAlways);
    Client.SetSecurityFlags({sfIgnoreInvalidCertDate, sfIgnoreUnknownCA, sfIgnoreInvalidCommonName,
                             sfIgnoreRevocation, sfIgnoreWrongUsage});
    Client.SetAuthentication(authBasic);
    Client.GetProxyCredentials().SetUserName("proxyuser");
    Client.GetTimeOuts().SetReceiveTimeOut(7);
    Client.GetRequestHeaders().SetReferer("http://from/");
    Client.GetRequestHeaders().SetUserAgent("Agent");
    Client.GetRequestHeaders().SetAccept("text/a;text/b");
    Client.GetRequestHeaders().SetCookie("dropped=1");
    Client.GetRequestHeaders().GetCustomHeaders().Add("Content-Type=replaced");
    Client.GetRequestHeaders().GetCustomHeaders().Add("X-Own=1");
    Client.SetOnGetClientCertificate([](auto& ASet) { ASet("PEM", 3); });
    Client.SetOnRequest([](TObject*, const std::shared_ptr<IZnHTTPRequest>& ARequest) {
        EXPECT_TRUE(ARequest->GetRawHeaders().starts_with("GET / HTTP/1.1\r\n"));
        ARequest->AddHeader("X-Late", "2");
        ARequest->AddCookie("late", "3");
    });
    Client.GetSession()->GetCookies().Add({}, "stored=4");
    Client.GetSession()->SetProxyServer("proxy:3128");
    Client.GetSession()->SetUserAgent("Agent");
    TMemoryStream Body;
    Body.SetSize(30);
    Body.SetPosition(10);
    const auto Request = Client.PrepareRequest(httpPOST, "https://u:p@h/", &Body, "text/new");
    Request->AddHeader("X-Early", "5");
    Request->AddCookie("early", "6");
    Request->SendRequest();
    EXPECT_EQ(Script.LastBody().size(), 20U);
    EXPECT_EQ(Script.TakeCalls(),
              (Calls{
                  "Open Agent 3 proxy:3128 - 0",
                  "SetOption S1 3 30000",
                  "Connect S1 h 443",
                  "SetOption S1 5 120000",
                  "SetOption S1 6 7",
                  "OpenRequest C1 POST / HTTP/1.0 http://from/ [text/a][text/b] 8388608",
                  "SetOption R1 5 120000",
                  "SetOption R1 6 7",
                  "SetOption R1 63 1",
                  "AddRequestHeaders R1 Cookie: dropped=1|Content-Type: text/new|X-Own: 1| 20000000",
                  "AddRequestHeaders R1 X-Early: 5 a0000000",
                  "AddRequestHeaders R1 Cookie: 80000000",
                  "AddRequestHeaders R1 Cookie: stored=4 21000000",
                  "AddRequestHeaders R1 Cookie: early=6 21000000",
                  "SetOption R1 31 13056",
                  "SetOption R1 77 2",
                  "SetOption R1 88 2",
                  "SetCredentials R1 0 1 u p",
                  "SetCredentials R1 1 1 proxyuser -",
                  "SetOption R1 47 PEM",
                  "QueryHeaders R1 2147483670",
                  "AddRequestHeaders R1 X-Late: 2 a0000000",
                  "AddRequestHeaders R1 Cookie: late=3 21000000",
                  "SendRequest R1 20/20",
                  "ReceiveResponse R1",
                  "QueryHeaders R1 19",
                  "QueryHeaders R1 20",
                  "QueryHeaders R1 22",
                  "CloseHandle R1",
              }));
}

TEST_F(Exchange, ChallengesAreAnsweredOnceEachTheProxysFirst)
{
    Client.GetCredentials().SetUserName("u");
    Client.GetProxyCredentials().SetUserName("v");
    Script.Responses = {Challenge(407, 8), Challenge(401, 8), Challenge(401, 8)};
    const Calls All = CallsOf("http://h/");
    const auto From = std::ranges::find(All, "SetCredentials R1 0 16 u -");
    ASSERT_NE(From, All.end());
    EXPECT_EQ(Calls(From, All.end() - 2), (Calls{
                                              "SetCredentials R1 0 16 u -",
                                              "SetCredentials R1 1 1 v -",
                                              "SendRequest R1 0/0",
                                              "ReceiveResponse R1",
                                              "QueryHeaders R1 19",
                                              "QueryHeaders R1 20",
                                              "QueryAuthSchemes",
                                              "SetCredentials R1 1 8 v -",
                                              "SendRequest R1 0/0",
                                              "ReceiveResponse R1",
                                              "QueryHeaders R1 19",
                                              "QueryHeaders R1 20",
                                              "QueryAuthSchemes",
                                              "SetCredentials R1 0 8 u -",
                                              "SendRequest R1 0/0",
                                              "ReceiveResponse R1",
                                              "QueryHeaders R1 19",
                                              "QueryHeaders R1 20",
                                          }));
    EXPECT_EQ(Client.GetAuthentication(), authDigest);
    // A Digest needs the server's nonce: nothing is offered ahead of the challenge.
    const Calls Next = CallsOf("http://h/");
    EXPECT_FALSE(
        std::ranges::any_of(Next, [](auto& AEach) { return AEach.starts_with("SetCredentials R2 0"); }));
}

TEST_F(Exchange, WithoutCredentialsTheSchemeIsLearntAndNothingIsSentAgain)
{
    Script.Responses = {Challenge(401, 0)};
    const auto Response = Client.Request(httpGET, "http://h/", false);
    EXPECT_EQ(Script.SendCount(), 1);
    EXPECT_EQ(Client.GetAuthentication(), authBasic) << "the fallback when the library can't tell";
    EXPECT_THROW(Response->CheckError(), EZnWinHTTPHException);

    Script.Responses = {Challenge(401, 2)};
    const auto Ntlm = Client.Request(httpGET, "http://h/", false);
    EXPECT_NO_THROW(Ntlm->CheckError()) << "NTLM over HTTP/1.1 is left to the caller";
    EXPECT_EQ(Client.GetAuthentication(), authBasic) << "not remembered";

    Script.Responses = {{.Status = 401, .First = 16, .Version = "HTTP/1.0"}};
    EXPECT_THROW(Client.Request(httpGET, "http://h/", true), EZnWinHTTPException);
}

TEST_F(Exchange, CertificateDemandIsAnsweredOnce)
{
    std::vector<std::uint32_t> Errors;
    int Asked = 0;
    Client.SetOnRequestError([&](TObject*, auto&, std::uint32_t ACode) { Errors.push_back(ACode); });
    Script.Responses = {{.Error = 12044}};
    EXPECT_THROW(Client.Request(httpGET, "https://h/", false), EZnWinHTTPHException) << "nobody to ask";

    Client.SetOnGetClientCertificate([&](auto& ASet) { ASet("PEM", ++Asked > 1 ? 3 : 0); });
    Script.Responses = {{.Error = 12044}, {.Status = 204}};
    EXPECT_EQ(Client.Request(httpGET, "https://h/", false)->GetStatus().StatusCode, 204);
    EXPECT_EQ(Asked, 2);

    Script.Responses = {{.Error = 12044}, {.Error = 12044}};
    EXPECT_THROW(Client.Request(httpGET, "https://h/", false), EZnWinHTTPHException);
    EXPECT_EQ(Errors, (std::vector<std::uint32_t>{12044, 12044, 12044})) << "only for first sends";
}

TEST_F(Exchange, BearerTokenIsSentWhileItLives)
{
    Client.SetAuthentication(authOAuth2);
    EXPECT_THROW(Client.Request(httpGET, "http://h/", false), EZnHTTPInvalidArgument);
    EXPECT_EQ(Script.SendCount(), 0);
    Client.GetOAuth().SetAccessToken("t0ken", 3600);
    EXPECT_TRUE(Has(CallsOf("http://h/"), "AddRequestHeaders R1 Authorization: Bearer t0ken 20000000"));
    Client.GetOAuth().SetAccessToken("t0k\r\nX: y", 3600);
    EXPECT_THROW(Client.Request(httpGET, "http://h/", false), EZnHTTPInvalidArgument);
    EXPECT_EQ(Script.SendCount(), 1);
}

TEST_F(Exchange, WhatCannotStandInAHeaderIsRefusedBeforeAnythingIsSent)
{
    const auto Refused = [&](const std::function<void()>& ASet) {
        ASet();
        EXPECT_THROW(Client.Request(httpGET, "http://h/", false), EZnHTTPInvalidArgument);
        Client.GetRequestHeaders().SetAssignedValues({});
        Client.GetRequestHeaders().GetCustomHeaders().Clear();
    };
    Refused([&] { Client.GetRequestHeaders().SetFrom("a\r\nX: y"); });
    Refused([&] { Client.GetRequestHeaders().SetReferer(std::string("a\0b", 3)); });
    Refused([&] { Client.GetRequestHeaders().SetUserAgent("a\nb"); });
    Refused([&] { Client.GetRequestHeaders().GetCustomHeaders().Add("X Y=1"); });
    Refused([&] { Client.GetRequestHeaders().GetCustomHeaders().Add("no value"); });
    EXPECT_THROW(Client.Request(httpPOST, "http://h/", AnsiString("x"), "a\r\nb", false),
                 EZnHTTPInvalidArgument);
    EXPECT_THROW(Client.Request(httpGET, "http://h/a\r\nb", false), EInvalidArgument);
    EXPECT_THROW(Client.Request(httpGET, "", false), EInvalidArgument);
    EXPECT_THROW(Client.Request(httpGET, "HTTPS://h/", false), EZnWinHTTPHException) << "never unprotected";
    Client.SetOnRequest([](TObject*, auto& ARequest) { ARequest->AddHeader("X", "a\r\nb"); });
    EXPECT_THROW(Client.Request(httpGET, "http://h/", false), EZnHTTPInvalidArgument);
    EXPECT_EQ(Script.SendCount(), 0);
}

TEST_F(Exchange, CookiesBelongToTheirMode)
{
    const auto Request = Client.PrepareRequest(httpGET, "http://h/", nullptr, "");
    EXPECT_THROW(Request->AddCookie("a", "1"), EZnWinHTTPException);
    Script.Responses = {{.Fields = "Set-Cookie: a=1; Path=/\r\nset-cookie: b=2\r\n"}};
    const auto Response = Request->SendRequest();
    EXPECT_EQ(Response->GetCookie("a"), "1; Path=/");
    EXPECT_EQ(Response->GetCookie("b"), "") << "the name's case counts";
    EXPECT_EQ(Response->GetHeader("SET-COOKIE"), "a=1; Path=/\r\nb=2");
    Client.SetCookieHandling(chManual); // the store was filled all the same
    EXPECT_TRUE(Has(CallsOf("http://h/"), "AddRequestHeaders R2 Cookie: a=1 21000000"));
}

TEST_F(Exchange, TheLibraryMayAskForOnlySoManyResends)
{
    Script.Responses.assign(3, {.Error = 12032});
    EXPECT_NO_THROW(Client.Request(httpGET, "http://h/", false));
    EXPECT_EQ(Script.SendCount(), 4);
    Script.Responses.assign(1000, {.Error = 12032});
    EXPECT_THROW(Client.Request(httpGET, "http://h/", false), EZnWinHTTPHException);
    EXPECT_EQ(Script.SendCount(), 4 + 1 + cWinHttpMaxResends);
}

/// Every call of an exchange fails once: the error is told, nothing stays open, the next request works.
TEST_F(Exchange, AnyCallMayFail)
{
    const auto Run = [](TZnWinHTTPClient& AClient) {
        AClient.SetCookieHandling(chManual);
        AClient.GetRequestHeaders().SetFrom("me");
        AClient.GetProxyCredentials().SetUserName("v");
        AClient.GetCredentials().SetUserName("u");
        return AClient.Request(httpPOST, "https://h/", std::string("body"), "text/plain", true)
            ->GetResponse();
    };
    for (int Failing = 0;; ++Failing) {
        ScriptedWinhttp Inner;
        {
            TZnWinHTTPClient Other(nullptr);
            Inner.Responses = {Challenge(407, 8), Challenge(401, 8), {.Body = {"a", "b"}}};
            Inner.FailCall = Failing;
            try {
                Run(Other);
            } catch (const EZnHTTPConnect& E) {
                EXPECT_EQ(E.GetErrorCode(), 12030);
            }
            if (Inner.CallCount() <= Failing) {
                EXPECT_GT(Failing, 30);
                break;
            }
            Inner.FailCall = -1;
            Inner.Responses = {{.Body = {"again"}}};
            EXPECT_EQ(Run(Other), "again");
        }
        EXPECT_EQ(Inner.OpenHandles(), 0U) << "call " << Failing;
    }
}
