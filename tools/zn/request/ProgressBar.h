#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Zn
{

/// How far a download is, on one line of a terminal, at most ten times a second. The line is gone when the
/// bar is.
class TProgressBar
{
public:
    ~TProgressBar();

    /// True when standard error is a terminal, which nothing else is written to meanwhile.
    static bool Wanted(bool AToFile);

    /// APiece more bytes are there. ATotal is a guess where the server announced no length.
    void Advance(std::int64_t APiece, std::int64_t ATotal);

private:
    using TClock = std::chrono::steady_clock;

    TClock::time_point FStart = TClock::now();
    TClock::time_point FShown = FStart;
    std::int64_t FReceived = 0;
    bool FVisible = false;
};

/// "[#####     ]  50 %  12.0 of 24.0 MiB  3.0 MiB/s"; without bar and total where ATotal isn't above
/// AReceived.
std::string ProgressLine(std::int64_t AReceived, std::int64_t ATotal, double ASeconds);

} // namespace Zn
