#include "tools/zn/ServeSignals.h"

#include <csignal>
#include <ctime>
#include <unistd.h>

namespace Zn
{

namespace
{

sigset_t StopSignals()
{
    sigset_t Signals;
    sigemptyset(&Signals);
    sigaddset(&Signals, SIGINT);
    sigaddset(&Signals, SIGTERM);
    return Signals;
}

sigset_t OwnSignals()
{
    sigset_t Signals = StopSignals();
    if (isatty(STDIN_FILENO) == 0)
        sigaddset(&Signals, SIGHUP);
    return Signals;
}

/// The next signal; 0 when a second has gone by and ALimited.
int NextSignal(const sigset_t& ASignals, bool ALimited)
{
    constexpr timespec cLookEvery{1, 0};
    const int Signal =
        ALimited ? sigtimedwait(&ASignals, nullptr, &cLookEvery) : sigwaitinfo(&ASignals, nullptr);
    return Signal > 0 ? Signal : 0;
}

} // namespace

void HoldSignals()
{
    const sigset_t Signals = OwnSignals();
    pthread_sigmask(SIG_BLOCK, &Signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a reader of the log that went away is no reason to stop serving
}

void WaitForStop(const TReload& AReload, TFileWatch* AWatch)
{
    const sigset_t Signals = OwnSignals();
    for (;;) {
        const int Signal = NextSignal(Signals, AWatch != nullptr);
        if (Signal == SIGINT || Signal == SIGTERM)
            break;
        if (Signal == SIGHUP) {
            if (AWatch != nullptr)
                AWatch->Acknowledge();
            AReload.Run();
        } else if (AWatch != nullptr && AWatch->HasChanged()) {
            AReload.Run();
        }
    }
    // A second one ends the process at once. SIGHUP stays held: it must not end a drain.
    const sigset_t Stopping = StopSignals();
    pthread_sigmask(SIG_UNBLOCK, &Stopping, nullptr);
}

} // namespace Zn
