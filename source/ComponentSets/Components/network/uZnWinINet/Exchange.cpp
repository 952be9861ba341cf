// The loop of passes.

#include <algorithm>
#include <array>

#include "common/NetEncoding.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPTransport/ShownURL.h"
#include "uZnWinINet/Request.h"

namespace
{

/// What the user may decide: 12014, certificates and redirections (12037 to 12043, 12045, 12055, 12057,
/// 12170), consent to what leaves a secure connection (12052, 12168), the proxy's script (12166, 12167).
bool IsForTheUser(std::uint32_t ACode)
{
    constexpr std::array<std::uint32_t, 9> cOthers{12014, 12045, 12052, 12055, 12057,
                                                   12166, 12167, 12168, 12170};
    return (ACode >= 12037 && ACode <= 12043) || std::ranges::find(cOthers, ACode) != cOthers.end();
}

std::uint32_t PlatformFlags(TZnHTTPSecurityFlags AFlags)
{
    std::uint32_t Result = 0;
    if (AFlags.Contains(sfIgnoreInvalidCertDate))
        Result += SECURITY_FLAG_IGNORE_CERT_DATE_INVALID;
    if (AFlags.Contains(sfIgnoreUnknownCA))
        Result += SECURITY_FLAG_IGNORE_UNKNOWN_CA;
    if (AFlags.Contains(sfIgnoreInvalidCommonName))
        Result += SECURITY_FLAG_IGNORE_CERT_CN_INVALID;
    if (AFlags.Contains(sfIgnoreRevocation))
        Result += SECURITY_FLAG_IGNORE_REVOCATION;
    return Result;
}

} // namespace

namespace Zn
{

void WinINetRequest::Check(std::uint32_t ACode) const
{
    HttpCheckError("HttpSendRequest", ACode, "URL: " + ShownURL(URLData().URL));
}

std::shared_ptr<IZnHTTPResponse> WinINetRequest::Exchange()
{
    OpenHandle();
    ApplyTimeOuts(INTERNET_OPTION_SEND_TIMEOUT, INTERNET_OPTION_RECEIVE_TIMEOUT);
    FLastError = NO_ERROR;
    FBodyLoaded = false;
    FRetry = true;
    for (int Passes = 0; FRetry; ++Passes) {
        if (Passes == cWinINetMaxPasses)
            Check(ERROR_WINHTTP_RESEND_REQUEST);
        Pass();
    }
    return TakeResponse();
}

void WinINetRequest::Pass()
{
    FRetry = false;
    AddFields();
    AddStoredCookies();
    ApplySecurityFlags();
    Authorize();
    Client().DoOnRequest(shared_from_this());
    LoadBody();
    if (const std::uint32_t Code = Send())
        AnswerFailure(Code);
    if (FRetry)
        return; // there is no status to read
    ReadStatus();
    AskAboutLogon();
}

void WinINetRequest::AddFields()
{
    if (FRequestHeaders.Count() > 0)
        HttpAddRequestHeaders(Handle(), FRequestHeaders.GetText(), {mfAdd, mfReplace});
    AddCustomHeaders();
}

/// The flags may have grown in the pass before.
void WinINetRequest::ApplySecurityFlags()
{
    if (const std::uint32_t Flags = PlatformFlags(FSecurityFlags))
        SetOption(INTERNET_OPTION_SECURITY_FLAGS, Flags);
}

/// What goes out unasked. The engine answers challenges with what the connection has.
void WinINetRequest::Authorize()
{
    const TZnHTTPAuthentication Authentication = Client().GetAuthentication();
    if (Authentication == authBasic) {
        const TZnCredentials& Known = Client().GetCredentials();
        if (!Known.GetUserName().empty() && !Known.GetPassword().empty())
            AddHeader("Authorization", "Basic " + TZnNetEncoding::GetBase64ExEncoding().Encode(
                                                      Known.GetUserName() + ":" + Known.GetPassword()));
        return;
    }
    if (Authentication != authOAuth2)
        return;
    const TZnOAuthAccessToken Token = Client().GetOAuth().GetAccessToken();
    if (!Token.GetExpired())
        AddHeader("Authorization", "Bearer " + Token.GetToken());
}

/// A further pass sends the same bytes.
void WinINetRequest::LoadBody()
{
    if (!FBodyLoaded)
        FBodyData.Load(FBinding, Handle());
    FBodyLoaded = true;
}

std::uint32_t WinINetRequest::Send()
{
    const auto SendRequest = *WinINet.SendRequest;
    const bool Sent =
        SendRequest(Handle(), nullptr, 0, FBodyData.Data(), static_cast<std::uint32_t>(FBodyData.Size()));
    return Sent ? NO_ERROR : GetLastError();
}

/// Returns when the request was sent after all, or is to be tried again.
void WinINetRequest::AnswerFailure(std::uint32_t ACode)
{
    Client().DoOnRequestError(shared_from_this(), ACode);
    FBodyData.RaiseReadError();
    if (ACode == ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED) {
        AnswerCertificateDemand();
        return;
    }
    if (IsForTheUser(ACode))
        AskAboutFailure(ACode);
    if (!FRetry)
        Check(ACode);
}

void WinINetRequest::AnswerCertificateDemand()
{
    if (!Client().GetOnGetClientCertificate())
        Check(ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED);
    OfferClientCertificate(INTERNET_OPTION_CLIENT_CERT_CONTEXT);
    const std::uint32_t Code = Send();
    FBodyData.RaiseReadError();
    Check(Code);
}

} // namespace Zn
