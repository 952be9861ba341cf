#pragma once

#include <cstdint>
#include <string>

#include "platform/Api.h"
#include "platform/iphelper/Addresses.h"

/// The family of an address.
enum TZnIPAddrType : std::uint8_t { ipV4, ipV6 };

/// "192.168.0.1". Never allocates. Any thread.
ZN_API std::string ZnIPAddrToStr(const in_addr& AAddress);

/// The short form of RFC 5952, "fe80::1". A link-local address (fe80:) gets "%" and the scope ID
/// where that isn't 0.
ZN_API std::string ZnIPAddrToStr(const IN6_ADDR& AAddress);
/// "fe80::1%2": the scope follows where it isn't 0 (RFC 4007, 11).
ZN_API std::string ZnIPAddrToStr(const IN6_ADDR& AAddress, std::int32_t AScopeId);

/// The address without its port. Raises Exception for a family other than IPv4 and IPv6.
ZN_API std::string ZnIPAddrToStr(const sockaddr* AAddress);

/// Four decimal numbers from 0 to 255 with dots between; no look-up.
ZN_API bool ZnIsValidIPV4Addr(const std::string& AAddress);
