#include "platform/iphelper/Snapshot.h"

#include <algorithm>
#include <cerrno>

#include <linux/ethtool.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

constexpr int cMostAttempts = 8;                         // under steady change the last reading has to do
constexpr std::uint8_t cProtocolRouterAdvertisement = 2; // IFAPROT_KERNEL_RA

/// A request's fixed head and one attribute of 32 bits.
template <typename THead>
struct TDumpRequest
{
    THead Head{};
    nlattr Attribute{sizeof(nlattr) + sizeof(std::uint32_t), 0};
    std::uint32_t Value = 0;
};

template <typename T>
std::span<const std::byte> BytesOf(const T& AValue)
{
    return std::as_bytes(std::span(&AValue, 1));
}

int DumpLinks(Zn::TNetlinkSocket& ASocket, std::vector<Zn::TLink>& ALinks)
{
    TDumpRequest<ifinfomsg> Request;
    Request.Attribute.nla_type = IFLA_EXT_MASK;
    Request.Value = RTEXT_FILTER_SKIP_STATS; // more than half of the answer
    return ASocket.Dump(RTM_GETLINK, BytesOf(Request), [&](const Zn::TNetlinkMessage& AMessage) {
        if (auto Link = Zn::LinkOf(AMessage))
            ALinks.push_back(std::move(*Link));
    });
}

int DumpAddresses(Zn::TNetlinkSocket& ASocket, std::vector<Zn::TUnicast>& AAddresses)
{
    return ASocket.Dump(RTM_GETADDR, BytesOf(ifaddrmsg{}), [&](const Zn::TNetlinkMessage& AMessage) {
        if (AMessage.Type != RTM_NEWADDR)
            return;
        if (const auto Unicast = Zn::UnicastOf(AMessage))
            AAddresses.push_back(*Unicast);
    });
}

int DumpGateways(Zn::TNetlinkSocket& ASocket, std::uint8_t AFamily, std::vector<Zn::TGateway>& AGateways)
{
    TDumpRequest<rtmsg> Request;
    Request.Head.rtm_family = AFamily;
    Request.Attribute.nla_type = RTA_TABLE;
    Request.Value = RT_TABLE_MAIN;
    return ASocket.Dump(RTM_GETROUTE, BytesOf(Request), [&](const Zn::TNetlinkMessage& AMessage) {
        const auto Found = Zn::GatewaysOf(AMessage);
        AGateways.insert(AGateways.end(), Found.begin(), Found.end());
    });
}

int DumpAll(Zn::TNetlinkSocket& ASocket, Zn::TSnapshot& ASnapshot)
{
    ASnapshot = {};
    bool Changed = false;
    const auto Ended = [&Changed](int AErrno) {
        Changed = Changed || AErrno == EINTR;
        return AErrno != 0 && AErrno != EINTR;
    };
    if (int Errno = DumpLinks(ASocket, ASnapshot.Links); Ended(Errno))
        return Errno;
    if (int Errno = DumpAddresses(ASocket, ASnapshot.Addresses); Ended(Errno))
        return Errno;
    for (const std::uint8_t Family : {AF_INET, AF_INET6}) {
        // A kernel without IPv6 has no such table.
        const int Errno = DumpGateways(ASocket, Family, ASnapshot.Gateways);
        if (Ended(Errno) && Errno != EAFNOSUPPORT && Errno != EOPNOTSUPP && Errno != ENOENT)
            return Errno;
    }
    return Changed ? EINTR : 0;
}

template <typename TRead>
int ReadUntilUnchanged(TRead ARead)
{
    int Errno = 0;
    const auto Socket = Zn::TNetlinkSocket::Open(0, Errno);
    if (!Socket)
        return Errno;
    for (int Attempt = 0; Attempt < cMostAttempts; ++Attempt) {
        Errno = ARead(*Socket);
        if (Errno != EINTR)
            return Errno;
    }
    return 0;
}

bool IsLinkLocal(const Zn::TAnyAddress& AAddress)
{
    return AAddress.Family == AF_INET6 && AAddress.Bytes[0] == 0xFE && (AAddress.Bytes[1] & 0xC0) == 0x80;
}

bool IsLoopbackAddress(const Zn::TAnyAddress& AAddress)
{
    constexpr std::array<std::uint8_t, 16> cLoopback6{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return AAddress.Family == AF_INET ? AAddress.Bytes[0] == 127 : AAddress.Bytes == cLoopback6;
}

/// The host part made of the hardware address: its halves with FF FE between, one bit turned.
bool IsOutOf(const Zn::TAnyAddress& AAddress, const Zn::TLink& ALink)
{
    const auto& Host = AAddress.Bytes;
    const auto& Mac = ALink.HardwareAddress;
    return ALink.HardwareAddressLength == 6 && Host[8] == (Mac[0] ^ 0x02) && Host[9] == Mac[1] &&
           Host[10] == Mac[2] && Host[11] == 0xFF && Host[12] == 0xFE && Host[13] == Mac[3] &&
           Host[14] == Mac[4] && Host[15] == Mac[5];
}

std::string DriverOf(const std::string& AName)
{
    ethtool_drvinfo Info{};
    Info.cmd = ETHTOOL_GDRVINFO;
    ifreq Request{};
    AName.copy(Request.ifr_name, sizeof(Request.ifr_name) - 1);
    Request.ifr_data = reinterpret_cast<char*>(&Info);
    const int Socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (Socket < 0)
        return {};
    const bool Told = ioctl(Socket, SIOCETHTOOL, &Request) == 0;
    close(Socket);
    return Told ? std::string(Info.driver, strnlen(Info.driver, sizeof(Info.driver))) : std::string();
}

} // namespace

int Zn::ReadSnapshot(TSnapshot& ASnapshot)
{
    const int Errno =
        ReadUntilUnchanged([&](TNetlinkSocket& ASocket) { return DumpAll(ASocket, ASnapshot); });
    std::sort(ASnapshot.Links.begin(), ASnapshot.Links.end(),
              [](const TLink& A, const TLink& B) { return A.Index < B.Index; });
    // The kernel's order within an interface is the order of its addresses: the first is the primary one.
    std::stable_sort(ASnapshot.Addresses.begin(), ASnapshot.Addresses.end(),
                     [](const TUnicast& A, const TUnicast& B) { return A.Index < B.Index; });
    std::stable_sort(ASnapshot.Gateways.begin(), ASnapshot.Gateways.end(),
                     [](const TGateway& A, const TGateway& B) {
                         return A.Index != B.Index ? A.Index < B.Index : A.Metric < B.Metric;
                     });
    return Errno;
}

int Zn::ReadLinks(std::vector<TLink>& ALinks)
{
    return ReadUntilUnchanged([&](TNetlinkSocket& ASocket) {
        ALinks.clear();
        return DumpLinks(ASocket, ALinks);
    });
}

Zn::TOrigins Zn::OriginsOf(const TUnicast& AAddress, const TLink& ALink)
{
    const bool IsPermanent = (AAddress.Flags & IFA_F_PERMANENT) != 0;
    if (IsLoopbackAddress(AAddress.Address))
        return {IpPrefixOriginWellKnown, IpSuffixOriginWellKnown};
    if (AAddress.Address.Family == AF_INET)
        return IsPermanent ? TOrigins{IpPrefixOriginManual, IpSuffixOriginManual}
                           : TOrigins{IpPrefixOriginDhcp, IpSuffixOriginDhcp};
    const bool IsRandom = (AAddress.Flags & (IFA_F_TEMPORARY | IFA_F_STABLE_PRIVACY)) != 0;
    const IP_SUFFIX_ORIGIN Own =
        !IsRandom && IsOutOf(AAddress.Address, ALink) ? IpSuffixOriginLinkLayerAddress : IpSuffixOriginRandom;
    if (IsLinkLocal(AAddress.Address))
        return {IpPrefixOriginWellKnown, Own};
    if (AAddress.Protocol == cProtocolRouterAdvertisement || IsRandom)
        return {IpPrefixOriginRouterAdvertisement, Own};
    if (IsPermanent)
        return {IpPrefixOriginManual, IpSuffixOriginManual};
    // DHCPv6 gives single addresses (RFC 8415, 21.6); a prefix that expires was advertised.
    if (AAddress.PrefixLength == 128)
        return {IpPrefixOriginDhcp, IpSuffixOriginDhcp};
    return {IpPrefixOriginRouterAdvertisement, Own};
}

std::string Zn::DescriptionOf(const TLink& ALink)
{
    if (!ALink.Alias.empty())
        return ALink.Alias;
    if (ALink.IsLoopback())
        return "Loopback";
    if (!ALink.Kind.empty())
        return ALink.Kind;
    const std::string Driver = DriverOf(ALink.Name);
    return Driver.empty() ? ALink.Name : Driver;
}
