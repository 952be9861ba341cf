// Who is asked about a failed send or a refused logon, and what the answer changes.

#include <optional>

#include "common/Exceptions.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPTransport/ShownURL.h"
#include "uZnWinINet/Request.h"

namespace
{

/// What forgives a fault.
std::optional<TZnHTTPSecurityFlag> FlagFor(std::uint32_t ACode)
{
    switch (ACode) {
    case ERROR_WINHTTP_SECURE_INVALID_CA:
        return sfIgnoreUnknownCA;
    case ERROR_WINHTTP_SECURE_CERT_CN_INVALID:
        return sfIgnoreInvalidCommonName;
    case INTERNET_SEC_CERT_ERRORS:
    case ERROR_WINHTTP_SECURE_CERT_REV_FAILED:
    case ERROR_WINHTTP_SECURE_CERT_REVOKED:
        return sfIgnoreRevocation;
    case ERROR_WINHTTP_SECURE_CERT_DATE_INVALID:
        return sfIgnoreInvalidCertDate;
    default:
        return std::nullopt;
    }
}

} // namespace

namespace Zn
{

/// Sets FRetry, or raises, or leaves the failure as it is.
void WinINetRequest::AskAboutFailure(std::uint32_t ACode)
{
    HWND Parent = FErrorDlgParent;
    bool Allow = true;
    OwnClient().DoOnError(this, ACode, Parent, Allow);
    if (Parent == nullptr)
        return;
    const auto Flag = FlagFor(ACode);
    if (Flag && FSecurityFlags.Contains(*Flag)) {
        // The same fault once more is not what the flag forgives.
        FRetry = ACode != FLastError;
        FLastError = ACode;
        return;
    }
    if (Ask(Parent, ACode, Allow) == NO_ERROR)
        Forgive(ACode, Allow);
}

void WinINetRequest::Forgive(std::uint32_t ACode, bool AAllowContinue)
{
    const auto Flag = FlagFor(ACode);
    if (!Flag)
        return;
    FSecurityFlags.Include(*Flag);
    FRetry = AAllowContinue;
}

/// An acceptance means nothing here: only an answer with new credentials leads to another attempt.
void WinINetRequest::AskAboutLogon()
{
    if (FStatus.StatusCode != cUnauthorized && FStatus.StatusCode != cProxyAuthenticationRequired)
        return;
    HWND Parent = FErrorDlgParent;
    bool Allow = true;
    OwnClient().DoOnError(this, ERROR_WINHTTP_LOGIN_FAILURE, Parent, Allow);
    if (Parent != nullptr)
        Ask(Parent, ERROR_WINHTTP_LOGIN_FAILURE, Allow);
}

std::uint32_t WinINetRequest::Ask(HWND AParent, std::uint32_t ACode, bool AAllowContinue)
{
    const std::uint32_t Flags =
        FLAGS_ERROR_UI_FILTER_FOR_ERRORS | (AAllowContinue ? FLAGS_ERROR_UI_FLAGS_CHANGE_OPTIONS : 0);
    const std::uint32_t Result = AskUser(AParent, Handle(), ACode, Flags);
    switch (Result) {
    case NO_ERROR:
        break;
    case ERROR_INVALID_HANDLE:
        RaiseIfClosed(); // the request's handle, by another thread
        throw EZnWinINetInvalidArgument("The provided WindowHandle is invalid!");
    case ERROR_CANCELLED:
        throw EAbort("Cancelled");
    case ERROR_WINHTTP_RESEND_REQUEST:
        FRetry = true;
        break;
    default:
        HttpCheckError("InternetErrorDlg", Result, "URL: " + ShownURL(URLData().URL));
    }
    return Result;
}

} // namespace Zn
