#include "uZnAmazonClient/Retry.h"

#include <algorithm>
#include <array>
#include <random>

bool Zn::IsWorthRetrying(std::uint16_t AStatus, std::string_view ABody)
{
    switch (AStatus) {
    case 429:
    case 500:
    case 502:
    case 503:
    case 504:
        return true;
    case 400:
        break;
    default:
        return false;
    }
    constexpr std::array<std::string_view, 6> cThrottling{
        "Throttling",      "ProvisionedThroughputExceeded", "RequestLimitExceeded", "RequestThrottled",
        "TooManyRequests", "BandwidthLimitExceeded"};
    constexpr std::size_t cCodeIsWithin = 1024; // of an error answer
    const std::string_view Start = ABody.substr(0, cCodeIsWithin);
    return std::any_of(cThrottling.begin(), cThrottling.end(),
                       [&](std::string_view ACode) { return Start.find(ACode) != std::string_view::npos; });
}

std::chrono::milliseconds Zn::LongestPause(std::chrono::milliseconds ABase, std::uint32_t ANumber)
{
    constexpr std::chrono::milliseconds cCap{20000};
    auto Result = std::clamp(ABase, std::chrono::milliseconds(0), cCap);
    for (std::uint32_t Doubled = 0; Doubled < ANumber && Result < cCap; ++Doubled) {
        if (Result.count() == 0)
            break;
        Result = std::min(Result * 2, cCap);
    }
    return Result;
}

std::chrono::milliseconds Zn::PauseWithJitter(std::chrono::milliseconds ALongest)
{
    thread_local std::minstd_rand Random{std::random_device{}()};
    return std::chrono::milliseconds(
        std::uniform_int_distribution<std::chrono::milliseconds::rep>(0, ALongest.count())(Random));
}
