#pragma once

#include <string>

#include "platform/Api.h"

class TStringList;

/// The hardware address of the adapter with a way out, else of one with an IP address, else of any, in the
/// form AA:BB:CC:DD:EE:FF; empty where there is no adapter. Any thread.
ZN_API std::string ZnGetMacAddress();

/// This machine's name.
ZN_API std::string ZnGetHostName();

/// Adds the addresses of the adapters that have a gateway to AList, so that loopback stays out.
ZN_API void ZnGetLocalIPs(TStringList& AList, bool AIPv4, bool AIPv6);
