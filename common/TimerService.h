#pragma once

#include <cstdint>
#include <memory>

#include "common/TimerWheel.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Calls entries when their time has come. A seam: tests move the time by hand.
class Timers
{
public:
    virtual ~Timers() = default;

    /// The clock that waits go by: milliseconds, never back.
    virtual std::uint64_t Now() const = 0;

    /// AEntry's OnTimer is called in AMilliseconds, not before. An entry that waits already waits anew.
    virtual void Schedule(std::shared_ptr<TimerEntry> AEntry, std::uint32_t AMilliseconds) = 0;

    /// Ends AEntry's wait; false when there was none. A call of OnTimer may be under way.
    virtual bool Cancel(TimerEntry& AEntry) = 0;
};

/// All waits of a process on one thread.
///
/// Use:       TimerService::Shared(), or one of its own for a part that must not wait for others'
///            OnTimer.
/// Threads:   every operation from any thread. OnTimer runs on the service's thread, which begins with
///            the first wait; an OnTimer that blocks holds up every other one.
/// Ownership: keeps a reference to each entry that waits.
/// Errors:    Schedule raises EThread when the thread can't begin; AEntry doesn't wait then.
///            The destructor runs what is due, drops the rest, and returns when the thread has ended; not to
///            be called from an OnTimer.
class TimerService final : public Timers
{
public:
    TimerService();
    ~TimerService() override;

    /// The process's own. Ends with the process's static objects.
    static TimerService& Shared();

    std::uint64_t Now() const override;
    void Schedule(std::shared_ptr<TimerEntry> AEntry, std::uint32_t AMilliseconds) override;
    bool Cancel(TimerEntry& AEntry) override;

    /// Entries that wait.
    std::size_t Count();

private:
    class Thread;

    void Run();
    bool RunDue() ZN_EXCLUDES(FLock);

    Mutex FLock; // innermost but for the clock: nothing of an entry is called under it
    Condition FChanged;
    TimerWheel FWheel ZN_GUARDED_BY(FLock);
    std::uint64_t FSleepsUntil ZN_GUARDED_BY(FLock) = 0; // 0: the thread is awake
    bool FStopped ZN_GUARDED_BY(FLock) = false;
    std::unique_ptr<Thread> FThread ZN_GUARDED_BY(FLock);
};

} // namespace Zn
