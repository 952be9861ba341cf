#pragma once

#include "platform/wininet/Wininet.h"

namespace Zn::Wininet
{

/// Calls the dialog that is registered; 1223 where there is none. No lock of the engine is held meanwhile.
std::uint32_t AskUser(TZnInternetErrorQuestion& AQuestion);

} // namespace Zn::Wininet
