#include "uZnHTTPServer/WorkerPool.h"

#include <new>

#include "common/Exceptions.h"
#include "uZnHTTPServer/Worker.h"

namespace Zn
{

WorkerPool::WorkerPool(TZnCustomHTTPServer& AHTTPServer) : FHTTPServer(AHTTPServer) {}

WorkerPool::~WorkerPool()
{
    Close();
}

void WorkerPool::Open()
{
    TZnLockGuard Guard(FWorkerThreadLock);
    FClosed = false;
}

WorkerPool::Outcome WorkerPool::HandOver(ReceivedRequest& ARequest, std::size_t AMaxCount)
{
    // Close waits for the end of this: from TakeWorker on a worker is touched without a lock.
    struct TouchingWorker
    {
        explicit TouchingWorker(std::atomic<bool>& AFlag) : Flag(AFlag) { Flag.store(true); }
        ~TouchingWorker()
        {
            Flag.store(false);
            Flag.notify_one();
        }
        std::atomic<bool>& Flag;
    } const Touching(FHandingOver);

    bool Closed = false;
    TZnHTTPServerResponseThread* const Worker = TakeWorker(AMaxCount, Closed);
    if (Worker == nullptr)
        return Closed ? Outcome::Closed : Outcome::Exhausted;
    Worker->ProcessRequest(std::move(ARequest));
    return Outcome::HandedOver;
}

TZnHTTPServerResponseThread* WorkerPool::TakeWorker(std::size_t AMaxCount, bool& AClosed)
{
    TZnLockGuard Guard(FWorkerThreadLock);
    AClosed = FClosed;
    if (FClosed)
        return nullptr;
    if (!FIdleWorkerThreads.empty()) {
        TZnHTTPServerResponseThread* const Worker = FIdleWorkerThreads.front();
        FIdleWorkerThreads.pop_front();
        return Worker;
    }
    if (FWorkerThreads.size() >= AMaxCount)
        return nullptr;
    try {
        auto Worker = std::make_unique<TZnHTTPServerResponseThread>(FHTTPServer);
        FWorkerThreads.reserve(FWorkerThreads.size() + 1);
        Worker->Start();
        FWorkerThreads.push_back(std::move(Worker));
    } catch (const EThread&) {
        return nullptr; // the system has no more threads to give: as full as at the limit
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return FWorkerThreads.back().get();
}

void WorkerPool::SetIdle(TZnHTTPServerResponseThread& AWorker)
{
    TZnLockGuard Guard(FWorkerThreadLock);
    FIdleWorkerThreads.push_back(&AWorker);
}

void WorkerPool::Close()
{
    std::vector<std::unique_ptr<TZnHTTPServerResponseThread>> Workers;
    {
        TZnLockGuard Guard(FWorkerThreadLock);
        FClosed = true;
    }
    FHandingOver.wait(true);
    {
        TZnLockGuard Guard(FWorkerThreadLock);
        Workers.swap(FWorkerThreads);
    }
    // Without the lock: workers take it on their way back to the idle list.
    for (auto Worker = Workers.rbegin(); Worker != Workers.rend(); ++Worker)
        (*Worker)->Terminate();
    for (auto Worker = Workers.rbegin(); Worker != Workers.rend(); ++Worker)
        (*Worker)->WaitFor();
    while (!Workers.empty())
        Workers.pop_back();
    TZnLockGuard Guard(FWorkerThreadLock);
    FIdleWorkerThreads.clear();
}

std::size_t WorkerPool::GetWorkerCount()
{
    TZnLockGuard Guard(FWorkerThreadLock);
    return FWorkerThreads.size();
}

std::size_t WorkerPool::GetIdleCount()
{
    TZnLockGuard Guard(FWorkerThreadLock);
    return FIdleWorkerThreads.size();
}

} // namespace Zn
