#include "uZnHTTPServer/WorkerPool.h"

#include <new>

#include "common/Exceptions.h"
#include "uZnHTTPServer/Worker.h"

namespace Zn
{
namespace
{

constexpr std::uint32_t cBacklog = 32;

} // namespace

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

    AwaitRoom();
    bool Closed = false;
    TZnHTTPServerResponseThread* const Worker = TakeWorker(AMaxCount, Closed);
    if (Worker == nullptr)
        return Closed ? Outcome::Closed : Outcome::Exhausted;
    Worker->ProcessRequest(std::move(ARequest));
    Announce(*Worker);
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

/// Waits, with cBacklog requests not begun, until half of them are. They begin as threads wake, whatever
/// handlers do, so this is short.
void WorkerPool::AwaitRoom()
{
    std::uint32_t Backlog = FBacklog.load(std::memory_order_relaxed);
    if (Backlog < cBacklog)
        return;
    while (Backlog > cBacklog / 2) {
        FBacklog.wait(Backlog, std::memory_order_relaxed);
        Backlog = FBacklog.load(std::memory_order_relaxed);
    }
}

void WorkerPool::Announce(TZnHTTPServerResponseThread& AWorker)
{
    {
        TZnLockGuard Guard(FWorkerThreadLock);
        FHandedOver.push_back(&AWorker);
        FBacklog.fetch_add(1, std::memory_order_relaxed);
        if (FWaking != nullptr)
            return;
        FWaking = &AWorker;
    }
    AWorker.Wake();
}

void WorkerPool::NoteBegun()
{
    if (FBacklog.fetch_sub(1, std::memory_order_relaxed) == cBacklog / 2 + 1)
        FBacklog.notify_one();
}

bool WorkerPool::Begin(TZnHTTPServerResponseThread& AWorker)
{
    bool IsOwn = false;
    TZnHTTPServerResponseThread* Next = nullptr;
    {
        TZnLockGuard Guard(FWorkerThreadLock);
        IsOwn = std::erase(FHandedOver, &AWorker) != 0;
        if (IsOwn)
            NoteBegun();
        if (FWaking == &AWorker)
            FWaking = nullptr;
        if (FWaking == nullptr && !FHandedOver.empty())
            Next = FWaking = FHandedOver.front();
    }
    if (Next != nullptr)
        Next->Wake();
    return IsOwn;
}

bool WorkerPool::TakeNext(TZnHTTPServerResponseThread& AWorker)
{
    TZnLockGuard Guard(FWorkerThreadLock);
    if (FHandedOver.empty() || FClosed) {
        FIdleWorkerThreads.push_back(&AWorker);
        return false;
    }
    TZnHTTPServerResponseThread& Sleeper = *FHandedOver.front();
    FHandedOver.pop_front();
    NoteBegun();
    AWorker.TakeOver(Sleeper);
    FIdleWorkerThreads.push_front(&Sleeper);
    return true;
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
    FHandedOver.clear();
    FBacklog.store(0, std::memory_order_relaxed);
    FBacklog.notify_one(); // a late handover, which finds the pool closed
    FWaking = nullptr;
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
