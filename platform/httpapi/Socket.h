#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

struct iovec;

namespace Zn
{

/// What became of one step on a socket.
enum class IoState { Done, WouldBlock, Ended, Failed };

struct IoResult
{
    IoState State;
    std::size_t Bytes = 0;
    bool Emptied = false; // a receive took all there was: more brings a new event
};

class TlsPort;
class TlsStream;
struct TlsPeer;

/// The byte stream of one connection, over TCP or over TLS on TCP: every read and write of the service passes
/// here, none blocks.
///
/// Owns the descriptor. One thread at a time.
class Socket
{
public:
    Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket();

    /// ATls: nullptr for plain TCP.
    void Adopt(int AFd, std::shared_ptr<const TlsPort> ATls);
    /// Tells a TLS peer that this is the end, as far as that can be done at once.
    void Close();
    int Fd() const { return FFd; }
    bool IsSecure() const { return FTls != nullptr; }

    /// Over TLS, to be called with each event until it gives Done; nothing else before. Done at once over
    /// TCP.
    IoState Handshake();
    /// A handshake failed because the peer speaks plain HTTP.
    bool SawPlainHttp() const;
    /// nullptr over TCP, or before the handshake is done.
    const TlsPeer* Peer() const;

    IoResult Receive(void* ABuffer, std::size_t ALength);
    /// AMore: another send follows at once, so a partly filled segment may wait for it.
    IoResult Send(std::span<const iovec> AParts, bool AMore);
    /// At most ALength bytes of a file from AOffset on. Ended: the file is shorter.
    IoResult SendFile(int AFile, std::uint64_t AOffset, std::uint64_t ALength);
    /// No more sends; the peer sees the end of the stream behind what was sent.
    void ShutdownSend();
    /// Sends past TLS, to a peer that doesn't speak it.
    void SendPlain(std::string_view AText);

    /// The peer has sent something that wasn't received yet.
    bool HasUnread() const;

    /// Received bytes of the connection itself, ahead of TLS, which stay to be received.
    IoResult Peek(void* ABuffer, std::size_t ALength) const;
    /// Takes bytes away that Peek has shown.
    void Skip(std::size_t ALength);

    /// Bytes were received that no Receive has given yet; no event will tell of them.
    bool HoldsInput() const;

    /// For a connection that nothing is to be expected of for a while: keeps no memory for what may come.
    void ReleaseBuffers();

    /// The last step that would have blocked, a receive too, waits for room to send (a TLS key update).
    bool WantsWrite() const;

private:
    int FFd = -1;
    std::unique_ptr<TlsStream> FTls;
};

/// Waits until AFd can be read (or written), at most AMilliseconds. False on time-out.
bool WaitReadable(int AFd, std::uint32_t AMilliseconds);
bool WaitWritable(int AFd, std::uint32_t AMilliseconds);

/// Milliseconds on a clock that never goes back; good to a few milliseconds, and cheap.
std::int64_t CoarseNow();

} // namespace Zn
