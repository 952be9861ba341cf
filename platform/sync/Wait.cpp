#include "platform/sync/Wait.h"

#include <cerrno>
#include <memory>
#include <vector>

#include <poll.h>

#include "platform/errors/Errors.h"

namespace
{

/// One WaitForMultipleObjects call: its handles as descriptors, their objects held alive.
class Waiter
{
public:
    /// False, with the last error set, when a handle can't be waited for.
    bool Open(std::span<const THandle> AHandles);

    std::uint32_t WaitAny(std::uint32_t AMilliseconds);
    std::uint32_t WaitAll(std::uint32_t AMilliseconds);

private:
    enum class PollResult { Ready, TimedOut, Failed };

    PollResult Poll(std::span<pollfd> AFds, int ATimeout);
    PollResult PollUntil(std::span<pollfd> AFds, const Zn::Deadline& ADeadline);
    bool TryAcquire(std::size_t AIndex) { return !FObjects[AIndex] || FObjects[AIndex]->TryAcquire(); }
    bool TryAcquireAll();

    std::vector<std::shared_ptr<KernelObject>> FObjects; // empty for a descriptor of the caller
    std::vector<pollfd> FFds;
};

bool Waiter::Open(std::span<const THandle> AHandles)
{
    FObjects.reserve(AHandles.size());
    FFds.reserve(AHandles.size());
    for (THandle Handle : AHandles) {
        int Fd = FdFromHandle(Handle);
        std::shared_ptr<KernelObject> Object;
        if (Fd < 0) {
            Object = LookupHandle(Handle);
            if (!Object)
                return false;
            SetLastError(ERROR_INVALID_HANDLE); // unless PollFd knows better
            Fd = Object->PollFd();
            if (Fd < 0)
                return false;
        }
        FObjects.push_back(std::move(Object));
        FFds.push_back({Fd, POLLIN, 0});
    }
    return true;
}

Waiter::PollResult Waiter::Poll(std::span<pollfd> AFds, int ATimeout)
{
    int Count = poll(AFds.data(), AFds.size(), ATimeout);
    if (Count < 0 && errno != EINTR) {
        SetLastError(FromErrno(errno));
        return PollResult::Failed;
    }
    if (Count <= 0)
        return PollResult::TimedOut;
    for (const pollfd& Fd : AFds) {
        if (Fd.revents & POLLNVAL) {
            SetLastError(ERROR_INVALID_HANDLE);
            return PollResult::Failed;
        }
    }
    return PollResult::Ready;
}

Waiter::PollResult Waiter::PollUntil(std::span<pollfd> AFds, const Zn::Deadline& ADeadline)
{
    for (;;) {
        PollResult Result = Poll(AFds, ADeadline.PollTimeout());
        if (Result != PollResult::TimedOut || ADeadline.HasPassed())
            return Result;
    }
}

std::uint32_t Waiter::WaitAny(std::uint32_t AMilliseconds)
{
    const Zn::Deadline Deadline(AMilliseconds);
    for (;;) {
        PollResult Result = PollUntil(FFds, Deadline);
        if (Result == PollResult::Failed)
            return WAIT_FAILED;
        if (Result == PollResult::TimedOut)
            return WAIT_TIMEOUT;
        for (std::size_t i = 0; i < FFds.size(); ++i) {
            if (FFds[i].revents != 0 && TryAcquire(i))
                return static_cast<std::uint32_t>(WAIT_OBJECT_0 + i);
        }
        if (Deadline.HasPassed())
            return WAIT_TIMEOUT; // what was signalled went to another waiter
    }
}

std::uint32_t Waiter::WaitAll(std::uint32_t AMilliseconds)
{
    const Zn::Deadline Deadline(AMilliseconds);
    for (;;) {
        PollResult Result = Poll(FFds, 0);
        if (Result == PollResult::Failed)
            return WAIT_FAILED;
        pollfd* Missing = nullptr;
        for (pollfd& Fd : FFds) {
            if (Result != PollResult::Ready || Fd.revents == 0) {
                Missing = &Fd;
                break;
            }
        }
        if (!Missing && TryAcquireAll())
            return WAIT_OBJECT_0;
        if (Deadline.HasPassed())
            return WAIT_TIMEOUT;
        // Sleeps for one of those that are missing: with the others in the set, poll would return
        // at once again and again.
        if (Missing && PollUntil({Missing, 1}, Deadline) == PollResult::Failed)
            return WAIT_FAILED;
    }
}

/// All or none: gives the signals back that it took before one was missing.
bool Waiter::TryAcquireAll()
{
    for (std::size_t i = 0; i < FObjects.size(); ++i) {
        if (TryAcquire(i))
            continue;
        while (i-- > 0) {
            if (FObjects[i])
                FObjects[i]->Unacquire();
        }
        return false;
    }
    return true;
}

} // namespace

std::uint32_t WaitForMultipleObjects(std::span<const THandle> AHandles, bool AWaitAll,
                                     std::uint32_t AMilliseconds)
{
    if (AHandles.empty()) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    Waiter Waiter;
    if (!Waiter.Open(AHandles))
        return WAIT_FAILED;
    return AWaitAll ? Waiter.WaitAll(AMilliseconds) : Waiter.WaitAny(AMilliseconds);
}

std::uint32_t WaitForSingleObject(THandle AHandle, std::uint32_t AMilliseconds)
{
    return WaitForMultipleObjects({&AHandle, 1}, false, AMilliseconds);
}
