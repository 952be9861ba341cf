#pragma once

/// The HTTP service: records, constants and operations.
///
/// An application (through the server unit) opens a queue, registers URL prefixes for it and
/// receives parsed requests; the body stays with the service until it is asked for, and the
/// response is sent from the caller's thread. Every function returns a number of
/// platform/errors: 0, or what went wrong; none of them throws.
///
/// Threads:   every function may be called from any thread. Functions that read the body or send
///            the response of one request are called by one thread at a time: its owner.
/// Ownership: pointers inside a received THTTP_REQUEST point into the caller's own buffer.
///            What is passed to a send function only has to live until the call returns.

#include <array>
#include <cstdint>

#include <sys/socket.h>

#include "platform/sync/Handle.h"

using HTTP_OPAQUE_ID = std::uint64_t; // 0 is no request, connection, session or group
using HTTP_REQUEST_ID = HTTP_OPAQUE_ID;
using HTTP_CONNECTION_ID = HTTP_OPAQUE_ID;
using HTTP_SERVER_SESSION_ID = HTTP_OPAQUE_ID;
using HTTP_URL_GROUP_ID = HTTP_OPAQUE_ID;
using HTTP_URL_CONTEXT = std::uint64_t;

struct THTTPAPI_VERSION
{
    std::uint16_t HttpApiMajorVersion;
    std::uint16_t HttpApiMinorVersion;
};
inline constexpr THTTPAPI_VERSION HTTPAPI_VERSION_1{1, 0};
inline constexpr THTTPAPI_VERSION HTTPAPI_VERSION_2{2, 0};

struct THTTP_VERSION
{
    std::uint16_t MajorVersion;
    std::uint16_t MinorVersion;
    bool operator==(const THTTP_VERSION&) const = default;
};
inline constexpr THTTP_VERSION HTTP_VERSION_UNKNOWN{0, 0};
inline constexpr THTTP_VERSION HTTP_VERSION_0_9{0, 9};
inline constexpr THTTP_VERSION HTTP_VERSION_1_0{1, 0};
inline constexpr THTTP_VERSION HTTP_VERSION_1_1{1, 1};

enum THTTP_VERB : std::uint32_t {
    HttpVerbUnparsed,
    HttpVerbUnknown, // a valid method without a value here (PATCH among them): see pUnknownVerb
    HttpVerbInvalid,
    HttpVerbOPTIONS,
    HttpVerbGET,
    HttpVerbHEAD,
    HttpVerbPOST,
    HttpVerbPUT,
    HttpVerbDELETE,
    HttpVerbTRACE,
    HttpVerbCONNECT,
    HttpVerbTRACK,
    HttpVerbMOVE,
    HttpVerbCOPY,
    HttpVerbPROPFIND,
    HttpVerbPROPPATCH,
    HttpVerbMKCOL,
    HttpVerbLOCK,
    HttpVerbUNLOCK,
    HttpVerbSEARCH,
    HttpVerbMaximum
};

/// Index of a header that has a place of its own. 0 to 19 are shared by requests and responses.
enum THTTP_HEADER_ID : std::uint32_t {
    HttpHeaderCacheControl = 0,
    HttpHeaderConnection = 1,
    HttpHeaderDate = 2,
    HttpHeaderKeepAlive = 3,
    HttpHeaderPragma = 4,
    HttpHeaderTrailer = 5,
    HttpHeaderTransferEncoding = 6,
    HttpHeaderUpgrade = 7,
    HttpHeaderVia = 8,
    HttpHeaderWarning = 9,
    HttpHeaderAllow = 10,
    HttpHeaderContentLength = 11,
    HttpHeaderContentType = 12,
    HttpHeaderContentEncoding = 13,
    HttpHeaderContentLanguage = 14,
    HttpHeaderContentLocation = 15,
    HttpHeaderContentMd5 = 16,
    HttpHeaderContentRange = 17,
    HttpHeaderExpires = 18,
    HttpHeaderLastModified = 19,

    HttpHeaderAccept = 20,
    HttpHeaderAcceptCharset = 21,
    HttpHeaderAcceptEncoding = 22,
    HttpHeaderAcceptLanguage = 23,
    HttpHeaderAuthorization = 24,
    HttpHeaderCookie = 25,
    HttpHeaderExpect = 26,
    HttpHeaderFrom = 27,
    HttpHeaderHost = 28,
    HttpHeaderIfMatch = 29,
    HttpHeaderIfModifiedSince = 30,
    HttpHeaderIfNoneMatch = 31,
    HttpHeaderIfRange = 32,
    HttpHeaderIfUnmodifiedSince = 33,
    HttpHeaderMaxForwards = 34,
    HttpHeaderProxyAuthorization = 35,
    HttpHeaderReferer = 36,
    HttpHeaderRange = 37,
    HttpHeaderTe = 38,
    HttpHeaderTranslate = 39,
    HttpHeaderUserAgent = 40,
    HttpHeaderRequestMaximum = 41,

    HttpHeaderAcceptRanges = 20,
    HttpHeaderAge = 21,
    HttpHeaderEtag = 22,
    HttpHeaderLocation = 23,
    HttpHeaderProxyAuthenticate = 24,
    HttpHeaderRetryAfter = 25,
    HttpHeaderServer = 26,
    HttpHeaderSetCookie = 27,
    HttpHeaderVary = 28,
    HttpHeaderWwwAuthenticate = 29,
    HttpHeaderResponseMaximum = 30
};

struct THTTP_KNOWN_HEADER
{
    std::uint16_t RawValueLength; // bytes
    const char* pRawValue;        // not terminated; nullptr when absent
};

struct THTTP_UNKNOWN_HEADER
{
    std::uint16_t NameLength;
    std::uint16_t RawValueLength;
    const char* pName;
    const char* pRawValue;
};

struct THTTP_REQUEST_HEADERS
{
    std::uint16_t UnknownHeaderCount;
    const THTTP_UNKNOWN_HEADER* pUnknownHeaders; // in the order in which the client sent them
    THTTP_KNOWN_HEADER KnownHeaders[HttpHeaderRequestMaximum];
};

struct THTTP_RESPONSE_HEADERS
{
    std::uint16_t UnknownHeaderCount;
    const THTTP_UNKNOWN_HEADER* pUnknownHeaders;
    THTTP_KNOWN_HEADER KnownHeaders[HttpHeaderResponseMaximum];
};

struct THTTP_BYTE_RANGE
{
    std::uint64_t StartingOffset;
    std::uint64_t Length; // HTTP_BYTE_RANGE_TO_EOF: to the end of the file
};
inline constexpr std::uint64_t HTTP_BYTE_RANGE_TO_EOF = ~std::uint64_t{0};

enum THTTP_DATA_CHUNK_TYPE : std::uint32_t { HttpDataChunkFromMemory = 0, HttpDataChunkFromFileHandle = 1 };

struct THTTP_DATA_CHUNK
{
    struct TFromMemory
    {
        const void* pBuffer;
        std::uint32_t BufferLength;
    };
    struct TFromFileHandle
    {
        THTTP_BYTE_RANGE ByteRange;
        THandle FileHandle; // stays the caller's
    };

    THTTP_DATA_CHUNK_TYPE DataChunkType;
    union {
        TFromMemory FromMemory;
        TFromFileHandle FromFileHandle;
    };
};

struct THTTP_COOKED_URL
{
    std::uint16_t FullUrlLength; // all lengths in bytes, not characters
    std::uint16_t HostLength;
    std::uint16_t AbsPathLength;
    std::uint16_t QueryStringLength; // with the leading "?"
    const char16_t* pFullUrl;        // scheme://host:port/path?query; the port is always there; percent
                                     // escapes stay, dot segments are resolved
    const char16_t* pHost;
    const char16_t* pAbsPath;
    const char16_t* pQueryString;
};

struct THTTP_TRANSPORT_ADDRESS
{
    const sockaddr* pRemoteAddress; // family numbers are the system's own
    const sockaddr* pLocalAddress;
};

/// The client's certificate, where the port asks for one and the client gave it.
struct THTTP_SSL_CLIENT_CERT_INFO
{
    std::uint32_t CertFlags; // 0: verified against the port's authorities; 1: not verified, so its subject
                             // proves nothing
    std::uint16_t SubjectLength;
    const char* pSubject; // RFC 2253, UTF-8
};

/// How the connection is secured.
struct THTTP_SSL_INFO
{
    std::uint16_t ProtocolLength;
    std::uint16_t CipherLength;
    const char* pProtocol;                             // "TLSv1.3"
    const char* pCipher;                               // OpenSSL's name
    const THTTP_SSL_CLIENT_CERT_INFO* pClientCertInfo; // nullptr without one
};

inline constexpr std::uint32_t HTTP_REQUEST_FLAG_MORE_ENTITY_BODY_EXISTS = 1;

/// A request as it lies at the head of the caller's receive buffer; what its pointers show stands
/// behind it in the same buffer.
struct THTTP_REQUEST
{
    std::uint32_t Flags; // HTTP_REQUEST_FLAG_*
    HTTP_CONNECTION_ID ConnectionId;
    HTTP_REQUEST_ID RequestId;
    HTTP_URL_CONTEXT UrlContext;
    THTTP_VERSION Version;
    THTTP_VERB Verb;
    std::uint16_t UnknownVerbLength;
    std::uint16_t RawUrlLength;
    const char* pUnknownVerb;
    const char* pRawUrl; // the request target as it came
    THTTP_COOKED_URL CookedUrl;
    THTTP_TRANSPORT_ADDRESS Address;
    THTTP_REQUEST_HEADERS Headers;
    std::uint64_t BytesReceived;    // length of the head on the wire
    const THTTP_SSL_INFO* pSslInfo; // nullptr over plain TCP
};
using PHTTP_REQUEST = THTTP_REQUEST*;

struct THTTP_RESPONSE
{
    std::uint32_t Flags;
    THTTP_VERSION Version; // the service answers in HTTP/1.1 whatever stands here
    std::uint16_t StatusCode;
    std::uint16_t ReasonLength;
    const char* pReason;
    THTTP_RESPONSE_HEADERS Headers;
    std::uint16_t EntityChunkCount;
    const THTTP_DATA_CHUNK* pEntityChunks;
};
using PHTTP_RESPONSE = THTTP_RESPONSE*;
using PHTTP_DATA_CHUNK = THTTP_DATA_CHUNK*;

/// A wait that ends later: hEvent is set when it does.
struct OVERLAPPED
{
    std::uintptr_t Internal;
    std::uintptr_t InternalHigh;
    std::uint32_t Offset;
    std::uint32_t OffsetHigh;
    THandle hEvent;
};

// Flags of HttpInitialize and HttpTerminate.
inline constexpr std::uint32_t HTTP_INITIALIZE_SERVER = 1;
inline constexpr std::uint32_t HTTP_INITIALIZE_CONFIG = 2;

// Flags of the send functions.
inline constexpr std::uint32_t HTTP_SEND_RESPONSE_FLAG_DISCONNECT = 1;
inline constexpr std::uint32_t HTTP_SEND_RESPONSE_FLAG_MORE_DATA = 2;

// Flags of HttpCreateRequestQueue.
inline constexpr std::uint32_t HTTP_CREATE_REQUEST_QUEUE_FLAG_OPEN_EXISTING = 1;
inline constexpr std::uint32_t HTTP_CREATE_REQUEST_QUEUE_FLAG_CONTROLLER = 2;

enum THTTP_SERVER_PROPERTY : std::uint32_t {
    HttpServerAuthenticationProperty = 0,
    HttpServerLoggingProperty = 1,
    HttpServerQosProperty = 2,
    HttpServerTimeoutsProperty = 3,
    HttpServerQueueLengthProperty = 4,  // queue; std::uint32_t, 1 to 65535, default 1000
    HttpServerStateProperty = 5,        // queue; THTTP_ENABLED_STATE
    HttpServer503VerbosityProperty = 6, // queue; THTTP_503_RESPONSE_VERBOSITY
    HttpServerBindingProperty = 7       // URL group; THTTP_BINDING_INFO
};

enum THTTP_ENABLED_STATE : std::uint32_t { HttpEnabledStateActive = 0, HttpEnabledStateInactive = 1 };

/// What a client sees when its queue is full or inactive: the connection is closed, a bare 503, or a
/// 503 with a page that says why.
enum THTTP_503_RESPONSE_VERBOSITY : std::uint32_t {
    Http503ResponseVerbosityBasic = 0,
    Http503ResponseVerbosityLimited = 1,
    Http503ResponseVerbosityFull = 2
};

struct THTTP_BINDING_INFO
{
    std::uint32_t Flags; // 1: RequestQueueHandle is present
    THandle RequestQueueHandle;
};

struct SECURITY_ATTRIBUTES
{
    std::uint32_t nLength;
    void* lpSecurityDescriptor;
    bool bInheritHandle;
};

// --- Operations ------------------------------------------------------------------------------

/// Starts a use of the service; counted, each with its own HttpTerminate. 87 for an unknown version.
std::uint32_t HttpInitialize(THTTPAPI_VERSION AVersion, std::uint32_t AFlags, void* AReserved);
std::uint32_t HttpTerminate(std::uint32_t AFlags, void* AReserved);

/// Version 1: a queue of its own, to which URLs are added directly. Closed by CloseHandle.
std::uint32_t HttpCreateHttpHandle(THandle* AReqQueueHandle, std::uint32_t AOptions);
/// AUrl: "scheme://host:port/path/", lower case, UTF-8. 183 when the prefix is taken, 87 when it is
/// none or its port speaks the other scheme, 1312 when an https port has no certificate, a socket's number
/// (10048 in use, 10013 no right, 10049 no such address) when the port can't be opened.
std::uint32_t HttpAddUrl(THandle AReqQueueHandle, const char* AUrl, void* AReserved);
std::uint32_t HttpRemoveUrl(THandle AReqQueueHandle, const char* AUrl);

/// Version 2: session -> URL group -> named queue.
std::uint32_t HttpCreateServerSession(THTTPAPI_VERSION AVersion, HTTP_SERVER_SESSION_ID* ASessionId,
                                      std::uint32_t AReserved);
std::uint32_t HttpCloseServerSession(HTTP_SERVER_SESSION_ID ASessionId);
std::uint32_t HttpSetServerSessionProperty(HTTP_SERVER_SESSION_ID ASessionId, THTTP_SERVER_PROPERTY AProperty,
                                           const void* AInformation, std::uint32_t ALength);
std::uint32_t HttpCreateUrlGroup(HTTP_SERVER_SESSION_ID ASessionId, HTTP_URL_GROUP_ID* AGroupId,
                                 std::uint32_t AReserved);
std::uint32_t HttpCloseUrlGroup(HTTP_URL_GROUP_ID AGroupId);
std::uint32_t HttpAddUrlToUrlGroup(HTTP_URL_GROUP_ID AGroupId, const char* AUrl, HTTP_URL_CONTEXT AContext,
                                   std::uint32_t AReserved);
std::uint32_t HttpRemoveUrlFromUrlGroup(HTTP_URL_GROUP_ID AGroupId, const char* AUrl, std::uint32_t AFlags);
std::uint32_t HttpSetUrlGroupProperty(HTTP_URL_GROUP_ID AGroupId, THTTP_SERVER_PROPERTY AProperty,
                                      const void* AInformation, std::uint32_t ALength);

/// Flag 2 makes the queue of that name (183 when it exists), flag 1 opens another handle on it (2 when it
/// doesn't). The name is known within the process. An empty name makes a queue that can't be opened.
std::uint32_t HttpCreateRequestQueue(THTTPAPI_VERSION AVersion, const char* AName,
                                     const SECURITY_ATTRIBUTES* ASecurity, std::uint32_t AFlags,
                                     THandle* AReqQueueHandle);
/// Closes the handle. Closing the controller's handle ends the queue: waiting receives return 995.
std::uint32_t HttpCloseRequestQueue(THandle AReqQueueHandle);
std::uint32_t HttpSetRequestQueueProperty(THandle AReqQueueHandle, THTTP_SERVER_PROPERTY AProperty,
                                          const void* AInformation, std::uint32_t ALength,
                                          std::uint32_t AReserved1, void* AReserved2);

/// Waits for the next request of the queue and writes it to ABuffer (8-byte aligned). AReqId 0 takes any. 234
/// when the request doesn't fit: it is dropped and its connection closed. 995 when the queue is closed.
/// AOverlapped has to be nullptr.
std::uint32_t HttpReceiveHttpRequest(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId, std::uint32_t AFlags,
                                     PHTTP_REQUEST ABuffer, std::uint32_t ABufferLength,
                                     std::uint32_t* ABytesReceived, OVERLAPPED* AOverlapped);
/// The next bytes of the body, at least one; fewer than asked for are usual. 38 at the end, 1229 when the
/// client is gone or sent something that is no body.
std::uint32_t HttpReceiveRequestEntityBody(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId,
                                           std::uint32_t AFlags, void* ABuffer, std::uint32_t ABufferLength,
                                           std::uint32_t* ABytesReceived, OVERLAPPED* AOverlapped);
/// Sends status line and headers, and the chunks of AResponse. With MORE_DATA the head is held back and
/// leaves with the first body call. Without Content-Length the body goes out chunked (HTTP/1.1) or up to the
/// close (HTTP/1.0). 1229 when the client is gone.
std::uint32_t HttpSendHttpResponse(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId, std::uint32_t AFlags,
                                   const THTTP_RESPONSE* AResponse, void* ACachePolicy,
                                   std::uint32_t* ABytesSent, void* AReserved1, std::uint32_t AReserved2,
                                   OVERLAPPED* AOverlapped, void* ALogData);
std::uint32_t HttpSendResponseEntityBody(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId,
                                         std::uint32_t AFlags, std::uint16_t AEntityChunkCount,
                                         const THTTP_DATA_CHUNK* AEntityChunks, std::uint32_t* ABytesSent,
                                         void* AReserved1, std::uint32_t AReserved2, OVERLAPPED* AOverlapped,
                                         void* ALogData);

/// The certificate of an https port, ahead of what the SSL binding list says, in this process. PEM texts; the
/// chain follows the certificate. AClientAuthorities, unless nullptr: clients are asked for a certificate,
/// which is verified against these and told with each request either way. 1312 when certificate and key are
/// not each other's. Connections accepted from now on use it.
struct TZnHttpPortCertificate
{
    std::uint16_t Port;
    const char* Certificate;
    const char* Key;
    const char* ClientAuthorities;
};
std::uint32_t ZnHttpSetPortCertificate(const TZnHttpPortCertificate* ACertificate);

/// Ends a request that gets no answer, or no complete one: its connection is closed at once. Harmless once
/// the response is complete (the id names nothing any more).
std::uint32_t ZnHttpDropRequest(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId);

/// Returns when a request waits in the queue; 995 when the queue is closed.
std::uint32_t HttpWaitForDemandStart(THandle AReqQueueHandle, OVERLAPPED* AOverlapped);
/// With AOverlapped: 997, and hEvent is set once the client has gone; 1229 when it has gone already. The wait
/// ends with the request. Without: blocks until then.
std::uint32_t HttpWaitForDisconnect(THandle AReqQueueHandle, HTTP_CONNECTION_ID AConnectionId,
                                    OVERLAPPED* AOverlapped);
std::uint32_t HttpWaitForDisconnectEx(THandle AReqQueueHandle, HTTP_CONNECTION_ID AConnectionId,
                                      std::uint32_t AReserved, OVERLAPPED* AOverlapped);

/// The limits of the service, process-wide; they hold for what begins after they were set. Times are in
/// milliseconds.
struct TZnHttpServiceLimits
{
    std::uint32_t RequestLine = 16384; // bytes; longer: 414
    std::uint32_t Headers = 16384;     // bytes of all header fields together; more: 431
    std::uint16_t HeaderFields = 100;  // more: 431
    std::uint32_t HeadWait = 20000;    // first byte to last byte of a head; longer: 408
    std::uint32_t IdleWait = 120000;   // a connection between two requests
    std::uint32_t TransferWait =
        20000; // waiting for the peer, body and response each, on top of MinBytesPerSecond
    std::uint32_t MinBytesPerSecond =
        240; // slower peers are cut off; 0: TransferWait alone counts, anew after each step
    std::uint32_t LingerWait = 2000;   // to let a peer read an answer after which the connection closes
    std::uint32_t Connections = 65536; // of the whole service; what comes beyond is closed. At most 65536
    std::uint32_t ConnectionsPerAddress = 0; // 0: no limit
};
std::uint32_t ZnHttpQueryServiceLimits(TZnHttpServiceLimits* ALimits);
/// 87 where a value is out of range.
std::uint32_t ZnHttpSetServiceLimits(const TZnHttpServiceLimits* ALimits);

// --- Configuration: what outlives the process ---------------------------------------------------

/// The service's three tables: URL reservations, IP listen list, certificates of ports. They stand in the
/// state folder (ZN_STATE_DIR, else /var/lib/zn for root, else ~/.local/state/zn) and are shared by all
/// processes of the machine or the user. The operations take service handle 0, no overlapped structure, and
/// need no HttpInitialize. Texts are UTF-16 with a zero behind them.
///
/// A change takes effect with the next registration of a URL. Reservations are kept and listed; any
/// user may register any URL, reserved or not.
enum THTTP_SERVICE_CONFIG_ID : std::uint32_t {
    HttpServiceConfigIPListenList = 0,
    HttpServiceConfigSSLCertInfo = 1,
    HttpServiceConfigUrlAclInfo = 2
};

enum THTTP_SERVICE_CONFIG_QUERY_TYPE : std::uint32_t {
    HttpServiceConfigQueryExact = 0, // the entry with KeyDesc
    HttpServiceConfigQueryNext = 1   // entry dwToken, counted from 0
};

/// To add or delete an address that names, "+" and "*" listen on. The port in it has no say.
struct THTTP_SERVICE_CONFIG_IP_LISTEN_PARAM
{
    std::uint16_t AddrLength;
    const sockaddr* pAddress;
};

/// What a query of the IP listen list gives. It takes no input.
struct THTTP_SERVICE_CONFIG_IP_LISTEN_QUERY
{
    std::uint32_t AddrCount;
    sockaddr_storage AddrList[1]; // AddrCount of them
};

struct THTTP_SERVICE_CONFIG_SSL_KEY
{
    const sockaddr* pIpPort; // 0.0.0.0 or [::], and the port: a binding is for all addresses
};

inline constexpr std::uint32_t HTTP_SERVICE_CONFIG_SSL_FLAG_NEGOTIATE_CLIENT_CERT = 2;

struct THTTP_SERVICE_CONFIG_SSL_PARAM
{
    std::uint32_t SslHashLength;        // 20
    const void* pSslHash;               // SHA-1 of the certificate
    std::array<std::uint8_t, 16> AppId; // who made the binding; kept, and otherwise without meaning
    const char16_t* pSslCertStoreName;  // nullptr: "my"
    std::uint32_t CertCheckMode;        // this one and the next four have to be 0: 50
    std::uint32_t RevocationFreshnessTime;
    std::uint32_t RevocationUrlRetrievalTimeout;
    const char16_t* pSslCtlIdentifier;
    const char16_t* pSslCtlStoreName;
    std::uint32_t DefaultFlags; // HTTP_SERVICE_CONFIG_SSL_FLAG_NEGOTIATE_CLIENT_CERT, or 0
};

struct THTTP_SERVICE_CONFIG_SSL_SET
{
    THTTP_SERVICE_CONFIG_SSL_KEY KeyDesc;
    THTTP_SERVICE_CONFIG_SSL_PARAM ParamDesc;
};

struct THTTP_SERVICE_CONFIG_SSL_QUERY
{
    THTTP_SERVICE_CONFIG_QUERY_TYPE QueryDesc;
    THTTP_SERVICE_CONFIG_SSL_KEY KeyDesc;
    std::uint32_t dwToken;
};

struct THTTP_SERVICE_CONFIG_URLACL_KEY
{
    const char16_t* pUrlPrefix;
};

struct THTTP_SERVICE_CONFIG_URLACL_PARAM
{
    const char16_t* pStringSecurityDescriptor;
};

/// In a query's answer the prefix follows the record at once, and the descriptor the prefix's zero.
struct THTTP_SERVICE_CONFIG_URLACL_SET
{
    THTTP_SERVICE_CONFIG_URLACL_KEY KeyDesc;
    THTTP_SERVICE_CONFIG_URLACL_PARAM ParamDesc;
};

struct THTTP_SERVICE_CONFIG_URLACL_QUERY
{
    THTTP_SERVICE_CONFIG_QUERY_TYPE QueryDesc;
    THTTP_SERVICE_CONFIG_URLACL_KEY KeyDesc;
    std::uint32_t dwToken;
};

/// 0, or: 122 with the length in AReturnLength where the buffer (aligned to 8) is too small; 2 where the
/// table has no such entry, or the IP listen list is empty; 259 behind the last entry; 13 where the store's
/// file is damaged.
std::uint32_t HttpQueryServiceConfiguration(THandle AService, THTTP_SERVICE_CONFIG_ID AId, const void* AInput,
                                            std::uint32_t AInputLength, void* AOutput,
                                            std::uint32_t AOutputLength, std::uint32_t* AReturnLength,
                                            OVERLAPPED* AOverlapped);
/// Adds an entry. 183 where it is there, 5 without the right to write to the state folder, 13 where the
/// store's file is damaged (it stays as it is), 170 where another process holds it for 10 s. A binding: 1312
/// where the store lacks the certificate or its key, 50 for what this service doesn't do.
std::uint32_t HttpSetServiceConfiguration(THandle AService, THTTP_SERVICE_CONFIG_ID AId,
                                          const void* AInformation, std::uint32_t ALength,
                                          OVERLAPPED* AOverlapped);
/// Deletes the entry with the record's key; what else stands in the record has no say. 2 where there is none.
std::uint32_t HttpDeleteServiceConfiguration(THandle AService, THTTP_SERVICE_CONFIG_ID AId,
                                             const void* AInformation, std::uint32_t ALength,
                                             OVERLAPPED* AOverlapped);

/// The certificates that ports can be bound to: PEM files with certificate, chain and key in the state
/// folder, certificates/STORE/. Names of stores: letters, digits, "-", "_", "." and blanks, without regard to
/// case; nullptr is "my". Thumbprints are the SHA-1 of the certificate, 40 lower-case hexadecimal digits;
/// AThumbprint has room for 41 characters.
///
/// Numbers beside those of the tables: 87 for a host or a period that can't be, 123 for a store that can't
/// be, 13 for a text without a certificate, 1312 for one without the certificate's key (or with a password on
/// it).

/// Makes a certificate for a name ("www.example.org", "*.example.org") or a literal address, signed by its
/// own new key (ECDSA, P-256), good from now on for ADays.
std::uint32_t ZnHttpCreateCertificate(const char* AHost, std::uint32_t ADays, const char* AStore,
                                      char* AThumbprint);
/// Adds a certificate, its chain and its key, in any order; takes the place of the same certificate.
std::uint32_t ZnHttpImportCertificate(const char* APem, std::uint32_t ALength, const char* AStore,
                                      char* AThumbprint);
/// Bindings to it stay. 2 where there is none.
std::uint32_t ZnHttpDeleteCertificate(const char* AStore, const char* AThumbprint);

/// A certificate of the store. Texts are cut to their room, with a zero behind them.
struct TZnHttpCertificate
{
    char Store[65];
    char Thumbprint[41];
    char Subject[512]; // RFC 4514
    char Issuer[512];
    char Names[2048];       // names and addresses of the server, ", " between them
    std::int64_t NotBefore; // seconds since 1970
    std::int64_t NotAfter;
    bool HasKey;
};
/// Number AToken of a store's certificates, or of all stores' for nullptr; 259 behind the last.
std::uint32_t ZnHttpQueryCertificate(const char* AStore, std::uint32_t AToken, TZnHttpCertificate* AResult);
