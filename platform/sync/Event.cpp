#include "platform/sync/Event.h"

#include <cerrno>
#include <climits>

#include <linux/futex.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

namespace
{

constexpr std::uint32_t cSet = 1U << 0;
constexpr std::uint32_t cHasFd = 1U << 1;
constexpr std::uint32_t cOneSleeper = 1U << 2;
constexpr std::uint32_t cOneRelease = 1U << 17;

constexpr std::uint32_t Sleepers(std::uint32_t AState)
{
    return (AState % cOneRelease) / cOneSleeper;
}

/// Manual reset: how often sleepers were released. Auto reset: sleepers released and not yet awake.
constexpr std::uint32_t Releases(std::uint32_t AState)
{
    return AState / cOneRelease;
}

std::uint32_t* FutexWord(std::atomic<std::uint32_t>& AWord)
{
    static_assert(sizeof(AWord) == sizeof(std::uint32_t) && std::atomic<std::uint32_t>::is_always_lock_free);
    return reinterpret_cast<std::uint32_t*>(&AWord);
}

/// Sleeps while the word is AExpected. False when the deadline passed.
bool FutexWait(std::atomic<std::uint32_t>& AWord, std::uint32_t AExpected, const timespec* AEnd)
{
    // WAIT_BITSET takes an absolute time of the monotonic clock, so a wait taken up again after a
    // signal or a wake for nothing does not grow.
    long Result = syscall(SYS_futex, FutexWord(AWord), FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, AExpected,
                          AEnd, nullptr, FUTEX_BITSET_MATCH_ANY);
    return Result == 0 || errno != ETIMEDOUT;
}

void FutexWake(std::atomic<std::uint32_t>& AWord, int ACount)
{
    syscall(SYS_futex, FutexWord(AWord), FUTEX_WAKE | FUTEX_PRIVATE_FLAG, ACount, nullptr, nullptr, 0);
}

/// The state that Set leaves. An auto-reset event with a sleeper releases it instead of being set.
constexpr std::uint32_t AfterSet(std::uint32_t AState, bool AManualReset)
{
    if (AManualReset)
        return AState & cSet ? AState : (AState | cSet) + cOneRelease;
    return Sleepers(AState) > Releases(AState) ? AState + cOneRelease : AState | cSet;
}

void WakeSleepers(std::atomic<std::uint32_t>& AWord, std::uint32_t ABefore, bool AManualReset)
{
    if (AManualReset ? !(ABefore & cSet) && Sleepers(ABefore) > 0 : Sleepers(ABefore) > Releases(ABefore))
        FutexWake(AWord, AManualReset ? INT_MAX : 1);
}

} // namespace

TZnKernelEvent::TZnKernelEvent(bool AManualReset, bool AInitialState)
    : FState(AInitialState ? cSet : 0), FManualReset(AManualReset)
{
}

TZnKernelEvent::~TZnKernelEvent()
{
    // The lock lets a Set that is still on its way in the slow path finish.
    Zn::MutexLock Lock(FFdMutex);
    if (FFd >= 0)
        close(FFd);
}

void TZnKernelEvent::Set()
{
    const bool ManualReset = FManualReset;
    std::uint32_t State = FState.load(std::memory_order_relaxed);
    do {
        if (State & cHasFd)
            return SetWithFd();
        // Written even when the event is set: what this thread did before has to be seen by the
        // thread that the event lets through.
    } while (!FState.compare_exchange_weak(State, AfterSet(State, ManualReset)));
    // From here on a thread that was let through may have destroyed the event: only its address is
    // used. A wake of an address that is something else by now wakes somebody for nothing.
    WakeSleepers(FState, State, ManualReset);
}

void TZnKernelEvent::Reset()
{
    std::uint32_t State = FState.load(std::memory_order_relaxed);
    while (State & cSet) {
        if (State & cHasFd) {
            ResetWithFd();
            return;
        }
        if (FState.compare_exchange_weak(State, State & ~cSet))
            return;
    }
}

bool TZnKernelEvent::WaitFor(std::uint32_t AMilliseconds)
{
    std::uint32_t State = FState.load(std::memory_order_acquire);
    if ((State & cSet) && (FManualReset || Consume()))
        return true;
    if (AMilliseconds == 0)
        return false;
    return FManualReset ? SleepUntilReleased(AMilliseconds) : SleepUntilConsumed(AMilliseconds);
}

bool TZnKernelEvent::SleepUntilReleased(std::uint32_t AMilliseconds)
{
    const Zn::Deadline Deadline(AMilliseconds);
    const timespec End = Deadline.IsInfinite() ? timespec{} : Deadline.AbsoluteTime();

    std::uint32_t State = FState.fetch_add(cOneSleeper, std::memory_order_acq_rel) + cOneSleeper;
    const std::uint32_t Before = Releases(State);
    bool Released = false;
    for (bool InTime = true;; State = FState.load(std::memory_order_acquire)) {
        Released = (State & cSet) || Releases(State) != Before;
        if (Released || !InTime)
            break;
        InTime = FutexWait(FState, State, Deadline.IsInfinite() ? nullptr : &End);
    }
    FState.fetch_sub(cOneSleeper, std::memory_order_acq_rel);
    return Released;
}

bool TZnKernelEvent::SleepUntilConsumed(std::uint32_t AMilliseconds)
{
    const Zn::Deadline Deadline(AMilliseconds);
    const timespec End = Deadline.IsInfinite() ? timespec{} : Deadline.AbsoluteTime();

    std::uint32_t State = FState.fetch_add(cOneSleeper, std::memory_order_acq_rel) + cOneSleeper;
    for (bool InTime = true;;) {
        // A release counts for any sleeper, so one that runs out of time takes it as well: no signal
        // is lost between a Set and a time-out.
        if (Releases(State) > 0) {
            if (FState.compare_exchange_weak(State, State - cOneRelease - cOneSleeper))
                return true;
        } else if (State & cSet) {
            if (Consume()) {
                FState.fetch_sub(cOneSleeper, std::memory_order_acq_rel);
                return true;
            }
            State = FState.load(std::memory_order_acquire);
        } else if (!InTime) {
            if (FState.compare_exchange_weak(State, State - cOneSleeper))
                return false;
        } else {
            InTime = FutexWait(FState, State, Deadline.IsInfinite() ? nullptr : &End);
            State = FState.load(std::memory_order_acquire);
        }
    }
}

/// Resets an auto-reset event. False when it isn't set (any more).
bool TZnKernelEvent::Consume()
{
    std::uint32_t State = FState.load(std::memory_order_relaxed);
    while (State & cSet) {
        if (State & cHasFd)
            return ResetWithFd();
        if (FState.compare_exchange_weak(State, State & ~cSet))
            return true;
    }
    return false;
}

void TZnKernelEvent::SetWithFd()
{
    Zn::MutexLock Lock(FFdMutex);
    std::uint32_t State = FState.load(std::memory_order_relaxed);
    while (!FState.compare_exchange_weak(State, AfterSet(State, FManualReset))) {
    }
    if (!(State & cSet) && (AfterSet(State, FManualReset) & cSet))
        eventfd_write(FFd, 1);
    WakeSleepers(FState, State, FManualReset);
}

/// True when the event was set.
bool TZnKernelEvent::ResetWithFd()
{
    Zn::MutexLock Lock(FFdMutex);
    if (!(FState.fetch_and(~cSet) & cSet))
        return false;
    eventfd_t Count;
    eventfd_read(FFd, &Count);
    return true;
}

int TZnKernelEvent::PollFd()
{
    Zn::MutexLock Lock(FFdMutex);
    if (FFd < 0) {
        int Fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (Fd < 0) {
            SetLastError(FromErrno(errno));
            return -1;
        }
        FFd = Fd;
        // From this moment every change of "set" waits for the lock, so the state seen here holds
        // until the descriptor says the same.
        if (FState.fetch_or(cHasFd) & cSet)
            eventfd_write(FFd, 1);
    }
    return FFd;
}

bool TZnKernelEvent::TryAcquire()
{
    return WaitFor(0);
}

void TZnKernelEvent::Unacquire()
{
    if (!FManualReset)
        Set();
}
