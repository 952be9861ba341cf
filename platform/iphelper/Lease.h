#pragma once

#include <cstdint>
#include <string>

namespace Zn
{

/// Give the IPv4 lease of an interface back, and ask for one, through what manages it. Platform numbers; see
/// IpReleaseAddress in Adapters.h.
std::uint32_t ReleaseLease(int AIndex, const std::string& AName);
std::uint32_t RenewLease(int AIndex, const std::string& AName);

} // namespace Zn
