#include "platform/messages/Queue.h"

#include <exception>

#include "platform/errors/Errors.h"

namespace
{

/// Outlives tQueue: the first thread still runs the destructors of static objects when its own are gone.
thread_local bool tQueueEnded = false;

/// The thread's reference; closes the queue with the thread.
struct ThreadQueue
{
    std::shared_ptr<Zn::MessageQueue> Queue;
    ~ThreadQueue()
    {
        tQueueEnded = true;
        if (Queue)
            Queue->Close();
    }
};
thread_local ThreadQueue tQueue;

struct MainQueue
{
    Zn::Mutex Mutex;
    std::shared_ptr<Zn::MessageQueue> Queue ZN_GUARDED_BY(Mutex);
};

/// Lives as long as the process: threads may ask while static objects are destroyed.
MainQueue& MainSlot()
{
    static auto* Instance = new MainQueue;
    return *Instance;
}

} // namespace

std::shared_ptr<Zn::MessageQueue> Zn::MessageQueue::OfThisThread()
{
    if (tQueueEnded)
        return std::make_shared<MessageQueue>(); // nobody posts to it any more
    if (!tQueue.Queue) {
        tQueue.Queue = std::make_shared<MessageQueue>();
        OfferAsMain(tQueue.Queue);
    }
    return tQueue.Queue;
}

std::shared_ptr<Zn::MessageQueue> Zn::MessageQueue::OfThisThreadIfAny()
{
    return tQueueEnded ? nullptr : tQueue.Queue;
}

std::shared_ptr<Zn::MessageQueue> Zn::MessageQueue::Main()
{
    MutexLock Lock(MainSlot().Mutex);
    return MainSlot().Queue;
}

void Zn::MessageQueue::OfferAsMain(const std::shared_ptr<MessageQueue>& AQueue)
{
    MutexLock Lock(MainSlot().Mutex);
    if (!MainSlot().Queue)
        MainSlot().Queue = AQueue;
}

void Zn::MessageQueue::UpdateWork()
{
    auto Show = [](TZnKernelEvent& AEvent, bool AIsSet) { AIsSet ? AEvent.Set() : AEvent.Reset(); };
    Show(FCallWork, !FCalls.empty());
    Show(FWork, !FCalls.empty() || !FPosted.empty());
}

bool Zn::MessageQueue::Enqueue(std::shared_ptr<QueuedCall> ACall)
{
    MutexLock Lock(FMutex);
    if (FClosed)
        return false;
    FCalls.push_back(std::move(ACall));
    UpdateWork();
    FWake->Set();
    return true;
}

std::uint32_t Zn::MessageQueue::Post(std::shared_ptr<Window> AWindow, const TMessage& AMessage)
{
    MutexLock Lock(FMutex);
    if (FClosed)
        return ERROR_INVALID_WINDOW_HANDLE;
    if (FPosted.size() >= cMaxPosted)
        return ERROR_NOT_ENOUGH_QUOTA;
    FPosted.push_back({std::move(AWindow), AMessage});
    UpdateWork();
    return NO_ERROR;
}

bool Zn::MessageQueue::IsClosed()
{
    MutexLock Lock(FMutex);
    return FClosed;
}

bool Zn::MessageQueue::RunAndWait(MessageQueue& AReceiver, const std::shared_ptr<Window>& ATarget,
                                  std::function<void()> ARun)
{
    auto Own = OfThisThreadIfAny();
    auto Call = std::make_shared<QueuedCall>();
    Call->Run = std::move(ARun);
    Call->Target = ATarget;
    Call->CallerWake = Own ? Own->FWake : std::make_shared<TZnKernelEvent>(false);
    if (!AReceiver.Enqueue(Call))
        return false;
    // What a procedure of this thread raises has to wait: the receiver still works on variables of
    // the caller's frame.
    std::exception_ptr Raised;
    // A nested wait may have taken the wake that was meant for this one; Done, looked at before each
    // sleep, says so. Every call is finished in the end: the receiver runs or drops it.
    while (!Call->Done.load(std::memory_order_acquire)) {
        try {
            if (!Own || Own->RunCalls() == 0)
                Call->CallerWake->WaitFor(INFINITE);
        } catch (...) {
            if (!Raised)
                Raised = std::current_exception();
        }
    }
    if (Raised)
        std::rethrow_exception(Raised);
    return Call->WasRun;
}

void Zn::MessageQueue::Finish(QueuedCall& ACall, bool AWasRun)
{
    ACall.WasRun = AWasRun;
    auto Wake = ACall.CallerWake;
    ACall.Done.store(true, std::memory_order_release);
    Wake->Set();
}

std::shared_ptr<Zn::QueuedCall> Zn::MessageQueue::TakeCall()
{
    MutexLock Lock(FMutex);
    if (FCalls.empty())
        return nullptr;
    auto Call = std::move(FCalls.front());
    FCalls.pop_front();
    UpdateWork();
    return Call;
}

bool Zn::MessageQueue::TakePosted(Posted& APosted)
{
    MutexLock Lock(FMutex);
    if (FPosted.empty())
        return false;
    APosted = std::move(FPosted.front());
    FPosted.pop_front();
    UpdateWork();
    return true;
}

std::size_t Zn::MessageQueue::RunCalls()
{
    std::size_t Count = 0;
    while (auto Call = TakeCall()) {
        ++Count;
        try {
            Call->Run();
        } catch (...) {
            Finish(*Call, true);
            throw;
        }
        Finish(*Call, true);
    }
    return Count;
}

std::size_t Zn::MessageQueue::RunPosted()
{
    std::size_t Waiting;
    {
        MutexLock Lock(FMutex);
        Waiting = FPosted.size(); // a window that posts to itself does not hold the pump for ever
    }
    std::size_t Count = 0;
    Posted Next;
    while (Waiting-- > 0 && TakePosted(Next)) {
        ++Count;
        Next.Target->Dispatch(Next.Message);
        Count += RunCalls(); // what is sent goes before what is posted
    }
    return Count;
}

bool Zn::MessageQueue::RemovePosted(const Window& AWindow, std::uint32_t AFirst, std::uint32_t ALast,
                                    TMessage& AMessage)
{
    MutexLock Lock(FMutex);
    auto Found = std::ranges::find_if(FPosted, [&](const Posted& APosted) {
        return APosted.Target.get() == &AWindow && APosted.Message.Msg >= AFirst &&
               APosted.Message.Msg <= ALast;
    });
    if (Found == FPosted.end())
        return false;
    AMessage = Found->Message;
    FPosted.erase(Found);
    UpdateWork();
    return true;
}

void Zn::MessageQueue::Forget(const Window& AWindow)
{
    std::deque<std::shared_ptr<QueuedCall>> Dropped;
    {
        MutexLock Lock(FMutex);
        std::erase_if(FPosted, [&](const Posted& APosted) { return APosted.Target.get() == &AWindow; });
        std::erase_if(FCalls, [&](const std::shared_ptr<QueuedCall>& ACall) {
            if (ACall->Target.get() != &AWindow)
                return false;
            Dropped.push_back(ACall);
            return true;
        });
        UpdateWork();
    }
    for (auto& Call : Dropped)
        Finish(*Call, false);
}

void Zn::MessageQueue::Close()
{
    {
        MutexLock Lock(MainSlot().Mutex);
        if (MainSlot().Queue.get() == this)
            MainSlot().Queue = nullptr;
    }
    std::deque<std::shared_ptr<QueuedCall>> Calls;
    std::deque<Posted> Dropped; // their windows die outside of the lock
    {
        MutexLock Lock(FMutex);
        FClosed = true;
        Calls.swap(FCalls);
        Dropped.swap(FPosted);
    }
    for (auto& Call : Calls)
        Finish(*Call, false);
}
