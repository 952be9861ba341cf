#pragma once

/// Sockets that the service manager opened and hands to the process it starts (sd_listen_fds(3)).

#include <cstdint>
#include <string>
#include <vector>

namespace Zn
{

/// A listening TCP socket.
struct HandedSocket
{
    int Fd;
    std::string Name;   // of the socket unit, or what it says there (FileDescriptorName=)
    std::uint16_t Port; // that it listens on
};

/// Reads LISTEN_PID, LISTEN_FDS and LISTEN_FDNAMES and takes them out of the environment, so that no child
/// takes the sockets for its own; each is set to be closed by exec. Empty without them, and where LISTEN_PID
/// is another process.
///
/// 0, or with AProblem telling which descriptor: 87 for variables that make no sense, 10038 for what is no
/// socket, 10047 for another family than IPv4 and IPv6, 10044 for another type than a stream, 10022 for a
/// socket that doesn't listen. Called once, before other threads run.
std::uint32_t TakeHandedSockets(std::vector<HandedSocket>& AResult, std::string& AProblem);

/// The port of a listening TCP socket, or one of the numbers above.
std::uint32_t CheckListening(int AFd, std::uint16_t& APort);

} // namespace Zn
