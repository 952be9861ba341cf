#include "common/TimerService.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "common/System.h"
#include "common/Thread.h"

namespace Zn
{
namespace
{

/// Work under the lock between two chances for those who wait for it: some ten microseconds.
constexpr std::size_t cStepsPerHold = 256;
constexpr std::size_t cCallsPerHold = 64;

constexpr std::uint64_t cLongestSleep = 24 * 60 * 60 * 1000; // ms; only to keep sums within range

} // namespace

class TimerService::Thread : public TThread
{
public:
    explicit Thread(TimerService& AService) : TThread("zn-timers"), FService(AService) {}
    ~Thread() override { WaitFor(); }

protected:
    void Execute() override { FService.Run(); }

private:
    TimerService& FService;
};

TimerService::TimerService() = default;

TimerService::~TimerService()
{
    std::unique_ptr<Thread> Ending;
    {
        MutexLock Guard(FLock);
        FStopped = true;
        Ending = std::move(FThread);
    }
    FChanged.NotifyAll();
    Ending.reset();
}

TimerService& TimerService::Shared()
{
    static TimerService Service;
    return Service;
}

std::uint64_t TimerService::Now() const
{
    return GetTickCount64();
}

void TimerService::Schedule(std::shared_ptr<TimerEntry> AEntry, std::uint32_t AMilliseconds)
{
    bool Wake = false;
    {
        MutexLock Guard(FLock);
        if (FStopped)
            return;
        if (!FThread) {
            auto Begun = std::make_unique<Thread>(*this);
            Begun->Start();
            FThread = std::move(Begun);
        }
        // The tick that runs now is a part of one: with it, a wait could end up to 1 ms early.
        const std::uint64_t Deadline = Now() + AMilliseconds + (AMilliseconds != 0 ? 1 : 0);
        FWheel.Insert(std::move(AEntry), Deadline);
        Wake = Deadline < FSleepsUntil;
        if (Wake)
            FSleepsUntil = 0; // one wake is enough
    }
    if (Wake)
        FChanged.NotifyOne();
}

bool TimerService::Cancel(TimerEntry& AEntry)
{
    std::shared_ptr<TimerEntry> Last; // freed outside of the lock
    MutexLock Guard(FLock);
    Last = FWheel.Remove(AEntry);
    return Last != nullptr;
}

std::size_t TimerService::Count()
{
    MutexLock Guard(FLock);
    return FWheel.Count();
}

void TimerService::Run()
{
    for (;;) {
        if (RunDue())
            continue;
        MutexLock Guard(FLock);
        const std::uint64_t Time = Now();
        const std::uint64_t Next = FWheel.NextEvent();
        if (Next <= Time)
            continue;
        if (FStopped)
            return;
        FSleepsUntil = Next;
        FChanged.WaitFor(Guard, std::chrono::milliseconds(std::min(Next - Time, cLongestSleep)));
        FSleepsUntil = 0;
    }
}

/// Calls what is due, as far as one hold of the lock brings it out. False: nothing is left to do now.
bool TimerService::RunDue()
{
    std::array<std::shared_ptr<TimerEntry>, cCallsPerHold> Due;
    std::size_t Count = 0;
    bool Done = false;
    {
        MutexLock Guard(FLock);
        Done = FWheel.Advance(Now(), cStepsPerHold);
        while (Count < Due.size() && (Due[Count] = FWheel.TakeDue()))
            ++Count;
    }
    for (std::size_t i = 0; i < Count; ++i) {
        Due[i]->OnTimer();
        Due[i].reset();
    }
    return !Done || Count != 0;
}

} // namespace Zn
