#pragma once

/// The HTTP client engine under its second name: functions, options and records.
///
/// It differs from the first (platform/winhttp) in three things. Name and password belong to a connection,
/// and the engine answers challenges with them by itself; nothing of them goes out unasked. What is wrong
/// with a server's certificate can be put to the user, by a dialog that the application registers. And the
/// number of a fault without one of its own is 12055, where the first set has 12175. There is no cache of
/// responses.
///
/// Results, threads, ownership, texts: as in platform/winhttp/Winhttp.h.

#include <cstddef>
#include <cstdint>

#include "platform/winhttp/Values.h"

/// The window that asks; any value but nullptr means that somebody is there to be asked. What it is, is
/// between the application and the dialog that it registers.
using HWND = void*;

// InternetOpenW: access types and flags.
inline constexpr std::uint32_t INTERNET_OPEN_TYPE_PRECONFIG = 0;                   // from the environment
inline constexpr std::uint32_t INTERNET_OPEN_TYPE_DIRECT = 1;                      // direct
inline constexpr std::uint32_t INTERNET_OPEN_TYPE_PROXY = 3;                       // the proxy given
inline constexpr std::uint32_t INTERNET_OPEN_TYPE_PRECONFIG_WITH_NO_AUTOPROXY = 4; // from the environment
inline constexpr std::uint32_t INTERNET_FLAG_ASYNC = 0x10000000;                   // not offered: 50

// InternetConnectW: services and flags.
inline constexpr std::uint32_t INTERNET_SERVICE_FTP = 1;    // not offered: 50
inline constexpr std::uint32_t INTERNET_SERVICE_GOPHER = 2; // not offered: 50
inline constexpr std::uint32_t INTERNET_SERVICE_HTTP = 3;
inline constexpr std::uint32_t INTERNET_FLAG_PASSIVE = 0x08000000; // of FTP

// HttpOpenRequestW: flags; 87 for any other.
inline constexpr std::uint32_t INTERNET_FLAG_PRAGMA_NOCACHE = 0x00000100; // adds "Pragma: no-cache"
inline constexpr std::uint32_t INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS =
    0x00004000; // redirects may lead to https, and not away from it; without it, anywhere
inline constexpr std::uint32_t INTERNET_FLAG_NO_AUTH = 0x00040000; // challenges aren't answered
inline constexpr std::uint32_t INTERNET_FLAG_NO_COOKIES =
    0x00080000; // the engine neither keeps nor sends any
inline constexpr std::uint32_t INTERNET_FLAG_NO_AUTO_REDIRECT = 0x00200000; // a redirect is the response
inline constexpr std::uint32_t INTERNET_FLAG_KEEP_CONNECTION = 0x00400000; // else the connection is used once
inline constexpr std::uint32_t INTERNET_FLAG_SECURE = 0x00800000;          // https
inline constexpr std::uint32_t INTERNET_FLAG_NO_CACHE_WRITE = 0x04000000;  // no effect: there is no cache

// HttpAddRequestHeadersW: as WINHTTP_ADDREQ_FLAG_*.
inline constexpr std::uint32_t HTTP_ADDREQ_FLAG_ADD_IF_NEW = WINHTTP_ADDREQ_FLAG_ADD_IF_NEW;
inline constexpr std::uint32_t HTTP_ADDREQ_FLAG_ADD = WINHTTP_ADDREQ_FLAG_ADD;
inline constexpr std::uint32_t HTTP_ADDREQ_FLAG_COALESCE = WINHTTP_ADDREQ_FLAG_COALESCE;
inline constexpr std::uint32_t HTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA;
inline constexpr std::uint32_t HTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON =
    WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON;
inline constexpr std::uint32_t HTTP_ADDREQ_FLAG_REPLACE = WINHTTP_ADDREQ_FLAG_REPLACE;

// HttpQueryInfoW: as WINHTTP_QUERY_*.
inline constexpr std::uint32_t HTTP_QUERY_CONTENT_LENGTH = WINHTTP_QUERY_CONTENT_LENGTH;
inline constexpr std::uint32_t HTTP_QUERY_VERSION = WINHTTP_QUERY_VERSION;
inline constexpr std::uint32_t HTTP_QUERY_STATUS_CODE = WINHTTP_QUERY_STATUS_CODE;
inline constexpr std::uint32_t HTTP_QUERY_STATUS_TEXT = WINHTTP_QUERY_STATUS_TEXT;
inline constexpr std::uint32_t HTTP_QUERY_RAW_HEADERS = WINHTTP_QUERY_RAW_HEADERS;
inline constexpr std::uint32_t HTTP_QUERY_RAW_HEADERS_CRLF = WINHTTP_QUERY_RAW_HEADERS_CRLF;
inline constexpr std::uint32_t HTTP_QUERY_CUSTOM = WINHTTP_QUERY_CUSTOM;
inline constexpr std::uint32_t HTTP_QUERY_FLAG_NUMBER = WINHTTP_QUERY_FLAG_NUMBER;
inline constexpr std::uint32_t HTTP_QUERY_FLAG_NUMBER64 = WINHTTP_QUERY_FLAG_NUMBER64;
inline constexpr std::uint32_t HTTP_QUERY_FLAG_REQUEST_HEADERS = WINHTTP_QUERY_FLAG_REQUEST_HEADERS;

// Options: number, handle it is set on (P process: nullptr, for sessions opened from then on; S session;
// C connection; R request; a request takes what its session has when it is opened), type of the value.
inline constexpr std::uint32_t INTERNET_OPTION_CONNECT_TIMEOUT = 2; // P S R; std::uint32_t, ms; 0 and -1 wait
                                                                    // for ever. Name, TCP, proxy and TLS
                                                                    // together. Default 60,000
inline constexpr std::uint32_t INTERNET_OPTION_SEND_TIMEOUT = 5;    // P S R; ms between two pieces; 30,000
inline constexpr std::uint32_t INTERNET_OPTION_RECEIVE_TIMEOUT = 6; // P S R; ms between two pieces; 30,000
inline constexpr std::uint32_t INTERNET_OPTION_SECURITY_FLAGS = 31; // R; std::uint32_t, SECURITY_FLAG_*
inline constexpr std::uint32_t INTERNET_OPTION_URL = 34;            // R, query: the URL in use
inline constexpr std::uint32_t INTERNET_OPTION_PROXY_USERNAME =
    43; // C; UTF-16 text, its length in characters
inline constexpr std::uint32_t INTERNET_OPTION_PROXY_PASSWORD =
    44; // C; UTF-16 text, its length in characters
inline constexpr std::uint32_t INTERNET_OPTION_CLIENT_CERT_CONTEXT = 84; // R; as
                                                                         // WINHTTP_OPTION_CLIENT_CERT_CONTEXT

// INTERNET_OPTION_SECURITY_FLAGS, beside those of Values.h. Unless it is set, a stapled answer that the
// certificate is revoked counts (12170).
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_REVOCATION = 0x00000080;

// A number beside those of platform/errors: the certificate is wrong otherwise.
inline constexpr std::uint32_t INTERNET_SEC_CERT_ERRORS = 12055;

// InternetErrorDlg: flags. They reach the dialog; the request's options change by INTERNET_OPTION_* alone.
inline constexpr std::uint32_t FLAGS_ERROR_UI_FILTER_FOR_ERRORS = 1;
inline constexpr std::uint32_t FLAGS_ERROR_UI_FLAGS_CHANGE_OPTIONS = 2; // to go on is offered

// --- Extension of this library: who asks the user --------------------------------------------------

/// What the user is asked. Everything but the answer stands until the dialog returns. Texts are UTF-8,
/// without control characters.
struct TZnInternetErrorQuestion
{
    HWND Parent;
    std::uint32_t Error; // of the send; 12015: the response is a 401 or 407
    std::uint32_t Flags; // FLAGS_ERROR_UI_*
    const char* Url;
    // The server's certificate; nullptr where none was seen.
    const char* Subject; // RFC 4514
    const char* Issuer;
    const std::uint8_t* Fingerprint; // 32 bytes, SHA-256
    std::int64_t NotBefore;          // seconds since 1970, UTC
    std::int64_t NotAfter;
    // The answer to 12015, with ERROR_WINHTTP_RESEND_REQUEST: what challenges are answered with from now on.
    // UTF-8 with a zero behind it; "" for none. The function set wipes them.
    char UserName[256];
    char Password[256];
};

/// 0: go on, forgiving the fault; 12032: send again; 1223: no; 6: there is no such window. On the thread that
/// sends, several at once.
using TZnInternetErrorDialog = std::uint32_t (*)(void* AContext, TZnInternetErrorQuestion& AQuestion);

/// Who asks the user from now on, in the whole process; nullptr: nobody, so that every question is answered
/// by 1223. Returns when the one before is no longer running, and so isn't called from a dialog.
void ZnInternetSetErrorDialog(TZnInternetErrorDialog ADialog, void* AContext);

// --- Operations ----------------------------------------------------------------------------------

/// As WinHttpOpen.
HINTERNET InternetOpenW(const char16_t* AAgent, std::uint32_t AAccessType, const char16_t* AProxy,
                        const char16_t* AProxyBypass, std::uint32_t AFlags);
/// As WinHttpConnect, with name and password for the challenges of this host; nullptr for none.
HINTERNET InternetConnectW(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                           const char16_t* AUserName, const char16_t* APassword, std::uint32_t AService,
                           std::uint32_t AFlags, std::uintptr_t AContext);
/// 122 with the size needed; 12009 for an option that the handle doesn't have.
bool InternetSetOptionW(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize);
bool InternetQueryOptionW(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t* ASize);
/// As WinHttpCloseHandle.
bool InternetCloseHandle(HINTERNET AHandle);
/// As WinHttpOpenRequest, with INTERNET_FLAG_*.
HINTERNET HttpOpenRequestW(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObjectName,
                           const char16_t* AVersion, const char16_t* AReferrer,
                           const char16_t* const* AAcceptTypes, std::uint32_t AFlags,
                           std::uintptr_t AContext);
/// As WinHttpAddRequestHeaders.
bool HttpAddRequestHeadersW(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t ALength,
                            std::uint32_t AModifiers);
/// As WinHttpSendRequest and WinHttpReceiveResponse together: when it returns the head of the response is in.
bool HttpSendRequestW(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t AHeadersLength,
                      const void* AOptional, std::uint32_t AOptionalLength);
/// As WinHttpQueryHeaders; with HTTP_QUERY_CUSTOM the name stands in ABuffer, which takes the value.
bool HttpQueryInfoW(HINTERNET ARequest, std::uint32_t AInfoLevel, void* ABuffer, std::uint32_t* ASize,
                    std::uint32_t* AIndex);
/// As WinHttpQueryDataAvailable.
bool InternetQueryDataAvailable(HINTERNET ARequest, std::uint32_t* AAvailable, std::uint32_t AFlags,
                                std::uintptr_t AContext);
/// As WinHttpReadData.
bool InternetReadFile(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead);
/// Puts AError to the user by the dialog that is registered, and gives its answer: see
/// TZnInternetErrorDialog. 1223 without a dialog or without a window; 6 for a handle that is no request.
/// ADataToReturn isn't used.
std::uint32_t InternetErrorDlg(HWND AParent, HINTERNET ARequest, std::uint32_t AError, std::uint32_t AFlags,
                               void** ADataToReturn);
