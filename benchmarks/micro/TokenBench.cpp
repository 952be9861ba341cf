/// The tokens of form logon beside a bare hash map: time to make, find and end 100,000 of them, and the
/// memory of 1,000,000 that live at once.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include "uZnHTTPServer.h"

namespace
{

constexpr int cTokens = 100'000;
constexpr std::size_t cManyTokens = 1'000'000;
const std::string cRedirectUri = "http://www.example.com/shop/articles/2041.html?page=3";

/// Ends tokens and waits until their thread has taken the last one out.
void EndAll(IZnHTTPServerAuthTokens& ATable,
            const std::vector<std::shared_ptr<TZnHTTPServerAuthToken>>& ATokens)
{
    for (const auto& Token : ATokens)
        Token->Terminate();
    while (ATable.Count() != 0)
        std::this_thread::yield();
}

void Tokens(benchmark::State& AState)
{
    TZnHTTPServer Server(nullptr);
    TZnHTTPServerAuthTokenManager& Manager = Server.GetAuthTokenManager();
    for (auto Each : AState) {
        std::vector<std::string> Ids;
        Ids.reserve(cTokens);
        for (int i = 0; i < cTokens; ++i)
            Ids.push_back(Manager.GenerateTokenRequest(ZnMakeAuthToken, cRedirectUri));
        std::vector<std::shared_ptr<TZnHTTPServerAuthToken>> Found;
        Found.reserve(cTokens);
        for (const std::string& Id : Ids)
            Found.push_back(Manager.FindToken(Id));
        EndAll(*Manager.GetTokens(), Found);
    }
    AState.SetItemsProcessed(AState.iterations() * cTokens);
}
BENCHMARK(Tokens)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Repetitions(5);

/// The same texts in and out of a map: what any table of sessions costs at least.
void BareMap(benchmark::State& AState)
{
    struct TSession
    {
        std::string RedirectUri;
        std::string UserName;
    };
    std::mutex Lock;
    std::unordered_map<std::string, TSession> Sessions;
    for (auto Each : AState) {
        std::vector<std::string> Ids;
        Ids.reserve(cTokens);
        for (int i = 0; i < cTokens; ++i) {
            Ids.push_back(GenerateRandomToken());
            const std::lock_guard Guard(Lock);
            Sessions.emplace(Ids.back(), TSession{cRedirectUri, ""});
        }
        for (const std::string& Id : Ids) {
            const std::lock_guard Guard(Lock);
            benchmark::DoNotOptimize(Sessions.find(Id));
        }
        for (const std::string& Id : Ids) {
            const std::lock_guard Guard(Lock);
            Sessions.erase(Id);
        }
    }
    AState.SetItemsProcessed(AState.iterations() * cTokens);
}
BENCHMARK(BareMap)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Repetitions(5);

std::size_t ResidentBytes()
{
    std::ifstream Statm("/proc/self/statm");
    std::size_t Size = 0;
    std::size_t Resident = 0;
    Statm >> Size >> Resident;
    return Resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// All logged on, which is when a token is at its largest. Then their end, with others
/// that begin meanwhile: no token waits for another.
void PrintMemory()
{
    malloc_trim(0);
    TZnHTTPServer Server(nullptr);
    TZnHTTPServerAuthTokenManager& Manager = Server.GetAuthTokenManager();
    const std::size_t Before = ResidentBytes();
    std::vector<std::weak_ptr<TZnHTTPServerAuthToken>> Tokens(cManyTokens);
    for (std::size_t i = 0; i < cManyTokens; ++i) {
        const auto Token = Manager.FindToken(Manager.GenerateTokenRequest(ZnMakeAuthToken, cRedirectUri));
        Token->Validate("user" + std::to_string(i), "Guest", 0, 3600);
        Tokens[i] = Token;
    }
    const std::size_t Used = ResidentBytes() - Before - Tokens.size() * sizeof(Tokens[0]);
    std::printf("%zu live tokens: %.0f MiB, %zu bytes each\n", cManyTokens, Used / 1048576.0,
                Used / cManyTokens);

    Manager.SetMaxTokens(2 * cManyTokens);
    // Their end keeps the timers' thread busy; meanwhile a browser wants to log on.
    using TClock = std::chrono::steady_clock;
    const auto Begin = TClock::now();
    std::thread Ending([&] {
        for (const auto& Each : Tokens)
            if (const auto Token = Each.lock())
                Token->Terminate();
    });
    std::vector<TClock::duration> Logons;
    do {
        const auto Start = TClock::now();
        Manager.FindToken(Manager.GenerateTokenRequest(ZnMakeAuthToken, cRedirectUri))->Terminate();
        Logons.push_back(TClock::now() - Start);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    } while (Manager.GetTokens()->Count() > 10);
    Ending.join();
    const auto Milliseconds = [](TClock::duration ATime) {
        return std::chrono::duration<double, std::milli>(ATime).count();
    };
    std::sort(Logons.begin(), Logons.end());
    const auto Quantile = [&](double APart) {
        return Milliseconds(Logons[static_cast<std::size_t>(APart * static_cast<double>(Logons.size() - 1))]);
    };
    std::printf("their end: %.0f ms; meanwhile %zu others were made, found and ended: half of them within "
                "%.3f ms, 99 %% "
                "within %.1f ms, the slowest in %.1f ms\n",
                Milliseconds(TClock::now() - Begin), Logons.size(), Quantile(0.5), Quantile(0.99),
                Quantile(1));
}

/// Remembers the medians for the line at the end.
class TReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& ARuns) override
    {
        ConsoleReporter::ReportRuns(ARuns);
        for (const Run& Each : ARuns)
            if (Each.aggregate_name == "median")
                Medians[Each.run_name.function_name] = {Each.GetAdjustedRealTime(),
                                                        Each.GetAdjustedCPUTime()};
    }

    struct TTimes
    {
        double Real = 0;
        double CPU = 0;
    };
    std::unordered_map<std::string, TTimes> Medians;
};

} // namespace

int main(int AArgumentCount, char** AArguments)
{
    benchmark::Initialize(&AArgumentCount, AArguments);
    TReporter Reporter;
    benchmark::RunSpecifiedBenchmarks(&Reporter);
    if (Reporter.Medians.size() == 2) {
        const auto& Ours = Reporter.Medians["Tokens"];
        const auto& Bare = Reporter.Medians["BareMap"];
        std::printf("Tokens take %.2f times the bare map's time, %.2f times its CPU time.\n",
                    Ours.Real / Bare.Real, Ours.CPU / Bare.CPU);
    }
    PrintMemory();
    return 0;
}
