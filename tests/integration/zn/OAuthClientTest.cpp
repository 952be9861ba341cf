// The OAuth flows of a client that lives longer than one request: refresh, providers that don't do, two flows
// at once.

#include <gtest/gtest.h>

#include <future>

#include "platform/errors/Errors.h"
#include "tests/integration/zn/IdentityProvider.h"
#include "tests/support/ScriptedPeer.h"
#include "uZnHTTPServer.h"
#include "uZnWinHTTP.h"

namespace Zn
{
namespace
{

constexpr const char* cToken = R"({"access_token":"t0ken","expires_in":3600})";

std::string At(const ScriptedPeer& APeer)
{
    return "http://127.0.0.1:" + std::to_string(APeer.Port());
}

std::string Raised(const std::function<void()>& ACall)
{
    try {
        ACall();
    } catch (const EZnHTTPException& Error) {
        return std::to_string(Error.GetErrorCode()) + ' ' + Error.Message();
    } catch (const Exception& Error) {
        return Error.Message();
    }
    return "nothing";
}

struct TFlow
{
    explicit TFlow(TZnOAuthGrantType AGrant) : Client(nullptr)
    {
        Client.SetAuthentication(authOAuth2);
        OAuth().SetGrantType(AGrant);
        OAuth().SetAppID("site");
        OAuth().SetClientSecret("hush");
        LogOn("open sesame");
    }
    TZnOAuth& OAuth() { return Client.GetOAuth(); }
    void LogOn(const std::string& APassword)
    {
        TZnCredentials User;
        User.SetUserName("ada");
        User.SetPassword(APassword);
        Client.SetCredentials(&User);
    }
    std::string Get(const std::string& AUrl) { return Client.Request(httpGET, AUrl, true)->GetResponse(); }

    TZnWinHTTPClient Client;
};

TEST(OAuthClient, RefreshesItsTokenWithoutThePassword)
{
    const auto Provider = TPeerProvider::Start("password-provider.mjs", "");
    if (!Provider)
        GTEST_SKIP() << cNoProvider;
    TFlow Flow(oagtPassword);
    Flow.OAuth().SetTokenEndpoint(Provider->Issuer() + "/token");
    Flow.OAuth().SetScope("short");
    Flow.OAuth().SetUseRefreshToken(true);
    const std::string Who = Provider->Issuer() + "/who";
    EXPECT_EQ(Flow.Get(Who), R"({"user":"ada","tokens":1})");
    const std::string First = Flow.OAuth().GetRefreshToken();
    Flow.LogOn("forgotten");
    std::this_thread::sleep_for(std::chrono::seconds(6)); // the provider's clock ends the token
    EXPECT_EQ(Flow.Get(Who), R"({"user":"ada","tokens":2})");
    EXPECT_NE(Flow.OAuth().GetRefreshToken(), First);
    // One that the provider doesn't take is given up, and the grant is asked for again.
    Flow.OAuth().SetRefreshToken(First);
    Flow.OAuth().SetAccessToken("", 0);
    EXPECT_EQ(Raised([&] { Flow.Get(Who); }), "Invalid grant: user credentials are invalid");
    EXPECT_EQ(Flow.OAuth().GetRefreshToken(), "");
    Flow.LogOn("open sesame");
    EXPECT_EQ(Flow.Get(Who), R"({"user":"ada","tokens":3})");
}

TEST(OAuthClient, TellsWhatATokenEndpointDidInsteadOfAnswering)
{
    struct Row
    {
        const char* Answer;
        const char* Says;
    };
    const Row Rows[] = {
        {"HTTP/1.1 200 OK\r\nContent-Length: 15\r\n\r\n<p>Welcome!</p>", "JSON"},
        {"HTTP/1.1 400 Bad\r\nContent-Length: 15\r\n\r\n<p>Not you!</p>", "<p>Not you!</p>"},
        {"HTTP/1.1 500 Broken\r\nContent-Length: 0\r\n\r\n", "500"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"access", "12030"},
        {nullptr, "12002"}, // says nothing for longer than the client waits
    };
    for (const Row& Each : Rows) {
        std::atomic<bool> Leaked = false;
        ScriptedPeer Endpoint([&](PeerConnection& AConnection) {
            const std::string Head = AConnection.ReadHead();
            Leaked = Leaked || !Head.starts_with("POST /token ");
            if (Each.Answer == nullptr)
                return AConnection.WaitForEnd();
            AConnection.Send(Each.Answer);
        });
        TFlow Flow(oagtPassword);
        if (Each.Answer == nullptr) {
            TZnHTTPTimeOuts Patience;
            Patience.SetReceiveTimeOut(300);
            Flow.Client.SetTimeOuts(&Patience);
        }
        Flow.OAuth().SetTokenEndpoint(At(Endpoint) + "/token");
        const std::string Said = Raised([&] { Flow.Get(At(Endpoint) + "/page"); });
        EXPECT_NE(Said.find(Each.Says), std::string::npos) << Said;
        EXPECT_EQ(Said.find("open sesame"), std::string::npos) << Said;
        EXPECT_FALSE(Leaked) << "the page was asked for without a token";
    }
}

TEST(OAuthClient, OfTwoFlowsAtOneAddressTheSecondIsRefused)
{
    const std::string Redirect = "http://localhost:" + std::to_string(FreePort()) + "/back";
    ScriptedPeer Provider([&](PeerConnection& AConnection) {
        for (std::string Head; !(Head = AConnection.ReadHead()).empty();)
            AConnection.Answer(Head.starts_with("POST /token ") ? cToken : "page");
    });
    setenv("BROWSER", "true", 1); // the user takes a while
    const auto Prepare = [&](TFlow& AFlow) {
        AFlow.OAuth().SetRedirectURI(Redirect);
        AFlow.OAuth().SetAuthEndpoint(At(Provider) + "/auth");
        AFlow.OAuth().SetTokenEndpoint(At(Provider) + "/token");
    };
    TFlow First(oagtAuthorize);
    TFlow Second(oagtAuthorize);
    Prepare(First);
    Prepare(Second);
    auto Page = std::async(std::launch::async, [&] { return First.Get(At(Provider) + "/page"); });
    // Any other path than the redirect's is served with 404 once the private server listens.
    for (int Tries = 0;
         Tries < 3000 && Curl({"http://localhost:" + Redirect.substr(17, 5) + "/"}).Status == 0; ++Tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_NE(Raised([&] { Second.Get(At(Provider) + "/page"); }), "nothing");
    EXPECT_EQ(Curl({Redirect + "?code=c0de"}).Status, 200);
    EXPECT_EQ(Page.get(), "page");
    EXPECT_EQ(First.OAuth().GetAccessToken().GetToken(), "t0ken");
    unsetenv("BROWSER");
}

} // namespace
} // namespace Zn
