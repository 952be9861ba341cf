#pragma once

/// The binding of WinHTTP: the only place that calls the library. Everything above it sees typed flags, UTF-8
/// texts and exceptions; another HTTP engine comes in here, as another library under the name "Winhttp.dll".

#include "uZnWinHTTPH/Exceptions.h"
#include "uZnWinHTTPH/Functions.h"
#include "uZnWinHTTPH/Library.h"
