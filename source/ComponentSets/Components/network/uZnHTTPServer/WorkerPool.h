#pragma once

#include <atomic>
#include <cstddef>
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
/// Threads: HandOver on the listen thread, SetIdle on workers, Open and Close on the server's thread.
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

    void SetIdle(TZnHTTPServerResponseThread& AWorker);

    /// Takes no handover from now on; tells every worker to end, waits for each (a handler is waited
    /// for without limit) and frees them.
    void Close();

    ZN_API std::size_t GetWorkerCount();
    ZN_API std::size_t GetIdleCount();

private:
    TZnHTTPServerResponseThread* TakeWorker(std::size_t AMaxCount, bool& AClosed);

    TZnCustomHTTPServer& FHTTPServer;
    TZnCriticalSection FWorkerThreadLock; // order: after a worker's FLock, never before
    std::vector<std::unique_ptr<TZnHTTPServerResponseThread>> FWorkerThreads ZN_GUARDED_BY(FWorkerThreadLock);
    std::deque<TZnHTTPServerResponseThread*> FIdleWorkerThreads ZN_GUARDED_BY(FWorkerThreadLock);
    bool FClosed ZN_GUARDED_BY(FWorkerThreadLock) = true;
    std::atomic<bool> FHandingOver{false}; // Close frees no worker that the listen thread still touches
};

} // namespace Zn
