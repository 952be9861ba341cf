#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct iovec;

namespace Zn
{

/// What became of one step on a socket.
enum class IoState { Done, WouldBlock, Ended, Failed };

struct IoResult
{
    IoState State;
    std::size_t Bytes = 0;
};

/// The byte stream of one connection: every read and write of the service passes here, none blocks.
/// Today that is a TCP socket; a TLS session takes its place behind the same five operations.
///
/// Owns the descriptor. One thread at a time.
class Socket
{
public:
    Socket() = default;
    explicit Socket(int AFd) : FFd(AFd) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() { Close(); }

    void Adopt(int AFd);
    void Close();
    bool IsOpen() const { return FFd >= 0; }
    int Fd() const { return FFd; }

    IoResult Receive(void* ABuffer, std::size_t ALength);
    /// AMore: another send follows at once, so a partly filled segment may wait for it.
    IoResult Send(std::span<const iovec> AParts, bool AMore);
    /// At most ALength bytes of a file from AOffset on. Ended: the file is shorter.
    IoResult SendFile(int AFile, std::uint64_t AOffset, std::uint64_t ALength);
    /// No more sends; the peer sees the end of the stream behind what was sent.
    void ShutdownSend();

private:
    int FFd = -1;
};

/// Waits until AFd can be read (or written), at most AMilliseconds. False on time-out.
bool WaitReadable(int AFd, std::uint32_t AMilliseconds);
bool WaitWritable(int AFd, std::uint32_t AMilliseconds);

/// Milliseconds on a clock that never goes back; good to a few milliseconds, and cheap.
std::int64_t CoarseNow();

} // namespace Zn
