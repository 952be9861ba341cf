// zn serve --oidc-client-id, with a certified provider and a browser between the two; and with providers that
// don't do.

#include <gtest/gtest.h>

#include "tests/integration/zn/IdentityProvider.h"
#include "tests/support/ScriptedPeer.h"
#include "tests/support/TlsClient.h"
#include "tests/support/TokenSigner.h"

namespace Zn
{
namespace
{

constexpr const char* cSecret = "not for the command line";

class OpenIDLogon : public testing::Test
{
protected:
    OpenIDLogon() : Port(std::to_string(FreePort())), Root("http://localhost:" + Port + "/") {}

    std::string File(const std::string& AName) const { return (Folder.Path() / AName).string(); }
    std::string Redirect() const { return Root + "oidc/"; }

    /// A provider that knows this site; AType is what it is to bring, "id_token" or "code".
    std::optional<TPeerProvider> StartProvider(const std::string& AType) const
    {
        const std::string Grant = AType == "code" ? "authorization_code" : "implicit";
        const std::string Secret = AType == "code" ? R"(","secret":")" + std::string(cSecret) : "";
        return TPeerProvider::Start("identity-provider.mjs",
                                    R"({"clients":[{"id":"site)" + Secret + R"(","redirect":")" + Redirect() +
                                        R"(","types":[")" + AType + R"("],"grants":[")" + Grant + R"("]}]})");
    }

    void Serve(const std::string& AIssuer, const std::vector<std::string>& AMore)
    {
        std::vector<std::string> Arguments{"env",
                                           std::string("ZN_OIDC_CLIENT_SECRET=") + cSecret,
                                           ZN_PROGRAM,
                                           "serve",
                                           ZN_EXAMPLE_SITE,
                                           "--bind",
                                           Root,
                                           "--demo",
                                           "--protect",
                                           "/private.html",
                                           "--protect",
                                           "/demo/private",
                                           "--default-url",
                                           "/demo/private",
                                           "--oidc-client-id",
                                           "site",
                                           "--oidc-issuer",
                                           AIssuer,
                                           "--oidc-discovery",
                                           AIssuer + "/.well-known/openid-configuration",
                                           "--oidc-authorize",
                                           AIssuer + "/auth",
                                           "--oidc-redirect",
                                           Redirect()};
        Arguments.insert(Arguments.end(), AMore.begin(), AMore.end());
        Server = std::make_unique<TChildProcess>(std::move(Arguments));
        ASSERT_TRUE(Server->WaitForOutput("Press Ctrl+C", cPatience)) << Server->Errors();
    }

    TWalk Walk(const std::string& AUser, const std::string& AEnd = "demo/private") const
    {
        return WalkBrowser(AUser, Root + "private.html", Root + AEnd);
    }

    TTemporaryFolder Folder;
    const std::string Port;
    std::string Root;
    std::unique_ptr<TChildProcess> Server;
};

TEST_F(OpenIDLogon, TheImplicitFlowLetsInWhomTheProviderKnows)
{
    const auto Provider = StartProvider("id_token");
    if (!Provider || !HasWalker())
        GTEST_SKIP() << cNoProvider;
    TChildProcess Account(
        {"env", "ZN_PASSWORD=any", ZN_PROGRAM, "users", "add", File("users"), "club", "bob@example.com"});
    ASSERT_EQ(Account.WaitForExit(cPatience), 0) << Account.Errors();
    Serve(Provider->Issuer(), {"--users", File("users")});
    EXPECT_EQ(Walk("ada").Text, "Hello, ada@example.com. You are here by a session, as Member.\n\n");
    EXPECT_EQ(Walk("bob").Text, "Hello, bob@example.com. You are here by a session, as User.\n\n");
    const TWalk Eve = Walk("eve", "oidc/");
    EXPECT_NE(Eve.Text.find("No local useraccount found for eve@example.com!"), std::string::npos)
        << Eve.Text;
    EXPECT_TRUE(Eve.Text.starts_with("401 POST")) << Eve.Text;
}

TEST_F(OpenIDLogon, TheCodeFlowTakesNameAndRoleFromTheToken)
{
    const auto Provider = StartProvider("code");
    if (!Provider || !HasWalker())
        GTEST_SKIP() << cNoProvider;
    Serve(Provider->Issuer(), {"--oidc-token", Provider->Issuer() + "/token"});
    EXPECT_EQ(Walk("ada").Text, "Hello, Ada. You are here by a session, as Member.\n\n");
    EXPECT_EQ(Walk("bob").Text, "Hello, Bob. You are here by a session, as Guest.\n\n");
}

TEST_F(OpenIDLogon, ASiteOfHttpsIsWalkedAsWell)
{
    Root = "https://localhost:" + Port + "/";
    const auto Provider = StartProvider("code");
    if (!Provider || !HasWalker())
        GTEST_SKIP() << cNoProvider;
    const TestIdentity Identity = MakeIdentity("localhost");
    Folder.Write("c.pem", Identity.Certificate);
    Folder.Write("k.pem", Identity.Key);
    Serve(Provider->Issuer(),
          {"--oidc-token", Provider->Issuer() + "/token", "--cert", File("c.pem"), "--key", File("k.pem")});
    EXPECT_EQ(Walk("ada").Text, "Hello, Ada. You are here by a session, as Member.\n\n");
}

/// The provider is down: nobody comes in, everybody gets an answer.
TEST_F(OpenIDLogon, StrangersAreSentOnlyWhereTheyCanLogOn)
{
    const std::string Down = "http://127.0.0.1:" + std::to_string(FreePort());
    Serve(Down, {});
    const auto Get = [&](const std::string& ATarget, std::vector<std::string> AMore = {}) {
        AMore.push_back(Root + ATarget);
        return Curl(std::move(AMore));
    };
    EXPECT_EQ(Get("index.html").Status, 200);
    const THttpAnswer Away = Get("private.html");
    EXPECT_EQ(Away.Status, 302);
    EXPECT_EQ(Away["location"], Redirect());
    const THttpAnswer Sent = Get("oidc/");
    EXPECT_EQ(Sent.Status, 302);
    EXPECT_EQ(Sent.Reason, "OpenId Connect Authentication Redirect");
    EXPECT_TRUE(Sent["location"].starts_with(
        Down + "/auth?client_id=site&response_type=id_token&redirect_uri=" + Redirect() +
        "&response_mode=form_post&scope=openid&state="))
        << Sent["location"];
    EXPECT_EQ(Sent["set-cookie"], "");
    EXPECT_EQ(Get("private.html", {"-d", "a=1"}).Status, 403);
    EXPECT_EQ(Get("demo/private/x.png").Status, 403);
    // Nobody has a password here.
    EXPECT_EQ(Get("private.html", {"--user", "ada:any"}).Status, 302);
    const std::string State = Sent["location"].substr(Sent["location"].rfind('=') + 1);
    const auto Post = [&](const std::string& AForm) { return Get("oidc/", {"-d", AForm}); };
    const std::string Token = Tests::TokenSigner().Sign(R"({"alg":"RS256","kid":"k"})", "{}", "SHA256");
    const THttpAnswer NoKeys = Post("state=" + State + "&id_token=" + Token);
    EXPECT_EQ(NoKeys.Status, 401);
    EXPECT_NE(NoKeys.Content.find("Key not found in keytable!"), std::string::npos) << NoKeys.Content;
    EXPECT_EQ(NoKeys["www-authenticate"], "");
    for (const char* const Bad : {"x", "a.b.c.d", "e30.e30.", "..", "%00.%00.%00"}) {
        const THttpAnswer Answer = Post("id_token=" + std::string(Bad) + "&state=" + State);
        EXPECT_TRUE(Answer.Status == 401 || Answer.Status == 403) << Bad << ": " << Answer.Status;
        EXPECT_NE(Answer.Content.find("Invalid id-token!"), std::string::npos) << Bad;
        EXPECT_EQ(Answer["set-cookie"], "") << Bad;
    }
    EXPECT_EQ(Post("state=of+somebody+else&id_token=" + Token).Status, 403); // anonymous, and so a post
    EXPECT_EQ(Post("state=" + State).Status, 403);
    EXPECT_EQ(Get("oidc/").Status, 302) << "still serving";
}

/// Keys that can't be had let nobody in, and cost nobody else anything.
TEST_F(OpenIDLogon, ProvidersWithoutSoundKeysLetNobodyIn)
{
    struct Row
    {
        const char* Name;
        std::string Discovery; // %: the provider's root
        std::string Keys;
    };
    const std::string Found = R"({"jwks_uri":"%/keys"})";
    const Row Rows[] = {
        {"a page", "<p>Welcome!</p>", ""},
        {"no address", "{}", ""},
        {"an address of its own", R"({"jwks_uri":"%/.well-known/openid-configuration"})", ""},
        {"keys that are none", Found, R"({"keys":[1]})"},
        {"two keys of one id", Found, R"({"keys":[{"kid":"k"},{"kid":"k"}]})"},
        {"more than 1 MiB", Found, R"({"keys":[]})" + std::string(1 << 20, ' ')},
    };
    for (const Row& Each : Rows) {
        std::atomic<std::uint16_t> ProviderPort = 0;
        const auto Own = [&] { return "http://127.0.0.1:" + std::to_string(ProviderPort.load()); };
        ScriptedPeer Provider([&](PeerConnection& AConnection) {
            for (std::string Head; !(Head = AConnection.ReadHead()).empty();) {
                std::string Body = Head.starts_with("GET /keys ") ? Each.Keys : Each.Discovery;
                if (const std::size_t Place = Body.find('%'); Place != std::string::npos)
                    Body.replace(Place, 1, Own());
                AConnection.Answer(Body);
            }
        });
        ProviderPort = Provider.Port();
        Serve(Own(), {});
        const std::string Place = Curl({Root + "oidc/"})["location"];
        const std::string State = Place.substr(Place.rfind('=') + 1);
        const std::string Token = Tests::TokenSigner().Sign(R"({"alg":"RS256","kid":"k"})", "{}", "SHA256");
        EXPECT_EQ(Curl({"-d", "state=" + State + "&id_token=" + Token, Root + "oidc/"}).Status, 401)
            << Each.Name;
        EXPECT_EQ(Curl({Root + "index.html"}).Status, 200) << Each.Name;
        EXPECT_GT(Provider.Connections(), 0) << Each.Name;
        Server.reset();
    }
}

TEST_F(OpenIDLogon, WhatCannotWorkIsToldAtTheStart)
{
    struct Row
    {
        const char* Name;
        std::vector<std::string> Options;
        int ExitCode;
        const char* Says;
    };
    const std::string Id = "--oidc-client-id";
    const std::vector<std::string> Whole{
        Id, "site", "--oidc-discovery", "http://localhost:1/d", "--oidc-authorize", "http://localhost:1/a"};
    const auto With = [&](std::vector<std::string> AMore) {
        AMore.insert(AMore.begin(), Whole.begin(), Whole.end());
        return AMore;
    };
    const Row Rows[] = {
        {"no endpoints", {Id, "site"}, 2, "--oidc-client-id requires"},
        {"elsewhere", With({"--oidc-redirect", "http://localhost:1/oidc/"}), 1,
         "is served by none of the bindings"},
        {"no page", With({"--oidc-redirect", Root + "oidc/x.png"}), 1, "has to end in"},
        {"no secret", With({"--oidc-redirect", Root, "--oidc-token", "http://localhost:1/t"}), 1,
         "needs the client's secret"},
        {"protects without a logon", {"--protect", "/"}, 2, "--auth or --oidc-client-id"},
    };
    for (const Row& Each : Rows) {
        std::vector<std::string> Arguments{ZN_PROGRAM, "serve", ZN_EXAMPLE_SITE, "--bind", Root};
        Arguments.insert(Arguments.end(), Each.Options.begin(), Each.Options.end());
        TChildProcess Process(std::move(Arguments));
        EXPECT_EQ(Process.WaitForExit(cPatience), Each.ExitCode) << Each.Name;
        EXPECT_NE(Process.Errors().find(Each.Says), std::string::npos) << Each.Name << Process.Errors();
    }
}

} // namespace
} // namespace Zn
