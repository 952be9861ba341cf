/// Three ways to keep waits in order, among N that live: begin one, restart one, end one. The wheel is the
/// library's; the others are what it was chosen over.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "common/TimerWheel.h"

namespace
{

constexpr std::uint64_t cFirstWait = 300'000; // ms: the two waits of a token
constexpr std::uint64_t cPeriod = 3'600'000;

struct TWait : Zn::TimerEntry
{
    void OnTimer() noexcept override {}
    std::uint64_t Deadline = 0;
    std::size_t Index = 0;
};
using PWait = std::shared_ptr<TWait>;

class TWheel
{
public:
    void Insert(const PWait& AWait, std::uint64_t ADeadline) { FWheel.Insert(AWait, ADeadline); }
    void Remove(const PWait& AWait) { FWheel.Remove(*AWait); }
    void Expire(std::uint64_t ANow)
    {
        FWheel.Advance(ANow, SIZE_MAX);
        while (FWheel.TakeDue())
            ;
    }

private:
    Zn::TimerWheel FWheel;
};

/// A heap of four children, in which each wait knows its place.
class THeap
{
public:
    void Insert(const PWait& AWait, std::uint64_t ADeadline)
    {
        if (AWait->Index != 0)
            Remove(AWait);
        AWait->Deadline = ADeadline;
        FHeap.emplace_back(ADeadline, AWait);
        Up(FHeap.size() - 1);
    }
    void Remove(const PWait& AWait)
    {
        const std::size_t Place = std::exchange(AWait->Index, 0) - 1;
        auto Last = std::move(FHeap.back());
        FHeap.pop_back();
        if (Place == FHeap.size())
            return;
        FHeap[Place] = std::move(Last);
        Up(Place);
        Down(Place);
    }
    void Expire(std::uint64_t ANow)
    {
        while (!FHeap.empty() && FHeap.front().first <= ANow)
            Remove(PWait(FHeap.front().second));
    }

private:
    void Put(std::size_t APlace, std::pair<std::uint64_t, PWait> AItem)
    {
        AItem.second->Index = APlace + 1;
        FHeap[APlace] = std::move(AItem);
    }
    void Up(std::size_t APlace)
    {
        auto Item = std::move(FHeap[APlace]);
        while (APlace > 0 && FHeap[(APlace - 1) / 4].first > Item.first) {
            Put(APlace, std::move(FHeap[(APlace - 1) / 4]));
            APlace = (APlace - 1) / 4;
        }
        Put(APlace, std::move(Item));
    }
    void Down(std::size_t APlace)
    {
        auto Item = std::move(FHeap[APlace]);
        for (;;) {
            std::size_t Least = APlace * 4 + 1;
            if (Least >= FHeap.size())
                break;
            for (std::size_t i = Least + 1; i < FHeap.size() && i <= APlace * 4 + 4; ++i)
                if (FHeap[i].first < FHeap[Least].first)
                    Least = i;
            if (FHeap[Least].first >= Item.first)
                break;
            Put(APlace, std::move(FHeap[Least]));
            APlace = Least;
        }
        Put(APlace, std::move(Item));
    }

    std::vector<std::pair<std::uint64_t, PWait>> FHeap;
};

class TTree
{
public:
    void Insert(const PWait& AWait, std::uint64_t ADeadline)
    {
        if (std::exchange(AWait->Index, 1) != 0)
            FTree.erase({AWait->Deadline, AWait});
        AWait->Deadline = ADeadline;
        FTree.emplace(ADeadline, AWait);
    }
    void Remove(const PWait& AWait)
    {
        AWait->Index = 0;
        FTree.erase({AWait->Deadline, AWait});
    }
    void Expire(std::uint64_t ANow)
    {
        while (!FTree.empty() && FTree.begin()->first <= ANow)
            FTree.erase(FTree.begin());
    }

private:
    std::set<std::pair<std::uint64_t, PWait>> FTree;
};

/// Ten waits begin a millisecond; of each N that live a random one is logged on (waits anew, for longer),
/// another one ends; what nobody touched runs out.
template <class TOrder>
void Waits(benchmark::State& AState)
{
    TOrder Order;
    std::mt19937 Random(1);
    const auto Count = static_cast<std::size_t>(AState.range(0));
    std::vector<PWait> Live;
    std::uint64_t Now = 0;
    for (std::size_t i = 0; i < Count; ++i) {
        Live.push_back(std::make_shared<TWait>());
        Now = i * cFirstWait / Count;
        Order.Insert(Live.back(), Now + (i % 2 == 0 ? cFirstWait : cPeriod));
    }
    std::uint64_t Step = 0;
    for (auto Each : AState) {
        Order.Insert(Live[Random() % Count], Now + cPeriod);
        PWait& Ending = Live[Random() % Count];
        Order.Insert(Ending, Now); // terminated: due at once
        Order.Expire(Now);
        Ending = std::make_shared<TWait>();
        Order.Insert(Ending, Now + cFirstWait);
        Now += ++Step % 10 == 0 ? 1 : 0;
    }
}
BENCHMARK_TEMPLATE(Waits, TWheel)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);
BENCHMARK_TEMPLATE(Waits, THeap)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);
BENCHMARK_TEMPLATE(Waits, TTree)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);

} // namespace

BENCHMARK_MAIN();
