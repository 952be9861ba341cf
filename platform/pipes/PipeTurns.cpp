#include "platform/pipes/PipeTurns.h"

#include <array>
#include <csignal>
#include <system_error>

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace Zn
{

namespace
{

constexpr std::uint64_t cEnd = 0; // the number of no seat

bool Watch(int APoll, int AFd, std::uint32_t AEvents, std::uint64_t ANumber)
{
    epoll_event Event{};
    Event.events = AEvents;
    Event.data.u64 = ANumber;
    return epoll_ctl(APoll, EPOLL_CTL_ADD, AFd, &Event) == 0;
}

void LeaveSignalsToOthers()
{
    sigset_t All;
    sigfillset(&All);
    pthread_sigmask(SIG_BLOCK, &All, nullptr);
}

} // namespace

PipeTurns::Seat::Seat(std::shared_ptr<PipeTurns> ATurns, int ASocket)
    : FTurns(std::move(ATurns)), FSocket(ASocket)
{
    ++FTurns->FCompany;
}

PipeTurns::Seat::~Seat()
{
    --FTurns->FCompany;
    if (FNumber != 0)
        FTurns->Remove(*this);
}

bool PipeTurns::Seat::IsCalled()
{
    const bool IsCrowded = FTurns->FCompany > cCrowd;
    if (IsCrowded && FNumber == 0)
        FTurns->Add(*this);
    if (!IsCrowded && FNumber != 0)
        FTurns->Remove(*this);
    return FNumber != 0;
}

PipeTurns::~PipeTurns()
{
    if (!FThread.joinable())
        return;
    eventfd_write(FEnd.Get(), 1);
    FThread.join();
}

/// False without the descriptors or the thread: then everybody waits at his own socket, as in a small
/// company.
bool PipeTurns::Begin()
{
    if (FThread.joinable())
        return true;
    FPoll = FileDescriptor(epoll_create1(EPOLL_CLOEXEC));
    FEnd = FileDescriptor(eventfd(0, EFD_CLOEXEC));
    if (!FPoll || !FEnd || !Watch(FPoll.Get(), FEnd.Get(), EPOLLIN, cEnd))
        return false;
    try {
        FThread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void PipeTurns::Add(Seat& ASeat)
{
    MutexLock Lock(FMutex);
    if (!Begin())
        return;
    const std::uint64_t Number = ++FLastNumber;
    const auto Place = FSeats.emplace(Number, &ASeat).first;
    // What is there already counts as news.
    if (Watch(FPoll.Get(), ASeat.FSocket, EPOLLIN | EPOLLRDHUP | EPOLLET, Number))
        ASeat.FNumber = Number;
    else
        FSeats.erase(Place);
}

void PipeTurns::Remove(Seat& ASeat)
{
    MutexLock Lock(FMutex);
    epoll_ctl(FPoll.Get(), EPOLL_CTL_DEL, ASeat.FSocket, nullptr);
    FSeats.erase(ASeat.FNumber);
    ASeat.FNumber = 0;
}

void PipeTurns::Run()
{
    LeaveSignalsToOthers();
    std::array<epoll_event, 64> News;
    for (;;) {
        const int Count = epoll_wait(FPoll.Get(), News.data(), static_cast<int>(News.size()), -1);
        MutexLock Lock(FMutex);
        for (int Index = 0; Index < Count; ++Index) {
            const std::uint64_t Number = News[static_cast<std::size_t>(Index)].data.u64;
            if (Number == cEnd)
                return;
            // Whoever left since the wait began is in the list no more.
            if (const auto Found = FSeats.find(Number); Found != FSeats.end())
                Found->second->FCall.Set();
        }
    }
}

} // namespace Zn
