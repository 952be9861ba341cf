#include "common/Exceptions.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPClient/HeaderText.h"
#include "uZnWinHTTP/AuthSchemes.h"
#include "uZnWinHTTP/Request.h"

namespace
{

/// Credentials are sent to the server that asks for them, never on the user's own account.
constexpr std::uint32_t cAutoLogonNever = 2;

constexpr const char* cSendRequest = "WinHttpSendRequest";

std::uint32_t PlatformFlags(TZnHTTPSecurityFlags AFlags)
{
    std::uint32_t Result = 0;
    if (AFlags.Contains(sfIgnoreInvalidCertDate))
        Result += SECURITY_FLAG_IGNORE_CERT_DATE_INVALID;
    if (AFlags.Contains(sfIgnoreUnknownCA))
        Result += SECURITY_FLAG_IGNORE_UNKNOWN_CA;
    if (AFlags.Contains(sfIgnoreInvalidCommonName))
        Result += SECURITY_FLAG_IGNORE_CERT_CN_INVALID;
    if (AFlags.Contains(sfIgnoreWrongUsage))
        Result += SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE;
    return Result;
}

} // namespace

namespace Zn
{

std::shared_ptr<IZnHTTPResponse> WinHTTPRequest::Exchange()
{
    OpenHandle();
    ApplyTimeOuts(WINHTTP_OPTION_SEND_TIMEOUT, WINHTTP_OPTION_RECEIVE_TIMEOUT);
    ApplyCookieHandling();
    AddFields();
    AddStoredCookies();
    ApplySecurityFlags();
    ApplyLogonPolicy();
    ApplyRedirectPolicy();
    OfferCredentials();
    OfferProxyCredentials();
    OfferClientCertificate(WINHTTP_OPTION_CLIENT_CERT_CONTEXT);
    Client().DoOnRequest(shared_from_this());
    FBodyData.Load(FBinding, Handle());
    SendFirst();
    Receive();
    ReadStatus();
    AnswerProxyChallenge();
    AnswerServerChallenge();
    return TakeResponse();
}

void WinHTTPRequest::ApplyCookieHandling()
{
    if (FCookieHandling == chManual)
        SetOption(WINHTTP_OPTION_DISABLE_FEATURE, WINHTTP_DISABLE_COOKIES);
}

void WinHTTPRequest::AddFields()
{
    if (FRequestHeaders.Count() > 0)
        WinHttpAddRequestHeaders(Handle(), FRequestHeaders.GetText(), {mfAdd}, true);
    AddCustomHeaders();
}

void WinHTTPRequest::ApplySecurityFlags()
{
    if (const std::uint32_t Flags = PlatformFlags(FSecurityFlags))
        SetOption(WINHTTP_OPTION_SECURITY_FLAGS, Flags);
    if (!FSecurityFlags.Contains(sfIgnoreRevocation))
        SetOption(WINHTTP_OPTION_ENABLE_FEATURE, WINHTTP_ENABLE_SSL_REVOCATION);
}

void WinHTTPRequest::ApplyLogonPolicy()
{
    if (!FUserName.empty() && !FPassword.empty())
        SetOption(WINHTTP_OPTION_AUTOLOGON_POLICY, cAutoLogonNever);
}

void WinHTTPRequest::ApplyRedirectPolicy()
{
    static_assert(static_cast<std::uint32_t>(rdpAlways) == WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS);
    SetOption(WINHTTP_OPTION_REDIRECT_POLICY, static_cast<std::uint32_t>(FRedirectPolicy));
}

bool WinHTTPRequest::HasServerCredentials() const
{
    return !FUserName.empty() || !FPassword.empty();
}

void WinHTTPRequest::OfferCredentials()
{
    if (FAuthentication == authOAuth2) {
        const TZnOAuthAccessToken Token = Client().GetOAuth().GetAccessToken();
        if (!Token.GetExpired()) {
            CheckHeader("Authorization", Token.GetToken());
            WinHttpAddRequestHeaders(Handle(), "Authorization: Bearer " + Token.GetToken(), {mfAdd}, true);
            return;
        }
    }
    if (!HasServerCredentials())
        return;
    switch (FAuthentication) {
    case authNone:
        WinHttpSetCredentials(Handle(), authTargetServer, asNEGOTIATE, FUserName, FPassword);
        return;
    case authBasic:
    case authNTLM:
    case authNEGIOTIATE:
        WinHttpSetCredentials(Handle(), authTargetServer, AuthSchemeOf(FAuthentication), FUserName,
                              FPassword);
        return;
    default: // the challenge has to come first
        return;
    }
}

void WinHTTPRequest::OfferProxyCredentials()
{
    if (!FProxyCredentials.Empty())
        WinHttpSetCredentials(Handle(), authTargetProxy, FProxyAuthentication,
                              FProxyCredentials.GetUserName(), FProxyCredentials.GetPassword());
}

/// The first send, which may find that the server wants a certificate.
void WinHTTPRequest::SendFirst()
{
    const std::uint32_t Code =
        WinHttpSendRequest(Handle(), FBodyData.Size(), FBodyData.Data(), FBodyData.Size(), {}, 0, false);
    if (Code == NO_ERROR)
        return;
    Client().DoOnRequestError(shared_from_this(), Code);
    FBodyData.RaiseReadError();
    if (Code != ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED || !Client().GetOnGetClientCertificate())
        WinHttpCheckError(cSendRequest, Code, "");
    OfferClientCertificate(WINHTTP_OPTION_CLIENT_CERT_CONTEXT);
    Send();
}

void WinHTTPRequest::Send()
{
    const std::uint32_t Code =
        WinHttpSendRequest(Handle(), FBodyData.Size(), FBodyData.Data(), FBodyData.Size(), {}, 0, false);
    FBodyData.RaiseReadError();
    WinHttpCheckError(cSendRequest, Code, "");
}

void WinHTTPRequest::Receive()
{
    WinHttpReceiveResponse(Handle(), true);
}

void WinHTTPRequest::SendAgain()
{
    Send();
    Receive();
    ReadStatus();
}

namespace
{

/// What a challenge offers; Basic where the library can't tell.
void QuerySchemes(HINTERNET AHandle, TWINHTTP_AUTH_SCHEMES& ASupported, TWINHTTP_AUTH_SCHEME& AFirst)
{
    TWINHTTP_AUTH_TARGET Target = authTargetServer;
    try {
        WinHttpQueryAuthSchemes(AHandle, ASupported, AFirst, Target);
    } catch (const EZnException&) {
        ASupported = {};
        AFirst = asBASIC;
    }
}

} // namespace

void WinHTTPRequest::AnswerProxyChallenge()
{
    if (FStatus.StatusCode != cProxyAuthenticationRequired || FProxyCredentials.Empty())
        return;
    QuerySchemes(Handle(), FSupportedProxyAuthSchemes, FFirstProxyAuthScheme);
    WinHttpSetCredentials(Handle(), authTargetProxy, FFirstProxyAuthScheme, FProxyCredentials.GetUserName(),
                          FProxyCredentials.GetPassword());
    SendAgain();
}

void WinHTTPRequest::AnswerServerChallenge()
{
    if (FStatus.StatusCode != cUnauthorized)
        return;
    QuerySchemes(Handle(), FSupportedAuthSchemes, FFirstAuthScheme);
    if (HasServerCredentials()) {
        WinHttpSetCredentials(Handle(), authTargetServer, FFirstAuthScheme, FUserName, FPassword);
        SendAgain();
    }
    LearnAuthentication();
}

/// The client's next requests then begin with what this one had to learn.
void WinHTTPRequest::LearnAuthentication()
{
    if (FFirstAuthScheme == asBASIC)
        FAuthentication = authBasic;
    else if (FFirstAuthScheme == asDIGEST)
        FAuthentication = authDigest;
    else
        return;
    Client().SetAuthentication(FAuthentication);
}

} // namespace Zn
