#pragma once

/// What the two function sets on the client engine have in common: handles, values of arguments, and this
/// library's own options.

#include <cstddef>
#include <cstdint>

/// A session, connection or request. A number from the table of platform/sync: one that was closed is
/// refused with 6. nullptr is none.
using HINTERNET = void*;

using INTERNET_PORT = std::uint16_t;

// Opening a session: access types.
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_DEFAULT_PROXY = 0;   // from the environment
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_NO_PROXY = 1;        // direct
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_NAMED_PROXY = 3;     // the proxy given
inline constexpr std::uint32_t WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY = 4; // from the environment

// Adding headers: what becomes of a header that is there already. ADD alone adds a further line,
// ADD with REPLACE adds what is missing, REPLACE with an empty value removes. A line of "Cookie" goes out in
// one field with the engine's own cookies.
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_ADD_IF_NEW = 0x10000000; // 183 when there is one
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_ADD = 0x20000000;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA = 0x40000000;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_COALESCE = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON = 0x01000000;
inline constexpr std::uint32_t WINHTTP_ADDREQ_FLAG_REPLACE = 0x80000000;

// Asking about a head: levels. A level goes with at most one of the two modifiers.
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

// Security flags: each forgives one fault of the server's certificate.
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_UNKNOWN_CA = 0x00000100;
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE = 0x00000200;
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_CERT_CN_INVALID = 0x00001000;
inline constexpr std::uint32_t SECURITY_FLAG_IGNORE_CERT_DATE_INVALID = 0x00002000;

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
