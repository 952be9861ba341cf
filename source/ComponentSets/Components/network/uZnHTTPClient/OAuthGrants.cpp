// What goes to the token endpoint, and what comes back.

#include <limits>

#include "common/Exceptions.h"
#include "common/Json.h"
#include "common/NetEncoding.h"
#include "uZnHTTPClient/ClientBase.h"
#include "uZnHTTPClient/OAuthFlow.h"

namespace Zn
{
namespace
{

/// What the provider says went wrong: its own description, else all of its answer.
std::string ReasonIn(const std::string& AAnswer)
{
    const std::string Description =
        ZnVarToStr(ZnGetJSONDocValue(ZnCreateJSONDoc(AAnswer), "$.error_description"));
    return Description.empty() ? AAnswer : Description;
}

[[noreturn]] void RefuseDirectAnswer(const std::string& AAnswer)
{
    std::string Reason;
    try {
        Reason = ReasonIn(AAnswer);
    } catch (const EZnJSONException&) {
        Reason = AAnswer;
    }
    throw EZnHTTPInvalidArgument(Reason);
}

[[noreturn]] void RefuseCodeAnswer(const std::string& AAnswer, const TZnHTTPStatus& AStatus)
{
    std::string Reason;
    try {
        Reason = AAnswer.starts_with('{') ? ReasonIn(AAnswer) : AAnswer;
    } catch (const EZnJSONException&) {
        Reason = AStatus.StatusMsg;
    }
    throw EZnHTTPException(Reason, AStatus.StatusCode);
}

std::uint32_t Seconds(std::int64_t AValue)
{
    constexpr std::int64_t cMost = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(AValue, 0, cMost));
}

} // namespace

std::shared_ptr<IZnHTTPResponse> OAuthFlow::Post(const std::string& AForm)
{
    return FClient.Request(httpPOST, FOAuth.GetTokenEndpoint(), AForm, "application/x-www-form-urlencoded",
                           false);
}

void OAuthFlow::Store(const std::string& ADocument)
{
    const TZnJSONDoc Document = ZnCreateJSONDoc(ADocument);
    FOAuth.SetAccessToken(ZnVarToStr(ZnGetJSONDocValue(Document, "$.access_token")),
                          Seconds(ZnVarToInt(ZnGetJSONDocValue(Document, "$.expires_in"))));
    // A provider that gives no new one goes on with the old one (RFC 6749, section 6).
    const std::string Refresh = ZnVarToStr(ZnGetJSONDocValue(Document, "$.refresh_token"));
    if (FOAuth.GetUseRefreshToken() && !Refresh.empty())
        FOAuth.SetRefreshToken(Refresh);
}

/// False when there is no refresh token, or the provider has no more use for it.
bool OAuthFlow::Refresh()
{
    const std::string Token = FOAuth.GetRefreshToken();
    if (Token.empty())
        return false;
    const auto Response =
        Post(Alias("client_id") + "=" + TZnNetEncoding::URL().EncodeForm(FOAuth.GetAppID()) +
             Named("client_secret", FOAuth.GetClientSecret()) + Named("scope", FOAuth.GetScope()) + "&" +
             Alias("grant_type") + "=refresh_token&refresh_token=" + TZnNetEncoding::URL().EncodeForm(Token));
    if (Response->GetStatus().StatusCode != 200) {
        FOAuth.SetRefreshToken({});
        return false;
    }
    Store(Response->GetResponse());
    return true;
}

void OAuthFlow::ExchangeDirectly()
{
    const auto Response = Post(Parameters());
    const std::string Text = Response->GetResponse();
    if (Response->GetStatus().StatusCode != 200) {
        if (!Text.empty())
            RefuseDirectAnswer(Text);
        Response->CheckError();
    }
    Store(Text);
}

void OAuthFlow::ExchangeCode(const std::string& ACode, const std::string& AVerifier)
{
    std::string Form = Parameters() + "&" + Alias("code") + "=" + ACode;
    if (!AVerifier.empty())
        Form += "&code_verifier=" + AVerifier;
    const auto Response = Post(Form);
    const std::string Text = Response->GetResponse();
    if (Response->GetStatus().StatusCode != 200) {
        if (!Text.empty())
            RefuseCodeAnswer(Text, Response->GetStatus());
        Response->CheckError();
    }
    Store(Text);
}

} // namespace Zn
