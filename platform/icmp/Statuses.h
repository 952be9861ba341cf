#pragma once

#include <cstdint>

namespace Zn
{

/// The status (11002 and up) for an ICMP error message about an echo request: RFC 792 for IPv4 with the
/// codes of RFC 1812, 5.2.7.1; RFC 4443 for IPv6.
std::uint32_t StatusOfIcmpError(std::uint8_t AType, std::uint8_t ACode);
std::uint32_t StatusOfIcmp6Error(std::uint8_t AType, std::uint8_t ACode);

/// What the system's refusal to send an echo request means.
struct TSendFailure
{
    std::uint32_t Status; // a status to report as a reply, or 0
    std::uint32_t Error;  // else a platform error number
};
TSendFailure SendFailureOf(int AErrno);

} // namespace Zn
