#include "uZnHTTPServer/OAuthToken.h"

#include "common/Exceptions.h"
#include "common/Text.h"
#include "uZnHTTPServer/AuthExceptions.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/JWT.h"
#include "uZnHTTPServer/OpenIDConnect.h"
#include "uZnHTTPServer/OpenIDProvider.h"
#include "uZnHTTPServer/Server.h"

namespace
{

constexpr std::int32_t cDefaultPeriod = 3600; // s

struct Logon
{
    std::string UserName;
    std::string RoleName;
    std::int32_t Period = cDefaultPeriod; // s
};

Logon LogonOf(const TZnJWT& AToken)
{
    Logon Result;
    if (!AToken.GetClaim("name", Result.UserName, false))
        Zn::RefuseToken("There is no member with the name \"name\".");
    if (!AToken.GetClaim("roles", Result.RoleName, true))
        Result.RoleName = "Guest";
    if (std::string Period; AToken.GetClaim("expires_in", Period, false)) {
        const auto Seconds = ZnParseInt<std::int32_t>(Period);
        if (!Seconds)
            throw EConvertError("The claim \"expires_in\" is no number of seconds!");
        Result.Period = *Seconds;
    }
    return Result;
}

/// The two members of the provider's answer. Raises when one is missing.
struct TokenAnswer
{
    explicit TokenAnswer(const std::string& ABody)
    {
        const auto Document = TJSONObject::Parse(ABody);
        AccessToken = Text(*Document, "access_token");
        IdToken = ZnStripLiterals(Text(*Document, "id_token"));
    }

    static std::string Text(const TJSONObject& ADocument, const std::string& AName)
    {
        const TJSONValue* const Value = ADocument.Find(AName);
        if (Value == nullptr)
            throw EConvertError("The provider's answer has no \"" + AName + "\"!");
        return Value->ToJSON();
    }

    std::string AccessToken; // with its quotes
    std::string IdToken;
};

void CheckAnswer(const Zn::ProviderAnswer& AAnswer)
{
    const bool IsPage = LowerCase(AAnswer.ContentType).find("html") != std::string::npos;
    if (AAnswer.Status < 200 || AAnswer.Status > 299 || IsPage)
        throw EZnHTTPServerAuthGetTokenFailure(AAnswer.ContentType, AAnswer.Body);
}

} // namespace

TZnHTTPServerOAuthToken::TZnHTTPServerOAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager,
                                                 const std::string& ARedirectUri)
    : TZnHTTPServerAuthToken(ATokenManager, ARedirectUri), FOIDC(ATokenManager.GetOwner().GetOpenIDConnect())
{
}

bool TZnHTTPServerOAuthToken::GetToken(const std::string& ACode)
{
    const TZnLockGuard Guard(FOIDC.GetExchangeLock());
    if (!FCode.empty())
        return GetValidated();     // another post was first, and it may have failed
    GetTimeOutEvent()->SetEvent(); // the time for a logon is not the provider's to use up
    FCode = ACode;
    try {
        Exchange(ACode);
    } catch (...) {
        Terminate();
        throw;
    }
    return true;
}

void TZnHTTPServerOAuthToken::Exchange(const std::string& ACode)
{
    const Zn::ProviderAnswer Answer = Zn::PostToProvider(FOIDC.GetTokenUrl(), RequestFor(ACode));
    CheckAnswer(Answer);
    const TokenAnswer Tokens(Answer.Body);
    FToken = Tokens.AccessToken;
    const TZnJWT IdToken(Tokens.IdToken, FOIDC);
    FOIDC.CheckClaims(IdToken, GetTokenId());
    const Logon User = LogonOf(IdToken);
    Validate(User.UserName, User.RoleName, 0, User.Period);
}

/// The values as they stand: a code may hold escapes of its own, and the provider gets back what it gave.
std::string TZnHTTPServerOAuthToken::RequestFor(const std::string& ACode) const
{
    return "grant_type=authorization_code&client_id=" + FOIDC.GetClientId() +
           "&client_secret=" + FOIDC.GetClientSecret() + "&scope=openid email profile&code=" + ACode +
           "&redirect_uri=" + GetRedirectUri();
}

std::shared_ptr<TZnHTTPServerAuthToken> ZnMakeOAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager,
                                                         const std::string& ARedirectUri)
{
    return std::make_shared<TZnHTTPServerOAuthToken>(ATokenManager, ARedirectUri);
}
