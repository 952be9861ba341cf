#pragma once

/// The functions of WinHTTP with typed flags, UTF-8 texts and exceptions. Each finds its function in
/// "Winhttp.dll" at its first call. They are stateless; any thread. Unless ARaiseError says otherwise a
/// failure goes to WinHttpCheckError, and no null handle is ever returned. An empty text goes as nullptr.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "common/Set.h"
#include "uZnHTTPClient/Contract.h"
#include "uZnWinHTTPH/Exceptions.h"
#include "uZnWinHTTPH/Library.h" // ahead of the declarations below, which overload the library's own

enum TWINHTTP_OPENREQUEST_FLAG : std::uint8_t {
    orSecure,
    orEscapePercentage,
    orEscapeNullCodePage,
    orBypassProxyCache,
    orRefresh,
    orDisableEscaping,
    orDisableQueryEscaping
};
using TWINHTTP_OPENREQUEST_FLAGS = TZnSet<TWINHTTP_OPENREQUEST_FLAG>;

enum TWINHTTP_AUTH_SCHEME : std::uint8_t { asBASIC, asNTLM, asPASSPORT, asDIGEST, asNEGOTIATE };
using TWINHTTP_AUTH_SCHEMES = TZnSet<TWINHTTP_AUTH_SCHEME>;

enum TWINHTTP_AUTH_TARGET : std::uint8_t { authTargetServer, authTargetProxy };

enum TWINHTTP_ADDREQ_FLAG : std::uint8_t {
    mfAdd,
    mfAddIfNew,
    mfCoalesce,
    mfCoalesceWithComma,
    mfCoalesceWithSemiColon,
    mfReplace
};
using TWINHTTP_ADDREQ_FLAGS = TZnSet<TWINHTTP_ADDREQ_FLAG>;

/// How often WinHttpSendRequest sends again because the library asks for it (12032), at most.
inline constexpr int cWinHttpMaxResends = 16;

/// Raises EZnWinHTTPInvalidArgument for a proxy without atProxy, or atProxy without a proxy.
HINTERNET WinHttpOpen(const std::string& AUserAgent, TZnHTTPAccessType AAccessType,
                      const std::string& AProxyServer, const std::string& AProxyBypass, bool AAsync);
void WinHttpCloseHandle(HINTERNET AHandle, bool ARaiseError);
HINTERNET WinHttpConnect(HINTERNET ASession, const std::string& AServerName, std::uint16_t APort);
/// AAcceptTypes: media types with ";" between them; "*/*" when empty.
HINTERNET WinHttpOpenRequest(HINTERNET AConnection, std::string_view AVerb, std::string_view AObjectName,
                             TWINHTTP_OPENREQUEST_FLAGS AFlags, std::string_view AVersion,
                             std::string_view AReferrer, std::string_view AAcceptTypes);

/// One header line, or several with CR LF between them.
void WinHttpAddRequestHeaders(HINTERNET AHandle, std::string_view AHeaders, TWINHTTP_ADDREQ_FLAGS AFlags,
                              bool ARaiseError);
/// A value by its level into ABuffer. ASize: that of the buffer, and afterwards that of the value. False for
/// any failure. Raises EZnWinHTTPInvalidArgument for level 65535.
bool WinHttpQueryHeaders(HINTERNET AHandle, std::uint32_t AInfoLevel, void* ABuffer, std::uint32_t& ASize);
/// A text by its level, or by AName with level 65535 (and only then): all occurrences with CR LF between
/// them; empty when there is none.
void WinHttpQueryHeaders(HINTERNET AHandle, std::uint32_t AInfoLevel, std::string_view AName,
                         std::string& AValue);

void WinHttpSetCredentials(HINTERNET AHandle, TWINHTTP_AUTH_TARGET ATarget, TWINHTTP_AUTH_SCHEME AScheme,
                           const std::string& AUserName, const std::string& APassword);
/// After a 401 or 407.
void WinHttpQueryAuthSchemes(HINTERNET AHandle, TWINHTTP_AUTH_SCHEMES& ASupported,
                             TWINHTTP_AUTH_SCHEME& AFirst, TWINHTTP_AUTH_TARGET& ATarget);

/// Gives the number of the failure, or 0. Sends again while the library asks for it, up to
/// cWinHttpMaxResends times.
std::uint32_t WinHttpSendRequest(HINTERNET AHandle, std::uint64_t ATotalLength, const void* AOptional,
                                 std::uint64_t AOptionalLength, std::string_view AHeaders,
                                 std::uintptr_t AContext, bool ARaiseError);
bool WinHttpReceiveResponse(HINTERNET AHandle, bool ARaiseError);
/// 0 at the end of the body.
std::uint32_t WinHttpQueryDataAvailable(HINTERNET AHandle);
/// The bytes read; 0, with no count asked for, when AAsync is set.
std::uint32_t WinHttpReadData(HINTERNET AHandle, void* ABuffer, std::uint32_t ASize, bool AAsync);

void WinHttpQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize);
void WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, std::span<const std::byte> ABuffer);
/// An option whose value is a number.
void WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, std::uint32_t AValue);
