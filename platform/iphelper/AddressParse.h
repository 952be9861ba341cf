#pragma once

#include <cstddef>
#include <string_view>

#include "platform/iphelper/Addresses.h"

namespace Zn
{

/// Read the address that AText begins with; the number of characters it takes, 0 for none. AAddress
/// changes only where there is one.
///
/// IPv4 is four decimal numbers from 0 to 255 without leading zeros, which some readers take for octal.
/// IPv6 is what RFC 4291, 2.2 allows, without brackets and scope.
std::size_t ParseAddress(std::string_view AText, in_addr& AAddress);
std::size_t ParseAddress(std::string_view AText, IN6_ADDR& AAddress);
std::size_t ParseAddress(std::u16string_view AText, in_addr& AAddress);
std::size_t ParseAddress(std::u16string_view AText, IN6_ADDR& AAddress);

} // namespace Zn
