#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "common/DateTime.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPH.h"

class IZnBodyContent;

/// See TZnHTTPServerRequest::GetBody.
using TZnHTTPRequestGetBody = std::function<bool(std::shared_ptr<IZnBodyContent>& Body)>;
/// See TZnHTTPServerRequest::GetKnownHeaderValue.
using TZnHTTPRequestGetKnownHeaderValue = std::function<std::string(THTTP_HEADER_ID AHeader)>;
/// See TZnHTTPServerRequest::GetUnknownHeaderValue.
using TZnHTTPRequestGetUnknownHeaderValue = std::function<std::string(const std::string& AHeader)>;
/// See TZnHTTPServerRequest::GetUnknownHeaderValueEx.
using TZnHTTPRequestGetUnknownHeaderValueEx =
    std::function<std::string(std::uint16_t AHeaderIdx, std::string& AHeader)>;
/// See TZnHTTPServerRequest::GetCookie.
using TZnHTTPRequestGetCookie = std::function<bool(const TZnURLData& AUrlData, const std::string& ACookieName,
                                                   std::string& ACookieValue)>;
/// See TZnHTTPServerRequest::WaitForEvents.
using TZnHTTPRequestWaitForEvents =
    std::function<std::uint32_t(std::int32_t TimeOut, std::span<const THandle> Handles)>;

/// Failed authentications of one address and user.
struct TZnHTTPAuthAttempt
{
    /// How many, within the last 5 to 10 minutes.
    std::int32_t Cnt = 0;
    std::uint32_t LastAttempt = 0; // TThread::GetTickCount of the last one
};
/// Borrowed.
using PZnHTTPAuthAttempt = TZnHTTPAuthAttempt*;

/// What a client asked for, as OnResponse gets it. Lives until the handler returns; keep no
/// pointer to it. The callbacks read the rest of the request when it is asked for; they are for
/// the handler's own thread.
struct TZnHTTPServerRequest
{
    PHTTP_REQUEST HTTP_REQUEST = nullptr; // the service's record, in the worker's buffer
    /// The method, as far as it is one that the service knows.
    THTTP_VERB HttpVerb = HttpVerbUnparsed;
    /// What was asked for. Percent escapes stay (ZnURLDecode undoes them); dot segments are resolved.
    TZnURLData UrlData;
    bool Secure = false;  // the scheme is https
    std::string RemoteIp; // the client's address without its port

    /// Gives the body (null without one) and tells whether it has any bytes. Read from the client
    /// at the first call. Raises EZnHTTPConnection, EAbort, EZnHTTPException (413 over MaxBodySize).
    TZnHTTPRequestGetBody GetBody;
    /// The value as it came; empty when the client didn't send it.
    TZnHTTPRequestGetKnownHeaderValue GetKnownHeaderValue;
    /// A header without a number, by name without regard to case; a pair of quotes is taken off.
    TZnHTTPRequestGetUnknownHeaderValue GetUnknownHeaderValue;
    /// The same by index, 0 first; two empty texts behind the last one.
    TZnHTTPRequestGetUnknownHeaderValueEx GetUnknownHeaderValueEx;
    /// The value of a cookie; false, and nothing changed, when the client didn't send it.
    TZnHTTPRequestGetCookie GetCookie;
    /// Waits for one of Handles: its index, then (Handles.size()) the stop of the server, then the
    /// client's disconnect; WAIT_TIMEOUT after TimeOut milliseconds (-1: none); 0xFFFFFFFF when the
    /// client is gone already.
    TZnHTTPRequestWaitForEvents WaitForEvents;

    // Who asks. An anonymous caller keeps these values.
    /// How the caller logged on: authBasic, authDigest, or authOther for a session.
    TZnHTTPAuthentication AuthenticationType = authNone;
    /// The user's name.
    std::string LogonName;
    /// What OnGetStoredPassword, or the provider, said of the user.
    std::string RoleName = "Anonymous";
    /// When the password expires; 0: unknown.
    TDateTime PasswordExp = 0;
    std::string AuthTokenName = "X-Auth-Token"; // "-" and the port follow on ports other than 80 and 443
    /// The session's id; a secret. Empty without one.
    std::string AuthTokenId;
    /// The session's end, local time.
    TDateTime AuthTokenExp = 0;
    /// Failures of this address and user; filled for OnGetStoredPassword.
    TZnHTTPAuthAttempt AuthAttempt;
};
/// Borrowed until the handler returns.
using PZnHTTPServerRequest = TZnHTTPServerRequest*;
