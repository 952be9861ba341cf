#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Api.h"
#include "platform/sync/Deadline.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

/// A flag that threads wait for.
///
/// A manual-reset event stays set until Reset and releases every thread that waits at the moment
/// of Set, even if Reset follows at once. An auto-reset event releases one waiting thread for each
/// Set; without one it stays set for the next that comes. (Threads that wait for several handles
/// take the signal when they run: Sets up to then release one of them.)
///
/// Set, Reset and a wait that finds the event set are one atomic operation on one word; a system
/// call is made only by a thread that has to sleep and by a Set that finds one sleeping. With the
/// first wait for several handles an event gets an eventfd, which is kept in step from then on
/// (that event's Set and Reset then cost a lock and a system call).
///
/// Threads:   every operation from any thread.
/// Ownership: the event has to outlive its calls; a thread that WaitFor released may destroy an
///            event that was never waited for together with others while Set is still returning.
///            At most 32,767 threads wait at once.
class ZN_API TZnKernelEvent : public KernelObject
{
public:
    /// Manual reset: stays set until Reset. Else each Set releases one waiter.
    explicit TZnKernelEvent(bool AManualReset = true, bool AInitialState = false);
    ~TZnKernelEvent() override;
    TZnKernelEvent(const TZnKernelEvent&) = delete;
    TZnKernelEvent& operator=(const TZnKernelEvent&) = delete;

    /// Any thread.
    void Set();
    /// Any thread.
    void Reset();

    /// Waits at most AMilliseconds (INFINITE: for ever) and tells whether the event was set.
    /// 0 asks without waiting.
    bool WaitFor(std::uint32_t AMilliseconds);

    /// The eventfd, made at the first call; -1 with the system out of descriptors.
    int PollFd() override;
    bool TryAcquire() override;
    void Unacquire() override;

private:
    bool SleepUntilReleased(std::uint32_t AMilliseconds);
    bool SleepUntilConsumed(std::uint32_t AMilliseconds);
    bool Consume();
    void SetWithFd();
    bool ResetWithFd();

    // FState, also the futex word:
    //
    //   31       17 16         2    1       0
    //   +----------+------------+--------+-----+
    //   | releases | sleepers   | has fd | set |
    //   +----------+------------+--------+-----+
    //
    // Releases are what a late sleeper is released by. For a manual-reset event they count the
    // changes to "set", so that one that wakes after the following Reset sees that it was meant; for
    // an auto-reset event they count the sleepers that a Set let go and that have not left yet, so
    // that two Sets in a row release two sleepers.
    std::atomic<std::uint32_t> FState;
    const bool FManualReset;
    Zn::Mutex FFdMutex; // held for every change of "set" once "has fd" is on
    int FFd ZN_GUARDED_BY(FFdMutex) = -1;
};
