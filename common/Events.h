#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "common/Interfaces.h"
#include "platform/Api.h"
#include "platform/sync/Event.h"
#include "platform/sync/Wait.h"

/// How a wait ended: the event came, or the time was over. The other two are for waits of applications' own.
enum TWaitResult { wrSignaled, wrTimeout, wrAbandoned, wrError };

/// A flag that threads wait for, alone or together with other handles (WaitForMultipleObjects).
///
/// Threads:   every operation from any thread.
/// Ownership: the event closes its handle when it dies.
class ZN_API TEvent
{
public:
    /// Manual reset: stays set until ResetEvent. Else each SetEvent releases one waiter.
    explicit TEvent(bool AManualReset = true, bool AInitialState = false);
    virtual ~TEvent();
    TEvent(const TEvent&) = delete;
    TEvent& operator=(const TEvent&) = delete;

    /// Sets it: a waiting thread, or the next one that waits, goes on. Any thread.
    void SetEvent() { FEvent->Set(); }
    /// Takes the setting back. Any thread.
    void ResetEvent() { FEvent->Reset(); }

    /// wrSignaled or wrTimeout. 0 asks without waiting, INFINITE waits for ever.
    TWaitResult WaitFor(std::uint32_t AMilliseconds = INFINITE)
    {
        return FEvent->WaitFor(AMilliseconds) ? wrSignaled : wrTimeout;
    }

    /// For waits for several handles. Made at the first call; the event's own.
    THandle Handle();

private:
    std::shared_ptr<TZnKernelEvent> FEvent;
    std::once_flag FHandleMade;
    THandle FHandle = 0;
};

/// Manual reset, not set at first.
class ZN_API TSimpleEvent : public TEvent
{
public:
    TSimpleEvent() : TEvent(true, false) {}
};

/// A shared TZnSimpleEvent.
class ZN_API IZnSimpleEvent : public virtual IInterface
{
public:
    static constexpr TGUID IID{"6b7dd6b2-3f0f-4f1c-9a40-5f2f7a6f0c11"};

    /// Sets it: waits end from now on. Any thread.
    virtual void SetEvent() = 0;
    /// Takes the setting back. Any thread.
    virtual void ResetEvent() = 0;
    /// Waits at most AMilliseconds; INFINITE has no limit, 0 only looks.
    virtual TWaitResult WaitFor(std::uint32_t AMilliseconds = INFINITE) = 0;
    /// For waits on several things at once; the event's own, not to be closed.
    virtual THandle Handle() = 0;
};

/// Starts reset, stays set until reset.
class ZN_API TZnSimpleEvent : public virtual IZnSimpleEvent
{
public:
    void SetEvent() override { FEvent.SetEvent(); }
    void ResetEvent() override { FEvent.ResetEvent(); }
    TWaitResult WaitFor(std::uint32_t AMilliseconds = INFINITE) override
    {
        return FEvent.WaitFor(AMilliseconds);
    }
    THandle Handle() override { return FEvent.Handle(); }

private:
    TSimpleEvent FEvent;
};
