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

/// The bytes of AHead, with the checksum over it and AData (RFC 1071). For IPv6 the system puts its own in
/// the checksum's place, which covers the addresses too.
std::array<std::byte, cEchoHeadSize> WriteEchoHead(const TEchoHead& AHead, std::span<const std::byte> AData);

/// The head that AMessage begins with; nothing when it is too short.
std::optional<TEchoHead> ReadEchoHead(std::span<const std::byte> AMessage);

/// AMessage behind its IPv4 header; empty when there is no whole header.
std::span<const std::byte> BehindIPv4Header(std::span<const std::byte> APacket);

} // namespace Zn
