#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>

#include "platform/messages/Messages.h"
#include "platform/sync/Event.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

class MessageQueue;

/// Receives messages on the thread that made it. Any thread may hold it; after Closed it only
/// refuses.
class Window : public KernelObject
{
public:
    Window(std::shared_ptr<MessageQueue> AQueue, TWndMethod AWndProc)
        : FQueue(std::move(AQueue)), FWndProc(std::move(AWndProc))
    {
    }

    MessageQueue& Queue() const { return *FQueue; }
    void Dispatch(TMessage& AMessage) { FWndProc(AMessage); }

private:
    std::shared_ptr<MessageQueue> FQueue;
    TWndMethod FWndProc;
};

/// Something that a thread waits for another one to run: a sent message or a synchronized call.
struct QueuedCall
{
    std::function<void()> Run;      // an exception of it leaves the pump that ran it
    std::shared_ptr<Window> Target; // the receiver of a sent message; empty for a synchronized call
    std::shared_ptr<TZnKernelEvent> CallerWake;
    std::atomic<bool> Done{false}; // set last; the caller's Wake follows
    bool WasRun = false;           // else the receiver went before. Written before Done
};

/// One thread's messages. The thread itself takes out and runs, any thread puts in.
class MessageQueue : public std::enable_shared_from_this<MessageQueue>
{
public:
    /// Posted messages that may wait; further ones are refused.
    static constexpr std::size_t cMaxPosted = 10000;

    /// The calling thread's queue, made at the first call; it closes when the thread ends.
    static std::shared_ptr<MessageQueue> OfThisThread();
    /// The same, but empty when the thread has none.
    static std::shared_ptr<MessageQueue> OfThisThreadIfAny();
    static std::shared_ptr<MessageQueue> Main();
    /// Makes AQueue the main queue if there is none.
    static void OfferAsMain(const std::shared_ptr<MessageQueue>& AQueue);

    // Any thread
    bool Enqueue(std::shared_ptr<QueuedCall> ACall); // false when the queue is closed
    std::uint32_t Post(std::shared_ptr<Window> AWindow, const TMessage& AMessage); // an error number
    /// Runs ACall on this queue's thread and waits until it has run. False when it never will.
    static bool RunAndWait(MessageQueue& AReceiver, const std::shared_ptr<Window>& ATarget,
                           std::function<void()> ARun);
    bool IsClosed();

    // The queue's own thread
    std::size_t RunCalls();
    std::size_t RunPosted();
    bool RemovePosted(const Window& AWindow, std::uint32_t AFirst, std::uint32_t ALast, TMessage& AMessage);
    void Forget(const Window& AWindow);
    void Close();
    TZnKernelEvent& WorkEvent() { return FWork; }
    TZnKernelEvent& CallEvent() { return FCallWork; }

private:
    struct Posted
    {
        std::shared_ptr<Window> Target;
        TMessage Message;
    };

    std::shared_ptr<QueuedCall> TakeCall();
    bool TakePosted(Posted& APosted);
    void UpdateWork() ZN_REQUIRES(FMutex);
    static void Finish(QueuedCall& ACall, bool AWasRun);

    TZnKernelEvent FWork;     // set while anything waits
    TZnKernelEvent FCallWork; // set while a call waits
    // Wakes the thread out of RunAndWait: its call is done, or a call for itself came in.
    std::shared_ptr<TZnKernelEvent> FWake = std::make_shared<TZnKernelEvent>(false);

    Mutex FMutex;
    std::deque<std::shared_ptr<QueuedCall>> FCalls ZN_GUARDED_BY(FMutex);
    std::deque<Posted> FPosted ZN_GUARDED_BY(FMutex);
    bool FClosed ZN_GUARDED_BY(FMutex) = false;
};

} // namespace Zn
