#pragma once

#include "platform/iphelper/Adapters.h"

namespace Zn
{

// See Adapters.h.
std::uint32_t NotifyIpInterfaceChange(std::uint32_t AFamily, TIpInterfaceChangeCallback ACallback,
                                      void* AContext, bool AInitialNotification, THandle* ANotification);
std::uint32_t CancelMibChangeNotify2(THandle ANotification);

} // namespace Zn
