#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include <sys/epoll.h>

#include "platform/sync/Mutex.h"

namespace Zn
{

struct Connection;

/// Something that wants the leader's attention.
struct PollEvent
{
    enum class Kind { Connection, Returned, Listener, Nothing } What = Kind::Nothing;
    std::uint64_t Id = 0; // ConnectionId, or the descriptor of a listener
    bool PeerClosed = false;
};

/// The epoll set of the service. Connections are in it edge-triggered for their whole life, so no request
/// costs a system call here; what a worker hands back with more to read comes through a list beside it.
///
/// Threads: Next is the leader's; the others may be called from any thread.
class Poller
{
public:
    Poller();
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;
    ~Poller();

    /// 0, or errno of the descriptor that could not be made.
    int Error() const { return FError; }

    void AddListener(int AFd);
    void RemoveListener(int AFd);
    /// AWritableToo: for TLS, whose handshake may wait for room to send.
    bool AddConnection(int AFd, std::uint64_t AConnectionId, bool AWritableToo);

    /// A connection to be looked at again, without an event of its own.
    void PushReturned(std::uint64_t AConnectionId);

    /// Ends the present or the next wait of the leader early.
    void Wake();

    /// The next event; Nothing on time-out or Wake. What a batch holds beyond it is kept for the next leader.
    PollEvent Next(int AMilliseconds);

private:
    void Refill(int AMilliseconds);
    std::optional<PollEvent> NextOfBatch();

    int FEpoll = -1;
    int FWakeFd = -1;
    int FError = 0;

    // The leader's: one round of events, taken from front to back. What was returned comes in the same
    // rounds, so neither kind keeps the other waiting.
    std::array<epoll_event, 128> FBatch{};
    std::size_t FBatchCount = 0;
    std::size_t FBatchNext = 0;
    std::vector<std::uint64_t> FReturnedBatch;
    std::size_t FReturnedNext = 0;

    std::atomic<bool> FSleeping{false}; // the leader is in, or about to enter, epoll_wait
    Mutex FReturnedLock;
    std::vector<std::uint64_t> FReturned ZN_GUARDED_BY(FReturnedLock);
};

} // namespace Zn
