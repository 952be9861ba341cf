#pragma once

#include <cstddef>

#include "platform/iphelper/Addresses.h"

namespace Zn
{

inline constexpr std::size_t cIPv4TextSize = 15; // 255.255.255.255
inline constexpr std::size_t cIPv6TextSize = 45; // eight groups, or six and an IPv4 address

/// Write the text without a zero behind it and give its end. Decimal with dots; the recommended form
/// of RFC 5952 for IPv6: lower case, the longest run of zero groups as "::", an IPv4-mapped address with
/// dots.
char* FormatAddress(const in_addr& AAddress, char* AText);
char* FormatAddress(const IN6_ADDR& AAddress, char* AText);

} // namespace Zn
