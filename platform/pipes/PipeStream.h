#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/pipes/FileDescriptor.h"
#include "platform/pipes/MessageReader.h"
#include "platform/pipes/PipeTurns.h"
#include "platform/pipes/Pipes.h"

namespace Zn
{

/// What keeps a stream alive that ends elsewhere than at its socket: the way to another host.
class PipeRoute
{
public:
    virtual ~PipeRoute() = default;
};

/// One connected pipe: messages over a blocking stream socket.
///
/// A read in its steady state is one recv and a write one sendmsg: a message is gathered from its
/// prefix and its parts, and a receive takes all that is there. A thread that waits in one of them
/// is woken by shutdown(2), so that no poll is paid for each message.
///
/// Threads: one reads, one writes, any one calls End.
class PipeStream
{
public:
    struct Outcome
    {
        std::uint32_t Error;
        std::uint32_t Count;
    };

    explicit PipeStream(FileDescriptor ASocket, std::unique_ptr<PipeRoute> ARoute = nullptr)
        : FSocket(std::move(ASocket)), FRoute(std::move(ARoute))
    {
    }
    /// A server's end, which is read in turns with the others of ATurns.
    PipeStream(FileDescriptor ASocket, std::shared_ptr<PipeTurns> ATurns)
        : FSocket(std::move(ASocket)),
          FSeat(std::make_unique<PipeTurns::Seat>(std::move(ATurns), FSocket.Get()))
    {
    }

    /// The next chunk. 0, ERROR_MORE_DATA, or why there is none.
    Outcome Read(std::span<std::byte> AChunk);
    /// Read will end the present message without waiting.
    bool HasMessageEnd(std::size_t ASize) const { return FReader.HasMessageEnd(ASize); }
    /// How many bytes Read has still to give of the present message or, between two, of the next one; 0: not
    /// known.
    std::uint32_t RestOfMessage() const { return FReader.RestOfMessage(); }
    /// Something is here to be read: the beginning of a message, or the end.
    bool IsReadable() const;

    /// One message of AHead and ABody.
    Outcome Write(std::span<const std::byte> AHead, std::span<const std::byte> ABody);

    /// Has both ends see the end; reads and writes here fail with AError from now on. The first one counts.
    void End(std::uint32_t AError);

    /// False for a route: its socket's peer is this process.
    bool HasPeer() const { return !FRoute; }
    int Fd() const { return FSocket.Get(); }

private:
    ssize_t ReceiveIntoBuffer();
    ssize_t ReceiveInTurn(std::span<std::byte> ARoom);
    Outcome Judge(MessageReader::State AState, std::size_t AFilled);
    Outcome Ended(std::uint32_t AOtherwise) const;

    FileDescriptor FSocket;
    std::unique_ptr<PipeTurns::Seat> FSeat; // of a server
    bool FIsDrained = false;                // the last receive took all that was there
    std::unique_ptr<PipeRoute> FRoute;      // of a client of another host
    MessageReader FReader;
    std::atomic<std::uint32_t> FEndError{0};
};

} // namespace Zn
