#include "platform/httpapi/Poller.h"

#include <cerrno>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Zn
{
namespace
{

// The event's number: a ConnectionId (below 2^63), a listener's descriptor, or the wake descriptor.
constexpr std::uint64_t ListenerTag = std::uint64_t{1} << 63;
constexpr std::uint64_t WakeTag = ~std::uint64_t{0};

} // namespace

Poller::Poller() : FEpoll(epoll_create1(EPOLL_CLOEXEC)), FWakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    epoll_event Event{};
    Event.events = EPOLLIN | EPOLLET;
    Event.data.u64 = WakeTag;
    if (FEpoll < 0 || FWakeFd < 0 || epoll_ctl(FEpoll, EPOLL_CTL_ADD, FWakeFd, &Event) != 0)
        FError = errno;
}

Poller::~Poller()
{
    if (FEpoll >= 0)
        close(FEpoll);
    if (FWakeFd >= 0)
        close(FWakeFd);
}

void Poller::AddListener(int AFd)
{
    epoll_event Event{};
    Event.events = EPOLLIN; // level-triggered: what one round leaves waiting is told again
    Event.data.u64 = ListenerTag | static_cast<std::uint64_t>(AFd);
    epoll_ctl(FEpoll, EPOLL_CTL_ADD, AFd, &Event);
}

void Poller::RemoveListener(int AFd)
{
    epoll_ctl(FEpoll, EPOLL_CTL_DEL, AFd, nullptr);
}

bool Poller::AddConnection(int AFd, std::uint64_t AConnectionId, bool AWritableToo)
{
    epoll_event Event{};
    Event.events = EPOLLIN | EPOLLRDHUP | EPOLLET | (AWritableToo ? EPOLLOUT : 0U);
    Event.data.u64 = AConnectionId;
    return epoll_ctl(FEpoll, EPOLL_CTL_ADD, AFd, &Event) == 0;
}

void Poller::PushReturned(std::uint64_t AConnectionId)
{
    {
        const MutexLock Guard(FReturnedLock);
        FReturned.push_back(AConnectionId);
    }
    // Refill announces its sleep before it takes the lock: what it did not see there, is seen here.
    if (FSleeping.load())
        Wake();
}

void Poller::Wake()
{
    const std::uint64_t One = 1;
    while (write(FWakeFd, &One, sizeof One) < 0 && errno == EINTR) {
    }
}

PollEvent Poller::Next(int AMilliseconds)
{
    if (auto Event = NextOfBatch())
        return *Event;
    Refill(AMilliseconds);
    return NextOfBatch().value_or(PollEvent{});
}

void Poller::Refill(int AMilliseconds)
{
    FSleeping.store(true);
    FReturnedBatch.clear();
    FReturnedNext = 0;
    {
        const MutexLock Guard(FReturnedLock);
        FReturnedBatch.swap(FReturned);
    }
    const int Wait = FReturnedBatch.empty() ? AMilliseconds : 0;
    const int Count = epoll_wait(FEpoll, FBatch.data(), static_cast<int>(FBatch.size()), Wait);
    FSleeping.store(false);
    FBatchNext = 0;
    FBatchCount = Count > 0 ? static_cast<std::size_t>(Count) : 0; // on EINTR the caller comes again
}

std::optional<PollEvent> Poller::NextOfBatch()
{
    if (FReturnedNext < FReturnedBatch.size())
        return PollEvent{PollEvent::Kind::Returned, FReturnedBatch[FReturnedNext++], false};
    if (FBatchNext == FBatchCount)
        return std::nullopt;
    const epoll_event& Event = FBatch[FBatchNext++];
    if (Event.data.u64 == WakeTag)
        return PollEvent{}; // edge-triggered: no need to read it; each write is an edge of its own
    if ((Event.data.u64 & ListenerTag) != 0)
        return PollEvent{PollEvent::Kind::Listener, Event.data.u64 & ~ListenerTag, false};
    return PollEvent{PollEvent::Kind::Connection, Event.data.u64,
                     (Event.events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0};
}

} // namespace Zn
