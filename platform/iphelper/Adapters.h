#pragma once

/// Adapters, leases and change notifications: the records, numbers and function types of the tables. None of
/// the functions throws; all may be called from any thread. Sizes and names in records are the library's own
/// layout: take sizeof.

#include <cstdint>

#include "platform/iphelper/Addresses.h"
#include "platform/sync/Handle.h"

/// Where the network part of an address, and where its host part comes from.
enum IP_PREFIX_ORIGIN : std::uint32_t {
    IpPrefixOriginOther = 0,
    IpPrefixOriginManual = 1,
    IpPrefixOriginWellKnown = 2, // loopback, link-local
    IpPrefixOriginDhcp = 3,
    IpPrefixOriginRouterAdvertisement = 4,
};
enum IP_SUFFIX_ORIGIN : std::uint32_t {
    IpSuffixOriginOther = 0,
    IpSuffixOriginManual = 1,
    IpSuffixOriginWellKnown = 2,
    IpSuffixOriginDhcp = 3,
    IpSuffixOriginLinkLayerAddress = 4, // out of the hardware address (RFC 4291, appendix A)
    IpSuffixOriginRandom = 5,           // temporary (RFC 8981) or stable and opaque (RFC 7217)
};

struct SOCKET_ADDRESS
{
    sockaddr* Sockaddr = nullptr;
    int SockaddrLength = 0;
};

struct IP_ADAPTER_UNICAST_ADDRESS
{
    IP_ADAPTER_UNICAST_ADDRESS* Next = nullptr;
    SOCKET_ADDRESS Address;
    IP_PREFIX_ORIGIN PrefixOrigin = IpPrefixOriginOther;
    IP_SUFFIX_ORIGIN SuffixOrigin = IpSuffixOriginOther;
    std::uint8_t OnLinkPrefixLength = 0;
};

/// A gateway or a name server.
struct IP_ADAPTER_SERVER_ADDRESS
{
    IP_ADAPTER_SERVER_ADDRESS* Next = nullptr;
    SOCKET_ADDRESS Address;
};

struct IP_ADAPTER_ADDRESSES
{
    IP_ADAPTER_ADDRESSES* Next = nullptr;
    std::uint32_t IfIndex = 0;
    std::uint32_t Mtu = 0;
    char* AdapterName = nullptr;       // "eth0"
    char16_t* Description = nullptr;   // the alias, else the kind of the interface, else its driver
    std::uint8_t PhysicalAddress[8]{}; // longer ones are cut
    std::uint32_t PhysicalAddressLength = 0;
    IP_ADAPTER_UNICAST_ADDRESS* FirstUnicastAddress = nullptr;
    IP_ADAPTER_SERVER_ADDRESS* FirstGatewayAddress = nullptr; // of default routes in the main table
    IP_ADAPTER_SERVER_ADDRESS* FirstDnsServerAddress = nullptr;
};

inline constexpr std::uint32_t GAA_FLAG_SKIP_UNICAST = 0x01;
inline constexpr std::uint32_t GAA_FLAG_SKIP_ANYCAST = 0x02;
inline constexpr std::uint32_t GAA_FLAG_SKIP_MULTICAST = 0x04;
inline constexpr std::uint32_t GAA_FLAG_SKIP_DNS_SERVER = 0x08;
inline constexpr std::uint32_t GAA_FLAG_INCLUDE_PREFIX = 0x10;
inline constexpr std::uint32_t GAA_FLAG_INCLUDE_GATEWAYS = 0x80;

/// The adapters of the caller's network namespace, in the order of their indexes, loopback last. AFamily
/// limits addresses to AF_INET or AF_INET6; 0 takes both.
///
/// ERROR_BUFFER_OVERFLOW with the bytes needed in ASize for a buffer that is too small, or nullptr. What was
/// found then is kept for the same thread's next call within a second, so that the size holds whatever
/// changes meanwhile. ERROR_NO_DATA where there is no adapter at all.
using TGetAdaptersAddresses = std::uint32_t (*)(std::uint32_t AFamily, std::uint32_t AFlags, void* AReserved,
                                                IP_ADAPTER_ADDRESSES* AAdapters, std::uint32_t* ASize);

inline constexpr std::size_t MAX_ADAPTER_NAME = 128;

struct IP_ADAPTER_INDEX_MAP
{
    std::uint32_t Index = 0;
    char16_t Name[MAX_ADAPTER_NAME]{};
};

struct IP_INTERFACE_INFO
{
    std::int32_t NumAdapters = 0;
    IP_ADAPTER_INDEX_MAP Adapter[1]; // NumAdapters of them
};

/// The interfaces that speak IPv4, without loopback. ERROR_INSUFFICIENT_BUFFER with the bytes needed in
/// ASize, ERROR_NO_DATA where there is none. A size is kept as by GetAdaptersAddresses.
using TGetInterfaceInfo = std::uint32_t (*)(IP_INTERFACE_INFO* AInfo, std::uint32_t* ASize);

/// Give the DHCP lease of an interface back, and ask for one, through whatever manages the interface:
/// systemd-networkd, NetworkManager or dhclient, in this order. The first two take the order (within 5 s) and
/// carry it out by themselves; dhclient is waited for, up to 60 s.
///
/// ERROR_NOT_SUPPORTED where none of them manages the interface, or it can't do this (systemd-networkd
/// gives a lease back only with the interface); ERROR_ACCESS_DENIED without the right to;
/// ERROR_FILE_NOT_FOUND for an interface that isn't there; ERROR_TIMEOUT; ERROR_GEN_FAILURE when it was tried
/// and failed.
using TIpChangeAddress = std::uint32_t (*)(const IP_ADAPTER_INDEX_MAP* AInterface);

enum TMIB_NOTIFICATION_TYPE : std::uint8_t {
    MibParameterNotification, // something about the interface changed
    MibAddInstance,
    MibDeleteInstance,
    MibInitialNotification, // the registration stands
};

/// An interface in one family.
struct MIB_IPINTERFACE_ROW
{
    std::uint16_t Family = 0; // AF_INET, AF_INET6
    std::uint32_t InterfaceIndex = 0;
    std::uint32_t NlMtu = 0;
    bool Connected = false; // up, with a carrier
};

/// Borrowed for the length of the call; ARow is nullptr for MibInitialNotification.
using TIpInterfaceChangeCallback = void (*)(void* AContext, const MIB_IPINTERFACE_ROW* ARow,
                                            TMIB_NOTIFICATION_TYPE AType);

/// Calls ACallback for each change of an interface, on a thread of its own, until
/// CancelMibChangeNotify2. Instances are pairs of interface and family; parameters are the name, the hardware
/// address, MTU and state of the interface, its addresses, and the gateways of default routes through it.
/// More changes than the callback keeps up with run together, but what became of the interfaces in the end is
/// always told.
using TNotifyIpInterfaceChange = std::uint32_t (*)(std::uint32_t AFamily,
                                                   TIpInterfaceChangeCallback ACallback, void* AContext,
                                                   bool AInitialNotification, THandle* ANotification);

/// Ends a notification: when the call returns, no callback runs and none will. From within its own callback
/// it returns at once, and that call is the last one.
using TCancelMibChangeNotify2 = std::uint32_t (*)(THandle ANotification);
