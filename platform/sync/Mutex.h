#pragma once

/// The mutex of platform/: std::mutex with the annotations that let Clang check who holds it.

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/sync/ThreadAnnotations.h"

namespace Zn
{

class ZN_CAPABILITY("mutex") Mutex
{
public:
    void lock() ZN_ACQUIRE() { FMutex.lock(); }
    bool try_lock() ZN_TRY_ACQUIRE(true) { return FMutex.try_lock(); }
    void unlock() ZN_RELEASE() { FMutex.unlock(); }

private:
    friend class Condition;
    friend class MutexLock;
    std::mutex FMutex;
};

/// Holds a Mutex for a scope; may let go of it and take it again within.
class ZN_SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex& AMutex) ZN_ACQUIRE(AMutex) : FLock(AMutex.FMutex) {}
    ~MutexLock() ZN_RELEASE() = default;
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    void Unlock() ZN_RELEASE() { FLock.unlock(); }
    void Lock() ZN_ACQUIRE() { FLock.lock(); }

private:
    friend class Condition;
    std::unique_lock<std::mutex> FLock;
};

/// What waits on a Mutex that a MutexLock holds.
class Condition
{
public:
    void Wait(MutexLock& ALock) { FCondition.wait(ALock.FLock); }
    /// False on time-out.
    bool WaitFor(MutexLock& ALock, std::chrono::milliseconds ATime)
    {
        return FCondition.wait_for(ALock.FLock, ATime) == std::cv_status::no_timeout;
    }
    void NotifyOne() { FCondition.notify_one(); }
    void NotifyAll() { FCondition.notify_all(); }

private:
    std::condition_variable FCondition;
};

} // namespace Zn
