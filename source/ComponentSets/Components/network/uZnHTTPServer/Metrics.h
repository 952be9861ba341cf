#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include "uZnHTTPH.h"

namespace Zn
{

/// One request, when it is over.
struct RequestOutcome
{
    THTTP_VERB Verb;
    std::uint16_t Status; // 0: nothing was sent
    std::chrono::nanoseconds Duration;
    std::uint64_t Received; // bytes, head and body
    std::uint64_t Sent;
};

/// Counts requests. Threads count in cells of their own, without locks, and a reader adds the cells up: it
/// may see a request in one sum and not yet in another.
class RequestCounters
{
public:
    void Count(const RequestOutcome& ARequest);

    /// Counters and a histogram of durations in the text format of Prometheus, 0.0.4.
    void AppendTo(std::string& AText) const;

private:
    static constexpr std::size_t Classes = 6;  // nothing sent, 1xx to 5xx; others count with the last
    static constexpr std::size_t Methods = 7;  // those with names of their own, and all others
    static constexpr std::size_t Buckets = 13; // the last one is for what takes longer than all bounds
    static constexpr std::size_t Cells = 16;

    using Counter = std::atomic<std::uint64_t>; // relaxed: guards no other data
    struct alignas(64) Cell
    {
        std::array<std::array<Counter, Classes>, Methods> Requests{};
        std::array<Counter, Buckets> Durations{};
        Counter Nanoseconds{0};
        Counter Received{0};
        Counter Sent{0};
    };
    template <class TPick>
    std::uint64_t Sum(TPick APick) const;

    std::array<Cell, Cells> FCells;
};

/// "# HELP ...", "# TYPE ..." and the sample.
void AppendMetric(std::string& AText, const char* AName, const char* AType, const char* AHelp,
                  std::uint64_t AValue);

} // namespace Zn
