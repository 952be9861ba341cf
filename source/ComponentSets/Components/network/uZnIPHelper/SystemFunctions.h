#pragma once

#include "platform/Api.h"
#include "platform/icmp/Icmp.h"
#include "platform/iphelper/Adapters.h"
#include "platform/iphelper/Functions.h"

/// Starts the socket layer and looks up the system's address functions. Every operation that needs
/// them calls it first; after the first success it costs one load. Raises Exception where the
/// socket layer or one of the libraries isn't there, and goes on from there at the next call. Any
/// thread.
ZN_API void InitializeWinsock();

namespace Zn
{

/// What InitializeWinsock found. A function that its library lacks stays nullptr.
struct TSystemFunctions
{
    TGetAddrInfoW GetAddrInfoW = nullptr;
    TFreeaddrinfo FreeAddrInfo = nullptr;
    TRtlIpv4AddressToStringW RtlIpv4AddressToStringW = nullptr;
    TRtlIpv6AddressToStringW RtlIpv6AddressToStringW = nullptr;
    TRtlIpv4StringToAddressW RtlIpv4StringToAddressW = nullptr;
    TRtlIpv6StringToAddressW RtlIpv6StringToAddressW = nullptr;
    TSocket Socket = nullptr;
    TBind Bind = nullptr;
    TSetSockOpt SetSockOpt = nullptr;
    TSendTo SendTo = nullptr;
    TCloseSocket CloseSocket = nullptr;
    TGetHostName GetHostName = nullptr;
    TInetAddr InetAddr = nullptr;
    TIcmpCreateFile IcmpCreateFile = nullptr;
    TIcmpCreateFile Icmp6CreateFile = nullptr;
    TIcmpSendEcho IcmpSendEcho = nullptr;
    TIcmp6SendEcho2 Icmp6SendEcho2 = nullptr;
    TIcmpCloseHandle IcmpCloseHandle = nullptr;
    TConvertLengthToIpv4Mask ConvertLengthToIpv4Mask = nullptr;
    TGetAdaptersAddresses GetAdaptersAddresses = nullptr;
    TGetInterfaceInfo GetInterfaceInfo = nullptr;
    TIpChangeAddress IpReleaseAddress = nullptr;
    TIpChangeAddress IpRenewAddress = nullptr;
    TNotifyIpInterfaceChange NotifyIpInterfaceChange = nullptr;
    TCancelMibChangeNotify2 CancelMibChangeNotify2 = nullptr;
};

/// Behind InitializeWinsock, from any thread.
const TSystemFunctions& SystemFunctions();

/// Gives the libraries back and forgets the functions; runs at the end of the program. No other
/// operation of the unit may run meanwhile. The next InitializeWinsock starts anew.
void FinalizeWinsock();

} // namespace Zn
