#pragma once

#include <span>

#include "platform/loader/Loader.h"

/// The HTTP service as a function table, under the name "Httpapi.dll".
std::span<const TZnExport> HttpapiExports();
