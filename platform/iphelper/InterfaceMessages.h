#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/iphelper/Addresses.h"
#include "platform/iphelper/Netlink.h"

namespace Zn
{

/// An address of either family; an IPv4 address takes the first four bytes, the others are zero.
struct TAnyAddress
{
    std::uint8_t Family = 0;
    std::array<std::uint8_t, 16> Bytes{};

    auto operator<=>(const TAnyAddress&) const = default;
};

/// What the library knows of a network interface.
struct TLink
{
    int Index = 0;
    std::string Name;
    std::string Alias;
    std::string Kind;       // "veth", "bridge"; empty for hardware and loopback
    std::uint16_t Type = 0; // ARPHRD_...
    std::uint32_t Flags = 0;
    std::uint32_t Mtu = 0;
    std::array<std::uint8_t, 8> HardwareAddress{}; // longer ones are cut
    std::uint8_t HardwareAddressLength = 0;
    bool HasIPv4 = false;
    bool HasIPv6 = false;

    bool operator==(const TLink&) const = default;

    bool IsLoopback() const;
    bool IsConnected() const; // up, with a carrier
};

struct TUnicast
{
    int Index = 0; // of its interface
    TAnyAddress Address;
    std::uint8_t PrefixLength = 0;
    std::uint8_t Protocol = 0; // who set it (IFAPROT_...), 0 where the kernel doesn't tell
    std::uint32_t Flags = 0;   // IFA_F_...

    auto operator<=>(const TUnicast&) const = default;
};

/// The gateway of a default route.
struct TGateway
{
    int Index = 0; // of its interface
    TAnyAddress Address;
    std::uint32_t Metric = 0;

    auto operator<=>(const TGateway&) const = default;
};

/// Read messages of RTM_..LINK, RTM_..ADDR and RTM_..ROUTE (rtnetlink(7)); nothing, or an empty list, for
/// those that tell of something else: a bridge's port, an anycast address, a route to some network.
std::optional<TLink> LinkOf(const TNetlinkMessage& AMessage);
std::optional<TUnicast> UnicastOf(const TNetlinkMessage& AMessage);
std::vector<TGateway> GatewaysOf(const TNetlinkMessage& AMessage);

} // namespace Zn
