#pragma once

#include "uZnHTTPTransport/Binding.h"

namespace Zn
{

/// The calls of uZnWinHTTPH, as both transports make them.
const FunctionBinding& WinHTTPBinding();

} // namespace Zn
