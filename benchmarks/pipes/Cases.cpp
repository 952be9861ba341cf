#include "benchmarks/pipes/Cases.h"

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include <sys/resource.h>

namespace
{

using Clock = std::chrono::steady_clock;

double Since(Clock::time_point ABegin)
{
    return std::chrono::duration<double>(Clock::now() - ABegin).count();
}

double Quantile(std::vector<float>& ATimes, double AShare)
{
    if (ATimes.empty())
        return 0;
    const auto At =
        ATimes.begin() + static_cast<std::ptrdiff_t>(AShare * static_cast<double>(ATimes.size() - 1));
    std::ranges::nth_element(ATimes, At);
    return *At * 1e6;
}

} // namespace

BenchFigures RoundTrips(BenchClient& AClient, std::size_t ALength, double ASeconds)
{
    const std::string Block(ALength, '?');
    for (int Warm = 0; Warm < 2000; ++Warm)
        AClient.Ask(Block);
    std::size_t Count = 0;
    const auto Begin = Clock::now();
    do {
        for (int Turn = 0; Turn < 100; ++Turn)
            AClient.Ask(Block);
        Count += 100;
    } while (Since(Begin) < ASeconds);
    const double Rate = static_cast<double>(Count) / Since(Begin);
    return {.PerSecond = Rate, .MedianUs = 1e6 / Rate};
}

BenchFigures OneWay(BenchClient& AClient, std::size_t ALength, double ASeconds)
{
    const std::string Block(ALength, '.');
    const int Batch = ALength > 100000 ? 1 : 100;
    for (int Warm = 0; Warm < Batch; ++Warm)
        AClient.Send(Block);
    AClient.Finish();
    std::size_t Count = 0;
    const auto Begin = Clock::now();
    do {
        for (int Turn = 0; Turn < Batch; ++Turn)
            AClient.Send(Block);
        Count += static_cast<std::size_t>(Batch);
    } while (Since(Begin) < ASeconds);
    AClient.Finish();
    const double Rate = static_cast<double>(Count) / Since(Begin);
    return {.PerSecond = Rate, .MegabytesPerS = Rate * static_cast<double>(ALength) / 1e6};
}

BenchFigures Fairness(const BenchPeer& APeer, const std::string& AFolder, int ACount, double ASeconds,
                      std::chrono::microseconds APause)
{
    std::vector<std::unique_ptr<BenchClient>> Clients;
    for (int Index = 0; Index < ACount; ++Index)
        Clients.push_back(APeer.Client(AFolder));
    std::vector<std::vector<float>> Times(Clients.size());
    std::vector<std::thread> Threads;
    for (std::size_t Index = 0; Index < Clients.size(); ++Index) {
        Threads.emplace_back([&, Index] {
            const std::string Block(64, '?');
            std::minstd_rand Random(static_cast<unsigned>(Index) + 1);
            std::uniform_int_distribution<long> Pause(0, 2 * APause.count());
            const auto Begin = Clock::now();
            while (Since(Begin) < ASeconds) {
                if (APause.count() != 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(Pause(Random)));
                const auto Asked = Clock::now();
                Clients[Index]->Ask(Block);
                Times[Index].push_back(static_cast<float>(Since(Asked)));
            }
        });
    }
    for (auto& Thread : Threads)
        Thread.join();
    BenchFigures Result;
    std::vector<float> All;
    for (auto& Own : Times) {
        All.insert(All.end(), Own.begin(), Own.end());
        Result.P99Us = std::max(Result.P99Us, Quantile(Own, 0.99));
        Result.MedianWorstUs = std::max(Result.MedianWorstUs, Quantile(Own, 0.5));
    }
    Result.PerSecond = static_cast<double>(All.size()) / ASeconds;
    Result.MedianUs = Quantile(All, 0.5);
    return Result;
}

BenchFigures Giant(BenchClient& AClient)
{
    const std::string Block(std::size_t(1) << 30, '.');
    const auto Begin = Clock::now();
    AClient.Send(Block);
    AClient.Finish();
    const double Time = Since(Begin);
    rusage Own{};
    getrusage(RUSAGE_SELF, &Own);
    return {.PerSecond = 1 / Time,
            .MegabytesPerS = static_cast<double>(Block.size()) / 1e6 / Time,
            .PeakMiB = static_cast<double>(Own.ru_maxrss) / 1024};
}
