#include "uZnHTTPServer/AuthMonitor.h"

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "uZnHTTPServer/RandomToken.h"

namespace
{

std::atomic<std::uint32_t> Ticks;

class AuthMonitor : public testing::Test
{
protected:
    AuthMonitor() { Ticks = 1000; }

    std::int32_t Fail(const std::string& AAddress, const std::string& AUser)
    {
        return Monitor.ProcessAuthAttempt(AAddress, AUser, false);
    }
    std::int32_t CountOf(const std::string& AAddress, const std::string& AUser)
    {
        std::int32_t Count = -1;
        Monitor.GetLastAuthAttempt(AAddress, AUser, Count);
        return Count;
    }

    TZnAuthMonitor Monitor{[] { return Ticks.load(); }}; // not started: the test sweeps
};

TEST_F(AuthMonitor, CountsByAddressAndExactName)
{
    for (std::int32_t Expected = 1; Expected <= 8; ++Expected)
        EXPECT_EQ(Fail("10.0.0.1", "anna"), Expected);
    EXPECT_EQ(Fail("10.0.0.2", "anna"), 1);
    EXPECT_EQ(Fail("10.0.0.1", "Anna"), 1);
    EXPECT_EQ(Fail("10.0.0.1", ""), 1);
    EXPECT_EQ(Fail("10.0.0.1", std::string("anna\0", 5)), 1);
    // Long names are told apart as well as short ones.
    const std::string Long(64 * 1024, 'a');
    EXPECT_EQ(Fail("10.0.0.1", Long + "b"), 1);
    EXPECT_EQ(Fail("10.0.0.1", Long + "c"), 1);
    EXPECT_EQ(Fail("10.0.0.1", Long + "b"), 2);
    EXPECT_EQ(CountOf("10.0.0.1", "anna"), 8);
}

TEST_F(AuthMonitor, TellsTheTimeOfTheLastFailure)
{
    std::int32_t Count = -1;
    EXPECT_EQ(Monitor.GetLastAuthAttempt("a", "b", Count), 0U);
    EXPECT_EQ(Count, 0);
    Fail("a", "b");
    Ticks = 5000;
    Fail("a", "b");
    EXPECT_EQ(Monitor.GetLastAuthAttempt("a", "b", Count), 5000U);
    EXPECT_EQ(Count, 2);
}

TEST_F(AuthMonitor, SuccessForgetsTheFailures)
{
    EXPECT_EQ(Monitor.ProcessAuthAttempt("a", "b", true), 0);
    Fail("a", "b");
    EXPECT_EQ(Monitor.ProcessAuthAttempt("a", "b", true), 0);
    EXPECT_EQ(Fail("a", "b"), 1);
}

TEST_F(AuthMonitor, SweepForgetsByAgeAcrossTheWrapOfTheClock)
{
    for (const std::uint32_t Start : {0U, 1'000'000U, 0xFFFFFFFFU - 100'000U}) {
        Ticks = Start;
        Fail("old", "x");
        Fail("renewed", "x");
        Ticks = Start + 200'000U;
        Fail("renewed", "x");
        Fail("young", "x");
        Ticks = Start + TZnAuthMonitor::cAgeLimit;
        Monitor.Sweep();
        EXPECT_EQ(CountOf("old", "x"), 1) << "goes only when it is older than the limit";
        ++Ticks;
        Monitor.Sweep();
        EXPECT_EQ(CountOf("old", "x"), 0);
        EXPECT_EQ(CountOf("renewed", "x"), 2);
        EXPECT_EQ(CountOf("young", "x"), 1);
        EXPECT_EQ(Fail("old", "x"), 1);
        Ticks += 2 * TZnAuthMonitor::cAgeLimit;
        Monitor.Sweep();
        EXPECT_EQ(CountOf("renewed", "x"), 0);
    }
}

TEST_F(AuthMonitor, KeepsTheLatestWhenThereAreTooMany)
{
    Fail("first", "x");
    Fail("second", "x");
    Fail("first", "x"); // now the second is the one that failed longest ago
    for (std::size_t I = 2; I <= TZnAuthMonitor::cMaxEntries; ++I)
        Fail("a", std::to_string(I));
    EXPECT_EQ(CountOf("second", "x"), 0);
    EXPECT_EQ(CountOf("first", "x"), 2);
    EXPECT_EQ(CountOf("a", "2"), 1);
}

TEST_F(AuthMonitor, ThreadsShareTheCounts)
{
    std::vector<std::thread> Threads;
    for (int I = 0; I < 4; ++I)
        Threads.emplace_back([this] {
            for (int J = 0; J < 500; ++J) {
                Fail("a", "b");
                Monitor.Sweep();
                CountOf("a", "b");
            }
        });
    for (std::thread& Thread : Threads)
        Thread.join();
    EXPECT_EQ(CountOf("a", "b"), 2000);
}

TEST(AuthMonitorThread, TerminateEndsTheWaitAtOnceAndFreesTheMonitor)
{
    class Watched : public TZnAuthMonitor
    {
    public:
        explicit Watched(std::shared_ptr<TSimpleEvent> AGone) : FGone(std::move(AGone)) {}
        ~Watched() override { FGone->SetEvent(); }

    private:
        std::shared_ptr<TSimpleEvent> FGone;
    };
    const auto Gone = std::make_shared<TSimpleEvent>();
    auto* const Monitor = new Watched(Gone);
    Monitor->Start();
    Monitor->Terminate();
    EXPECT_EQ(Gone->WaitFor(60'000), wrSignaled); // a sweep period is 300 s
}

TEST(RandomToken, UsesSixtyThreeCharactersEvenly)
{
    constexpr int cTokens = 4000;
    std::map<char, int> Counts;
    std::set<std::string> Seen;
    for (int I = 0; I < cTokens; ++I) {
        const std::string Token = GenerateRandomToken();
        ASSERT_EQ(Token.size(), 50U);
        EXPECT_TRUE(Seen.insert(Token).second);
        for (const char Char : Token)
            ++Counts[Char];
    }
    EXPECT_EQ(Counts.size(), 63U);
    EXPECT_EQ(Counts.count('/'), 0U);
    EXPECT_EQ(Counts.count('5'), 0U);
    // Pearson's test with 62 degrees of freedom: an even source goes beyond 140 once in ten million runs; a
    // remainder of 256 by 63 gives about 700.
    const double Expected = cTokens * 50.0 / 63;
    double ChiSquare = 0;
    for (const auto& [Char, Count] : Counts)
        ChiSquare += (Count - Expected) * (Count - Expected) / Expected;
    EXPECT_LT(ChiSquare, 140);
}

} // namespace
