#pragma once

/// The service manager that started the process: sockets that it hands in, and what it wants to know
/// (sd_listen_fds(3), sd_notify(3)). Without one, there are no sockets and nobody to tell.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Api.h"

/// A listening TCP socket, for TZnCustomHTTPServer::SetListenSockets.
struct TZnListenSocket
{
    int Fd;             // the descriptor, which stays the caller's
    std::string Name;   // what the socket unit calls it
    std::uint16_t Port; // what it is bound to
};

/// Takes LISTEN_PID, LISTEN_FDS and LISTEN_FDNAMES out of the environment and gives the sockets, each set to
/// be closed by exec; none where the variables are meant for another process. Raises EZnHTTPException: 87 for
/// variables that make no sense, 10038, 10047, 10044, 10022 for what is no listening TCP socket over IP. To
/// be called once, before other threads run.
ZN_API std::vector<TZnListenSocket> ZnTakeListenSockets();

/// Where the service stands, for ZnNotifyServiceManager.
enum class TZnServiceState : std::uint8_t { Ready, Reloading, Stopping };

/// Tells the manager the state and a line for its status display; false when there is none to tell. Reloading
/// is followed by Ready. Never waits, never raises.
ZN_API bool ZnNotifyServiceManager(TZnServiceState AState, const std::string& AStatus);
