#include "uZnHTTPClient/OAuthFlow.h"

#include <span>

#include "common/Exceptions.h"
#include "common/Hash.h"
#include "common/NetEncoding.h"
#include "common/StringList.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "platform/random/SystemRandom.h"
#include "uZnHTTPClient/ClientBase.h"
#include "uZnHTTPClient/OAuthRedirect.h"

namespace
{

constexpr std::size_t cRandomBytes = 32;         // RFC 7636, section 4.1
constexpr const char* cDefaultLifetime = "3600"; // s

std::string FormEncoded(const std::string& AText)
{
    return TZnNetEncoding::URL().EncodeForm(AText);
}

/// Nobody guesses it: 256 bits, as base64url.
std::string RandomText()
{
    std::array<std::byte, cRandomBytes> Bytes;
    if (const std::uint32_t Error = Zn::FillWithRandom(Bytes))
        throw EZnException("The system has no random bytes to give: " + SysErrorText(Error),
                           static_cast<int>(Error));
    return TZnNetEncoding::GetBase64ExEncoding().EncodeURL(
        {reinterpret_cast<const char*>(Bytes.data()), Bytes.size()});
}

std::string CodeChallenge(const std::string& AVerifier)
{
    const TZnBytes Digest = THashSHA2::GetHashBytes(AVerifier);
    return TZnNetEncoding::GetBase64ExEncoding().EncodeURL(
        {reinterpret_cast<const char*>(Digest.data()), Digest.size()});
}

/// What the browser brought back: a query string, whose parts are used as they came.
class BrowserAnswer
{
public:
    explicit BrowserAnswer(const std::string& AQuery) { ZnTokenize(AQuery, FFields, cZnAmpersand); }

    std::string Value(const std::string& AName) const { return FFields.GetValue(AName); }

    /// Of that name; raises what the provider says when it isn't there.
    std::string Demand(const std::string& AName) const
    {
        std::string Found = Value(AName);
        if (!Found.empty())
            return Found;
        const std::string Why = TZnNetEncoding::URL().Decode(Value("error_description"));
        throw EZnHTTPAuthenticationFailure(authOAuth2, Why.empty() ? "Failed to get an access token!" : Why,
                                           401);
    }

private:
    TStringList FFields;
};

} // namespace

void TZnHTTPClientBase::GetOAuthAccessToken()
{
    if (!FOAuth.GetAccessToken().GetExpired())
        return;
    // Other threads wait here for the token. The requests of the flow itself come by on its thread.
    const TZnLockGuard Guard(FOAuthLock);
    if (FRequestingOAuthToken || !FOAuth.GetAccessToken().GetExpired())
        return;
    struct TRequesting
    {
        explicit TRequesting(bool& AFlag) : Flag(AFlag) { Flag = true; }
        ~TRequesting() { Flag = false; }
        bool& Flag;
    } const Requesting(FRequestingOAuthToken);
    Zn::OAuthFlow(*this).GetToken();
}

namespace Zn
{

OAuthFlow::OAuthFlow(TZnHTTPClientBase& AClient) : FClient(AClient), FOAuth(AClient.GetOAuth()) {}

void OAuthFlow::GetToken()
{
    if (FOAuth.GetAppID().empty())
        throw EZnHTTPInvalidArgument("OAuth/OpenId Requires an AppID!");
    if (FOAuth.GetUseRefreshToken() && Refresh())
        return;
    const TZnOAuthGrantType Grant = FOAuth.GetGrantType();
    if (Grant == oagtPassword || Grant == oagtClientCredentials)
        ExchangeDirectly();
    else
        AskUser();
}

std::string OAuthFlow::Named(const char* AName, const std::string& AValue) const
{
    return AValue.empty() ? std::string() : "&" + Alias(AName) + "=" + FormEncoded(AValue);
}

/// Of every request to the provider, in an order that providers have come to rely on.
std::string OAuthFlow::Parameters() const
{
    const TZnOAuthGrantType Grant = FOAuth.GetGrantType();
    std::string Result = Alias("client_id") + "=" + FormEncoded(FOAuth.GetAppID()) +
                         Named("client_secret", FOAuth.GetClientSecret()) + Named("scope", FOAuth.GetScope());
    if (Grant == oagtPassword || Grant == oagtClientCredentials) {
        const TZnCredentials& User = FClient.GetCredentials();
        if (User.GetUserName().empty())
            throw EZnHTTPInvalidArgument(
                "A username is required for the \"Password\" and \"ClientCredentials\" granttypes!");
        Result += "&username=" + FormEncoded(User.GetUserName());
        if (!User.GetPassword().empty())
            Result += "&password=" + FormEncoded(User.GetPassword());
    }
    switch (Grant) {
    case oagtAuthorize:
        return Result + "&grant_type=authorization_code&redirect_uri=" + FormEncoded(FOAuth.GetRedirectURI());
    case oagtPassword:
        return Result + "&" + Alias("grant_type") + "=password";
    case oagtClientCredentials:
        return Result + "&" + Alias("grant_type") + "=client_credentials";
    case oagtImplicit:
        return Result + "&" + Alias("redirect_uri") + "=" + FormEncoded(FOAuth.GetRedirectURI());
    }
    return Result;
}

/// The grants that need the user in front of a browser.
void OAuthFlow::AskUser()
{
    const bool IsImplicit = FOAuth.GetGrantType() == oagtImplicit;
    const std::string State = FOAuth.GetUseState() ? RandomText() : std::string();
    const std::string Verifier = FOAuth.GetUsePKCE() && !IsImplicit ? RandomText() : std::string();

    OAuthRedirect Redirect(FClient);
    std::string Url = FOAuth.GetAuthEndpoint() + "?" + Parameters() + "&" + Alias("response_type") +
                      (IsImplicit ? "=token" : "=code");
    if (!State.empty())
        Url += "&state=" + State;
    if (!Verifier.empty())
        Url += "&code_challenge=" + CodeChallenge(Verifier) + "&code_challenge_method=S256";
    const BrowserAnswer Answer(Redirect.Authorize(Url));

    if (!ZnSameSecret(Answer.Value("state"), State) && !State.empty())
        throw EZnHTTPAuthenticationFailure(authOAuth2,
                                           "The answer of the provider belongs to another request!", 401);
    if (!IsImplicit)
        return ExchangeCode(Answer.Demand(Alias("code")), Verifier);

    const std::string Token = Answer.Demand(Alias("access_token"));
    const std::string Lifetime = Answer.Value(Alias("expires_in"));
    const auto Seconds = ZnParseInt<std::uint32_t>(Lifetime.empty() ? cDefaultLifetime : Lifetime);
    if (!Seconds)
        throw EConvertError("The lifetime of the access token is no number of seconds!");
    FOAuth.SetAccessToken(Token, *Seconds);
}

} // namespace Zn
