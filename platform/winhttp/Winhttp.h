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

/// A session, connection or request. A number from the table of platform/sync: one that was closed is
/// refused with 6. nullptr is none.
using HINTERNET = void*;

using INTERNET_PORT = std::uint16_t;

// WinHttpOpen: access types and flags.
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_DEFAULT_PROXY = 0;   // from the environment
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_NO_PROXY = 1;        // direct
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_NAMED_PROXY = 3;     // the proxy given
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY = 4; // from the environment
inline constexpr std::uint32_t WINHTTP_FLAG_ASYNC = 0x10000000;         // not offered: 50

// WinHttpOpenRequest: flags.
inline constexpr std::uint32_t WINHTTP_FLAG_SECURE = 0x00800000;         // https
inline constexpr std::uint32_t WINHTTP_FLAG_ESCAPE_PERCENT = 0x00000004; // "%" goes as "%25"
inline constexpr std::uint32_t WINHTTP_FLAG_NULL_CODEPAGE = 0x00000008;  // no effect: escapes are of UTF-8
inline constexpr std::uint32_t WINHTTP_FLAG_ESCAPE_DISABLE = 0x00000040; // path and query as given
inline constexpr std::uint32_t WINHTTP_FLAG_ESCAPE_DISABLE_QUERY = 0x00000080; // query as given
inline constexpr std::uint32_t WINHTTP_FLAG_BYPASS_PROXY_CACHE = 0x00000100;   // adds "Pragma: no-cache"
inline constexpr std::uint32_t WINHTTP_FLAG_REFRESH = WINHTTP_FLAG_BYPASS_PROXY_CACHE;

// WinHttpAddRequestHeaders: what becomes of a header that is there already. ADD alone adds a further line,
// ADD with REPLACE adds what is missing, REPLACE with an empty value removes. A line of "Cookie" goes out in
// one field with the engine's own cookies.
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_ADD_IF_NEW = 0x10000000; // 183 when there is one
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_ADD = 0x20000000;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA = 0x40000000;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_COALESCE = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON = 0x01000000;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_REPLACE = 0x80000000;

// Credentials.
inline constexpr std::uint32_t WINHTTP_AUTH_TARGET_SERVER = 0;
inline constexpr std::uint32_t WINHTTP_AUTH_TARGET_PROXY = 1;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_BASIC = 1;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_NTLM = 2;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_PASSPORT = 4; // kept, and never used
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_DIGEST = 8;
inline constexpr std::uint32_t WINHTTP_AUTH_SCHEME_NEGOTIATE = 16;

// WinHttpQueryHeaders: levels. A level goes with at most one of the two modifiers.
inline constexpr std::uint32_t WINHTTP_QUERY_CONTENT_LENGTH = 5;
inline constexpr std::uint32_t WINHTTP_QUERY_VERSION = 18;               // "HTTP/1.1"
inline constexpr std::uint32_t WINHTTP_QUERY_STATUS_CODE = 19;           // "200"
inline constexpr std::uint32_t WINHTTP_QUERY_STATUS_TEXT = 20;           // "OK"; may be empty
inline constexpr std::uint32_t WINHTTP_QUERY_RAW_HEADERS = 21;           // a zero in the place of each CR LF
inline constexpr std::uint32_t WINHTTP_QUERY_RAW_HEADERS_CRLF = 22;      // status line first, empty line last
inline constexpr std::uint32_t WINHTTP_QUERY_CUSTOM = 65535;             // by name; AIndex counts occurrences
inline constexpr std::uint32_t WINHTTP_QUERY_FLAG_NUMBER = 0x20000000;   // a std::uint32_t, not text
inline constexpr std::uint32_t WINHTTP_QUERY_FLAG_NUMBER64 = 0x08000000; // a std::uint64_t, not text
inline constexpr std::uint32_t WINHTTP_QUERY_FLAG_REQUEST_HEADERS = 0x80000000;
inline constexpr std::uint32_t WINHTTP_NO_HEADER_INDEX = 0xFFFFFFFF;

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

// WINHTTP_OPTION_SECURITY_FLAGS: each forgives one fault of the server's certificate.
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_UNKNOWN_CA = 0x00000100;
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE = 0x00000200;
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_CERT_CN_INVALID = 0x00001000;
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_CERT_DATE_INVALID = 0x00002000;

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

// --- Extensions of this library: options from 0x5A4E0000 on --------------------------------------

inline constexpr std::uint32_t ZN_OPTION_BODY_SOURCE = 0x5A4E0001; // R; TZnHttpBodySource; nullptr, 0: none
inline constexpr std::uint32_t ZN_OPTION_CLIENT_CERT_PASSWORD = 0x5A4E0002; // R; UTF-16 text, of ASize bytes,
                                                                            // before option 47
inline constexpr std::uint32_t ZN_OPTION_CA_FILE = 0x5A4E0003; // S; UTF-16 text, of ASize bytes: PEM file of
                                                               // the authorities, in the place of the
                                                               // system's. Else SSL_CERT_FILE,
                                                               // CURL_CA_BUNDLE, the system's
inline constexpr std::uint32_t ZN_OPTION_LIMITS = 0x5A4E0004;  // S R; TZnHttpClientLimits; 87 out of range

/// Where the body of the next sends comes from, when it is longer than one wants in memory. Set on a request
/// handle before WinHttpSendRequest, which then takes no body of its own (AOptional nullptr). It is called on
/// the thread that sends, and has to stand until the request handle is closed.
struct TZnHttpBodySource
{
    void* Context;             // handed to both functions
    std::uint64_t TotalLength; // bytes; ZN_BODY_LENGTH_UNKNOWN: chunked (HTTP/1.1)
    /// Writes at most ASize bytes and gives their count; 0 at the end; -1 when it can't: the send ends
    /// with 30. Fewer than TotalLength in all: the send ends with 30, too; more are not asked for.
    std::int64_t (*Read)(void* AContext, void* ABuffer, std::size_t ASize);
    /// Back to the first byte: for the second send, a redirect, an answered challenge, a kept connection that
    /// had died. false (or no function, nullptr) ends the send with 30, too.
    bool (*Rewind)(void* AContext);
};
inline constexpr std::uint64_t ZN_BODY_LENGTH_UNKNOWN = ~std::uint64_t{0};

/// What a response may cost.
struct TZnHttpClientLimits
{
    std::uint32_t HeaderBytes = 131072; // of one head; more: 12182. 1 to 262,144
    std::uint32_t HeaderLines = 1000;   // of one head; more: 12181. 1 to 65,536
    std::uint32_t DrainBytes =
        65536; // of a body that nobody reads (redirect, challenge), to keep the connection
    std::uint32_t IdleConnections =
        8; // that a connection handle keeps for later requests. 1 to 1,024. S only
};

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
