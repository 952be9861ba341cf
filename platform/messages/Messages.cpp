#include "platform/messages/Messages.h"

#include <exception>

#include "platform/errors/Errors.h"
#include "platform/messages/Queue.h"
#include "platform/sync/Wait.h"

using Zn::MessageQueue;
using Zn::Window;

namespace
{

/// Every window there is, for broadcasts.
class WindowList
{
public:
    void Add(THandle AHandle, const std::shared_ptr<Window>& AWindow)
    {
        Zn::MutexLock Lock(FMutex);
        FWindows[AHandle] = AWindow;
    }
    void Remove(THandle AHandle)
    {
        Zn::MutexLock Lock(FMutex);
        FWindows.erase(AHandle);
    }
    std::vector<std::shared_ptr<Window>> All()
    {
        Zn::MutexLock Lock(FMutex);
        std::vector<std::shared_ptr<Window>> Result;
        for (auto& [Handle, Weak] : FWindows) {
            if (auto Window = Weak.lock())
                Result.push_back(std::move(Window));
        }
        return Result;
    }

private:
    Zn::Mutex FMutex;
    std::map<THandle, std::weak_ptr<Window>> FWindows ZN_GUARDED_BY(FMutex);
};

WindowList& Windows()
{
    static auto* Instance = new WindowList;
    return *Instance;
}

std::shared_ptr<Window> FindWindow(THandle AWnd)
{
    auto Found = LookupHandleAs<Window>(AWnd);
    if (!Found)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return Found;
}

bool IsOfThisThread(const Window& AWindow)
{
    return &AWindow.Queue() == MessageQueue::OfThisThreadIfAny().get();
}

} // namespace

THandle AllocateHWnd(TWndMethod AWndProc)
{
    auto NewWindow = std::make_shared<Window>(MessageQueue::OfThisThread(), std::move(AWndProc));
    THandle Handle = RegisterHandle(NewWindow);
    if (Handle != 0)
        Windows().Add(Handle, NewWindow);
    return Handle;
}

bool DeallocateHWnd(THandle AWnd)
{
    auto Found = FindWindow(AWnd);
    if (!Found)
        return false;
    if (!IsOfThisThread(*Found) && !Found->Queue().IsClosed()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    Windows().Remove(AWnd);
    CloseHandle(AWnd);
    Found->Queue().Forget(*Found);
    return true;
}

std::intptr_t SendMessage(THandle AWnd, std::uint32_t AMsg, std::uintptr_t AWParam, std::intptr_t ALParam)
{
    auto Found = FindWindow(AWnd);
    if (!Found)
        return 0;
    TMessage Message{AMsg, AWParam, ALParam, 0};
    if (IsOfThisThread(*Found)) {
        Found->Dispatch(Message);
        return Message.Result;
    }
    // The result is told only by a procedure that returned: one that raised leaves 0.
    std::intptr_t Result = 0;
    auto Run = [&, Target = Found.get()] {
        Target->Dispatch(Message);
        Result = Message.Result;
    };
    if (!MessageQueue::RunAndWait(Found->Queue(), Found, Run))
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return Result;
}

bool PostMessage(THandle AWnd, std::uint32_t AMsg, std::uintptr_t AWParam, std::intptr_t ALParam)
{
    auto Found = FindWindow(AWnd);
    if (!Found)
        return false;
    std::uint32_t Error = Found->Queue().Post(Found, {AMsg, AWParam, ALParam, 0});
    if (Error != NO_ERROR)
        SetLastError(Error);
    return Error == NO_ERROR;
}

bool RemoveMessage(THandle AWnd, std::uint32_t AFirst, std::uint32_t ALast, TMessage& AMessage)
{
    auto Found = FindWindow(AWnd);
    return Found && Found->Queue().RemovePosted(*Found, AFirst, ALast, AMessage);
}

void BroadcastMessage(std::uint32_t AMsg, std::uintptr_t AWParam, std::intptr_t ALParam)
{
    for (auto& Target : Windows().All())
        Target->Queue().Post(Target, {AMsg, AWParam, ALParam, 0});
}

std::size_t ProcessMessages()
{
    auto Queue = MessageQueue::OfThisThread();
    std::size_t Count = Queue->RunCalls();
    return Count + Queue->RunPosted();
}

std::size_t ProcessSentMessages()
{
    return MessageQueue::OfThisThread()->RunCalls();
}

bool ServeCallsUntil(TZnKernelEvent& AEvent, std::uint32_t AMilliseconds)
{
    auto Queue = MessageQueue::OfThisThreadIfAny();
    if (!Queue || AEvent.WaitFor(0))
        return Queue || AEvent.WaitFor(AMilliseconds);

    const Zn::Deadline Deadline(AMilliseconds);
    const THandle Handles[] = {HandleFromFd(AEvent.PollFd()), HandleFromFd(Queue->CallEvent().PollFd())};
    std::exception_ptr Raised;
    bool IsSet = false;
    do {
        WaitForMultipleObjects(Handles, false, Deadline.Remaining());
        try {
            Queue->RunCalls();
        } catch (...) {
            if (!Raised)
                Raised = std::current_exception();
        }
        IsSet = AEvent.WaitFor(0);
    } while (!IsSet && !Deadline.HasPassed());
    if (Raised)
        std::rethrow_exception(Raised);
    return IsSet;
}

bool WaitMessage(std::uint32_t AMilliseconds)
{
    return MessageQueue::OfThisThread()->WorkEvent().WaitFor(AMilliseconds);
}

int QueueFd()
{
    return MessageQueue::OfThisThread()->WorkEvent().PollFd();
}

bool CreateMainQueue()
{
    auto Queue = MessageQueue::OfThisThread();
    MessageQueue::OfferAsMain(Queue);
    return MessageQueue::Main() == Queue;
}

bool IsMainThread()
{
    auto Queue = MessageQueue::OfThisThreadIfAny();
    return Queue && MessageQueue::Main() == Queue;
}

TZnMainCallResult CallOnMainThread(const std::function<void()>& ACall)
{
    auto Main = MessageQueue::Main();
    if (!Main)
        return TZnMainCallResult::NoMainQueue;
    if (Main == MessageQueue::OfThisThreadIfAny()) {
        ACall();
        return TZnMainCallResult::Done;
    }
    std::exception_ptr Raised;
    auto Run = [&] {
        try {
            ACall();
        } catch (...) {
            Raised = std::current_exception(); // belongs to the thread that asked
        }
    };
    if (!MessageQueue::RunAndWait(*Main, nullptr, Run))
        return TZnMainCallResult::NoMainQueue;
    if (Raised)
        std::rethrow_exception(Raised);
    return TZnMainCallResult::Done;
}
