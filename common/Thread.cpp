#include "common/Thread.h"

#include <system_error>

#include <pthread.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "common/System.h"
#include "platform/messages/Messages.h"

namespace
{
thread_local TThread* tCurrent = nullptr;
}

TThread::TThread(std::string AName) : FName(std::move(AName)), FFinished(std::make_shared<TZnKernelEvent>())
{
}

TThread::~TThread()
{
    if (tCurrent == this) { // FreeOnTerminate
        tCurrent = nullptr;
        Zn::MutexLock Lock(FJoinMutex);
        FThread.detach();
        return;
    }
    if (!FStarted)
        return;
    TThread::Terminate();
    try {
        WaitUntilEnded();
    } catch (...) { // raised by a window procedure that was served meanwhile; a destructor can't tell
    }
}

void TThread::Start()
{
    if (FStarted.exchange(true))
        throw EThread("Cannot start a thread that has been started before");
    if (getpid() == gettid())
        CreateMainQueue();
    // Execute begins when FThread is written. With FreeOnTerminate the object may be gone right
    // after, so what both sides wait on is shared.
    auto Gate = std::make_shared<TZnKernelEvent>();
    try {
        Zn::MutexLock Lock(FJoinMutex);
        FThread = std::thread([this, Gate] {
            Gate->WaitFor(INFINITE); // Start sets it in any case
            Run();
        });
    } catch (const std::system_error& Error) {
        FStarted = false;
        throw EThread(std::string("Thread creation error: ") + Error.what());
    }
    Gate->Set();
}

void TThread::Run() noexcept
{
    tCurrent = this;
    if (!FName.empty())
        pthread_setname_np(pthread_self(), FName.substr(0, 15).c_str());
    try {
        if (!GetTerminated())
            Execute();
    } catch (...) {
        FFatalException = std::current_exception();
    }
    if (FFreeOnTerminate.load()) {
        delete this;
        return;
    }
    FFinished->Set(); // from here on the object may go as soon as the thread is joined
}

void TThread::Terminate()
{
    FTerminated = true;
}

int TThread::WaitFor()
{
    if (tCurrent == this)
        throw EThread("A thread cannot wait for itself");
    if (FStarted)
        WaitUntilEnded();
    return GetReturnValue();
}

void TThread::WaitUntilEnded()
{
    std::exception_ptr Raised;
    try {
        ServeCallsUntil(*FFinished);
    } catch (...) {
        Raised = std::current_exception();
    }
    {
        Zn::MutexLock Lock(FJoinMutex);
        if (FThread.joinable())
            FThread.join();
    }
    if (Raised)
        std::rethrow_exception(Raised);
}

void TThread::Synchronize(const std::function<void()>& ACall)
{
    if (CallOnMainThread(ACall) == TZnMainCallResult::NoMainQueue)
        throw EThread("Synchronize needs a main thread with a message queue, and there is none");
}

TThread* TThread::GetCurrentThread()
{
    return tCurrent;
}

std::uint32_t TThread::GetTickCount()
{
    return ::GetTickCount();
}

std::uint64_t TThread::GetTickCount64()
{
    return ::GetTickCount64();
}
