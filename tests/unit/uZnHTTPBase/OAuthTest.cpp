#include "uZnHTTPBase/OAuth.h"

#include <gtest/gtest.h>

#include "common/System.h"
#include "uZnHTTPBase/Credentials.h"

TEST(OAuth, TokenLivesForItsSeconds)
{
    EXPECT_TRUE(TZnOAuthAccessToken().GetExpired());
    EXPECT_TRUE(TZnOAuthAccessToken::Create("", 3600).GetExpired());
    EXPECT_FALSE(TZnOAuthAccessToken::Create("t", 3600).GetExpired());
    EXPECT_FALSE(TZnOAuthAccessToken::Create("t", 0xFFFFFFFF).GetExpired()) << "no wrap";
    const auto Dead = TZnOAuthAccessToken::Create("t", 0);
    while (GetTickCount64() <= Dead.GetExpiresOn()) {
    }
    EXPECT_TRUE(Dead.GetExpired());
}

TEST(OAuth, AliasStandsForAName)
{
    TZnOAuth OAuth;
    EXPECT_EQ(OAuth.GetParamAlias("code"), "code");
    OAuth.SetParamAlias("code", "kode");
    EXPECT_EQ(OAuth.GetParamAlias("code"), "kode");
}

TEST(OAuth, AssignCopiesEverything)
{
    TZnOAuth Source;
    Source.SetAppID("id");
    Source.SetClientSecret("secret");
    Source.SetRedirectURI("r");
    Source.SetAuthEndpoint("a");
    Source.SetTokenEndpoint("t");
    Source.SetScope("s");
    Source.SetGrantType(oagtPassword);
    Source.SetAccessToken("token", 60);
    Source.SetParamAlias("x", "y");
    Source.SetSuccessMessage({"done"});
    TZnOAuth Copy;
    EXPECT_EQ(Copy.GetSuccessMessage()[0], "Successfully authenticated.<br/>You can close this window.");
    Copy.Assign(&Source);
    EXPECT_EQ(Copy.GetAppID() + Copy.GetClientSecret() + Copy.GetRedirectURI() + Copy.GetAuthEndpoint() +
                  Copy.GetTokenEndpoint() + Copy.GetScope(),
              "idsecretrats");
    EXPECT_EQ(Copy.GetGrantType(), oagtPassword);
    EXPECT_EQ(Copy.GetAccessToken().GetToken(), "token");
    EXPECT_EQ(Copy.GetParamAlias("x"), "y");
    EXPECT_EQ(Copy.GetSuccessMessage()[0], "done");

    TZnCredentials Credentials;
    Credentials.SetPassword("p");
    EXPECT_FALSE(Credentials.Empty());
    EXPECT_THROW(Copy.Assign(&Credentials), EConvertError);
}
