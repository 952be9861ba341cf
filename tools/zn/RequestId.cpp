#include "tools/zn/RequestId.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "platform/random/SystemRandom.h"

namespace Zn
{

namespace
{

std::uint64_t ProcessNumber()
{
    std::array<std::byte, sizeof(std::uint64_t)> Bytes{};
    [[maybe_unused]] const std::uint32_t Result =
        FillWithRandom(Bytes); // without it ids are unique in this process alone
    std::uint64_t Number = 0;
    for (const std::byte Each : Bytes)
        Number = Number << 8 | std::to_integer<std::uint64_t>(Each);
    return Number;
}

} // namespace

std::string NewRequestId()
{
    static const std::uint64_t Process = ProcessNumber();
    static std::atomic<std::uint64_t> Next{1};
    char Text[40];
    std::snprintf(Text, sizeof Text, "%016" PRIx64 "-%08" PRIx64, Process,
                  Next.fetch_add(1, std::memory_order_relaxed));
    return Text;
}

bool IsRequestId(std::string_view AText)
{
    constexpr std::string_view cOthers = "-_.:+/=@~";
    return !AText.empty() && AText.size() <= 128 && std::all_of(AText.begin(), AText.end(), [&](char AChar) {
        return (AChar >= '0' && AChar <= '9') || (AChar >= 'a' && AChar <= 'z') ||
               (AChar >= 'A' && AChar <= 'Z') || cOthers.find(AChar) != std::string_view::npos;
    });
}

} // namespace Zn
