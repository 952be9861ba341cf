#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The message pipes as function tables, by the name they are looked up by.
std::span<const TZnExport> KernelPipeExports();   // "Kernel32.dll"
std::span<const TZnExport> NetworkLogonExports(); // "Mpr.dll"
