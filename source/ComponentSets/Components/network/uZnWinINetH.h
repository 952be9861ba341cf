#pragma once

/// The binding of WinINet: the only place that calls the library. Everything above it sees typed flags, UTF-8
/// texts and exceptions; another HTTP engine comes in here, as another library under the name "Wininet.dll".

#include "uZnWinINetH/ErrorDialog.h"
#include "uZnWinINetH/Exceptions.h"
#include "uZnWinINetH/Functions.h"
#include "uZnWinINetH/Library.h"
