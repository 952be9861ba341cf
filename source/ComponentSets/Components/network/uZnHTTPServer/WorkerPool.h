#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "common/Locks.h"
#include "platform/Api.h"
#include "uZnHTTPServer/ReceivedRequest.h"

class TZnCustomHTTPServer;
class TZnHTTPServerResponseThread;

namespace Zn
{

/// The workers of a server: grows on demand, never shrinks while the server is active, reuses idle
/// workers first in, first out.
///
/// To wake a thread costs several times what a small answer does, so requests are not paid for with a
/// wake-up each. Of the workers that were handed a request one at a time is on its way; when it begins, it
/// wakes the next. And a worker that has answered takes over what another was handed and hasn't begun: that
/// one keeps its place in the idle list and, if it is on its way already, finds nothing to do.
///
///     listen thread --HandOver--> FHandedOver --Begin--> the worker itself, when it is awake
///                                      |-----TakeNext--> a worker that has just answered
///
/// A request so never waits for a handler to end, only for a thread to wake. With cBacklog requests handed
/// over and not begun the listen thread waits too, rather than to make more workers for them.
///
/// Threads: HandOver on the listen thread, Begin and TakeNext on workers, Open and Close on the server's
///          thread.
class WorkerPool
{
public:
    enum class Outcome { HandedOver, Exhausted, Closed };

    explicit WorkerPool(TZnCustomHTTPServer& AHTTPServer);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void Open();

    /// Takes the idle worker that waits longest, or makes one while there are fewer than AMaxCount,
    /// and gives it ARequest, which is left alone otherwise. Exhausted also when the system refuses
    /// another thread.
    Outcome HandOver(ReceivedRequest& ARequest, std::size_t AMaxCount);

    /// For a worker that was woken: whether the request it was handed is still its own to serve.
    bool Begin(TZnHTTPServerResponseThread& AWorker);

    /// For a worker that has answered: true with the next request taken over; else it is idle.
    bool TakeNext(TZnHTTPServerResponseThread& AWorker);

    /// Takes no handover from now on; tells every worker to end, waits for each (a handler is waited
    /// for without limit) and frees them.
    void Close();

    ZN_API std::size_t GetWorkerCount();
    ZN_API std::size_t GetIdleCount();

private:
    void AwaitRoom();
    void Announce(TZnHTTPServerResponseThread& AWorker);
    void NoteBegun() ZN_REQUIRES(FWorkerThreadLock);
    TZnHTTPServerResponseThread* TakeWorker(std::size_t AMaxCount, bool& AClosed);

    TZnCustomHTTPServer& FHTTPServer;
    TZnCriticalSection FWorkerThreadLock; // order: after a worker's FLock, never before
    std::vector<std::unique_ptr<TZnHTTPServerResponseThread>> FWorkerThreads ZN_GUARDED_BY(FWorkerThreadLock);
    std::deque<TZnHTTPServerResponseThread*> FIdleWorkerThreads ZN_GUARDED_BY(FWorkerThreadLock);
    std::deque<TZnHTTPServerResponseThread*> FHandedOver ZN_GUARDED_BY(FWorkerThreadLock); // not begun
    TZnHTTPServerResponseThread* FWaking ZN_GUARDED_BY(FWorkerThreadLock) = nullptr;       // on its way
    std::atomic<std::uint32_t> FBacklog{0}; // how many stand in FHandedOver; the listen thread waits on it
    bool FClosed ZN_GUARDED_BY(FWorkerThreadLock) = true;
    std::atomic<bool> FHandingOver{false}; // Close frees no worker that the listen thread still touches
};

} // namespace Zn
