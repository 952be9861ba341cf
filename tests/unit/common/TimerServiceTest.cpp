#include "common/TimerService.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "common/Events.h"

namespace
{

using Zn::TimerService;

constexpr std::uint32_t cPatience = 30'000; // ms; what is waited for takes a few
constexpr std::uint32_t cHour = 3'600'000;

/// Notes its calls, then does what the test wants.
struct Probe : Zn::TimerEntry
{
    explicit Probe(std::function<void()> AThen = {}) : Then(std::move(AThen)) {}
    void OnTimer() noexcept override
    {
        ++Calls;
        if (Then)
            Then();
        Called.SetEvent();
    }

    std::function<void()> Then;
    std::atomic<int> Calls{0};
    TSimpleEvent Called;
};

TEST(TimerService, CallsInTheOrderOfTheMoments)
{
    TimerService Service;
    std::vector<int> Order; // the service's thread only, until the last call
    const auto Third = std::make_shared<Probe>([&] { Order.push_back(3); });
    const std::uint64_t Start = Service.Now();
    Service.Schedule(Third, 500); // far apart: this thread may be held up between the calls
    Service.Schedule(std::make_shared<Probe>([&] { Order.push_back(2); }), 250);
    Service.Schedule(std::make_shared<Probe>([&] { Order.push_back(1); }), 0);
    ASSERT_EQ(Third->Called.WaitFor(cPatience), wrSignaled);
    EXPECT_EQ(Order, (std::vector<int>{1, 2, 3}));
    EXPECT_GE(Service.Now() - Start, 500U);
}

TEST(TimerService, AnEarlierMomentWakesASleepingService)
{
    TimerService Service;
    const auto Late = std::make_shared<Probe>();
    const auto Early = std::make_shared<Probe>();
    Service.Schedule(Late, cHour);
    Service.Schedule(Early, 1);
    EXPECT_EQ(Early->Called.WaitFor(cPatience), wrSignaled);
    EXPECT_EQ(Late->Calls, 0);
    Service.Schedule(Late, 0); // restarted: the hour doesn't count any more
    EXPECT_EQ(Late->Called.WaitFor(cPatience), wrSignaled);
    EXPECT_EQ(Service.Count(), 0U);
}

TEST(TimerService, ACancelledWaitIsOver)
{
    TimerService Service;
    const auto Cancelled = std::make_shared<Probe>();
    const auto Fence = std::make_shared<Probe>();
    Service.Schedule(Cancelled, 500);
    EXPECT_TRUE(Service.Cancel(*Cancelled));
    EXPECT_FALSE(Service.Cancel(*Cancelled));
    Service.Schedule(Fence, 510);
    ASSERT_EQ(Fence->Called.WaitFor(cPatience), wrSignaled);
    EXPECT_EQ(Cancelled->Calls, 0);
    EXPECT_EQ(Cancelled.use_count(), 1);
}

TEST(TimerService, EntriesScheduleThemselvesAndOthersFromTheirCall)
{
    TimerService Service;
    const auto Other = std::make_shared<Probe>();
    const auto Again = std::make_shared<Probe>();
    Again->Then = [&, Weak = std::weak_ptr<Probe>(Again)] {
        if (const auto Self = Weak.lock(); Self->Calls < 3)
            Service.Schedule(Self, 1);
        else
            Service.Schedule(Other, 0);
    };
    Service.Schedule(Again, 0);
    EXPECT_EQ(Other->Called.WaitFor(cPatience), wrSignaled);
    EXPECT_EQ(Again->Calls, 3);
}

TEST(TimerService, EndsByRunningWhatIsDueAndDroppingTheRest)
{
    const auto Far = std::make_shared<Probe>();
    std::atomic<int> Ran{0};
    {
        TimerService Service;
        Service.Schedule(Far, cHour);
        for (int i = 0; i < 1000; ++i)
            Service.Schedule(std::make_shared<Probe>([&] { ++Ran; }), 0);
    }
    EXPECT_EQ(Ran, 1000);
    EXPECT_EQ(Far->Calls, 0);
    EXPECT_EQ(Far.use_count(), 1);
    TimerService Unused; // no thread was ever needed
}

TEST(TimerService, ManyThreadsScheduleRestartAndCancelAtOnce)
{
    TimerService Service;
    std::atomic<int> Ran{0};
    constexpr int cThreads = 4;
    constexpr int cRounds = 2000;
    std::vector<std::thread> Threads;
    std::atomic<int> Expected{0};
    for (int i = 0; i < cThreads; ++i) {
        Threads.emplace_back([&, i] {
            for (int Round = 0; Round < cRounds; ++Round) {
                const auto Each = std::make_shared<Probe>([&] { ++Ran; });
                Service.Schedule(Each, cHour);
                if ((Round + i) % 3 == 0) {
                    EXPECT_TRUE(Service.Cancel(*Each));
                } else {
                    Service.Schedule(Each, static_cast<std::uint32_t>(Round % 5));
                    ++Expected;
                }
            }
        });
    }
    for (std::thread& Each : Threads)
        Each.join();
    const auto Fence = std::make_shared<Probe>();
    Service.Schedule(Fence, 50);
    ASSERT_EQ(Fence->Called.WaitFor(cPatience), wrSignaled);
    EXPECT_EQ(Ran, Expected);
}

} // namespace
