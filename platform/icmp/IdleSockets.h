#pragma once

#include <chrono>
#include <memory>
#include <thread>

#include <sys/types.h>

#include "platform/icmp/EchoSocket.h"

namespace Zn
{

/// A socket for echoes and where it is at home.
struct THomedSocket
{
    std::unique_ptr<TEchoSocket> Socket;
    std::thread::id Thread; // the one that took it
    dev_t Device = 0;       // the network namespace it was made in, by the file of /proc that stands for it
    ino_t Inode = 0;
    std::chrono::steady_clock::time_point LastUse{};
};

/// A socket for AFamily: the thread's idle one, or a new one. Empty with the reason in AErrno. Making one
/// costs as much as an echo over loopback, so each thread keeps one of each family when it is done.
///
/// A thread may change its network namespace, and then needs a socket made there. To ask for the namespace
/// costs half an echo, so it is done when the socket was idle for a while: a thread that goes to another
/// namespace and sends an echo there within 100 microseconds of its last one may find its old socket.
///
/// After a fork the child starts without: the two would take each other's answers.
THomedSocket TakeEchoSocket(int AFamily, int& AErrno);

/// Gives a socket back. It is closed where it can't be used again.
void GiveEchoSocket(int AFamily, THomedSocket ASocket);

} // namespace Zn
