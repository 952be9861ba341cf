#include "platform/iphelper/InterfaceMessages.h"

#include <algorithm>

#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>

namespace
{

constexpr std::uint16_t cIfaProto = 11; // IFA_PROTO, newer than the headers of some systems

void ReadFamilies(Zn::TLink& ALink, std::span<const std::byte> AFamilies)
{
    while (const auto Family = Zn::NextAttribute(AFamilies)) {
        ALink.HasIPv4 = ALink.HasIPv4 || Family->Type == AF_INET;
        ALink.HasIPv6 = ALink.HasIPv6 || Family->Type == AF_INET6;
    }
}

std::string KindOf(std::span<const std::byte> AInfo)
{
    while (const auto Entry = Zn::NextAttribute(AInfo)) {
        if (Entry->Type == IFLA_INFO_KIND)
            return std::string(Entry->Text());
    }
    return {};
}

void ReadLinkAttribute(Zn::TLink& ALink, const Zn::TNetlinkAttribute& AAttribute)
{
    switch (AAttribute.Type) {
    case IFLA_IFNAME:
        ALink.Name = AAttribute.Text();
        break;
    case IFLA_IFALIAS:
        ALink.Alias = AAttribute.Text();
        break;
    case IFLA_MTU:
        ALink.Mtu = AAttribute.As<std::uint32_t>();
        break;
    case IFLA_ADDRESS:
        ALink.HardwareAddress = AAttribute.As<std::array<std::uint8_t, 8>>();
        ALink.HardwareAddressLength =
            static_cast<std::uint8_t>(std::min(AAttribute.Value.size(), ALink.HardwareAddress.size()));
        break;
    case IFLA_LINKINFO:
        ALink.Kind = KindOf(AAttribute.Value);
        break;
    case IFLA_AF_SPEC:
        ReadFamilies(ALink, AAttribute.Value);
        break;
    default:
        break;
    }
}

Zn::TAnyAddress AddressOf(std::uint8_t AFamily, std::span<const std::byte> ABytes)
{
    Zn::TAnyAddress Result{AFamily, {}};
    const std::size_t Size = std::min<std::size_t>(ABytes.size(), AFamily == AF_INET ? 4 : 16);
    std::memcpy(Result.Bytes.data(), ABytes.data(), Size);
    return Result;
}

/// RTA_VIA: a gateway of another family than the route's.
std::optional<Zn::TAnyAddress> ViaOf(std::span<const std::byte> AValue)
{
    std::uint16_t Family;
    if (AValue.size() < sizeof(Family))
        return std::nullopt;
    std::memcpy(&Family, AValue.data(), sizeof(Family));
    if (Family != AF_INET && Family != AF_INET6)
        return std::nullopt;
    return AddressOf(static_cast<std::uint8_t>(Family), AValue.subspan(sizeof(Family)));
}

/// A way to go on: what the route itself, or each part of a route over several ways has.
struct THop
{
    int Index = 0;
    std::optional<Zn::TAnyAddress> Gateway;
};

void ReadHop(THop& AHop, std::uint8_t AFamily, const Zn::TNetlinkAttribute& AAttribute)
{
    if (AAttribute.Type == RTA_OIF)
        AHop.Index = AAttribute.As<int>();
    else if (AAttribute.Type == RTA_GATEWAY)
        AHop.Gateway = AddressOf(AFamily, AAttribute.Value);
    else if (AAttribute.Type == RTA_VIA)
        AHop.Gateway = ViaOf(AAttribute.Value);
}

std::vector<THop> HopsOf(std::uint8_t AFamily, std::span<const std::byte> AMultipath)
{
    std::vector<THop> Result;
    rtnexthop Head;
    while (AMultipath.size() >= sizeof(Head)) {
        std::memcpy(&Head, AMultipath.data(), sizeof(Head));
        if (Head.rtnh_len < sizeof(Head) || Head.rtnh_len > AMultipath.size())
            break;
        THop Hop{Head.rtnh_ifindex, {}};
        std::span<const std::byte> Attributes =
            AMultipath.subspan(sizeof(Head), Head.rtnh_len - sizeof(Head));
        while (const auto Attribute = Zn::NextAttribute(Attributes))
            ReadHop(Hop, AFamily, *Attribute);
        Result.push_back(Hop);
        AMultipath =
            AMultipath.subspan(std::min<std::size_t>((Head.rtnh_len + 3U) / 4 * 4, AMultipath.size()));
    }
    return Result;
}

} // namespace

bool Zn::TLink::IsLoopback() const
{
    return (Flags & IFF_LOOPBACK) != 0;
}

bool Zn::TLink::IsConnected() const
{
    constexpr std::uint32_t cLowerUp = 1U << 16; // IFF_LOWER_UP: there is a carrier
    return (Flags & IFF_UP) != 0 && (Flags & cLowerUp) != 0;
}

std::optional<Zn::TLink> Zn::LinkOf(const TNetlinkMessage& AMessage)
{
    const auto Head = AMessage.Head<ifinfomsg>();
    if (!Head || Head->ifi_family != AF_UNSPEC)
        return std::nullopt;
    TLink Link;
    Link.Index = Head->ifi_index;
    Link.Type = Head->ifi_type;
    Link.Flags = Head->ifi_flags;
    std::span<const std::byte> Attributes = AMessage.Attributes<ifinfomsg>();
    while (const auto Attribute = NextAttribute(Attributes))
        ReadLinkAttribute(Link, *Attribute);
    return Link;
}

std::optional<Zn::TUnicast> Zn::UnicastOf(const TNetlinkMessage& AMessage)
{
    const auto Head = AMessage.Head<ifaddrmsg>();
    if (!Head || (Head->ifa_family != AF_INET && Head->ifa_family != AF_INET6))
        return std::nullopt;
    TUnicast Unicast;
    Unicast.Index = static_cast<int>(Head->ifa_index);
    Unicast.PrefixLength = Head->ifa_prefixlen;
    Unicast.Flags = Head->ifa_flags;
    // Of a point-to-point interface IFA_ADDRESS is the other end, and IFA_LOCAL this one.
    std::optional<TAnyAddress> Address;
    std::optional<TAnyAddress> Local;
    std::span<const std::byte> Attributes = AMessage.Attributes<ifaddrmsg>();
    while (const auto Attribute = NextAttribute(Attributes)) {
        if (Attribute->Type == IFA_ADDRESS)
            Address = AddressOf(Head->ifa_family, Attribute->Value);
        else if (Attribute->Type == IFA_LOCAL)
            Local = AddressOf(Head->ifa_family, Attribute->Value);
        else if (Attribute->Type == IFA_FLAGS)
            Unicast.Flags = Attribute->As<std::uint32_t>();
        else if (Attribute->Type == cIfaProto)
            Unicast.Protocol = Attribute->As<std::uint8_t>();
    }
    if (!Local && !Address)
        return std::nullopt;
    Unicast.Address = Local ? *Local : *Address;
    return Unicast;
}

std::vector<Zn::TGateway> Zn::GatewaysOf(const TNetlinkMessage& AMessage)
{
    const auto Head = AMessage.Head<rtmsg>();
    if (!Head || Head->rtm_dst_len != 0 || Head->rtm_type != RTN_UNICAST ||
        Head->rtm_table != RT_TABLE_MAIN || (Head->rtm_flags & RTM_F_CLONED) != 0)
        return {};
    THop Single;
    std::vector<THop> Hops;
    std::uint32_t Metric = 0;
    std::span<const std::byte> Attributes = AMessage.Attributes<rtmsg>();
    while (const auto Attribute = NextAttribute(Attributes)) {
        ReadHop(Single, Head->rtm_family, *Attribute);
        if (Attribute->Type == RTA_PRIORITY)
            Metric = Attribute->As<std::uint32_t>();
        else if (Attribute->Type == RTA_MULTIPATH)
            Hops = HopsOf(Head->rtm_family, Attribute->Value);
    }
    if (Hops.empty())
        Hops.push_back(Single);
    std::vector<TGateway> Result;
    for (const THop& Hop : Hops) {
        if (Hop.Gateway)
            Result.push_back({Hop.Index, *Hop.Gateway, Metric});
    }
    return Result;
}
