#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The HTTP client as a function table, under the name "Winhttp.dll".
std::span<const TZnExport> WinhttpExports();
