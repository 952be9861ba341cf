#include "common/TimerWheel.h"

#include <map>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using Zn::TimerEntry;
using Zn::TimerWheel;

struct Entry : TimerEntry
{
    explicit Entry(int ANumber = 0) : Number(ANumber) {}
    void OnTimer() noexcept override {}
    int Number;
};

int NumberOf(const std::shared_ptr<TimerEntry>& AEntry)
{
    return static_cast<Entry&>(*AEntry).Number;
}

/// Everything that is due at ATime, in the order in which it comes.
std::vector<int> DueAt(TimerWheel& AWheel, std::uint64_t ATime, std::size_t ALimit = 1000)
{
    std::vector<int> Due;
    bool Done = false;
    while (!Done) {
        Done = AWheel.Advance(ATime, ALimit);
        while (const auto Next = AWheel.TakeDue())
            Due.push_back(NumberOf(Next));
    }
    return Due;
}

TEST(TimerWheel, GivesEachEntryAtItsMomentAndNotBefore)
{
    const std::uint64_t Start = (std::uint64_t{1} << 36) - 700; // soon every digit changes
    for (const std::uint64_t Wait :
         {1ULL, 63ULL, 64ULL, 699ULL, 700ULL, 300'000ULL, 3'600'000ULL, 4'294'966'296ULL, 1ULL << 50}) {
        TimerWheel Wheel;
        Wheel.Advance(Start, 1);
        Wheel.Insert(std::make_shared<Entry>(), Start + Wait);
        EXPECT_TRUE(DueAt(Wheel, Start + Wait - 1).empty()) << Wait;
        EXPECT_EQ(DueAt(Wheel, Start + Wait).size(), 1U) << Wait;
        EXPECT_EQ(Wheel.Count(), 0U);
        EXPECT_EQ(Wheel.NextEvent(), TimerWheel::cNever);
    }
}

TEST(TimerWheel, NextEventsLeadToAnEntryInAFewSteps)
{
    TimerWheel Wheel;
    Wheel.Insert(std::make_shared<Entry>(), 4'294'966'296);
    int Steps = 0;
    while (Wheel.Count() != 0) {
        ASSERT_LE(Wheel.NextEvent(), 4'294'966'296U);
        DueAt(Wheel, Wheel.NextEvent());
        ++Steps;
    }
    EXPECT_LE(Steps, 6);
}

TEST(TimerWheel, MovesAnEntryThatIsInsertedAgain)
{
    TimerWheel Wheel;
    const auto Moved = std::make_shared<Entry>();
    Wheel.Insert(Moved, 100);
    Wheel.Insert(Moved, 5'000);
    EXPECT_EQ(Wheel.Count(), 1U);
    EXPECT_TRUE(DueAt(Wheel, 4'999).empty());
    Wheel.Insert(Moved, 0); // already past: due at once
    EXPECT_EQ(Wheel.NextEvent(), 4'999U);
    EXPECT_EQ(DueAt(Wheel, 4'999).size(), 1U);
}

TEST(TimerWheel, KeepsAnEntryAliveWhileItWaits)
{
    TimerWheel Wheel;
    auto Held = std::make_shared<Entry>();
    const std::weak_ptr<Entry> Watched = Held;
    TimerEntry& Waiting = *Held;
    Wheel.Insert(std::move(Held), 1'000'000);
    EXPECT_FALSE(Watched.expired());
    EXPECT_NE(Wheel.Remove(Waiting), nullptr);
    EXPECT_TRUE(Watched.expired());
}

TEST(TimerWheel, RemovesEntriesThatAreDueButNotTaken)
{
    TimerWheel Wheel;
    const auto Late = std::make_shared<Entry>();
    Wheel.Insert(Late, 10);
    Wheel.Advance(20, 100);
    EXPECT_EQ(Wheel.Remove(*Late), Late);
    EXPECT_EQ(Wheel.Remove(*Late), nullptr);
    EXPECT_EQ(Wheel.TakeDue(), nullptr);
}

TEST(TimerWheel, DoesABoundedAmountOfWorkAtATime)
{
    TimerWheel Wheel;
    std::vector<std::shared_ptr<Entry>> Entries;
    for (int i = 0; i < 1000; ++i) {
        Entries.push_back(std::make_shared<Entry>(i));
        Wheel.Insert(Entries.back(), 300'000);
    }
    EXPECT_FALSE(Wheel.Advance(300'000, 10));
    // Between two pieces of work the wheel can be used like at any other time.
    EXPECT_NE(Wheel.Remove(*Entries[999]), nullptr);
    Wheel.Insert(Entries[999], 300'001);
    std::size_t Pieces = 0;
    while (!Wheel.Advance(300'000, 10))
        ++Pieces;
    EXPECT_GE(Pieces, 90U);
    std::size_t Due = 0;
    while (Wheel.TakeDue())
        ++Due;
    EXPECT_EQ(Due, 999U);
    EXPECT_EQ(DueAt(Wheel, 300'001), std::vector<int>{999});
}

/// Against a sorted map: entries come and go and move, time goes on by leaps of all sizes.
TEST(TimerWheel, AgreesWithASortedMap)
{
    for (unsigned Seed = 0; Seed < 20; ++Seed) {
        std::mt19937_64 Random(Seed);
        const auto LeapOf = [&] { return Random() % (std::uint64_t{1} << Random() % 40); };
        TimerWheel Wheel;
        std::vector<std::shared_ptr<Entry>> Entries;
        for (int i = 0; i < 200; ++i)
            Entries.push_back(std::make_shared<Entry>(i));
        std::map<int, std::uint64_t> Deadlines;
        std::uint64_t Time = Seed % 2 == 0 ? 0 : Random() >> 20;
        Wheel.Advance(Time, 1);
        for (int Step = 0; Step < 3000; ++Step) {
            const int Number = static_cast<int>(Random() % Entries.size());
            switch (Random() % 4) {
            case 0:
            case 1:
                Deadlines[Number] = Time + LeapOf();
                Wheel.Insert(Entries[Number], Deadlines[Number]);
                break;
            case 2:
                ASSERT_EQ(Wheel.Remove(*Entries[Number]) != nullptr, Deadlines.erase(Number) == 1);
                break;
            default:
                Time += LeapOf() / 16;
                for (const int Due : DueAt(Wheel, Time, 1 + Random() % 5)) {
                    ASSERT_TRUE(Deadlines.contains(Due));
                    ASSERT_LE(Deadlines[Due], Time);
                    Deadlines.erase(Due);
                }
                for (const auto& [Left, Deadline] : Deadlines)
                    ASSERT_GT(Deadline, Time) << "entry " << Left << " was forgotten, seed " << Seed;
            }
            ASSERT_EQ(Wheel.Count(), Deadlines.size());
        }
    }
}

} // namespace
