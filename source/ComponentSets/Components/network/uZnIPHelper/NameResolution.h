#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/Api.h"
#include "platform/iphelper/Addresses.h"
#include "uZnIPHelper/AddressText.h"

/// The address of a name or address text, as the system resolves it; the first one where there are
/// several. False where there is none: the address is then zero, and untouched for an empty text.
/// May wait for the system's resolver as long as that allows itself. Any thread.
ZN_API bool ZnStrToIPAddr(const std::string& AText, in_addr& AAddress);
/// The same for IPv6.
ZN_API bool ZnStrToIPAddr(const std::string& AText, IN6_ADDR& AAddress);
/// The same with the scope behind "%"; 0 without one.
ZN_API bool ZnStrToIPAddr(const std::string& AText, IN6_ADDR& AAddress, std::int32_t& AScopeId);

/// The text of AHost's address, without a scope; empty where it has none. The types are tried in
/// their order, the first two at most; no types mean IPv4, then IPv6.
ZN_API std::string ZnResolveHostName(const std::string& AHost);
/// The same with the families to try, the first that has an address counts.
ZN_API std::string ZnResolveHostName(const std::string& AHost, std::span<const TZnIPAddrType> ATypes);
