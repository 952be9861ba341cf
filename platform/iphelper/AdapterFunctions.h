#pragma once

#include <span>

#include "platform/loader/Loader.h"

namespace Zn
{

/// The functions of Adapters.h, for the table of Iphlpapi.dll.
std::span<const TZnExport> AdapterExports();

} // namespace Zn
