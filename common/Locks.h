#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "common/ThreadAnnotations.h"
#include "platform/sync/Deadline.h"

/// A lock that its holder may enter again; it leaves as often as it entered.
class ZN_CAPABILITY("mutex") TZnCriticalSection
{
public:
    void Enter() ZN_ACQUIRE() { FMutex.lock(); }
    void Leave() ZN_RELEASE() { FMutex.unlock(); }

    /// Waits at most AMilliseconds (0: not at all, INFINITE: for ever); true when it was entered.
    bool TryEnter(std::uint32_t AMilliseconds = 0) ZN_TRY_ACQUIRE(true);

private:
    std::recursive_timed_mutex FMutex;
};

using TCriticalSection = TZnCriticalSection;

inline bool TZnCriticalSection::TryEnter(std::uint32_t AMilliseconds)
{
    if (FMutex.try_lock())
        return true;
    if (AMilliseconds == 0)
        return false;
    if (AMilliseconds == INFINITE) {
        FMutex.lock();
        return true;
    }
    auto Limit = std::chrono::milliseconds(AMilliseconds);
#if defined(__SANITIZE_THREAD__)
    // ThreadSanitizer knows pthread_mutex_timedlock but not pthread_mutex_clocklock, on which the
    // library builds waits on the steady clock, and would report races between holders.
    return FMutex.try_lock_until(std::chrono::system_clock::now() + Limit);
#else
    return FMutex.try_lock_for(Limit);
#endif
}

/// Holds a critical section for a scope.
class ZN_SCOPED_CAPABILITY TZnLockGuard
{
public:
    explicit TZnLockGuard(TZnCriticalSection& ASection) ZN_ACQUIRE(ASection) : FSection(ASection)
    {
        FSection.Enter();
    }
    ~TZnLockGuard() ZN_RELEASE() { FSection.Leave(); }
    TZnLockGuard(const TZnLockGuard&) = delete;
    TZnLockGuard& operator=(const TZnLockGuard&) = delete;

private:
    TZnCriticalSection& FSection;
};

/// Many readers or one writer. Not to be entered again by a thread that is inside.
class ZN_CAPABILITY("shared mutex") TMultiReadExclusiveWriteSynchronizer
{
public:
    void BeginRead() ZN_ACQUIRE_SHARED() { FMutex.lock_shared(); }
    void EndRead() ZN_RELEASE_SHARED() { FMutex.unlock_shared(); }
    void BeginWrite() ZN_ACQUIRE() { FMutex.lock(); }
    void EndWrite() ZN_RELEASE() { FMutex.unlock(); }

private:
    std::shared_mutex FMutex;
};

class ZN_SCOPED_CAPABILITY TZnReadGuard
{
public:
    explicit TZnReadGuard(TMultiReadExclusiveWriteSynchronizer& ALock) ZN_ACQUIRE_SHARED(ALock) : FLock(ALock)
    {
        FLock.BeginRead();
    }
    ~TZnReadGuard() ZN_RELEASE_GENERIC() { FLock.EndRead(); }
    TZnReadGuard(const TZnReadGuard&) = delete;
    TZnReadGuard& operator=(const TZnReadGuard&) = delete;

private:
    TMultiReadExclusiveWriteSynchronizer& FLock;
};

class ZN_SCOPED_CAPABILITY TZnWriteGuard
{
public:
    explicit TZnWriteGuard(TMultiReadExclusiveWriteSynchronizer& ALock) ZN_ACQUIRE(ALock) : FLock(ALock)
    {
        FLock.BeginWrite();
    }
    ~TZnWriteGuard() ZN_RELEASE() { FLock.EndWrite(); }
    TZnWriteGuard(const TZnWriteGuard&) = delete;
    TZnWriteGuard& operator=(const TZnWriteGuard&) = delete;

private:
    TMultiReadExclusiveWriteSynchronizer& FLock;
};

/// A value with a lock of its own.
///
///     auto Cookies = FCookies.Locked();      // for a scope
///     Cookies->try_emplace(...);
///
/// Lock and Unlock are for callers whose hold is no scope. The holder may lock again.
template <class T>
class TZnThreadSafeType
{
public:
    /// Holds the lock and gives the value.
    class TLocked
    {
    public:
        explicit TLocked(TZnThreadSafeType& AValue) : FValue(&AValue) { FValue->Lock(); }
        ~TLocked()
        {
            if (FValue)
                FValue->Unlock();
        }
        TLocked(TLocked&& AOther) noexcept : FValue(std::exchange(AOther.FValue, nullptr)) {}
        TLocked& operator=(TLocked&&) = delete;

        T& operator*() const { return FValue->FValue; }
        T* operator->() const { return &FValue->FValue; }

    private:
        TZnThreadSafeType* FValue;
    };

    TZnThreadSafeType() = default;
    explicit TZnThreadSafeType(T AValue) : FValue(std::move(AValue)) {}

    /// The value, the caller's alone until Unlock.
    T& Lock() ZN_NO_THREAD_SAFETY_ANALYSIS
    {
        FLock.Enter();
        return FValue;
    }
    void Unlock() ZN_NO_THREAD_SAFETY_ANALYSIS { FLock.Leave(); }

    /// The value, or nullptr when the lock could not be had within AMilliseconds.
    T* TryLock(std::uint32_t AMilliseconds) ZN_NO_THREAD_SAFETY_ANALYSIS
    {
        return FLock.TryEnter(AMilliseconds) ? &FValue : nullptr;
    }

    TLocked Locked() { return TLocked(*this); }

    T GetValue()
    {
        TZnLockGuard Guard(FLock);
        return FValue;
    }
    void SetValue(T AValue)
    {
        TZnLockGuard Guard(FLock);
        FValue = std::move(AValue);
    }

    /// True when another thread holds the lock right now. Of use for a look from outside only.
    bool GetLocked()
    {
        if (!FLock.TryEnter(0))
            return true;
        FLock.Leave();
        return false;
    }

private:
    TZnCriticalSection FLock;
    T FValue{};
};

/// The same for an object that it owns.
template <class T>
class TZnThreadSafeObject
{
public:
    explicit TZnThreadSafeObject(std::unique_ptr<T> AObject = std::make_unique<T>())
        : FObject(std::move(AObject))
    {
    }

    T& Lock() { return *FObject.Lock(); }
    void Unlock() { FObject.Unlock(); }
    T* TryLock(std::uint32_t AMilliseconds)
    {
        auto* Object = FObject.TryLock(AMilliseconds);
        return Object ? Object->get() : nullptr;
    }

    /// Holds the lock and gives the object.
    class TLocked
    {
    public:
        explicit TLocked(TZnThreadSafeObject& AOwner) : FLocked(AOwner.FObject.Locked()) {}
        T& operator*() const { return **FLocked; }
        T* operator->() const { return FLocked->get(); }

    private:
        typename TZnThreadSafeType<std::unique_ptr<T>>::TLocked FLocked;
    };
    TLocked Locked() { return TLocked(*this); }

    /// Frees the object and owns AObject from now on.
    void SetValue(std::unique_ptr<T> AObject) { FObject.SetValue(std::move(AObject)); }
    bool GetLocked() { return FObject.GetLocked(); }

private:
    TZnThreadSafeType<std::unique_ptr<T>> FObject;
};
