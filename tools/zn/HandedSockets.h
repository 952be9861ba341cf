#pragma once

#include <string>
#include <vector>

#include "tools/zn/Serve.h"
#include "uZnHTTPServer.h"

namespace Zn
{

/// The URLs to serve at, with sockets that a service manager handed in: the command line's, which have to use
/// each socket's port, else all hosts on each port, by https where the socket's name is "https". Raises
/// Exception for a socket that no URL uses.
std::vector<std::string> BindingsFor(const TServeOptions& AOptions,
                                     const std::vector<TZnListenSocket>& ASockets);

} // namespace Zn
