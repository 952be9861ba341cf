#pragma once

/// The types of the functions that the tables publish. Text is UTF-16. None of them throws; all
/// may be called from any thread.

#include <cstddef>
#include <cstdint>

#include <netdb.h>
#include <sys/types.h>

#include "platform/iphelper/Addresses.h"

using ADDRINFOW = addrinfo; // ai_canonname stays nullptr

/// The addresses of a name or address text, in AResult, which Freeaddrinfo takes back. 0, or a
/// number: 11001 no such name, 11002 try again, 11003 the resolver failed, 10047 unknown family, 8
/// no memory; such a number is left in GetLastError, too. Waits as long as the system's resolver allows
/// itself. AService may be nullptr.
using TGetAddrInfoW = int (*)(const char16_t* AName, const char16_t* AService, const ADDRINFOW* AHints,
                              ADDRINFOW** AResult);
using TFreeaddrinfo = void (*)(ADDRINFOW* AInfo);

/// Write the address's text and a zero; the result points to the zero. Room for 16 units (IPv4) or
/// 46 (IPv6).
using TRtlIpv4AddressToStringW = char16_t* (*)(const in_addr* AAddress, char16_t* AText);
using TRtlIpv6AddressToStringW = char16_t* (*)(const IN6_ADDR* AAddress, char16_t* AText);

/// Read the address that AText begins with: four decimal numbers, without AStrict also the older
/// short, octal and hexadecimal forms; or the forms of RFC 4291, without brackets and scope. ATerminator
/// points behind it. 0, or 0xC000000D when AText doesn't begin with an address.
using TRtlIpv4StringToAddressW = std::int32_t (*)(const char16_t* AText, bool AStrict,
                                                  const char16_t** ATerminator, in_addr* AAddress);
using TRtlIpv6StringToAddressW = std::int32_t (*)(const char16_t* AText, const char16_t** ATerminator,
                                                  IN6_ADDR* AAddress);

/// The socket calls, as the system has them: -1 with the reason in WSAGetLastError.
using TSocket = int (*)(int AFamily, int AType, int AProtocol);
using TBind = int (*)(int ASocket, const sockaddr* AAddress, socklen_t ALength);
using TSetSockOpt = int (*)(int ASocket, int ALevel, int AOption, const void* AValue, socklen_t ALength);
using TSendTo = ssize_t (*)(int ASocket, const void* AData, std::size_t ASize, int AFlags,
                            const sockaddr* AAddress, socklen_t ALength);
using TCloseSocket = int (*)(int ASocket);

/// The name of this machine, with a zero. Reads AText's address as four numbers, with the older short, octal
/// and hexadecimal forms; INADDR_NONE for what is no address.
using TGetHostName = int (*)(char* AName, std::size_t ASize);
using TInetAddr = in_addr_t (*)(const char* AText);

/// The mask of the first ALength bits in network order. 0, or 87 for more than 32 bits.
using TConvertLengthToIpv4Mask = std::uint32_t (*)(std::uint32_t ALength, std::uint32_t* AMask);
