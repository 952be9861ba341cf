#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "platform/sync/Deadline.h"

/// A lock that its holder may enter again; it leaves as often as it entered.
class ZN_API ZN_CAPABILITY("mutex") TZnCriticalSection
{
public:
    /// Waits, without limit, until no other thread is inside. The same thread may enter again.
    void Enter() ZN_ACQUIRE() { FMutex.lock(); }
    /// Once for each Enter, on the same thread.
    void Leave() ZN_RELEASE() { FMutex.unlock(); }

    /// Waits at most AMilliseconds (0: not at all, INFINITE: for ever); true when it was entered.
    bool TryEnter(std::uint32_t AMilliseconds = 0) ZN_TRY_ACQUIRE(true);

private:
    std::recursive_timed_mutex FMutex;
};

/// The same by its older name.
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
class ZN_API ZN_SCOPED_CAPABILITY TZnLockGuard
{
public:
    /// Enters; its end leaves.
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
class ZN_API ZN_CAPABILITY("shared mutex") TMultiReadExclusiveWriteSynchronizer
{
public:
    /// Waits, without limit, until nobody writes. Readers are inside together; a reader must not become a
    /// writer.
    void BeginRead() ZN_ACQUIRE_SHARED() { FMutex.lock_shared(); }
    /// Once for each BeginRead, on the same thread.
    void EndRead() ZN_RELEASE_SHARED() { FMutex.unlock_shared(); }
    /// Waits, without limit, until nobody else is inside.
    void BeginWrite() ZN_ACQUIRE() { FMutex.lock(); }
    /// Once for each BeginWrite, on the same thread.
    void EndWrite() ZN_RELEASE() { FMutex.unlock(); }

private:
    std::shared_mutex FMutex;
};

/// Reads as long as it lives.
class ZN_API ZN_SCOPED_CAPABILITY TZnReadGuard
{
public:
    /// Waits for the right to read; its end gives it back.
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

/// Writes as long as it lives.
class ZN_API ZN_SCOPED_CAPABILITY TZnWriteGuard
{
public:
    /// Waits for the right to write; its end gives it back.
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
        /// Locks the value as long as it lives.
        explicit TLocked(TZnThreadSafeType& AValue) : FValue(&AValue) { FValue->Lock(); }
        ~TLocked()
        {
            if (FValue)
                FValue->Unlock();
        }
        /// Takes the lock over.
        TLocked(TLocked&& AOther) noexcept : FValue(std::exchange(AOther.FValue, nullptr)) {}
        TLocked& operator=(TLocked&&) = delete;

        /// The value, as long as this lives.
        T& operator*() const { return FValue->FValue; }
        /// The value, as long as this lives.
        T* operator->() const { return &FValue->FValue; }

    private:
        TZnThreadSafeType* FValue;
    };

    TZnThreadSafeType() = default;
    /// The first value.
    explicit TZnThreadSafeType(T AValue) : FValue(std::move(AValue)) {}

    /// The value, the caller's alone until Unlock.
    T& Lock() ZN_NO_THREAD_SAFETY_ANALYSIS
    {
        FLock.Enter();
        return FValue;
    }
    /// Once for each Lock, on the same thread.
    void Unlock() ZN_NO_THREAD_SAFETY_ANALYSIS { FLock.Leave(); }

    /// The value, or nullptr when the lock could not be had within AMilliseconds.
    T* TryLock(std::uint32_t AMilliseconds) ZN_NO_THREAD_SAFETY_ANALYSIS
    {
        return FLock.TryEnter(AMilliseconds) ? &FValue : nullptr;
    }

    /// The value with its lock held: `*Value.Locked() = 5;`.
    TLocked Locked() { return TLocked(*this); }

    /// A copy of the value.
    T GetValue()
    {
        TZnLockGuard Guard(FLock);
        return FValue;
    }
    /// Puts a value in the place of the present one.
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
    /// Owns AObject from now on.
    explicit TZnThreadSafeObject(std::unique_ptr<T> AObject = std::make_unique<T>())
        : FObject(std::move(AObject))
    {
    }

    /// Waits, without limit, for the object; Unlock gives it back.
    T& Lock() { return *FObject.Lock(); }
    /// Once for each Lock, on the same thread.
    void Unlock() { FObject.Unlock(); }
    /// The same with a limit: nullptr, and nothing to unlock, when it was over.
    T* TryLock(std::uint32_t AMilliseconds)
    {
        auto* Object = FObject.TryLock(AMilliseconds);
        return Object ? Object->get() : nullptr;
    }

    /// Holds the lock and gives the object.
    class TLocked
    {
    public:
        /// Locks the object as long as it lives.
        explicit TLocked(TZnThreadSafeObject& AOwner) : FLocked(AOwner.FObject.Locked()) {}
        /// The object, as long as this lives.
        T& operator*() const { return **FLocked; }
        /// The object, as long as this lives.
        T* operator->() const { return FLocked->get(); }

    private:
        typename TZnThreadSafeType<std::unique_ptr<T>>::TLocked FLocked;
    };
    /// The object with its lock held.
    TLocked Locked() { return TLocked(*this); }

    /// Frees the object and owns AObject from now on.
    void SetValue(std::unique_ptr<T> AObject) { FObject.SetValue(std::move(AObject)); }
    /// Some thread holds the lock just now.
    bool GetLocked() { return FObject.GetLocked(); }

private:
    TZnThreadSafeType<std::unique_ptr<T>> FObject;
};
