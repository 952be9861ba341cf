#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "common/Interfaces.h"
#include "platform/sync/Event.h"
#include "platform/sync/Wait.h"

enum TWaitResult { wrSignaled, wrTimeout, wrAbandoned, wrError };

/// A flag that threads wait for, alone or together with other handles (WaitForMultipleObjects).
///
/// Threads:   every operation from any thread.
/// Ownership: the event closes its handle when it dies.
class TEvent
{
public:
    /// Manual reset: stays set until ResetEvent. Else each SetEvent releases one waiter.
    explicit TEvent(bool AManualReset = true, bool AInitialState = false);
    virtual ~TEvent();
    TEvent(const TEvent&) = delete;
    TEvent& operator=(const TEvent&) = delete;

    void SetEvent() { FEvent->Set(); }
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
class TSimpleEvent : public TEvent
{
public:
    TSimpleEvent() : TEvent(true, false) {}
};

/// A shared TZnSimpleEvent.
class IZnSimpleEvent : public virtual IInterface
{
public:
    static constexpr TGUID IID{"6b7dd6b2-3f0f-4f1c-9a40-5f2f7a6f0c11"};

    virtual void SetEvent() = 0;
    virtual void ResetEvent() = 0;
    virtual TWaitResult WaitFor(std::uint32_t AMilliseconds = INFINITE) = 0;
    virtual THandle Handle() = 0;
};

/// Starts reset, stays set until reset.
class TZnSimpleEvent : public virtual IZnSimpleEvent
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
