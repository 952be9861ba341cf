#pragma once

#include <cstdint>
#include <memory>

#include "platform/Api.h"

/// A handle names an object of this process to functions that take numbers: waits, the HTTP
/// service, pipes.
///
/// Two kinds, told apart by the lowest bit:
///   even  an entry of the handle table: a multiple of 4, never 0, fits in 32 bits. A number that
///         was closed is refused and not given out again for a long time.
///   odd   a file descriptor, fd * 2 + 1, without an entry: an application's own eventfd, timerfd
///         or socket goes into a wait like any other handle.
using THandle = std::uintptr_t;

/// No handle, for the functions that give this instead of 0.
inline constexpr THandle INVALID_HANDLE_VALUE = ~THandle{0};

/// Something that can be waited for, or that merely has a number.
class ZN_API KernelObject
{
public:
    virtual ~KernelObject() = default;

    /// A descriptor that is readable while the object is signalled, or -1 if it can't be waited
    /// for. Stays the object's own and stays the same for its life.
    virtual int PollFd() { return -1; }

    /// True when the object is signalled; takes the signal where it counts for one waiter only.
    /// Called by a wait that found PollFd() readable; false sends it back to waiting.
    virtual bool TryAcquire() { return true; }

    /// Gives back what TryAcquire took: a wait for all of several objects found one missing.
    virtual void Unacquire() {}

    /// A handle of the object was closed: calls that wait on it have to end. Called by CloseHandle once
    /// the number is refused already.
    virtual void HandleClosed() {}
};

/// Enters AObject into the table, which keeps it alive until CloseHandle. 0 with
/// ERROR_NO_SYSTEM_RESOURCES when the table is full (262,143 objects). Any thread.
ZN_API THandle RegisterHandle(std::shared_ptr<KernelObject> AObject);

/// The object behind an even handle, empty (with ERROR_INVALID_HANDLE) for anything else.
/// Any thread; costs one uncontended lock per call (about 20 ns), of that handle's own slot.
ZN_API std::shared_ptr<KernelObject> LookupHandle(THandle AHandle);

/// The same, if the object is a T.
template <class T>
std::shared_ptr<T> LookupHandleAs(THandle AHandle);

/// Takes an even handle out of the table; the object dies with its last user. Closes the
/// descriptor of an odd one. False with ERROR_INVALID_HANDLE when there is nothing to close.
ZN_API bool CloseHandle(THandle AHandle);

/// The odd handle of a descriptor, which stays the caller's. 0 for a negative descriptor.
ZN_API THandle HandleFromFd(int AFd);

/// The descriptor of an odd handle, -1 for an even one.
ZN_API int FdFromHandle(THandle AHandle);

namespace Zn
{
void SetInvalidHandleError();
}

template <class T>
std::shared_ptr<T> LookupHandleAs(THandle AHandle)
{
    auto Object = std::dynamic_pointer_cast<T>(LookupHandle(AHandle));
    if (!Object)
        Zn::SetInvalidHandleError();
    return Object;
}
