#include "tools/zn/request/ProgressBar.h"

#include <cstdio>

#include <unistd.h>

#include "common/Exceptions.h"

namespace Zn
{

namespace
{

constexpr std::chrono::milliseconds cInterval{100};
constexpr int cWidth = 30;
constexpr double cMiB = 1024.0 * 1024.0;
constexpr const char* cClearLine = "\r\033[K";

} // namespace

std::string ProgressLine(std::int64_t AReceived, std::int64_t ATotal, double ASeconds)
{
    const double Received = static_cast<double>(AReceived) / cMiB;
    const double Rate = ASeconds > 0 ? Received / ASeconds : 0;
    if (ATotal <= AReceived)
        return ZnFormat("%.1f MiB  %.1f MiB/s", Received, Rate);
    const double Part = static_cast<double>(AReceived) / static_cast<double>(ATotal);
    std::string Bar(cWidth, ' ');
    Bar.replace(0, static_cast<std::size_t>(Part * cWidth), static_cast<std::size_t>(Part * cWidth), '#');
    return ZnFormat("[%s] %3.0f %%  %.1f of %.1f MiB  %.1f MiB/s", Bar.c_str(), Part * 100, Received,
                    static_cast<double>(ATotal) / cMiB, Rate);
}

bool TProgressBar::Wanted(bool AToFile)
{
    return isatty(STDERR_FILENO) != 0 && (AToFile || isatty(STDOUT_FILENO) == 0);
}

TProgressBar::~TProgressBar()
{
    if (FVisible)
        std::fputs(cClearLine, stderr);
}

void TProgressBar::Advance(std::int64_t APiece, std::int64_t ATotal)
{
    FReceived += APiece;
    const auto Now = TClock::now();
    if (Now - FShown < cInterval)
        return;
    FShown = Now;
    FVisible = true;
    const double Seconds = std::chrono::duration<double>(Now - FStart).count();
    std::fprintf(stderr, "%s%s", cClearLine, ProgressLine(FReceived, ATotal, Seconds).c_str());
    std::fflush(stderr);
}

} // namespace Zn
