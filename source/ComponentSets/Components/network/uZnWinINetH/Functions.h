#pragma once

/// The functions of WinINet with typed flags, UTF-8 texts and exceptions. Each finds its function in
/// "Wininet.dll" at its first call. They are stateless; any thread. A failure goes to HttpCheckError, and no
/// null handle is ever returned. An empty text goes as nullptr.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/Api.h"
#include "uZnHTTPClient/Contract.h"
#include "uZnHTTPTransport/AddFlags.h"
#include "uZnWinINetH/Exceptions.h"
#include "uZnWinINetH/Library.h" // ahead of the declarations below, which overload the library's own

/// What a connection is for.
enum TINTERNET_SERVICE_TYPE : std::uint8_t { stFTP, stGopher, stHTTP };

/// A session's handle.
ZN_API HINTERNET InternetOpen(const std::string& AAgent, TZnHTTPAccessType AAccessType, bool AAsync,
                              const std::string& AProxyServer, const std::string& AProxyBypass);
/// Raises EZnWinINetInvalidArgument for APassive with another service than stFTP.
ZN_API HINTERNET InternetConnect(HINTERNET ASession, const std::string& AServer, std::uint16_t APort,
                                 const std::string& AUserName, const std::string& APassword,
                                 TINTERNET_SERVICE_TYPE AService, bool APassive, std::uintptr_t AContext);
/// Closes a handle of any kind.
ZN_API void InternetCloseHandle(HINTERNET AHandle, bool ARaiseError);

/// AHandle nullptr: the process.
ZN_API void InternetSetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer,
                              std::uint32_t ASize);
/// An option whose value is a number.
ZN_API void InternetSetOption(HINTERNET AHandle, std::uint32_t AOption, std::uint32_t AValue);
/// Reads an option; ASize goes in as the room and comes out as the length.
ZN_API void InternetQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer,
                                std::uint32_t& ASize);

/// AFlags: INTERNET_FLAG_*. AAcceptTypes: media types with ";" between them; "*/*" when empty.
ZN_API HINTERNET HttpOpenRequest(HINTERNET AConnection, std::string_view AVerb, std::string_view AObjectName,
                                 std::uint32_t AFlags, std::string_view AVersion, std::string_view AReferrer,
                                 std::string_view AAcceptTypes, std::uintptr_t AContext);
/// One header line, or several with CR LF between them.
ZN_API void HttpAddRequestHeaders(HINTERNET AHandle, std::string_view AHeaders, THTTP_ADDREQ_FLAGS AFlags);
/// A text by its level, or by AName (shorter than 255 characters) with level 65535 and only then: the first
/// occurrence; empty when there is none.
ZN_API void HttpQueryInfo(HINTERNET AHandle, std::uint32_t AInfoLevel, std::string_view AName,
                          std::string& AValue);
