#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Zn
{

/// Have the dhclient that serves AName in this network namespace give its lease back, or get one. A platform
/// number; nothing where no dhclient serves AName, nor did before it was told to give the lease back.
std::optional<std::uint32_t> ReleaseByDhcpClient(const std::string& AName);
std::optional<std::uint32_t> RenewByDhcpClient(const std::string& AName);

} // namespace Zn
