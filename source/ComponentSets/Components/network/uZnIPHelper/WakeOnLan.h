#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/Api.h"

/// Wakes a machine by its hardware address: 12 hexadecimal digits, or 17 characters with any separator at
/// every third place; a pair that isn't hexadecimal counts as 00. AIPAddress is where to send it, as four
/// numbers; empty sends to all on this network (255.255.255.255). True when the last two of its twenty
/// datagrams went out; nobody knows whether one arrived. Any thread.
ZN_API bool ZnWakeOnLan(const std::string& AMacAddress, const std::string& AIPAddress);

namespace Zn
{

inline constexpr std::size_t cMagicPacketSize = 102;

/// 102 bytes: FF x 6 | MAC x 16. AMac has 12 characters.
std::array<std::uint8_t, cMagicPacketSize> MagicPacket(const std::string& AMac);

} // namespace Zn
