#pragma once

/// The HTTP client engine under its first name: functions, options and records.
///
/// An application (through the client unit) opens a session, connects it to a host, opens requests on the
/// connection, sends them and takes the response: head first, then the body in pieces as it asks for them, on
/// its own thread. Keep-alive follows the connection handle. Nothing is decoded but the transfer coding, and
/// no header is added that the caller did not ask for but Host, Content-Length, cookies and what answers a
/// challenge.
///
/// Results:   false, nullptr: the number is in GetLastError() of platform/errors. No function throws.
/// Threads:   every function may be called from any thread. Calls on one request handle run one after
///            the other; requests of one connection or session run side by side. WinHttpCloseHandle alone
///            never waits: a call that another thread makes on the handle, or on a request below it, ends
///            with 12017.
/// Ownership: texts and buffers are the caller's and are copied where they have to last, but for the body
///            given to WinHttpSendRequest, which has to stand until the call returns.
/// Texts:     UTF-16 with a zero behind them; lengths in characters where they are called Length, in bytes
///            where they are called Size.

#include <cstddef>
#include <cstdint>

#include "platform/winhttp/Values.h"

// WinHttpOpen: access types stand in Values.h.
inline constexpr std::uint32_t WINHTTP_FLAG_ASYNC = 0x10000000; // not offered: 50

// WinHttpOpenRequest: flags.
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE = 0x00800000;         // https
inline constexpr std::uint32_t WINHTTP_FLAG_ESCAPE_PERCENT = 0x00000004; // "%" goes as "%25"
inline constexpr std::uint32_t WINHTTP_FLAG_NULL_CODEPAGE = 0x00000008;  // no effect: escapes are of UTF-8
inline constexpr std::uint32_t WINHTTP_FLAG_ESCAPE_DISABLE = 0x00000040; // path and query as given
inline constexpr std::uint32_t WINHTTP_FLAG_ESCAPE_DISABLE_QUERY = 0x00000080; // query as given
inline constexpr std::uint32_t WINHTTP_FLAG_BYPASS_PROXY_CACHE = 0x00000100;   // adds "Pragma: no-cache"
inline constexpr std::uint32_t WINHTTP_FLAG_REFRESH = WINHTTP_FLAG_BYPASS_PROXY_CACHE;

// Credentials.
inline constexpr std::uint32_t WINHTTP_AUTH_TARGET_SERVER = 0;
inline constexpr std::uint32_t WINHTTP_AUTH_TARGET_PROXY = 1;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_BASIC = 1;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_NTLM = 2;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_PASSPORT = 4; // kept, and never used
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_DIGEST = 8;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_NEGOTIATE = 16;

// Options: number, handle it is set on (S session, C connection, R request; a request takes what its
// session has when it is opened), type of the value.
inline constexpr std::uint32_t WINHTTP_OPTION_RESOLVE_TIMEOUT = 2; // S R; std::uint32_t; no effect: see 3
inline constexpr std::uint32_t WINHTTP_OPTION_CONNECT_TIMEOUT = 3; // S C R; std::uint32_t, ms; 0 and -1 wait
                                                                   // for ever. Name, TCP, proxy and TLS
                                                                   // together. Default 60,000
inline constexpr std::uint32_t WINHTTP_OPTION_SEND_TIMEOUT = 5;    // S R; ms between two pieces sent; 30,000
inline constexpr std::uint32_t WINHTTP_OPTION_RECEIVE_TIMEOUT =
    6; // S R; ms between two pieces received; 30,000
inline constexpr std::uint32_t WINHTTP_OPTION_SECURITY_FLAGS = 31; // R; std::uint32_t, SECURITY_FLAG_*
inline constexpr std::uint32_t WINHTTP_OPTION_URL = 34; // R, query: the URL in use, after redirects
inline constexpr std::uint32_t WINHTTP_OPTION_CLIENT_CERT_CONTEXT =
    47;                                                              // R; the bytes of a certificate with its
                                                                     // key, PEM (with chain) or PKCS#12;
                                                                     // copied. nullptr, 0: none. 13 where
                                                                     // they are no such thing, 86 where the
                                                                     // password is wrong, 12185 without key
inline constexpr std::uint32_t WINHTTP_OPTION_DISABLE_FEATURE = 63;  // R; std::uint32_t, WINHTTP_DISABLE_*
inline constexpr std::uint32_t WINHTTP_OPTION_AUTOLOGON_POLICY = 77; // R; std::uint32_t 0 to 2: kept. The
                                                                     // engine never logs on as the
                                                                     // process's user unasked
inline constexpr std::uint32_t WINHTTP_OPTION_ENABLE_FEATURE = 79;   // R; std::uint32_t, WINHTTP_ENABLE_*
inline constexpr std::uint32_t WINHTTP_OPTION_SECURE_PROTOCOLS = 84; // S; std::uint32_t, sum of
                                                                     // WINHTTP_FLAG_SECURE_PROTOCOL_*
inline constexpr std::uint32_t WINHTTP_OPTION_REDIRECT_POLICY = 88;  // S R; std::uint32_t
inline constexpr std::uint32_t WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS = 89; // S R; std::uint32_t; 10

// WINHTTP_OPTION_DISABLE_FEATURE and ..._ENABLE_FEATURE.
inline constexpr std::uint32_t WINHTTP_DISABLE_COOKIES = 1;   // the engine neither keeps nor sends cookies
inline constexpr std::uint32_t WINHTTP_DISABLE_REDIRECTS = 2; // as policy NEVER
inline constexpr std::uint32_t WINHTTP_DISABLE_AUTHENTICATION = 4; // credentials are not used
inline constexpr std::uint32_t WINHTTP_DISABLE_KEEP_ALIVE = 8;     // the connection is used once
inline constexpr std::uint32_t WINHTTP_ENABLE_SSL_REVOCATION = 1;  // a stapled answer that the certificate is
                                                                   // revoked counts (12170)

// WINHTTP_OPTION_SECURE_PROTOCOLS. TLS 1.2 and 1.3 are offered; the others may be named and have no effect.
// A sum without one that is offered is refused with 50. Default: both.
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE_PROTOCOL_SSL2 = 8;
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE_PROTOCOL_SSL3 = 32;
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE_PROTOCOL_TLS1 = 128;
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_1 = 512;
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 = 2048;
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3 = 8192;

// WINHTTP_OPTION_REDIRECT_POLICY. Where a redirect isn't followed, it is the response.
inline constexpr std::uint32_t WINHTTP_OPTION_REDIRECT_POLICY_NEVER = 0;
inline constexpr std::uint32_t WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP = 1; // default
inline constexpr std::uint32_t WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS = 2;

// --- Operations ----------------------------------------------------------------------------------

/// A session: settings, cookies and names looked up are shared by what is opened from it. AUserAgent goes out
/// as User-Agent with each request that has no such header; nullptr or "": none. AProxyName: "host:port",
/// "http://host:port", "http=host:port https=host:port"; AProxyBypass: names with "*", addresses and
/// "<local>" (names without a dot); both lists with blanks or ";" between the entries. 87 for what can't be.
HINTERNET WinHttpOpen(const char16_t* AUserAgent, std::uint32_t AAccessType, const char16_t* AProxyName,
                      const char16_t* AProxyBypass, std::uint32_t AFlags);
/// Closes any of the three kinds. What is below a closed handle goes on to have its numbers, and every call
/// on it ends with 12017; they have to be closed, too.
bool WinHttpCloseHandle(HINTERNET AHandle);
/// A host to send requests to. Nothing goes out yet. APort 0: 80, or 443 for a secure request. 12005 for a
/// name that no host can have.
HINTERNET WinHttpConnect(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                         std::uint32_t AReserved);
/// A request. AVerb nullptr: GET; AObjectName nullptr: "/"; AVersion nullptr: "HTTP/1.1" (else "HTTP/1.0");
/// AAcceptTypes: a list with nullptr at its end, or nullptr. 87 for what doesn't fit a request line or field.
HINTERNET WinHttpOpenRequest(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObjectName,
                             const char16_t* AVersion, const char16_t* AReferrer,
                             const char16_t* const* AAcceptTypes, std::uint32_t AFlags);
/// One or more header lines with CR LF between them. ALength -1: up to the zero. 87, and no change, for a
/// line that is none; 12150 for a REPLACE without ADD that finds nothing.
bool WinHttpAddRequestHeaders(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t ALength,
                              std::uint32_t AModifiers);
/// For this request handle. Basic goes out with the next send; the others answer a challenge. Nothing of it
/// goes to another host or port.
bool WinHttpSetCredentials(HINTERNET ARequest, std::uint32_t ATarget, std::uint32_t AScheme,
                           const char16_t* AUserName, const char16_t* APassword, void* AReserved);
/// After a 401 or 407: what the server (or proxy) offers, and the best of it. 4317 without a challenge.
bool WinHttpQueryAuthSchemes(HINTERNET ARequest, std::uint32_t* ASupported, std::uint32_t* AFirst,
                             std::uint32_t* ATarget);
/// Sends the request with its whole body and waits until the head of the response is in. ATotalLength has
/// to be AOptionalLength (87). May be called again once a response is there: what is left of that response
/// is thrown away.
bool WinHttpSendRequest(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t AHeadersLength,
                        const void* AOptional, std::uint64_t AOptionalLength, std::uint64_t ATotalLength,
                        std::uintptr_t AContext);
/// Gives the response free to be read. 12019 before a send.
bool WinHttpReceiveResponse(HINTERNET ARequest, void* AReserved);
/// One part of the head. ASize is the size of ABuffer, and afterwards that of the text without its zero. 122
/// when ABuffer (nullptr is taken as size 0) is too small: ASize then is the size needed, with the zero.
/// 12150 when there is no such header (or no further one: AIndex). AIndex is raised by one on success.
bool WinHttpQueryHeaders(HINTERNET ARequest, std::uint32_t AInfoLevel, const char16_t* AName, void* ABuffer,
                         std::uint32_t* ASize, std::uint32_t* AIndex);
/// Waits for bytes of the body and gives the count that can be read at once; 0 at its end.
bool WinHttpQueryDataAvailable(HINTERNET ARequest, std::uint32_t* AAvailable);
/// Fills ABuffer, waiting as long as it takes; fewer bytes than asked for only at the body's end, and 0
/// behind it.
bool WinHttpReadData(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead);
/// 122 with the size needed; 12009 for an option that the handle doesn't have.
bool WinHttpQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t* ASize);
bool WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize);

// --- Records that go with the functions; nothing here uses them ------------------------------------

struct WINHTTP_ASYNC_RESULT
{
    std::uintptr_t dwResult;
    std::uint32_t dwError;
};

struct URL_COMPONENTS
{
    std::uint32_t dwStructSize;
    char16_t* lpszScheme;
    std::uint32_t dwSchemeLength;
    std::int32_t nScheme; // 1 http, 2 https
    char16_t* lpszHostName;
    std::uint32_t dwHostNameLength;
    INTERNET_PORT nPort;
    char16_t* lpszUserName;
    std::uint32_t dwUserNameLength;
    char16_t* lpszPassword;
    std::uint32_t dwPasswordLength;
    char16_t* lpszUrlPath;
    std::uint32_t dwUrlPathLength;
    char16_t* lpszExtraInfo;
    std::uint32_t dwExtraInfoLength;
};
