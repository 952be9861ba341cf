#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The tables of the network information service, by the name they are looked up by.
std::span<const TZnExport> Ws2_32Exports();   // "ws2_32.dll"
std::span<const TZnExport> NtdllExports();    // "Ntdll.dll"
std::span<const TZnExport> IphlpapiExports(); // "Iphlpapi.dll"
