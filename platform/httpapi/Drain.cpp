// The graceful end of a queue: what has begun is served, nothing new begins.

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Dispatcher.h"
#include "platform/httpapi/Service.h"

namespace Zn
{
namespace
{

constexpr std::int64_t FirstRequestWait = 500;     // ms; for a connection that came just before the end
constexpr std::chrono::milliseconds LookEvery{20}; // how soon the end of the last request is noticed

} // namespace

bool IsLastAnswer(const Connection& AConnection)
{
    const RequestQueue* const Queue = AConnection.Queue.load(std::memory_order_relaxed);
    return Queue != nullptr && Queue->IsDraining.load(std::memory_order_relaxed);
}

/// Nothing of the peer's is lost: a connection on which a request begins to arrive is left to it.
void Reception::EndIdle(const std::set<std::uint16_t>& APorts)
{
    const std::int64_t Now = CoarseNow();
    for (std::uint32_t Slot = 0; Slot < FConnections.UsedSlots(); ++Slot) {
        Connection& Each = FConnections.At(Slot);
        if (Each.State.load(std::memory_order_acquire) != Owner::Poller || !APorts.contains(Each.LocalPort) ||
            (Each.Phase != Expecting::FirstByte && Each.Phase != Expecting::ProxyHeader) ||
            !Each.Input.empty() || Each.Io.HasUnread())
            continue;
        // A client that has just connected has its request on the way.
        if (Each.IsFresh)
            Each.Deadline = std::min(Each.Deadline, Now + FirstRequestWait);
        if (!Each.IsFresh || Each.Deadline <= Now)
            Close(Each);
    }
}

TZnHttpDrainResult Dispatcher::Drain(RequestQueue& AQueue, const std::set<std::uint16_t>& AClosedPorts,
                                     std::chrono::milliseconds ATime)
{
    const auto End = std::chrono::steady_clock::now() + ATime;
    {
        const MutexLock Guard(FLock);
        AQueue.ClosedPorts = AClosedPorts;
        for (std::uint32_t Slot = 0; Slot < FConnections.UsedSlots(); ++Slot)
            AQueue.BegunInDrain += FConnections.At(Slot).Queue.load(std::memory_order_acquire) == &AQueue;
        AQueue.IsDraining.store(true);
    }
    for (;;) {
        RunInPlaceOfLeader([&] { FReception.EndIdle(AClosedPorts); });
        if (!HasWork(AQueue, AClosedPorts) || std::chrono::steady_clock::now() >= End)
            break;
        MutexLock Held(FLock);
        FCareChanged.WaitFor(Held, LookEvery); // also wakes when the service ends
    }
    const std::uint32_t Cut = Abandon(AQueue);
    const MutexLock Guard(FLock);
    return {AQueue.BegunInDrain - Cut, Cut};
}

/// Requests of the queue, and connections that bring one or take the end of an answer.
bool Dispatcher::HasWork(const RequestQueue& AQueue, const std::set<std::uint16_t>& APorts) const
{
    for (std::uint32_t Slot = 0; Slot < FConnections.UsedSlots(); ++Slot) {
        const Connection& Each = FConnections.At(Slot);
        if (Each.Queue.load(std::memory_order_acquire) == &AQueue ||
            (Each.State.load(std::memory_order_acquire) != Owner::Free && APorts.contains(Each.LocalPort)))
            return true;
    }
    return false;
}

std::uint32_t Dispatcher::Abandon(RequestQueue& AQueue)
{
    std::vector<std::pair<Connection*, HTTP_REQUEST_ID>> AtWork;
    {
        const MutexLock Guard(FLock);
        for (std::uint32_t Slot = 0; Slot < FConnections.UsedSlots(); ++Slot) {
            Connection& Each = FConnections.At(Slot);
            if (Each.Queue.load(std::memory_order_acquire) != &AQueue)
                continue;
            Each.Abandoned.store(true);
            AtWork.emplace_back(&Each, Each.RequestId.load(std::memory_order_acquire));
        }
        AQueue.ClosedPorts.clear(); // what still comes gets 503
        AQueue.Waiting.clear();     // nobody receives them any more: they are among AtWork
    }
    for (const auto& [Each, RequestId] : AtWork) {
        if (!Each->Call.try_lock())
            continue; // a call is at work; it sees Abandoned when it ends
        if (RequestId != 0 && Each->RequestId.load(std::memory_order_acquire) == RequestId)
            Drop(*Each);
        Each->Call.unlock();
    }
    return static_cast<std::uint32_t>(AtWork.size());
}

std::uint32_t Service::DrainQueue(const QueueHandle& AQueue, std::uint32_t AMilliseconds,
                                  TZnHttpDrainResult& AResult)
{
    std::set<std::uint16_t> Closed;
    {
        const MutexLock Guard(FConfigLock);
        if (AQueue.Queue->IsDraining.load())
            return ERROR_INVALID_PARAMETER;
        if (AQueue.OwnGroup)
            StopListening(*AQueue.OwnGroup, Closed);
        for (const auto& [Id, Each] : FGroups)
            if (FDispatcher.IsBound(*Each, *AQueue.Queue))
                StopListening(*Each, Closed);
    }
    AResult = FDispatcher.Drain(*AQueue.Queue, Closed, std::chrono::milliseconds(AMilliseconds));
    return NO_ERROR;
}

/// The prefixes stay: they lead what still arrives to the queue.
void Service::StopListening(UrlGroup& AGroup, std::set<std::uint16_t>& AClosed)
{
    if (!std::exchange(AGroup.IsListening, false))
        return;
    for (const UrlPrefix& Each : AGroup.Urls) {
        // Who connected before this moment isn't turned away.
        FDispatcher.AcceptWaiting(FListeners.DescriptorsOf(Each.Port));
        FListeners.Remove(Each.Host, Each.Port);
        if (!FListeners.Wants(Each.Port))
            AClosed.insert(Each.Port);
    }
}

} // namespace Zn
