#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The makers of the firewall's objects, looked up as "Ole32.dll".
std::span<const TZnExport> Ole32Exports();
