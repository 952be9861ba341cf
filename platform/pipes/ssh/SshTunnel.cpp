#include "platform/pipes/ssh/SshTunnel.h"

#include <algorithm>
#include <cerrno>

#include <libssh/libssh.h>
#include <poll.h>
#include <sys/socket.h>

namespace Zn
{

SshTunnel::SshTunnel(std::unique_ptr<SshSession> ASession, FileDescriptor ASocket)
    : FSession(std::move(ASession)), FSocket(std::move(ASocket)), FThread([this] { Run(); })
{
}

SshTunnel::~SshTunnel()
{
    shutdown(FSocket.Get(), SHUT_RDWR); // wakes the thread, which finds the end
    FThread.join();
}

void SshTunnel::Run()
{
    ssh_set_blocking(FSession->Session(), 0);
    for (;;) {
        bool HasMoved = false;
        for (const auto Way :
             {&SshTunnel::FromChannel, &SshTunnel::ToSocket, &SshTunnel::FromSocket, &SshTunnel::ToChannel}) {
            const Step Done = (this->*Way)();
            if (Done == Step::Ended) {
                shutdown(FSocket.Get(), SHUT_RDWR);
                ssh_channel_close(FSession->Channel());
                ssh_blocking_flush(FSession->Session(), 100);
                return;
            }
            HasMoved = HasMoved || Done == Step::Moved;
        }
        if (!HasMoved)
            Wait();
    }
}

SshTunnel::Step SshTunnel::FromChannel()
{
    ssh_channel Channel = FSession->Channel();
    if (!FInbound.IsEmpty()) {
        // Takes in what else the other host says: that it has room again, above all.
        return ssh_channel_poll(Channel, 0) == SSH_ERROR ? Step::Ended : Step::Nothing;
    }
    const int Count = ssh_channel_read_nonblocking(Channel, FInbound.Bytes.data(),
                                                   static_cast<std::uint32_t>(FInbound.Bytes.size()), 0);
    if (Count > 0) {
        FInbound.Fill(static_cast<std::size_t>(Count));
        return Step::Moved;
    }
    const bool IsOpen = (Count == 0 || Count == SSH_AGAIN) && ssh_channel_is_eof(Channel) == 0 &&
                        ssh_channel_is_open(Channel) != 0;
    return IsOpen ? Step::Nothing : Step::Ended;
}

SshTunnel::Step SshTunnel::ToSocket()
{
    if (FInbound.IsEmpty())
        return Step::Nothing;
    const ssize_t Count = send(FSocket.Get(), FInbound.Bytes.data() + FInbound.Begin,
                               FInbound.End - FInbound.Begin, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (Count < 0)
        return errno == EAGAIN || errno == EINTR ? Step::Nothing : Step::Ended;
    FInbound.Took(static_cast<std::size_t>(Count));
    return Step::Moved;
}

SshTunnel::Step SshTunnel::FromSocket()
{
    if (!FOutbound.IsEmpty())
        return Step::Nothing;
    const ssize_t Count = recv(FSocket.Get(), FOutbound.Bytes.data(), FOutbound.Bytes.size(), MSG_DONTWAIT);
    if (Count < 0)
        return errno == EAGAIN || errno == EINTR ? Step::Nothing : Step::Ended;
    if (Count == 0)
        return Step::Ended;
    FOutbound.Fill(static_cast<std::size_t>(Count));
    return Step::Moved;
}

SshTunnel::Step SshTunnel::ToChannel()
{
    ssh_channel Channel = FSession->Channel();
    const std::size_t Room = ssh_channel_window_size(Channel);
    if (FOutbound.IsEmpty() || Room == 0)
        return Step::Nothing;
    // No more than fits: the library would wait for room, and nobody would take what comes meanwhile.
    const std::size_t Length = std::min(Room, FOutbound.End - FOutbound.Begin);
    const int Count = ssh_channel_write(Channel, FOutbound.Bytes.data() + FOutbound.Begin,
                                        static_cast<std::uint32_t>(Length));
    if (Count == SSH_AGAIN)
        return Step::Nothing;
    if (Count < 0)
        return Step::Ended;
    FOutbound.Took(static_cast<std::size_t>(Count));
    return Count > 0 ? Step::Moved : Step::Nothing;
}

void SshTunnel::Wait()
{
    const bool HasUnsent = (ssh_get_poll_flags(FSession->Session()) & SSH_WRITE_PENDING) != 0;
    const auto Events = [](bool AReads, bool AWrites) {
        return static_cast<short>((AReads ? POLLIN : 0) | (AWrites ? POLLOUT : 0));
    };
    pollfd Entries[] = {
        {ssh_get_fd(FSession->Session()), Events(true, HasUnsent), 0},
        {FSocket.Get(), Events(FOutbound.IsEmpty(), !FInbound.IsEmpty()), 0},
    };
    poll(Entries, 2, -1);
}

} // namespace Zn
