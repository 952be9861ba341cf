#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <unordered_map>

#include "platform/pipes/FileDescriptor.h"
#include "platform/sync/Event.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Has the clients of a crowded pipe served in turns.
///
/// Each connection is read by a thread of its own. Left to the scheduler, one client and the thread that
/// serves it wake each other over and over while hundreds of others wait: some clients' answers take twenty
/// times as long as most. So where more than cCrowd clients are connected, their threads don't sleep in their
/// sockets. One thread asks the kernel who has sent something, and calls their threads in that order:
///
///   sockets --epoll--> Run --Seat--> the connection's thread: one recv, and what came with it
///
/// A call costs a hand-over between two threads; in a small company nobody pays for it.
///
/// Threads: any; a seat is waited on by one thread.
class PipeTurns
{
public:
    static constexpr std::size_t cCrowd = 32;

    PipeTurns() = default;
    ~PipeTurns();
    PipeTurns(const PipeTurns&) = delete;
    PipeTurns& operator=(const PipeTurns&) = delete;

    /// One connection's place, for as long as its socket is open.
    class Seat
    {
    public:
        Seat(std::shared_ptr<PipeTurns> ATurns, int ASocket);
        ~Seat();
        Seat(const Seat&) = delete;
        Seat& operator=(const Seat&) = delete;

        /// This connection's bytes are to be waited for by AwaitCall. Asked before each wait: companies grow
        /// and shrink.
        bool IsCalled();
        /// Until something has come behind what was received: bytes or the end. A call may also be for
        /// nothing. False when ATime, in ms, has passed.
        bool AwaitCall(std::uint32_t ATime) { return FCall.WaitFor(ATime); }

    private:
        friend class PipeTurns;
        const std::shared_ptr<PipeTurns> FTurns;
        const int FSocket;
        std::uint64_t FNumber = 0; // 0: not called
        TZnKernelEvent FCall{false};
    };

private:
    bool Begin() ZN_REQUIRES(FMutex);
    void Add(Seat& ASeat);
    void Remove(Seat& ASeat);
    void Run();

    std::atomic<std::size_t> FCompany{0}; // seats, called or not

    Mutex FMutex;
    std::unordered_map<std::uint64_t, Seat*> FSeats ZN_GUARDED_BY(FMutex);
    std::uint64_t FLastNumber ZN_GUARDED_BY(FMutex) = 0;
    FileDescriptor FPoll; // set once, in Begin
    FileDescriptor FEnd;  // readable: Run ends
    std::thread FThread;
};

} // namespace Zn
