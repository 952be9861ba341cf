#include "platform/sync/Event.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace
{

constexpr std::uint32_t cLimit = 20000; // ms: a wait that gets there has failed

bool IsReadable(int AFd)
{
    pollfd Fd{AFd, POLLIN, 0};
    return poll(&Fd, 1, 0) == 1;
}

/// Threads that wait for an event, asleep when the constructor returns.
class Sleepers
{
public:
    Sleepers(TZnKernelEvent& AEvent, int ACount)
    {
        for (int i = 0; i < ACount; ++i) {
            std::atomic<pid_t> Id{0};
            FThreads.emplace_back([&] {
                auto& Event = AEvent;
                Id = gettid();
                if (Event.WaitFor(cLimit))
                    ++FReleased;
            });
            while (Id == 0 || !IsAsleep(Id))
                std::this_thread::yield();
        }
    }

    /// How many were released.
    int Join()
    {
        for (auto& Thread : FThreads)
            Thread.join();
        return FReleased;
    }

private:
    static bool IsAsleep(pid_t AThread)
    {
        std::ifstream Stat("/proc/self/task/" + std::to_string(AThread) + "/stat");
        std::string Line;
        std::getline(Stat, Line);
        auto NameEnd = Line.rfind(") "); // "1234 (name) S ..."
        return NameEnd != std::string::npos && Line[NameEnd + 2] == 'S';
    }

    std::vector<std::thread> FThreads;
    std::atomic<int> FReleased{0};
};

/// Two threads that hand a counter to and fro; a lost wake-up ends in the limit.
void HandOver(TZnKernelEvent& APing, TZnKernelEvent& APong, bool AReset, int ATurns)
{
    int Counter = 0; // not atomic: the events order its uses, or ThreadSanitizer complains
    std::thread Other([&] {
        for (int i = 0; i < ATurns; ++i) {
            ASSERT_TRUE(APing.WaitFor(cLimit)) << "turn " << i;
            if (AReset)
                APing.Reset();
            ++Counter;
            APong.Set();
        }
    });
    for (int i = 0; i < ATurns; ++i) {
        ++Counter;
        APing.Set();
        ASSERT_TRUE(APong.WaitFor(cLimit)) << "turn " << i;
        if (AReset)
            APong.Reset();
    }
    Other.join();
    EXPECT_EQ(Counter, 2 * ATurns);
}

} // namespace

TEST(Event, HandsOverAHundredThousandTimes)
{
    TZnKernelEvent Ping(true), Pong(true);
    HandOver(Ping, Pong, true, 100000);

    TZnKernelEvent AutoPing(false), AutoPong(false);
    HandOver(AutoPing, AutoPong, false, 20000);
}

TEST(Event, HandsOverWhileTheDescriptorIsKeptInStep)
{
    for (bool ManualReset : {true, false}) {
        TZnKernelEvent Ping(ManualReset), Pong(ManualReset);
        ASSERT_GE(Ping.PollFd(), 0);
        ASSERT_GE(Pong.PollFd(), 0);
        HandOver(Ping, Pong, ManualReset, 10000);
        EXPECT_FALSE(IsReadable(Ping.PollFd()));
        EXPECT_FALSE(IsReadable(Pong.PollFd()));
    }
}

TEST(Event, ManualResetStaysSetUntilReset)
{
    TZnKernelEvent Event(true, true);
    EXPECT_TRUE(Event.WaitFor(0));
    EXPECT_TRUE(Event.WaitFor(0));
    Event.Reset();
    EXPECT_FALSE(Event.WaitFor(0));
    auto Start = std::chrono::steady_clock::now();
    EXPECT_FALSE(Event.WaitFor(20));
    EXPECT_GE(std::chrono::steady_clock::now() - Start, std::chrono::milliseconds(20));
}

TEST(Event, SetReleasesEverySleeperEvenIfResetFollowsAtOnce)
{
    for (int Round = 0; Round < 100; ++Round) {
        TZnKernelEvent Event(true);
        Sleepers Sleepers(Event, 3);
        Event.Set();
        Event.Reset();
        EXPECT_EQ(Sleepers.Join(), 3);
        EXPECT_FALSE(Event.WaitFor(0));
    }
}

TEST(Event, EachAutoResetSetReleasesOneSleeper)
{
    for (int Round = 0; Round < 100; ++Round) {
        TZnKernelEvent Event(false);
        Sleepers Sleepers(Event, 3);
        for (int i = 0; i < 4; ++i)
            Event.Set(); // three for the sleepers, though they did not run yet; one stays
        EXPECT_EQ(Sleepers.Join(), 3);
        EXPECT_TRUE(Event.WaitFor(0));
        EXPECT_FALSE(Event.WaitFor(0));
    }
}

TEST(Event, AutoResetReleasesOneWaiterForEachSet)
{
    // Producers set only as often as there are waits: with one signal merged or lost, or given to
    // two, a wait runs into its limit or the event is left set.
    constexpr int cThreads = 3, cTurns = 5000;
    TZnKernelEvent Event(false), Taken(false);
    std::atomic<int> Count{0};
    std::vector<std::thread> Waiters;
    for (int t = 0; t < cThreads; ++t) {
        Waiters.emplace_back([&] {
            for (int i = 0; i < cTurns; ++i) {
                ASSERT_TRUE(Event.WaitFor(cLimit));
                ++Count;
                Taken.Set();
            }
        });
    }
    for (int i = 0; i < cThreads * cTurns; ++i) {
        Event.Set();
        while (Count.load() <= i)
            ASSERT_TRUE(Taken.WaitFor(cLimit));
    }
    for (auto& Waiter : Waiters)
        Waiter.join();
    EXPECT_EQ(Count, cThreads * cTurns);
    EXPECT_FALSE(Event.WaitFor(0));
}

TEST(Event, DescriptorFollowsTheState)
{
    TZnKernelEvent Event(true, true);
    int Fd = Event.PollFd();
    EXPECT_TRUE(IsReadable(Fd));
    Event.Reset();
    Event.Reset();
    EXPECT_FALSE(IsReadable(Fd));
    Event.Set();
    Event.Set();
    EXPECT_TRUE(IsReadable(Fd));
    EXPECT_EQ(Event.PollFd(), Fd);

    TZnKernelEvent Auto(false, true);
    EXPECT_TRUE(IsReadable(Auto.PollFd()));
    EXPECT_TRUE(Auto.WaitFor(0));
    EXPECT_FALSE(IsReadable(Auto.PollFd()));
}

TEST(Event, DescriptorMadeDuringSetsAndResetsEndsInStep)
{
    for (int Round = 0; Round < 500; ++Round) {
        TZnKernelEvent Event(true);
        std::thread Other([&] {
            for (int i = 0; i < 20; ++i) {
                Event.Set();
                Event.Reset();
            }
            if (Round % 2)
                Event.Set();
        });
        int Fd = Event.PollFd();
        Other.join();
        ASSERT_EQ(IsReadable(Fd), Round % 2 == 1) << "round " << Round;
    }
}

TEST(Event, WaiterMayDestroyTheEvent)
{
    for (int i = 0; i < 2000; ++i) {
        auto* Event = new TZnKernelEvent;
        std::thread Setter([Event] { Event->Set(); });
        ASSERT_TRUE(Event->WaitFor(cLimit));
        delete Event;
        Setter.join();
    }
}
