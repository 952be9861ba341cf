#include "uZnHTTPServer/Metrics.h"

#include <algorithm>
#include <cstdio>

namespace Zn
{
namespace
{

constexpr auto Relaxed = std::memory_order_relaxed;

// Upper bounds in nanoseconds, and in seconds as they are written.
struct Bound
{
    std::int64_t Nanoseconds;
    const char* Seconds;
};
constexpr std::array<Bound, 12> Bounds{{{100'000, "0.0001"},
                                        {250'000, "0.00025"},
                                        {500'000, "0.0005"},
                                        {1'000'000, "0.001"},
                                        {2'500'000, "0.0025"},
                                        {10'000'000, "0.01"},
                                        {25'000'000, "0.025"},
                                        {100'000'000, "0.1"},
                                        {250'000'000, "0.25"},
                                        {1'000'000'000, "1"},
                                        {2'500'000'000, "2.5"},
                                        {10'000'000'000, "10"}}};
constexpr std::array<const char*, 7> MethodNames{"GET", "HEAD", "POST", "PUT", "DELETE", "OPTIONS", "other"};
constexpr std::array<const char*, 6> ClassNames{"none", "1xx", "2xx", "3xx", "4xx", "5xx"};

std::size_t MethodOf(THTTP_VERB AVerb)
{
    switch (AVerb) {
    case HttpVerbGET:
        return 0;
    case HttpVerbHEAD:
        return 1;
    case HttpVerbPOST:
        return 2;
    case HttpVerbPUT:
        return 3;
    case HttpVerbDELETE:
        return 4;
    case HttpVerbOPTIONS:
        return 5;
    default:
        return 6;
    }
}

std::size_t OwnCell(std::size_t ACells)
{
    static std::atomic<std::size_t> Next{0};
    thread_local const std::size_t Own = Next.fetch_add(1, Relaxed);
    return Own % ACells;
}

void AppendHead(std::string& AText, const char* AName, const char* AType, const char* AHelp)
{
    AText.append("# HELP ").append(AName).append(" ").append(AHelp);
    AText.append("\n# TYPE ").append(AName).append(" ").append(AType).append("\n");
}

void AppendSample(std::string& AText, const std::string& ANameAndLabels, const std::string& AValue)
{
    AText.append(ANameAndLabels).append(" ").append(AValue).append("\n");
}

} // namespace

void RequestCounters::Count(const RequestOutcome& ARequest)
{
    Cell& Own = FCells[OwnCell(Cells)];
    const std::size_t Class = std::min<std::size_t>(ARequest.Status / 100, Classes - 1);
    Own.Requests[MethodOf(ARequest.Verb)][Class].fetch_add(1, Relaxed);
    const auto Found = std::find_if(Bounds.begin(), Bounds.end(), [&](const Bound& AEach) {
        return ARequest.Duration.count() <= AEach.Nanoseconds;
    });
    Own.Durations[static_cast<std::size_t>(Found - Bounds.begin())].fetch_add(1, Relaxed);
    Own.Nanoseconds.fetch_add(static_cast<std::uint64_t>(ARequest.Duration.count()), Relaxed);
    Own.Received.fetch_add(ARequest.Received, Relaxed);
    Own.Sent.fetch_add(ARequest.Sent, Relaxed);
}

template <class TPick>
std::uint64_t RequestCounters::Sum(TPick APick) const
{
    std::uint64_t Result = 0;
    for (const Cell& Each : FCells)
        Result += APick(Each).load(Relaxed);
    return Result;
}

void RequestCounters::AppendTo(std::string& AText) const
{
    AppendHead(AText, "zn_http_requests_total", "counter",
               "Requests that are over, by method and class of status (none: nothing was sent).");
    for (std::size_t Method = 0; Method < Methods; ++Method)
        for (std::size_t Class = 0; Class < Classes; ++Class)
            if (const std::uint64_t Count =
                    Sum([&](const Cell& AEach) -> const Counter& { return AEach.Requests[Method][Class]; });
                Count > 0)
                AppendSample(AText,
                             std::string("zn_http_requests_total{method=\"") + MethodNames[Method] +
                                 "\",status=\"" + ClassNames[Class] + "\"}",
                             std::to_string(Count));

    AppendHead(AText, "zn_http_request_duration_seconds", "histogram",
               "From the hand-over to a worker until the answer had left.");
    std::uint64_t Count = 0;
    for (std::size_t Bucket = 0; Bucket < Buckets; ++Bucket) {
        Count += Sum([&](const Cell& AEach) -> const Counter& { return AEach.Durations[Bucket]; });
        AppendSample(AText,
                     std::string("zn_http_request_duration_seconds_bucket{le=\"") +
                         (Bucket < Bounds.size() ? Bounds[Bucket].Seconds : "+Inf") + "\"}",
                     std::to_string(Count));
    }
    char Seconds[32];
    std::snprintf(
        Seconds, sizeof Seconds, "%.6f",
        static_cast<double>(Sum([](const Cell& AEach) -> const Counter& { return AEach.Nanoseconds; })) /
            1e9);
    AppendSample(AText, "zn_http_request_duration_seconds_sum", Seconds);
    AppendSample(AText, "zn_http_request_duration_seconds_count", std::to_string(Count));

    AppendMetric(AText, "zn_http_received_bytes_total", "counter", "Bytes of requests, heads and bodies.",
                 Sum([](const Cell& AEach) -> const Counter& { return AEach.Received; }));
    AppendMetric(AText, "zn_http_sent_bytes_total", "counter", "Bytes of responses, heads and bodies.",
                 Sum([](const Cell& AEach) -> const Counter& { return AEach.Sent; }));
}

void AppendMetric(std::string& AText, const char* AName, const char* AType, const char* AHelp,
                  std::uint64_t AValue)
{
    AppendHead(AText, AName, AType, AHelp);
    AppendSample(AText, AName, std::to_string(AValue));
}

} // namespace Zn
