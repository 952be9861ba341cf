#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Zn
{

/// The fixed head of an echo message, the same in both families.
struct TEchoHead
{
    std::uint8_t Type = 0;
    std::uint8_t Code = 0;
    std::uint16_t Id = 0;
    std::uint16_t Sequence = 0;
};

inline constexpr std::size_t cEchoHeadSize = 8; // type, code, checksum, identifier, sequence number

/// The bytes of AHead. The checksum is left to the system: it writes its own for all sockets but raw ones of
/// IPv4 (that of IPv6 covers the addresses too).
std::array<std::byte, cEchoHeadSize> WriteEchoHead(const TEchoHead& AHead);

/// The same with the checksum over it and AData (RFC 1071).
std::array<std::byte, cEchoHeadSize> WriteEchoHead(const TEchoHead& AHead, std::span<const std::byte> AData);

/// The head that AMessage begins with; nothing when it is too short.
std::optional<TEchoHead> ReadEchoHead(std::span<const std::byte> AMessage);

/// AMessage behind its IPv4 header; empty when there is no whole header.
std::span<const std::byte> BehindIPv4Header(std::span<const std::byte> APacket);

} // namespace Zn
