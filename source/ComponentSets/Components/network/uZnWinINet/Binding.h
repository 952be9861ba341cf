#pragma once

#include "uZnHTTPTransport/Binding.h"

namespace Zn
{

/// The calls of uZnWinINetH, as both transports make them.
const FunctionBinding& WinINetBinding();

} // namespace Zn
