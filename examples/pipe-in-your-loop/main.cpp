/// A pipe server in a program that has a loop of its own: the messages of the components are one more
/// descriptor to poll. Here beside a clock and the keyboard.
///
///     build/bin/pipe-in-your-loop &
///     build/bin/zn pipe cmd loop uptime

#include <cstdio>
#include <string>

#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "uZnNamedPipes.h"

int main()
{
    CreateMainQueue(); // this thread owns the components
    unsigned Seconds = 0;

    TZnNamedPipeServer Server;
    Server.SetPipeName("loop");
    // Runs in ProcessMessages below, so it may use what the loop uses without a lock.
    Server.OnCmdReceivedS = [&](TZnNamedPipeConnectionID, const std::string& ACommand) {
        return ACommand == "uptime" ? "up for " + std::to_string(Seconds) + " s" : "ask for uptime";
    };
    Server.OnNamedPipeException = [](TZnNamedPipeConnectionID, const Exception& AException, bool&) {
        std::fprintf(stderr, "%s\n", AException.Message().c_str());
    };
    Server.Start();

    const int Clock = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const itimerspec EverySecond{{1, 0}, {1, 0}};
    timerfd_settime(Clock, 0, &EverySecond, nullptr);

    pollfd Watched[] = {
        {QueueFd(), POLLIN, 0}, // readable while the components have something for this thread
        {Clock, POLLIN, 0},
        {STDIN_FILENO, POLLIN, 0},
    };
    std::printf("Ask with: zn pipe cmd loop uptime. Enter ends.\n");
    while (poll(Watched, 3, -1) >= 0) {
        if (Watched[0].revents != 0)
            ProcessMessages(); // never waits
        std::uint64_t Ticks = 0;
        if (Watched[1].revents != 0 && read(Clock, &Ticks, sizeof(Ticks)) == sizeof(Ticks))
            Seconds += static_cast<unsigned>(Ticks);
        if (Watched[2].revents != 0)
            break;
    }
    close(Clock);
    return 0; // the server stops with its object
}
