#include "platform/pipes/PipeStream.h"

#include <cerrno>

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Deadline.h"

namespace Zn
{

namespace
{

constexpr std::uint32_t cLookAgain = 1000;

ssize_t Receive(int ASocket, std::span<std::byte> ARoom, int AFlags)
{
    ssize_t Count;
    do {
        Count = recv(ASocket, ARoom.data(), ARoom.size(), AFlags);
    } while (Count < 0 && errno == EINTR);
    return Count;
}

/// Drops what was sent already from the front.
void Advance(msghdr& AMessage, std::size_t ACount)
{
    while (AMessage.msg_iovlen > 0 && ACount >= AMessage.msg_iov->iov_len) {
        ACount -= AMessage.msg_iov->iov_len;
        ++AMessage.msg_iov;
        --AMessage.msg_iovlen;
    }
    if (ACount != 0) {
        AMessage.msg_iov->iov_base = static_cast<std::byte*>(AMessage.msg_iov->iov_base) + ACount;
        AMessage.msg_iov->iov_len -= ACount;
    }
}

iovec Vector(std::span<const std::byte> ABytes)
{
    return {const_cast<std::byte*>(ABytes.data()), ABytes.size()};
}

} // namespace

PipeStream::Outcome PipeStream::Ended(std::uint32_t AOtherwise) const
{
    const std::uint32_t Error = FEndError.load();
    return {Error != 0 ? Error : AOtherwise, 0};
}

PipeStream::Outcome PipeStream::Judge(MessageReader::State AState, std::size_t AFilled)
{
    switch (AState) {
    case MessageReader::State::Refused:
        End(ERROR_INVALID_DATA);
        return Ended(ERROR_INVALID_DATA);
    case MessageReader::State::Complete:
        return {NO_ERROR, static_cast<std::uint32_t>(AFilled)};
    default:
        return {ERROR_MORE_DATA, static_cast<std::uint32_t>(AFilled)};
    }
}

PipeStream::Outcome PipeStream::Read(std::span<std::byte> AChunk)
{
    std::size_t Filled = 0;
    for (;;) {
        const auto Taken = FReader.Take(AChunk.subspan(Filled));
        Filled += Taken.Count;
        if (Taken.Status != MessageReader::State::NeedMore)
            return Judge(Taken.Status, Filled);
        // Where the rest of the chunk is this message's, it needs no way round through the buffer.
        const auto Rest = AChunk.subspan(Filled);
        const bool IsDirect = FReader.DirectLength() >= Rest.size();
        const ssize_t Received = IsDirect ? Receive(FSocket.Get(), Rest, MSG_WAITALL) : ReceiveIntoBuffer();
        if (Received <= 0)
            return Ended(ERROR_BROKEN_PIPE);
        const auto Count = static_cast<std::size_t>(Received);
        if (!IsDirect) {
            FReader.Added(Count);
            continue;
        }
        FReader.PassedBy(Count);
        Filled += Count;
        if (Count == Rest.size()) // less: a signal came
            return Judge(FReader.Finish(), Filled);
    }
}

ssize_t PipeStream::ReceiveIntoBuffer()
{
    // Behind its beginning the rest of a message is on its way, and nobody is asked to give a turn up for it.
    if (FSeat && FReader.IsAtRest() && FSeat->IsCalled())
        return ReceiveInTurn(FReader.Room());
    FIsDrained = false;
    return Receive(FSocket.Get(), FReader.Room(), 0);
}

ssize_t PipeStream::ReceiveInTurn(std::span<std::byte> ARoom)
{
    // What a receive leaves behind calls nobody again. One that didn't fill its room has left nothing, unless
    // the peer passes descriptors along, which cuts it short: so the first wait has an end.
    std::uint32_t Limit = cLookAgain;
    for (;;) {
        if (FIsDrained)
            FSeat->AwaitCall(Limit);
        const ssize_t Count = Receive(FSocket.Get(), ARoom, MSG_DONTWAIT);
        if (Count >= 0 || errno != EAGAIN) {
            FIsDrained = Count > 0 && static_cast<std::size_t>(Count) < ARoom.size();
            return Count;
        }
        FIsDrained = true;
        Limit = INFINITE;
    }
}

bool PipeStream::IsReadable() const
{
    if (FReader.HasBytes())
        return true;
    pollfd Entry{FSocket.Get(), POLLIN, 0};
    return poll(&Entry, 1, 0) > 0;
}

PipeStream::Outcome PipeStream::Write(std::span<const std::byte> AHead, std::span<const std::byte> ABody)
{
    if (FEndError.load() != 0)
        return Ended(ERROR_NO_DATA);
    const std::size_t Length = AHead.size() + ABody.size();
    if (Length > MessageReader::cMaxMessage)
        return {ERROR_INVALID_PARAMETER, 0};
    const auto Prefix = MessagePrefix(static_cast<std::uint32_t>(Length));
    iovec Parts[] = {Vector(Prefix), Vector(AHead), Vector(ABody)};
    msghdr Message{};
    Message.msg_iov = Parts;
    Message.msg_iovlen = std::size(Parts);
    std::size_t Unsent = Prefix.size() + Length;
    while (Unsent > 0) {
        const ssize_t Sent = sendmsg(FSocket.Get(), &Message, MSG_NOSIGNAL);
        if (Sent < 0 && errno == EINTR)
            continue;
        if (Sent < 0) {
            // A message cut in two can't be taken up again, and a reader would learn nothing of it.
            const auto Failure = Ended(ERROR_NO_DATA);
            End(ERROR_BROKEN_PIPE);
            return Failure;
        }
        Unsent -= static_cast<std::size_t>(Sent);
        if (Unsent > 0)
            Advance(Message, static_cast<std::size_t>(Sent));
    }
    return {NO_ERROR, static_cast<std::uint32_t>(Length)};
}

void PipeStream::End(std::uint32_t AError)
{
    std::uint32_t Open = 0;
    FEndError.compare_exchange_strong(Open, AError);
    shutdown(FSocket.Get(), SHUT_RDWR);
}

} // namespace Zn
