#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>

#include "common/TimerService.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Timers whose time a test moves. Calls come from Advance, on its thread.
class ManualTimers final : public Timers
{
public:
    ManualTimers() = default;
    /// Calls what was told to end at once: nobody else would.
    ~ManualTimers() override
    {
        BeforeCall = nullptr; // it is the test's, which has ended
        Advance();
    }

    std::uint64_t Now() const override
    {
        const MutexLock Guard(FLock);
        return FNow;
    }

    void Schedule(std::shared_ptr<TimerEntry> AEntry, std::uint32_t AMilliseconds) override
    {
        const MutexLock Guard(FLock);
        FWheel.Insert(std::move(AEntry), FNow + AMilliseconds);
    }

    bool Cancel(TimerEntry& AEntry) override
    {
        std::shared_ptr<TimerEntry> Last;
        const MutexLock Guard(FLock);
        Last = FWheel.Remove(AEntry);
        return Last != nullptr;
    }

    /// Moves the time, and calls what is due by then, each at its own moment.
    void Advance(std::uint64_t AMilliseconds = 0)
    {
        const std::uint64_t End = Now() + AMilliseconds;
        while (const auto Due = NextDue(End)) {
            if (BeforeCall)
                BeforeCall();
            Due->OnTimer();
        }
        const MutexLock Guard(FLock);
        FNow = End;
    }

    std::size_t Count() const
    {
        const MutexLock Guard(FLock);
        return FWheel.Count();
    }

    /// Runs between the end of a wait and its call.
    std::function<void()> BeforeCall;

private:
    std::shared_ptr<TimerEntry> NextDue(std::uint64_t AEnd)
    {
        const MutexLock Guard(FLock);
        for (;;) {
            if (auto Due = FWheel.TakeDue())
                return Due;
            const std::uint64_t Next = FWheel.NextEvent();
            if (Next > AEnd)
                return nullptr;
            FNow = std::max(FNow, Next);
            FWheel.Advance(FNow, SIZE_MAX);
        }
    }

    mutable Mutex FLock;
    TimerWheel FWheel ZN_GUARDED_BY(FLock);
    std::uint64_t FNow ZN_GUARDED_BY(FLock) = 1'000'000;
};

} // namespace Zn
