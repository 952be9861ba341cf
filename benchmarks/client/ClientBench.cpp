// What a request costs through the library beside a bare libcurl handle. The peers take turns in one run,
// client and server on one core; see docs/benchmarks.md.
//
//   client_bench [get|down|up|threads] [seconds] [peer]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include "benchmarks/client/Peers.h"
#include "benchmarks/client/Server.h"

namespace
{

using Clock = std::chrono::steady_clock;

struct Cost
{
    double Rate;         // units of work a second
    double Microseconds; // of CPU time for one
};

double CpuSeconds()
{
    rusage Usage{};
    getrusage(RUSAGE_SELF, &Usage);
    const auto Seconds = [](const timeval& ATime) {
        return double(ATime.tv_sec) + double(ATime.tv_usec) / 1e6;
    };
    return Seconds(Usage.ru_utime) + Seconds(Usage.ru_stime);
}

Cost Measure(double ASeconds, const std::function<void()>& AWork)
{
    AWork();
    const auto Begin = Clock::now();
    const double Cpu = CpuSeconds();
    std::uint64_t Count = 0;
    double Passed = 0;
    do {
        AWork();
        ++Count;
        Passed = std::chrono::duration<double>(Clock::now() - Begin).count();
    } while (Passed < ASeconds);
    return {double(Count) / Passed, (CpuSeconds() - Cpu) / double(Count) * 1e6};
}

/// The median of the rounds by rate.
Cost Middle(std::vector<Cost> ARounds)
{
    std::ranges::sort(ARounds, {}, &Cost::Rate);
    return ARounds[ARounds.size() / 2];
}

void PinToLastCore()
{
    cpu_set_t Cores;
    CPU_ZERO(&Cores);
    CPU_SET(std::thread::hardware_concurrency() - 1, &Cores);
    sched_setaffinity(0, sizeof Cores, &Cores);
}

void Compare(const char* ATitle, std::vector<std::unique_ptr<BenchPeer>>& APeers, double ASeconds,
             double AScale, const char* AUnit, const std::function<void(BenchPeer&)>& AWork)
{
    constexpr int cRounds = 5;
    std::vector<std::vector<Cost>> Rounds(APeers.size());
    for (int Round = 0; Round < cRounds; ++Round)
        for (std::size_t Index = 0; Index < APeers.size(); ++Index)
            Rounds[Index].push_back(Measure(ASeconds / cRounds, [&] { AWork(*APeers[Index]); }));
    const Cost First = Middle(Rounds[0]);
    std::printf("%s\n", ATitle);
    for (std::size_t Index = 0; Index < APeers.size(); ++Index) {
        const Cost Each = Middle(Rounds[Index]);
        std::printf("  %-10s %10.0f %s  %10.1f us CPU   rate x%.3f   CPU x%.3f\n", APeers[Index]->Name(),
                    Each.Rate * AScale, AUnit, Each.Microseconds, Each.Rate / First.Rate,
                    Each.Microseconds / First.Microseconds);
    }
    std::fflush(stdout);
}

/// Sixteen threads make a thousand requests, all over one session or each over its own.
double ThreadsRate(std::uint16_t APort, bool AShared)
{
    const auto First = MakeFunctionsPeer(APort);
    std::vector<std::unique_ptr<BenchPeer>> Peers;
    for (int Index = 0; Index < 16; ++Index)
        Peers.push_back(AShared ? MakeFunctionsPeer(APort, *First) : MakeFunctionsPeer(APort));
    const auto Begin = Clock::now();
    std::vector<std::thread> Threads;
    for (const auto& Each : Peers)
        Threads.emplace_back([&Peer = *Each] {
            for (int Round = 0; Round < 1000; ++Round)
                Peer.Get("/text13");
        });
    for (std::thread& Each : Threads)
        Each.join();
    return 16'000 / std::chrono::duration<double>(Clock::now() - Begin).count();
}

void CompareThreads(std::uint16_t APort)
{
    std::vector<double> Shared;
    std::vector<double> Separate;
    for (int Round = 0; Round < 5; ++Round) {
        Shared.push_back(ThreadsRate(APort, true));
        Separate.push_back(ThreadsRate(APort, false));
    }
    std::ranges::sort(Shared);
    std::ranges::sort(Separate);
    std::printf("16 threads, 1,000 requests each\n  one session %8.0f/s   16 sessions %8.0f/s   x%.3f\n",
                Shared[2], Separate[2], Shared[2] / Separate[2]);
}

} // namespace

int main(int ACount, char** AArguments)
{
    const std::string Only = ACount > 1 ? AArguments[1] : "";
    const double Seconds = ACount > 2 ? std::atof(AArguments[2]) : 2.0;
    constexpr std::uint64_t cBig = 256U << 20;
    constexpr double cMiB = 1 << 20;
    const std::string OnlyPeer = ACount > 3 ? AArguments[3] : "";
    if (Only != "threads")
        PinToLastCore();
    BenchServer Server;
    {
        std::vector<std::unique_ptr<BenchPeer>> Peers;
        Peers.push_back(MakeCurlPeer(Server.Port()));
        Peers.push_back(MakeFunctionsPeer(Server.Port()));
        Peers.push_back(MakeClientPeer(Server.Port()));
        Peers.push_back(MakeWinINetPeer(Server.Port()));
        if (!OnlyPeer.empty()) // under a profiler
            std::erase_if(Peers, [&](const auto& AEach) { return OnlyPeer != AEach->Name(); });
        if (Only.empty() || Only == "get")
            Compare("13 bytes, one connection", Peers, Seconds, 1, "/s",
                    [](BenchPeer& APeer) { APeer.Get("/text13"); });
        const std::string Target = "/bytes/" + std::to_string(cBig);
        if (Only.empty() || Only == "down")
            Compare("256 MiB down", Peers, Seconds, double(cBig) / cMiB, "MiB/s",
                    [&](BenchPeer& APeer) { APeer.Get(Target.c_str()); });
        if (Only.empty() || Only == "up")
            Compare("256 MiB up", Peers, Seconds, double(cBig) / cMiB, "MiB/s",
                    [&](BenchPeer& APeer) { APeer.Put(cBig); });
    }
    if (Only.empty() || Only == "threads")
        CompareThreads(Server.Port());
    return 0;
}
