#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The echo functions as a table, under the name "Icmp.dll"; "Iphlpapi.dll" has them too.
std::span<const TZnExport> IcmpExports();
