#pragma once

/// The wireless service: the records and functions of the library looked up as "WlanAPI.dll". The library is
/// a shared object of its own (libwlanapi.so), so that a machine without it, or without libnl, runs all the
/// rest.
///
/// Threads:   any. Calls on one handle wait for each other.
/// Errors:    0 or a number: 5 no right (CAP_NET_ADMIN), 6 no such handle, 8, 87, 170 a scan is running, 1062
/// the
///            kernel has no wireless networks, 1168 no such interface, 1460 the kernel didn't answer.

#include <cstdint>

#include "platform/interfaces/Interface.h"

/// What an interface is doing.
inline constexpr std::uint32_t wlan_interface_state_not_ready = 0; // switched off
inline constexpr std::uint32_t wlan_interface_state_connected = 1;
inline constexpr std::uint32_t wlan_interface_state_ad_hoc_network_formed = 2;
inline constexpr std::uint32_t wlan_interface_state_disconnected = 4;

struct TWLAN_INTERFACE_INFO
{
    TGUID InterfaceGuid;                   // stays the same until the interface is removed
    char16_t strInterfaceDescription[256]; // the interface's name; ends in a zero
    std::uint32_t isState;
};

struct TWLAN_INTERFACE_INFO_LIST
{
    std::uint32_t dwNumberOfItems;
    std::uint32_t dwIndex;
    TWLAN_INTERFACE_INFO InterfaceInfo[1]; // as many as dwNumberOfItems says
};
using PWLAN_INTERFACE_INFO_LIST = TWLAN_INTERFACE_INFO_LIST*;

struct TDOT11_SSID
{
    std::uint32_t uSSIDLength; // at most 32
    std::uint8_t ucSSID[32];
};
using PDOT11_SSID = TDOT11_SSID*;

/// Information elements for the probe requests of a scan.
struct TWLAN_RAW_DATA
{
    std::uint32_t dwDataSize; // at most 2304
    std::uint8_t DataBlob[1]; // as long as dwDataSize says
};
using PWLAN_RAW_DATA = TWLAN_RAW_DATA*;

/// Versions 1 and 2 are the same here. AReserved is nullptr in all of them.
using TWlanOpenHandle = std::uint32_t (*)(std::uint32_t AClientVersion, void* AReserved,
                                          std::uint32_t* ANegotiatedVersion, std::uint32_t* AHandle);
using TWlanCloseHandle = std::uint32_t (*)(std::uint32_t AHandle, void* AReserved);
/// The list is given back with WlanFreeMemory.
using TWlanEnumInterfaces = std::uint32_t (*)(std::uint32_t AHandle, void* AReserved,
                                              PWLAN_INTERFACE_INFO_LIST* AList);
/// Starts a scan and doesn't wait for its end. ASsid nullptr: for all networks.
using TWlanScan = std::uint32_t (*)(std::uint32_t AHandle, const TGUID* AInterface, const TDOT11_SSID* ASsid,
                                    const TWLAN_RAW_DATA* AData, void* AReserved);
using TWlanFreeMemory = void (*)(void* AMemory);
