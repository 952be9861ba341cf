#include "platform/tcp/TcpSocket.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Deadline.h"

namespace Zn
{
namespace
{

std::uint32_t ConnectResult(int AFd)
{
    int Error = 0;
    socklen_t Length = sizeof Error;
    if (getsockopt(AFd, SOL_SOCKET, SO_ERROR, &Error, &Length) != 0)
        Error = errno;
    return SocketErrorFromErrno(Error);
}

Endpoint NameOf(int AFd, int (*AAsk)(int, sockaddr*, socklen_t*))
{
    Endpoint Result;
    Result.Length = sizeof Result.Address;
    if (AFd < 0 || AAsk(AFd, reinterpret_cast<sockaddr*>(&Result.Address), &Result.Length) != 0)
        return {};
    return Result;
}

/// Sends or receives: tries at once, waits where that would block, and tries again.
template <class TCall, class TWait>
std::uint32_t Transfer(const TCall& ACall, const TWait& AWait, std::size_t& ACount)
{
    ACount = 0;
    for (;;) {
        const ssize_t Result = ACall();
        if (Result >= 0) {
            ACount = static_cast<std::size_t>(Result);
            return NO_ERROR;
        }
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK)
            return SocketErrorFromErrno(errno);
        if (const std::uint32_t Error = AWait(); Error != NO_ERROR)
            return Error;
    }
}

} // namespace

std::uint32_t TcpSocket::Connect(const Endpoint& ATarget, std::chrono::milliseconds ATimeout)
{
    Close();
    FFd = socket(ATarget.Get()->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    if (FFd < 0)
        return SocketErrorFromErrno(errno);
    const int On = 1; // a command leaves at once; it is written whole
    setsockopt(FFd, IPPROTO_TCP, TCP_NODELAY, &On, sizeof On);
    std::uint32_t Error = NO_ERROR;
    if (connect(FFd, ATarget.Get(), ATarget.Length) != 0) {
        // Interrupted or not, the system goes on connecting.
        Error =
            errno == EINPROGRESS || errno == EINTR ? WaitFor(POLLOUT, ATimeout) : SocketErrorFromErrno(errno);
        if (Error == NO_ERROR)
            Error = ConnectResult(FFd);
    }
    if (Error != NO_ERROR)
        Close();
    return Error;
}

void TcpSocket::Close()
{
    if (FFd >= 0)
        close(std::exchange(FFd, -1));
}

bool TcpSocket::WaitForData(std::chrono::milliseconds ATimeout)
{
    return FFd >= 0 && WaitFor(POLLIN, ATimeout) == NO_ERROR;
}

std::uint32_t TcpSocket::Receive(void* ABuffer, std::size_t ASize, std::chrono::milliseconds ATimeout,
                                 std::size_t& ACount)
{
    if (FFd < 0)
        return WSAENOTCONN;
    return Transfer([&] { return recv(FFd, ABuffer, ASize, 0); }, [&] { return WaitFor(POLLIN, ATimeout); },
                    ACount);
}

std::uint32_t TcpSocket::Send(const void* ABuffer, std::size_t ASize, std::chrono::milliseconds ATimeout,
                              std::size_t& ACount)
{
    if (FFd < 0)
        return WSAENOTCONN;
    return Transfer([&] { return send(FFd, ABuffer, ASize, MSG_NOSIGNAL); },
                    [&] { return WaitFor(POLLOUT, ATimeout); }, ACount);
}

Endpoint TcpSocket::Local() const
{
    return NameOf(FFd, getsockname);
}

Endpoint TcpSocket::Remote() const
{
    return NameOf(FFd, getpeername);
}

std::uint32_t TcpSocket::WaitFor(short AEvents, std::chrono::milliseconds ATimeout) const
{
    const auto Count = std::clamp<std::chrono::milliseconds::rep>(ATimeout.count(), 0, 0x7FFFFFFE);
    const Deadline End(static_cast<std::uint32_t>(Count));
    pollfd Socket{FFd, AEvents, 0};
    for (;;) {
        const int Ready = poll(&Socket, 1, End.PollTimeout());
        if (Ready > 0)
            return NO_ERROR;
        if (Ready == 0)
            return WSAETIMEDOUT;
        if (errno != EINTR)
            return SocketErrorFromErrno(errno);
    }
}

} // namespace Zn
