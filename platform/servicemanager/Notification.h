#pragma once

#include <string>
#include <string_view>

namespace Zn
{

/// Tells the service manager how the process stands, in lines such as "READY=1" (sd_notify(3)): one datagram
/// to the Unix socket that NOTIFY_SOCKET names. False where nobody asked to be told, or the manager doesn't
/// take it; that is no failure of the service. Never waits. Any thread that no setenv runs beside.
bool NotifyServiceManager(std::string_view AState);

/// "MONOTONIC_USEC=...", which belongs to RELOADING=1.
std::string MonotonicStamp();

} // namespace Zn
