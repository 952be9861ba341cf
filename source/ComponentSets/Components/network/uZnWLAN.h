#pragma once

/// Thin functions on the system's wireless library, which is loaded at first use: a machine without it runs
/// the program all the same.
///
/// Use:       if (WlanAvailable()) { WlanOpenHandle, WlanEnumInterfaces, WlanScan, WlanCloseHandle }.
/// Threads:   any.
/// Errors:    Exception with "Error: " and the number of the library; docs/errors.md has them. Where the
///            library lacks a function, or isn't there, EAssertionFailed.

#include <cstdint>

#include "platform/Api.h"
#include "platform/wlan/Wlan.h"

/// Whether the library could be loaded. Asked again at each call until it can.
ZN_API bool WlanAvailable();

/// A client's handle; close it with WlanCloseHandle.
ZN_API std::uint32_t WlanOpenHandle(std::uint32_t& ANegotiatedVersion);
/// 0, or the library's number.
ZN_API std::uint32_t WlanCloseHandle(std::uint32_t AHandle);

/// The caller's: give it back with WlanFreeMemory.
ZN_API PWLAN_INTERFACE_INFO_LIST WlanEnumInterfaces(std::uint32_t AHandle);
/// Frees a list that WlanEnumInterfaces gave.
ZN_API void WlanFreeMemory(void* AMemory);

/// Asks an interface to look for networks: for one by its name, or for all without ASsid. AData: information
/// elements to send along; mostly nullptr. The scan goes on after the call.
ZN_API void WlanScan(std::uint32_t AHandle, const TGUID* AInterface, PDOT11_SSID ASsid, PWLAN_RAW_DATA AData);

namespace Zn
{

/// Gives the library back and forgets its functions; runs at the end of the program. No other operation of
/// the unit may run meanwhile. The next use loads it anew.
void FinalizeWLAN();

} // namespace Zn
