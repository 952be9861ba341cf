#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

/// "For ever", wherever a wait takes milliseconds.
inline constexpr std::uint32_t INFINITE = 0xFFFFFFFF;

namespace Zn
{

/// The moment at which a wait ends, on the monotonic clock. Made once at the start of a wait, so
/// that a wait that has to be taken up again does not grow.
class Deadline
{
public:
    /// 0 has passed at once; INFINITE never passes, nor does what is 24.8 days away or more (0x7FFFFFFF): a
    /// timer that never fires would be set and taken back at each wait.
    explicit Deadline(std::uint32_t AMilliseconds) : FInfinite(AMilliseconds >= 0x7FFFFFFF)
    {
        if (!FInfinite && AMilliseconds != 0)
            FEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(AMilliseconds);
    }

    bool IsInfinite() const { return FInfinite; }
    bool HasPassed() const { return !FInfinite && std::chrono::steady_clock::now() >= FEnd; }

    /// What is left in ms for poll(2): -1 for ever, rounded up so that poll does not wake early.
    int PollTimeout() const
    {
        if (FInfinite)
            return -1;
        auto Left = std::chrono::ceil<std::chrono::milliseconds>(FEnd - std::chrono::steady_clock::now());
        if (Left.count() <= 0)
            return 0;
        return Left.count() > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(Left.count());
    }

    /// The same for WaitFor operations: INFINITE or what is left.
    std::uint32_t Remaining() const
    {
        return FInfinite ? INFINITE : static_cast<std::uint32_t>(PollTimeout());
    }

    /// Absolute CLOCK_MONOTONIC time; undefined for an infinite deadline.
    timespec AbsoluteTime() const
    {
        auto SinceBoot = FEnd.time_since_epoch();
        auto Seconds = std::chrono::floor<std::chrono::seconds>(SinceBoot);
        auto Nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(SinceBoot - Seconds);
        return {static_cast<time_t>(Seconds.count()), static_cast<long>(Nanoseconds.count())};
    }

private:
    bool FInfinite;
    std::chrono::steady_clock::time_point FEnd{};
};

} // namespace Zn
