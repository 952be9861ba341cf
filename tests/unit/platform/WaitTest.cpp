#include "platform/sync/Wait.h"

#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Event.h"

namespace
{

constexpr std::uint32_t cLimit = 20000;

/// An event with a handle, closed at the end.
struct TestEvent
{
    explicit TestEvent(bool AManualReset = true, bool AInitialState = false)
        : Event(std::make_shared<TZnKernelEvent>(AManualReset, AInitialState)), Handle(RegisterHandle(Event))
    {
    }
    ~TestEvent() { CloseHandle(Handle); }
    TestEvent(const TestEvent&) = delete;
    TestEvent& operator=(const TestEvent&) = delete;

    std::shared_ptr<TZnKernelEvent> Event;
    THandle Handle;
};

struct TestFd
{
    explicit TestFd(int AFd) : Handle(HandleFromFd(AFd)) {}
    ~TestFd() { CloseHandle(Handle); }
    TestFd(const TestFd&) = delete;
    TestFd& operator=(const TestFd&) = delete;

    THandle Handle;
};

std::uint32_t WaitAny(std::vector<THandle> AHandles, std::uint32_t AMilliseconds)
{
    return WaitForMultipleObjects(AHandles, false, AMilliseconds);
}

std::uint32_t WaitAll(std::vector<THandle> AHandles, std::uint32_t AMilliseconds)
{
    return WaitForMultipleObjects(AHandles, true, AMilliseconds);
}

} // namespace

TEST(Wait, AnyTellsTheLowestSignalledIndex)
{
    TestEvent A, B, C;
    EXPECT_EQ(WaitAny({A.Handle, B.Handle, C.Handle}, 0), WAIT_TIMEOUT);
    C.Event->Set();
    EXPECT_EQ(WaitAny({A.Handle, B.Handle, C.Handle}, 0), 2U);
    B.Event->Set();
    EXPECT_EQ(WaitAny({A.Handle, B.Handle, C.Handle}, INFINITE), 1U);
    EXPECT_EQ(WaitForSingleObject(A.Handle, 0), WAIT_TIMEOUT);
}

TEST(Wait, MixesEventsDescriptorsAndTimeOuts)
{
    TestEvent Event;
    TestFd Counter(eventfd(0, EFD_CLOEXEC));
    TestFd Timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));

    auto Start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitAny({Event.Handle, Counter.Handle}, 20), WAIT_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - Start, std::chrono::milliseconds(20));

    eventfd_write(FdFromHandle(Counter.Handle), 7);
    EXPECT_EQ(WaitAny({Event.Handle, Counter.Handle}, cLimit), 1U);
    eventfd_t Value = 0;
    eventfd_read(FdFromHandle(Counter.Handle), &Value);
    EXPECT_EQ(Value, 7U) << "a wait reads nothing from the application's descriptor";

    itimerspec In10ms{{0, 0}, {0, 10'000'000}};
    timerfd_settime(FdFromHandle(Timer.Handle), 0, &In10ms, nullptr);
    EXPECT_EQ(WaitAny({Event.Handle, Counter.Handle, Timer.Handle}, cLimit), 2U);

    int Pipe[2];
    ASSERT_EQ(pipe(Pipe), 0);
    TestFd ReadEnd(Pipe[0]);
    std::thread Closer([&] { close(Pipe[1]); });
    EXPECT_EQ(WaitAny({Event.Handle, ReadEnd.Handle}, cLimit), 1U) << "a hang-up ends a wait";
    Closer.join();
}

TEST(Wait, WakesForAnEventSetByAnotherThread)
{
    for (int i = 0; i < 2000; ++i) {
        TestEvent A, B;
        std::thread Setter([&] { (i % 2 ? B : A).Event->Set(); });
        ASSERT_EQ(WaitAny({A.Handle, B.Handle}, cLimit), i % 2 ? 1U : 0U);
        Setter.join();
    }
}

TEST(Wait, AutoResetSignalGoesToOneOfManyWaits)
{
    constexpr int cThreads = 3, cTurns = 1000;
    TestEvent Signal(false), Stop(true);
    TZnKernelEvent Taken(false);
    std::atomic<int> Count{0};
    std::vector<std::thread> Waiters;
    for (int t = 0; t < cThreads; ++t) {
        Waiters.emplace_back([&] {
            while (WaitAny({Stop.Handle, Signal.Handle}, cLimit) == 1) {
                ++Count;
                Taken.Set();
            }
        });
    }
    for (int i = 0; i < cTurns; ++i) {
        Signal.Event->Set();
        while (Count <= i)
            ASSERT_TRUE(Taken.WaitFor(cLimit));
    }
    Stop.Event->Set();
    for (auto& Waiter : Waiters)
        Waiter.join();
    EXPECT_EQ(Count, cTurns);
}

TEST(Wait, AllTakesAllSignalsOrNone)
{
    TestEvent A(false, true), B(false), C(true, true);
    EXPECT_EQ(WaitAll({A.Handle, B.Handle, C.Handle}, 10), WAIT_TIMEOUT);
    EXPECT_EQ(WaitAny({A.Handle}, 0), 0U) << "a wait that failed leaves the signal";

    A.Event->Set();
    std::thread Setter([&] { B.Event->Set(); });
    EXPECT_EQ(WaitAll({A.Handle, B.Handle, C.Handle}, cLimit), 0U);
    Setter.join();
    EXPECT_FALSE(A.Event->WaitFor(0));
    EXPECT_FALSE(B.Event->WaitFor(0));
    EXPECT_TRUE(C.Event->WaitFor(0));
}

TEST(Wait, RefusesWhatCantBeWaitedFor)
{
    TestEvent Event;
    THandle NoWait = RegisterHandle(std::make_shared<KernelObject>());
    THandle Closed = RegisterHandle(std::make_shared<TZnKernelEvent>());
    CloseHandle(Closed);

    EXPECT_EQ(WaitAny({}, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    for (THandle Wrong : {NoWait, Closed, THandle{0}, HandleFromFd(99999)}) {
        SetLastError(NO_ERROR);
        EXPECT_EQ(WaitAny({Event.Handle, Wrong}, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(WaitAll({Event.Handle, Wrong}, 0), WAIT_FAILED);
    }
    CloseHandle(NoWait);
}

TEST(Wait, GoesOnForAHandleThatIsClosedMeanwhile)
{
    auto Event = std::make_shared<TZnKernelEvent>();
    TestEvent Other;
    THandle Handle = RegisterHandle(Event);
    std::thread Closer([&] {
        CloseHandle(Handle);
        Event->Set();
    });
    std::uint32_t Result = WaitAny({Other.Handle, Handle}, cLimit);
    Closer.join();
    EXPECT_TRUE(Result == 1 || Result == WAIT_FAILED) << Result; // failed: closed before the wait began
}
