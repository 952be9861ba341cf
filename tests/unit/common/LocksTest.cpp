#include "common/Locks.h"

#include <chrono>
#include <map>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "common/Events.h"

namespace
{

// The lock analysis of the compiler knows no entering again, and loses a result that a test macro
// looks at: these go past it.
void Enter(TZnCriticalSection& ASection) ZN_NO_THREAD_SAFETY_ANALYSIS
{
    ASection.Enter();
}
void Leave(TZnCriticalSection& ASection) ZN_NO_THREAD_SAFETY_ANALYSIS
{
    ASection.Leave();
}
bool TryEnter(TZnCriticalSection& ASection, std::uint32_t AMilliseconds) ZN_NO_THREAD_SAFETY_ANALYSIS
{
    return ASection.TryEnter(AMilliseconds);
}

/// Runs ACall on a thread of its own and waits for it.
void OnOtherThread(const std::function<void()>& ACall)
{
    std::thread(ACall).join();
}

} // namespace

TEST(CriticalSection, IsEnteredAgainByItsHolderOnly)
{
    TZnCriticalSection Section;
    Enter(Section);
    ASSERT_TRUE(TryEnter(Section, 0));
    auto TryElsewhere = [&](std::uint32_t AMilliseconds) {
        bool Entered = false;
        OnOtherThread([&] {
            Entered = TryEnter(Section, AMilliseconds);
            if (Entered)
                Leave(Section);
        });
        return Entered;
    };
    EXPECT_FALSE(TryElsewhere(0));
    Leave(Section);
    auto Start = std::chrono::steady_clock::now();
    EXPECT_FALSE(TryElsewhere(20)) << "left once, entered twice";
    EXPECT_GE(std::chrono::steady_clock::now() - Start, std::chrono::milliseconds(20));
    Leave(Section);
    EXPECT_TRUE(TryElsewhere(0));
}

TEST(CriticalSection, TryEnterWaitsForTheHolder)
{
    // The counter has no other guard: ThreadSanitizer has to see the timed lock as one.
    TZnCriticalSection Section;
    int Counter = 0;
    auto Work = [&] {
        for (int i = 0; i < 2000; ++i) {
            ASSERT_TRUE(TryEnter(Section, i % 2 ? 20000 : INFINITE));
            ++Counter;
            Leave(Section);
        }
    };
    std::thread A(Work), B(Work);
    A.join();
    B.join();
    EXPECT_EQ(Counter, 4000);
}

TEST(ThreadSafeType, LocksAroundItsValue)
{
    TZnThreadSafeType<std::map<int, int>> Value;
    auto Work = [&] {
        for (int i = 0; i < 500; ++i)
            ++(*Value.Locked())[i];
    };
    std::thread A(Work), B(Work);
    A.join();
    B.join();
    EXPECT_EQ(Value.GetValue().at(499), 2);

    Value.Lock().clear();
    OnOtherThread([&] {
        EXPECT_TRUE(Value.GetLocked());
        EXPECT_EQ(Value.TryLock(1), nullptr);
    });
    Value.Unlock();
    OnOtherThread([&] {
        EXPECT_FALSE(Value.GetLocked());
        ASSERT_NE(Value.TryLock(1), nullptr);
        Value.Unlock();
    });
}

TEST(ThreadSafeObject, OwnsItsObject)
{
    auto Tracked = std::make_shared<int>(1);
    TZnThreadSafeObject<std::shared_ptr<int>> Object(std::make_unique<std::shared_ptr<int>>(Tracked));
    EXPECT_EQ(**Object.Locked(), 1);
    Object.SetValue(std::make_unique<std::shared_ptr<int>>(nullptr));
    EXPECT_EQ(Tracked.use_count(), 1);
}

TEST(Events, HandleIsClosedWithTheEvent)
{
    THandle Handle = 0;
    {
        TZnSimpleEvent Event;
        Handle = Event.Handle();
        EXPECT_EQ(Event.Handle(), Handle);
        EXPECT_EQ(WaitForSingleObject(Handle, 0), WAIT_TIMEOUT);
        Event.SetEvent();
        EXPECT_EQ(WaitForSingleObject(Handle, 0), WAIT_OBJECT_0);
        EXPECT_EQ(Event.WaitFor(0), wrSignaled);
        Event.ResetEvent();
        EXPECT_EQ(Event.WaitFor(0), wrTimeout);
    }
    EXPECT_EQ(WaitForSingleObject(Handle, 0), WAIT_FAILED);
}
