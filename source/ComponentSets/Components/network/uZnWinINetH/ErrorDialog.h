#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/Api.h"
#include "platform/wininet/Wininet.h"

/// A server's certificate, as a user is shown it. Texts are UTF-8, without control characters.
struct TZnServerCertificate
{
    std::string Subject; // RFC 4514
    /// Who vouches for it.
    std::string Issuer;
    /// The beginning of its time.
    std::chrono::sys_seconds NotBefore;
    /// The end of its time.
    std::chrono::sys_seconds NotAfter;
    std::string Fingerprint; // SHA-256: "AB:CD:..."
};

/// What the user is asked when a request has failed, or was answered by 401 or 407.
struct TZnInternetError
{
    /// The parent of the dialog.
    HWND Parent;
    std::uint32_t ErrorCode; // 12015 for a 401 or 407
    bool AllowContinue;      // false: an acceptance doesn't lead to another attempt
    /// What was asked for.
    std::string URL;
    std::optional<TZnServerCertificate> Certificate; // where one was seen
    // The answer to 12015, with iaRetry. Up to 255 bytes each.
    /// The name to try.
    std::string UserName;
    /// The password to try; a secret.
    std::string Password;
};

/// What the user decided.
enum TZnInternetErrorAnswer : std::uint8_t {
    iaAccept,       // the fault is forgiven for this request
    iaRetry,        // try again as it is
    iaCancel,       // the request ends in EAbort
    iaInvalidWindow // there is no such parent: the request ends in EZnWinINetInvalidArgument
};

/// Runs on the thread that sends, several at once. What it raises, the request raises.
using TZnOnInternetError = std::function<TZnInternetErrorAnswer(TZnInternetError& AError)>;

/// Who asks the user, in the whole process, for clients that have a parent (EnableErrorDialog, OnError).
/// Empty, as at first: nobody; each question is then answered by iaCancel. Returns when the one before is no
/// longer running. Any thread, but not from a dialog.
ZN_API void ZnSetInternetErrorDialog(TZnOnInternetError ADialog);

namespace Zn
{

/// The library's InternetErrorDlg; its result. Raises what the dialog raises.
std::uint32_t AskUser(HWND AParent, HINTERNET ARequest, std::uint32_t AError, std::uint32_t AFlags);

} // namespace Zn
