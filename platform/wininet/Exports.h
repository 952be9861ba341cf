#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The HTTP client's second function table, under the name "Wininet.dll".
std::span<const TZnExport> WininetExports();
