#pragma once

#include <cstdint>
#include <functional>

#include "platform/Api.h"
#include "platform/sync/Event.h"
#include "platform/sync/Handle.h"

/// Messages between threads, and calls on the application's main thread.
///
/// A thread that makes a window (a receiver of messages, never seen by anybody) or pumps has a
/// queue. Other threads send to its windows (and wait for the result) or post (and go on). The
/// owner handles both in its pump: sent messages before posted ones, each kind in its order.
///
///   owner thread                         other thread
///   AllocateHWnd(proc)
///   poll(QueueFd())  <-- readable ------ PostMessage(wnd, ...)     returns at once
///   ProcessMessages() -> proc(msg)
///                     -> proc(msg) ----> SendMessage(wnd, ...)     returns the result
///
/// The main queue belongs to the thread that first made a queue; Synchronize runs there. A
/// program says so by CreateMainQueue() early in main().

/// What a window procedure gets; it leaves the sender's result in Result.
struct TMessage
{
    /// What it is about; an application's own begin at 1024.
    std::uint32_t Msg = 0;
    /// The first argument.
    std::uintptr_t WParam = 0;
    /// The second argument.
    std::intptr_t LParam = 0;
    /// What the sender of a sent message gets back.
    std::intptr_t Result = 0;
};

/// Handles the messages of one window, on the thread that made it.
using TWndMethod = std::function<void(TMessage&)>;

/// Makes a window of the calling thread. Its procedure runs on this thread only: in a pump, in a
/// direct SendMessage of this thread, and while this thread waits in SendMessage. 0 when handles
/// are used up.
ZN_API THandle AllocateHWnd(TWndMethod AWndProc);

/// Removes a window of the calling thread (or of one that has ended): what is posted to it is
/// dropped, senders that wait get 0. May be called by its own procedure. False with
/// ERROR_INVALID_WINDOW_HANDLE, or ERROR_ACCESS_DENIED for a window of another thread.
ZN_API bool DeallocateHWnd(THandle AWnd);

/// Has the window's thread handle the message and waits for its result; on that thread itself a
/// plain call. While it waits, the calling thread handles messages sent to its own windows, so two
/// threads that send to each other don't lock up. 0 with ERROR_INVALID_WINDOW_HANDLE when the
/// window is gone, or goes before the message was handled. An exception of the procedure leaves
/// the pump of the window's thread (a SendMessage in which that thread waits
/// counts as one) and not this call, which returns 0.
ZN_API std::intptr_t SendMessage(THandle AWnd, std::uint32_t AMsg, std::uintptr_t AWParam,
                                 std::intptr_t ALParam);

/// Puts the message behind those posted before. False with ERROR_INVALID_WINDOW_HANDLE when the
/// window is gone, with ERROR_NOT_ENOUGH_QUOTA when 10,000 messages wait in its thread's queue.
ZN_API bool PostMessage(THandle AWnd, std::uint32_t AMsg, std::uintptr_t AWParam, std::intptr_t ALParam);

/// Takes the oldest posted message with a number in AFirst...ALast of a window of the calling
/// thread from the queue, without handling it. False when there is none.
ZN_API bool RemoveMessage(THandle AWnd, std::uint32_t AFirst, std::uint32_t ALast, TMessage& AMessage);

/// Posts the message to every window of the process: how notices of the system (power, network)
/// reach components.
ZN_API void BroadcastMessage(std::uint32_t AMsg, std::uintptr_t AWParam, std::intptr_t ALParam);

/// Handles what waits in the calling thread's queue: synchronized calls, sent messages, and the
/// messages posted up to now. Returns how many there were. An exception of a window procedure leaves the
/// pump; what was not handled yet stays for the next call.
ZN_API std::size_t ProcessMessages();

/// The same without posted messages.
ZN_API std::size_t ProcessSentMessages();

/// Waits for AEvent, at most AMilliseconds, and handles calls and sent messages of the calling thread's
/// queue meanwhile; posted messages stay. A plain wait for a thread without a queue. True when the
/// event was set. What a window procedure raises meanwhile is raised at the end, the first of it.
ZN_API bool ServeCallsUntil(TZnKernelEvent& AEvent, std::uint32_t AMilliseconds = INFINITE);

/// Sleeps until the queue has work, at most AMilliseconds. True when there is work.
ZN_API bool WaitMessage(std::uint32_t AMilliseconds);

/// A descriptor that is readable while the calling thread's pump has work: for an application
/// that sits in its own poll loop. Stays the queue's own.
ZN_API int QueueFd();

/// Makes the calling thread's queue, and has it be the main queue if there is none yet. True when
/// it is the main queue.
ZN_API bool CreateMainQueue();

/// True on the thread of the main queue.
ZN_API bool IsMainThread();

/// How a call for the main queue ended.
enum class TZnMainCallResult { Done, NoMainQueue };

/// Runs ACall on the thread of the main queue and waits until it has run; on that thread itself a
/// plain call. An exception of ACall is raised again here. NoMainQueue when there is no main
/// queue, or its thread ended before the call began.
ZN_API TZnMainCallResult CallOnMainThread(const std::function<void()>& ACall);
