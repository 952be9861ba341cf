// zn request --auth oauth2: each grant at a real provider, and what doesn't do.

#include <gtest/gtest.h>

#include "tests/integration/zn/IdentityProvider.h"

namespace Zn
{
namespace
{

struct TOutcome
{
    int Code = -1;
    std::string Output;
    std::string Errors;
};

TOutcome RunZn(std::vector<std::string> AEnvironment, const std::vector<std::string>& AArguments)
{
    AEnvironment.insert(AEnvironment.begin(), "env");
    AEnvironment.insert(AEnvironment.end(), {ZN_PROGRAM, "get", "--auth", "oauth2"});
    AEnvironment.insert(AEnvironment.end(), AArguments.begin(), AArguments.end());
    TChildProcess Process(AEnvironment);
    TOutcome Result;
    Result.Code = Process.WaitForExit(2 * cPatience).value_or(-1);
    Result.Output = Process.Output();
    Result.Errors = Process.Errors();
    return Result;
}

class OAuthInBrowser : public testing::Test
{
protected:
    const std::string Redirect = "http://localhost:" + std::to_string(FreePort()) + "/back";
    TTemporaryFolder Folder;

    std::optional<TPeerProvider> StartProvider(bool APKCE) const
    {
        return TPeerProvider::Start(
            "identity-provider.mjs",
            std::string(R"({"pkce":)") + (APKCE ? "true" : "false") +
                R"(,"clients":[{"id":"app","redirect":")" + Redirect +
                R"(","types":["code","id_token token"],"grants":["authorization_code","implicit"]}]})");
    }

    /// Asks the provider who the token is for. A browser on a busy machine may take longer than zn waits for
    /// its user: then once more, when that walk is over.
    TOutcome Ask(const TPeerProvider& AProvider, const std::string& AGrant,
                 const std::vector<std::string>& AMore = {}) const
    {
        TOutcome Outcome = AskOnce(AProvider, AGrant, AMore);
        for (int Tries = 0; Tries < 3 && Outcome.Errors.find("the specified timeout!") != std::string::npos;
             ++Tries) {
            TChildProcess Over({"flock", Walk() + ".lock", "true"});
            EXPECT_EQ(Over.WaitForExit(cPatience), 0);
            Outcome = AskOnce(AProvider, AGrant, AMore);
        }
        return Outcome;
    }

private:
    std::string Walk() const { return Folder.Path("walk"); }
    TOutcome AskOnce(const TPeerProvider& AProvider, const std::string& AGrant,
                     const std::vector<std::string>& AMore) const
    {
        std::vector<std::string> Arguments{"--oauth-grant",    AGrant,
                                           "--client-id",      "app",
                                           "--scope",          "openid",
                                           "--auth-endpoint",  AProvider.Issuer() + "/auth",
                                           "--token-endpoint", AProvider.Issuer() + "/token",
                                           "--redirect-uri",   Redirect};
        Arguments.insert(Arguments.end(), AMore.begin(), AMore.end());
        Arguments.push_back(AProvider.Issuer() + "/me");
        return RunZn(
            {"BROWSER=" ZN_PEERS "/browser", "ZN_TEST_REDIRECT=" + Redirect + "?", "ZN_TEST_WALK=" + Walk()},
            Arguments);
    }
};

TEST_F(OAuthInBrowser, CodesAndTokensComeBackToThePrivateServer)
{
    const auto Provider = StartProvider(false);
    if (!Provider || !HasWalker())
        GTEST_SKIP() << cNoProvider;
    for (const char* const Grant : {"authorize", "implicit"}) {
        const TOutcome Outcome = Ask(*Provider, Grant);
        EXPECT_EQ(Outcome.Code, 0) << Grant << Outcome.Errors;
        EXPECT_NE(Outcome.Output.find("\"ada@example.com\""), std::string::npos) << Grant << Outcome.Output;
    }
    EXPECT_EQ(Ask(*Provider, "implicit", {"--state"}).Code, 0);
}

TEST_F(OAuthInBrowser, AProviderThatWantsTheProofGetsIt)
{
    const auto Provider = StartProvider(true);
    if (!Provider || !HasWalker())
        GTEST_SKIP() << cNoProvider;
    const TOutcome With = Ask(*Provider, "authorize", {"--pkce", "--state"});
    EXPECT_EQ(With.Code, 0) << With.Errors;
    EXPECT_NE(With.Output.find("\"ada@example.com\""), std::string::npos) << With.Output;
    const TOutcome Without = Ask(*Provider, "authorize");
    EXPECT_EQ(Without.Code, 1);
    EXPECT_NE(Without.Errors.find("PKCE"), std::string::npos) << Without.Errors;
}

TEST(OAuth, ClientCredentialsGetATokenWithoutABrowser)
{
    const auto Provider =
        TPeerProvider::Start("identity-provider.mjs",
                             R"({"clients":[{"id":"job","secret":"hush","grants":["client_credentials"]}]})");
    if (!Provider)
        GTEST_SKIP() << cNoProvider;
    const TServedSite Site(ZN_EXAMPLE_SITE, {"--demo"});
    const auto Ask = [&](const char* ASecret) {
        return RunZn({std::string("ZN_CLIENT_SECRET=") + ASecret},
                     {"--oauth-grant", "client", "--client-id", "job", "--user", "job:", "--token-endpoint",
                      Provider->Issuer() + "/token", Site.Url("demo/request")});
    };
    const TOutcome Right = Ask("hush");
    EXPECT_EQ(Right.Code, 0) << Right.Errors;
    EXPECT_NE(Right.Output.find("\"Authorization\":\"Bearer "), std::string::npos) << Right.Output;
    const TOutcome Wrong = Ask("loud");
    EXPECT_EQ(Wrong.Code, 1);
    EXPECT_NE(Wrong.Errors.find("client authentication"), std::string::npos) << Wrong.Errors;
    EXPECT_EQ(Wrong.Errors.find("loud"), std::string::npos);
}

TEST(OAuth, PasswordsAreExchangedForATokenOfTheUser)
{
    const auto Provider = TPeerProvider::Start("password-provider.mjs", "");
    if (!Provider)
        GTEST_SKIP() << cNoProvider;
    const auto Ask = [&](const std::string& APassword) {
        return RunZn({"ZN_CLIENT_SECRET=hush", "ZN_PASSWORD=" + APassword},
                     {"--oauth-grant", "password", "--client-id", "site", "--user", "ada", "--token-endpoint",
                      Provider->Issuer() + "/token", Provider->Issuer() + "/who"});
    };
    EXPECT_EQ(Ask("open sesame").Output, R"({"user":"ada","tokens":1})");
    const TOutcome Wrong = Ask("wrong");
    EXPECT_EQ(Wrong.Code, 1);
    EXPECT_EQ(Wrong.Errors, "zn: Invalid grant: user credentials are invalid\n");
}

TEST(OAuth, WhatCannotWorkIsToldBeforeAnythingIsSent)
{
    const TServedSite Taken(ZN_EXAMPLE_SITE, {});
    struct Row
    {
        std::string Redirect;
        int Code;
        const char* Says;
    };
    const Row Rows[] = {
        {"http://localhost/back", 1, "must start with \"http://localhost:\""},
        {"http://example.com:8400/back", 1, "must start with \"http://localhost:\""},
        {"https://localhost:8400/back", 1, "must start with \"http://localhost:\""},
        {"http://localhost:8400/back/", 1, "may not end with \"/\""},
        {Taken.Url("back"), 1, ""},
        {"", 2, "--redirect-uri"},
    };
    for (const Row& Each : Rows) {
        const TOutcome Outcome =
            RunZn({"BROWSER=false"},
                  {"--client-id", "app", "--auth-endpoint", "http://localhost:1/a", "--token-endpoint",
                   "http://localhost:1/t", "--redirect-uri", Each.Redirect, "http://localhost:1/"});
        EXPECT_EQ(Outcome.Code, Each.Code) << Each.Redirect << Outcome.Errors;
        EXPECT_NE(Outcome.Errors.find(Each.Says), std::string::npos) << Each.Redirect << Outcome.Errors;
        EXPECT_FALSE(Outcome.Errors.empty()) << Each.Redirect;
    }
    const auto AskToken = [&](const std::string& AUrl) {
        return RunZn({}, {"--oauth-grant", "password", "--client-id", "app", "--user", "ada:pw",
                          "--token-endpoint", AUrl, Taken.Root()});
    };
    EXPECT_EQ(AskToken("http://127.0.0.1:" + std::to_string(FreePort()) + "/t").Code, 3);
    const TOutcome Page = AskToken(Taken.Url("index.html"));
    EXPECT_EQ(Page.Code, 1);
    EXPECT_EQ(Page.Errors.find("pw"), std::string::npos) << Page.Errors;
}

} // namespace
} // namespace Zn
