#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "common/Component.h"
#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "platform/sync/Event.h"
#include "platform/sync/Mutex.h"

/// A thread of its own for Execute.
///
/// Use:       derive, override Execute (and look at GetTerminated in it), make the whole object, then
///            Start(): a thread never starts inside a constructor.
/// Threads:   Execute runs on the new thread; every other operation from any thread.
/// Ownership: the maker deletes the object, after WaitFor; with FreeOnTerminate the thread deletes
///            it when Execute is done, and nobody else touches it after Start. The destructor of
///            a class whose Execute uses its own fields calls Terminate and WaitFor itself: its
///            fields go before ~TThread, which does the same, runs.
/// Errors:    Start raises EThread. What leaves Execute is kept in GetFatalException.
class ZN_API TThread : public TObject
{
public:
    /// AName, at most 15 bytes of it, is what top, gdb and perf show.
    explicit TThread(std::string AName = {});
    ~TThread() override;
    TThread(const TThread&) = delete;
    TThread& operator=(const TThread&) = delete;

    /// Begins Execute, once. On a program's first thread this also makes the main queue, if there
    /// is none yet, for Synchronize.
    void Start();

    /// Asks Execute to end. An override wakes the waits of its Execute.
    virtual void Terminate();
    /// Somebody asked it to end: Execute looks at this between its steps. Any thread.
    bool GetTerminated() const { return FTerminated; }

    /// Waits until Execute is done and the thread has ended; returns the return value. Meanwhile it
    /// serves what is sent to the calling thread (Synchronize to the main thread; messages to
    /// windows); an exception of a window procedure is raised at the end. Returns at once for a thread that
    /// was not started. Not for threads with FreeOnTerminate, nor for the thread itself (EThread).
    int WaitFor();

    /// Start was called. Any thread.
    bool GetStarted() const { return FStarted.load(); }
    /// True once Execute is done.
    bool GetFinished() const { return FFinished->WaitFor(0); }

    /// Set before Start, or on the thread itself.
    bool GetFreeOnTerminate() const { return FFreeOnTerminate.load(); }
    void SetFreeOnTerminate(bool AValue) { FFreeOnTerminate.store(AValue); }

    /// What WaitFor gives; 0 at first. Any thread.
    int GetReturnValue() const { return FReturnValue.load(); }
    /// For Execute: what WaitFor is to give. Any thread.
    void SetReturnValue(int AValue) { FReturnValue.store(AValue); }

    /// What Execute was left by, or empty. Valid once GetFinished.
    std::exception_ptr GetFatalException() const { return GetFinished() ? FFatalException : nullptr; }

    /// Runs ACall on the main thread and waits for it; on that thread itself a plain call. What
    /// ACall raises is raised here. EThread when there is no main queue (see
    /// platform/messages), so that a thread that outlives it does not hang.
    static void Synchronize(const std::function<void()>& ACall);

    /// The TThread that runs the caller; nullptr on any other thread.
    static TThread* GetCurrentThread();

    /// Milliseconds since some moment in the past, 32 bits: wraps after 49.7 days.
    static std::uint32_t GetTickCount();
    /// Milliseconds since the machine started.
    static std::uint64_t GetTickCount64();

protected:
    /// What the thread does, from Start on. An exception that leaves it is kept for GetFatalException, and
    /// the thread ends.
    virtual void Execute() = 0;

private:
    void Run() noexcept;
    void WaitUntilEnded();

    std::string FName;
    std::atomic<bool> FStarted{false};
    std::atomic<bool> FTerminated{false};
    std::atomic<bool> FFreeOnTerminate{false};
    std::atomic<int> FReturnValue{0};
    std::exception_ptr FFatalException;
    std::shared_ptr<TZnKernelEvent> FFinished;
    Zn::Mutex FJoinMutex;
    std::thread FThread ZN_GUARDED_BY(FJoinMutex);
};
