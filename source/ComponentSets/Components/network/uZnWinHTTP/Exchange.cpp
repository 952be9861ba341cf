#include "common/Exceptions.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPClient/HeaderText.h"
#include "uZnWinHTTP/AuthSchemes.h"
#include "uZnWinHTTP/Request.h"
#include "uZnWinHTTP/Response.h"

namespace
{

constexpr std::uint16_t cUnauthorized = 401;
constexpr std::uint16_t cProxyAuthenticationRequired = 407;

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

std::shared_ptr<IZnHTTPResponse> TZnHTTPRequest::SendRequest()
{
    FCancelled = false;
    try {
        return Exchange();
    } catch (const EZnHTTPApiException&) {
        FCloseConnection = true;
        RaiseIfClosed();
        throw;
    } catch (...) {
        FCloseConnection = true;
        throw;
    }
}

/// A handle that somebody closed between two calls is refused by its number. That is a cancelled operation as
/// well as one that is closed during a call.
void TZnHTTPRequest::RaiseIfClosed()
{
    const bool Closed = FRequestHandle ? FRequestHandle->GetHandle(false) == nullptr
                                       : FConnection->GetConnection() == nullptr;
    if (Closed)
        throw EAbort(WinHttpErrorMsg(ERROR_WINHTTP_OPERATION_CANCELLED));
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPRequest::Exchange()
{
    OpenHandle();
    ApplyTimeOuts();
    ApplyCookieHandling();
    AddFields();
    AddStoredCookies();
    ApplySecurityFlags();
    ApplyLogonPolicy();
    ApplyRedirectPolicy();
    OfferCredentials();
    OfferProxyCredentials();
    OfferClientCertificate();
    Client().DoOnRequest(shared_from_this());
    FBodyData.Load(Handle());
    SendFirst();
    Receive();
    ReadStatus();
    AnswerProxyChallenge();
    AnswerServerChallenge();
    return TakeResponse();
}

void TZnHTTPRequest::OpenHandle()
{
    DropHandle(); // of an earlier send
    void* const Connection = FConnection->GetConnection();
    if (Connection == nullptr)
        throw EAbort("The session has been closed!");
    TWINHTTP_OPENREQUEST_FLAGS Flags;
    if (FURLData.Scheme == "https")
        Flags.Include(orSecure);
    void* const Handle = WinHttpOpenRequest(Connection, ZnHTTPMethod[FMethod], FURLData.Resource, Flags,
                                            ZnHTTPVersion[FHTTPVersion], FReferer, FAccept);
    auto Registered = Session().AddRequest(Handle);
    if (!Registered)
        throw EAbort("The session has been closed!");
    {
        const std::lock_guard Guard(FHandleLock);
        FRequestHandle = std::move(Registered);
    }
    if (FCancelled)
        CancelRequest();
}

void TZnHTTPRequest::ApplyTimeOuts()
{
    const TZnHTTPTimeOuts& TimeOuts = Client().GetTimeOuts();
    WinHttpSetOption(Handle(), WINHTTP_OPTION_SEND_TIMEOUT,
                     static_cast<std::uint32_t>(TimeOuts.GetSendTimeOut()));
    WinHttpSetOption(Handle(), WINHTTP_OPTION_RECEIVE_TIMEOUT,
                     static_cast<std::uint32_t>(TimeOuts.GetReceiveTimeOut()));
}

void TZnHTTPRequest::ApplyCookieHandling()
{
    if (FCookieHandling == chManual)
        WinHttpSetOption(Handle(), WINHTTP_OPTION_DISABLE_FEATURE, WINHTTP_DISABLE_COOKIES);
}

void TZnHTTPRequest::AddFields()
{
    if (FRequestHeaders.Count() > 0)
        WinHttpAddRequestHeaders(Handle(), FRequestHeaders.GetText(), {mfAdd}, true);
    for (const TZnHTTPHeader& Each : FCustomHeaders)
        AddHeader(Each.Name, Each.Value);
}

void TZnHTTPRequest::AddStoredCookies()
{
    if (FCookieHandling != chManual)
        return;
    WinHttpAddRequestHeaders(Handle(), "Cookie:", {mfReplace}, false);
    Session().GetCookies().GetCookies(
        FURLData, [this](const std::string& AName, const std::string& AValue) { AddCookie(AName, AValue); });
    for (const TZnHTTPHeader& Each : FCustomCookies)
        AddCookie(Each.Name, Each.Value);
}

void TZnHTTPRequest::ApplySecurityFlags()
{
    if (const std::uint32_t Flags = PlatformFlags(FSecurityFlags))
        WinHttpSetOption(Handle(), WINHTTP_OPTION_SECURITY_FLAGS, Flags);
    if (!FSecurityFlags.Contains(sfIgnoreRevocation))
        WinHttpSetOption(Handle(), WINHTTP_OPTION_ENABLE_FEATURE, WINHTTP_ENABLE_SSL_REVOCATION);
}

void TZnHTTPRequest::ApplyLogonPolicy()
{
    if (!FURLData.Username.empty() && !FURLData.Password.empty())
        WinHttpSetOption(Handle(), WINHTTP_OPTION_AUTOLOGON_POLICY, cAutoLogonNever);
}

void TZnHTTPRequest::ApplyRedirectPolicy()
{
    static_assert(static_cast<std::uint32_t>(rdpAlways) == WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS);
    WinHttpSetOption(Handle(), WINHTTP_OPTION_REDIRECT_POLICY, static_cast<std::uint32_t>(FRedirectPolicy));
}

bool TZnHTTPRequest::HasServerCredentials() const
{
    return !FURLData.Username.empty() || !FURLData.Password.empty();
}

void TZnHTTPRequest::OfferCredentials()
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
        WinHttpSetCredentials(Handle(), authTargetServer, asNEGOTIATE, FURLData.Username, FURLData.Password);
        return;
    case authBasic:
    case authNTLM:
    case authNEGIOTIATE:
        WinHttpSetCredentials(Handle(), authTargetServer, AuthSchemeOf(FAuthentication), FURLData.Username,
                              FURLData.Password);
        return;
    default: // the challenge has to come first
        return;
    }
}

void TZnHTTPRequest::OfferProxyCredentials()
{
    if (!FProxyCredentials.Empty())
        WinHttpSetCredentials(Handle(), authTargetProxy, FProxyAuthentication,
                              FProxyCredentials.GetUserName(), FProxyCredentials.GetPassword());
}

void TZnHTTPRequest::OfferClientCertificate()
{
    const TZnHTTPOnGetClientCertificate GetCertificate = Client().GetOnGetClientCertificate();
    if (!GetCertificate)
        return;
    if (const std::string& Password = Client().GetClientCertificatePassword(); !Password.empty()) {
        const std::u16string Text = Utf16FromUtf8(Password);
        WinHttpSetOption(Handle(), ZN_OPTION_CLIENT_CERT_PASSWORD, std::as_bytes(std::span(Text)));
    }
    GetCertificate([this](const void* ACertContext, std::uint32_t ACertContextSize) {
        WinHttpSetOption(Handle(), WINHTTP_OPTION_CLIENT_CERT_CONTEXT,
                         std::span(static_cast<const std::byte*>(ACertContext), ACertContextSize));
    });
}

/// The first send, which may find that the server wants a certificate.
void TZnHTTPRequest::SendFirst()
{
    const std::uint32_t Code =
        WinHttpSendRequest(Handle(), FBodyData.Size(), FBodyData.Data(), FBodyData.Size(), {}, 0, false);
    if (Code == NO_ERROR)
        return;
    Client().DoOnRequestError(shared_from_this(), Code);
    FBodyData.RaiseReadError();
    if (Code != ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED || !Client().GetOnGetClientCertificate())
        WinHttpCheckError(cSendRequest, Code, "");
    OfferClientCertificate();
    Send();
}

void TZnHTTPRequest::Send()
{
    const std::uint32_t Code =
        WinHttpSendRequest(Handle(), FBodyData.Size(), FBodyData.Data(), FBodyData.Size(), {}, 0, false);
    FBodyData.RaiseReadError();
    WinHttpCheckError(cSendRequest, Code, "");
}

void TZnHTTPRequest::Receive()
{
    WinHttpReceiveResponse(Handle(), true);
}

void TZnHTTPRequest::ReadStatus()
{
    std::string Code;
    WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_STATUS_CODE, {}, Code);
    const auto Number = ZnParseInt<std::uint16_t>(Code);
    if (!Number)
        throw EConvertError("'" + Code + "' is not a valid integer value");
    FStatus.StatusCode = *Number;
    WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_STATUS_TEXT, {}, FStatus.StatusMsg);
}

void TZnHTTPRequest::SendAgain()
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

void TZnHTTPRequest::AnswerProxyChallenge()
{
    if (FStatus.StatusCode != cProxyAuthenticationRequired || FProxyCredentials.Empty())
        return;
    QuerySchemes(Handle(), FSupportedProxyAuthSchemes, FFirstProxyAuthScheme);
    WinHttpSetCredentials(Handle(), authTargetProxy, FFirstProxyAuthScheme, FProxyCredentials.GetUserName(),
                          FProxyCredentials.GetPassword());
    SendAgain();
}

void TZnHTTPRequest::AnswerServerChallenge()
{
    if (FStatus.StatusCode != cUnauthorized)
        return;
    QuerySchemes(Handle(), FSupportedAuthSchemes, FFirstAuthScheme);
    if (HasServerCredentials()) {
        WinHttpSetCredentials(Handle(), authTargetServer, FFirstAuthScheme, FURLData.Username,
                              FURLData.Password);
        SendAgain();
    }
    LearnAuthentication();
}

/// The client's next requests then begin with what this one had to learn.
void TZnHTTPRequest::LearnAuthentication()
{
    if (FFirstAuthScheme == asBASIC)
        FAuthentication = authBasic;
    else if (FFirstAuthScheme == asDIGEST)
        FAuthentication = authDigest;
    else
        return;
    Client().SetAuthentication(FAuthentication);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPRequest::TakeResponse()
{
    const auto Response =
        std::make_shared<TZnHTTPResponse>(FHTTPClient, shared_from_this(), FRequestHandle, FStatus);
    const TZnHTTPHeaderList& Headers = Response->GetResponseHeaders();
    for (int Index = 0; Index < Headers.Count(); ++Index) {
        if (Headers.NameView(Index) == "Set-Cookie")
            Session().GetCookies().Add(FURLData, Headers.ValueView(Index));
    }
    Client().DoOnResponse(Response);
    return Response;
}

} // namespace Zn
