#include "platform/httpapi/Socket.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/httpapi/tls/TlsStream.h"

namespace Zn
{
namespace
{

IoResult FromSystem(ssize_t AResult)
{
    if (AResult >= 0)
        return {IoState::Done, static_cast<std::size_t>(AResult)};
    if (errno == EAGAIN || errno == EWOULDBLOCK)
        return {IoState::WouldBlock};
    return {IoState::Failed};
}

/// sendfile has no MSG_NOSIGNAL. SIGPIPE is held back on this thread for the call, and taken away
/// if the call raised it, so that the application's own handling of the signal stays as it is.
class SigPipeGuard
{
public:
    SigPipeGuard()
    {
        sigemptyset(&FPipe);
        sigaddset(&FPipe, SIGPIPE);
        sigset_t Pending;
        sigpending(&Pending);
        FWasPending = sigismember(&Pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &FPipe, &FOld);
    }
    SigPipeGuard(const SigPipeGuard&) = delete;
    SigPipeGuard& operator=(const SigPipeGuard&) = delete;
    ~SigPipeGuard()
    {
        if (FRaised && !FWasPending) {
            const timespec AtOnce{0, 0};
            while (sigtimedwait(&FPipe, nullptr, &AtOnce) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &FOld, nullptr);
    }
    void Raised() { FRaised = true; }

private:
    sigset_t FPipe{};
    sigset_t FOld{};
    bool FWasPending = false;
    bool FRaised = false;
};

bool WaitFor(int AFd, short AEvents, std::uint32_t AMilliseconds)
{
    const std::int64_t Deadline = CoarseNow() + AMilliseconds;
    pollfd Entry{AFd, AEvents, 0};
    for (;;) {
        const std::int64_t Left = std::clamp<std::int64_t>(Deadline - CoarseNow(), 0, 1'000'000'000);
        const int Result = poll(&Entry, 1, static_cast<int>(Left));
        if (Result > 0)
            return true;
        if (Result == 0)
            return false;
        if (errno != EINTR)
            return true; // the next step on the socket tells what is wrong
    }
}

} // namespace

Socket::Socket() = default;

Socket::~Socket()
{
    Close();
}

void Socket::Adopt(int AFd, std::shared_ptr<const TlsPort> ATls)
{
    Close();
    FFd = AFd;
    if (ATls)
        FTls = std::make_unique<TlsStream>(std::move(ATls), AFd);
}

void Socket::Close()
{
    if (FTls)
        FTls->Shutdown();
    FTls.reset();
    if (FFd >= 0)
        close(FFd);
    FFd = -1;
}

IoState Socket::Handshake()
{
    return FTls && !FTls->IsEstablished() ? FTls->Handshake() : IoState::Done;
}

bool Socket::SawPlainHttp() const
{
    return FTls && FTls->SawPlainHttp();
}

const TlsPeer* Socket::Peer() const
{
    return FTls && FTls->IsEstablished() ? &FTls->Peer() : nullptr;
}

bool Socket::HoldsInput() const
{
    return FTls && FTls->HoldsInput();
}

bool Socket::HasUnread() const
{
    char Next;
    return HoldsInput() || recv(FFd, &Next, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

IoResult Socket::Peek(void* ABuffer, std::size_t ALength) const
{
    ssize_t Result;
    do
        Result = recv(FFd, ABuffer, ALength, MSG_PEEK);
    while (Result < 0 && errno == EINTR);
    return Result == 0 ? IoResult{IoState::Ended} : FromSystem(Result);
}

void Socket::Skip(std::size_t ALength)
{
    char Skipped[512];
    while (ALength > 0) {
        const ssize_t Result = recv(FFd, Skipped, std::min(ALength, sizeof Skipped), 0);
        if (Result > 0)
            ALength -= static_cast<std::size_t>(Result);
        else if (Result == 0 || errno != EINTR)
            return; // can't be: they are there
    }
}

bool Socket::WantsWrite() const
{
    return FTls && FTls->WantsWrite();
}

void Socket::ReleaseBuffers()
{
    if (FTls)
        FTls->ReleaseBuffers();
}

IoResult Socket::Receive(void* ABuffer, std::size_t ALength)
{
    if (FTls)
        return FTls->Receive(ABuffer, ALength);
    ssize_t Result;
    do
        Result = recv(FFd, ABuffer, ALength, 0);
    while (Result < 0 && errno == EINTR);
    if (Result == 0 && ALength > 0)
        return {IoState::Ended};
    IoResult Received = FromSystem(Result);
    Received.Emptied = Received.Bytes < ALength; // epoll(7): with an edge-triggered event, that was all
    return Received;
}

IoResult Socket::Send(std::span<const iovec> AParts, bool AMore)
{
    if (FTls)
        return FTls->Send(AParts);
    msghdr Message{};
    Message.msg_iov = const_cast<iovec*>(AParts.data()); // sendmsg only reads them
    Message.msg_iovlen = AParts.size();
    const int Flags = MSG_NOSIGNAL | (AMore ? MSG_MORE : 0);
    ssize_t Result;
    do
        Result = sendmsg(FFd, &Message, Flags);
    while (Result < 0 && errno == EINTR);
    return FromSystem(Result);
}

IoResult Socket::SendFile(int AFile, std::uint64_t AOffset, std::uint64_t ALength)
{
    if (FTls)
        return FTls->SendFile(AFile, AOffset, ALength);
    constexpr std::uint64_t LargestStep = 0x7ffff000; // what the system call takes at once
    SigPipeGuard Guard;
    auto Offset = static_cast<off_t>(AOffset);
    const auto Step = static_cast<std::size_t>(std::min(ALength, LargestStep));
    ssize_t Result;
    do
        Result = sendfile(FFd, AFile, &Offset, Step);
    while (Result < 0 && errno == EINTR);
    if (Result == 0)
        return {IoState::Ended};
    if (Result < 0 && errno == EPIPE)
        Guard.Raised();
    return FromSystem(Result);
}

void Socket::ShutdownSend()
{
    if (FTls)
        FTls->Shutdown();
    shutdown(FFd, SHUT_WR);
}

void Socket::SendPlain(std::string_view AText)
{
    // Into an empty send buffer; a peer that takes nothing gets nothing.
    [[maybe_unused]] const ssize_t Sent = send(FFd, AText.data(), AText.size(), MSG_NOSIGNAL);
}

bool WaitReadable(int AFd, std::uint32_t AMilliseconds)
{
    return WaitFor(AFd, POLLIN | POLLRDHUP, AMilliseconds);
}

bool WaitWritable(int AFd, std::uint32_t AMilliseconds)
{
    return WaitFor(AFd, POLLOUT, AMilliseconds);
}

std::int64_t CoarseNow()
{
    timespec Now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &Now);
    return std::int64_t{Now.tv_sec} * 1000 + Now.tv_nsec / 1'000'000;
}

} // namespace Zn
