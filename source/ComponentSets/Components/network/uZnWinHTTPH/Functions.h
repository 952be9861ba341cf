#pragma once

/// The functions of WinHTTP with typed flags, UTF-8 texts and exceptions. Each finds its function in
/// "Winhttp.dll" at its first call. They are stateless; any thread. Unless ARaiseError says otherwise a
/// failure goes to WinHttpCheckError, and no null handle is ever returned. An empty text goes as nullptr.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "common/Set.h"
#include "platform/Api.h"
#include "uZnHTTPClient/Contract.h"
#include "uZnHTTPTransport/AddFlags.h"
#include "uZnWinHTTPH/Exceptions.h"
#include "uZnWinHTTPH/Library.h" // ahead of the declarations below, which overload the library's own

/// How a request is made; see WinHttpOpenRequest.
enum TWINHTTP_OPENREQUEST_FLAG : std::uint8_t {
    orSecure,
    orEscapePercentage,
    orEscapeNullCodePage,
    orBypassProxyCache,
    orRefresh,
    orDisableEscaping,
    orDisableQueryEscaping
};
/// Any of them together.
using TWINHTTP_OPENREQUEST_FLAGS = TZnSet<TWINHTTP_OPENREQUEST_FLAG>;

/// Schemes of authentication that the transport knows.
enum TWINHTTP_AUTH_SCHEME : std::uint8_t { asBASIC, asNTLM, asPASSPORT, asDIGEST, asNEGOTIATE };
/// Those that a challenge offers.
using TWINHTTP_AUTH_SCHEMES = TZnSet<TWINHTTP_AUTH_SCHEME>;

/// Who asks for credentials.
enum TWINHTTP_AUTH_TARGET : std::uint8_t { authTargetServer, authTargetProxy };

/// How often WinHttpSendRequest sends again because the library asks for it (12032), at most.
inline constexpr int cWinHttpMaxResends = 16;

/// Raises EZnWinHTTPInvalidArgument for a proxy without atProxy, or atProxy without a proxy.
ZN_API HINTERNET WinHttpOpen(const std::string& AUserAgent, TZnHTTPAccessType AAccessType,
                             const std::string& AProxyServer, const std::string& AProxyBypass, bool AAsync);
/// Closes a handle of any kind; a call under way on it, on another thread, ends with 12017.
ZN_API void WinHttpCloseHandle(HINTERNET AHandle, bool ARaiseError);
/// A connection's handle for a server; nothing is sent yet.
ZN_API HINTERNET WinHttpConnect(HINTERNET ASession, const std::string& AServerName, std::uint16_t APort);
/// AAcceptTypes: media types with ";" between them; "*/*" when empty.
ZN_API HINTERNET WinHttpOpenRequest(HINTERNET AConnection, std::string_view AVerb,
                                    std::string_view AObjectName, TWINHTTP_OPENREQUEST_FLAGS AFlags,
                                    std::string_view AVersion, std::string_view AReferrer,
                                    std::string_view AAcceptTypes);

/// One header line, or several with CR LF between them.
ZN_API void WinHttpAddRequestHeaders(HINTERNET AHandle, std::string_view AHeaders,
                                     TWINHTTP_ADDREQ_FLAGS AFlags, bool ARaiseError);
/// A value by its level into ABuffer. ASize: that of the buffer, and afterwards that of the value. False for
/// any failure. Raises EZnWinHTTPInvalidArgument for level 65535.
ZN_API bool WinHttpQueryHeaders(HINTERNET AHandle, std::uint32_t AInfoLevel, void* ABuffer,
                                std::uint32_t& ASize);
/// A text by its level, or by AName with level 65535 (and only then): all occurrences with CR LF between
/// them; empty when there is none.
ZN_API void WinHttpQueryHeaders(HINTERNET AHandle, std::uint32_t AInfoLevel, std::string_view AName,
                                std::string& AValue);

/// Name and password for one scheme of the server or the proxy.
ZN_API void WinHttpSetCredentials(HINTERNET AHandle, TWINHTTP_AUTH_TARGET ATarget,
                                  TWINHTTP_AUTH_SCHEME AScheme, const std::string& AUserName,
                                  const std::string& APassword);
/// After a 401 or 407.
ZN_API void WinHttpQueryAuthSchemes(HINTERNET AHandle, TWINHTTP_AUTH_SCHEMES& ASupported,
                                    TWINHTTP_AUTH_SCHEME& AFirst, TWINHTTP_AUTH_TARGET& ATarget);

/// Gives the number of the failure, or 0. Sends again while the library asks for it, up to
/// cWinHttpMaxResends times.
ZN_API std::uint32_t WinHttpSendRequest(HINTERNET AHandle, std::uint64_t ATotalLength, const void* AOptional,
                                        std::uint64_t AOptionalLength, std::string_view AHeaders,
                                        std::uintptr_t AContext, bool ARaiseError);
/// Waits for the head of the response. False, where it doesn't raise, with the number in GetLastError.
ZN_API bool WinHttpReceiveResponse(HINTERNET AHandle, bool ARaiseError);
/// 0 at the end of the body.
ZN_API std::uint32_t WinHttpQueryDataAvailable(HINTERNET AHandle);
/// The bytes read; 0, with no count asked for, when AAsync is set.
ZN_API std::uint32_t WinHttpReadData(HINTERNET AHandle, void* ABuffer, std::uint32_t ASize, bool AAsync);

/// Reads an option; ASize goes in as the room and comes out as the length.
ZN_API void WinHttpQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize);
/// Sets an option to the bytes of its value.
ZN_API void WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, std::span<const std::byte> ABuffer);
/// An option whose value is a number.
ZN_API void WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, std::uint32_t AValue);
