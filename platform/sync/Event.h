#pragma once

#include <atomic>
#include <cstdint>

#include "platform/sync/Deadline.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

/// A flag that threads wait for.
///
/// A manual-reset event stays set until Reset and releases every thread that waits at the moment
/// of Set, even if Reset follows at once. An auto-reset event releases one thread for each Set and
/// is reset by it.
///
/// Set, Reset and a wait that finds the event set are one atomic operation on one word; a system
/// call is made only by a thread that has to sleep and by a Set that finds one sleeping. With the
/// first wait for several handles an event gets an eventfd, which is kept in step from then on
/// (that event's Set and Reset then cost a lock and a system call).
///
/// Threads:   every operation from any thread.
/// Ownership: the event has to outlive its calls; a thread that WaitFor released may destroy an
///            event that was never waited for together with others while Set is still returning.
class TZnKernelEvent : public KernelObject
{
public:
    explicit TZnKernelEvent(bool AManualReset = true, bool AInitialState = false);
    ~TZnKernelEvent() override;
    TZnKernelEvent(const TZnKernelEvent&) = delete;
    TZnKernelEvent& operator=(const TZnKernelEvent&) = delete;

    void Set();
    void Reset();

    /// Waits at most AMilliseconds (INFINITE: for ever) and tells whether the event was set.
    /// 0 asks without waiting.
    bool WaitFor(std::uint32_t AMilliseconds);

    /// The eventfd, made at the first call; -1 with the system out of descriptors.
    int PollFd() override;
    bool TryAcquire() override;

private:
    bool WaitSlowly(std::uint32_t AMilliseconds);
    bool Consume(std::uint32_t ASeen);
    void SetWithFd();
    void ResetWithFd();

    // FState, also the futex word:
    //
    //   31         18 17           2    1       0
    //   +------------+--------------+--------+-----+
    //   | generation | sleepers     | has fd | set |
    //   +------------+--------------+--------+-----+
    //
    // The generation grows with each change to "set" of a manual-reset event, so that a sleeper
    // that comes late still sees that it was released.
    std::atomic<std::uint32_t> FState;
    const bool FManualReset;
    Zn::Mutex FFdMutex; // held for every change of "set" once "has fd" is on
    int FFd ZN_GUARDED_BY(FFdMutex) = -1;
};
