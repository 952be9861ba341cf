#pragma once

#include <atomic>
#include <cstdint>

namespace Zn
{

class Socket;

/// How long a transfer waits for a peer that sends or reads slowly.
///
/// Counts only time spent waiting for the peer, in windows of TransferWait: each window has to bring
/// MinBytesPerSecond on average, or the peer has had its time. So a peer that stops altogether is left after
/// at most two windows, however much it took before.
class Patience
{
public:
    enum class Direction { Read, Write };

    /// Waits for the socket after ATransferred bytes in all. False: give up (time is over, or AAbandoned was
    /// set).
    bool Wait(const Socket& ASocket, Direction ADirection, std::uint64_t ATransferred,
              const std::atomic<bool>& AAbandoned, std::uint32_t ATransferWait,
              std::uint32_t AMinBytesPerSecond);

private:
    std::int64_t FWaited = 0;             // ms in this window
    std::uint64_t FTransferredBefore = 0; // when this window began
};

} // namespace Zn
