#include "tools/zn/PasswordPrompt.h"

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

namespace Zn
{

namespace
{

sigset_t EndingSignals()
{
    sigset_t Signals;
    sigemptyset(&Signals);
    for (const int Signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&Signals, Signal);
    return Signals;
}

/// The terminal without echo, and the ending signals held back until it has its echo again.
class TQuietTerminal
{
public:
    explicit TQuietTerminal(const termios& ABefore) : FBefore(ABefore)
    {
        const sigset_t Signals = EndingSignals();
        pthread_sigmask(SIG_BLOCK, &Signals, &FMask);
        FSignals = signalfd(-1, &Signals, SFD_CLOEXEC);
        termios Quiet = FBefore;
        Quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &Quiet);
    }
    ~TQuietTerminal()
    {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &FBefore);
        std::fputc('\n', stderr);
        if (FSignals >= 0)
            close(FSignals);
        pthread_sigmask(SIG_SETMASK, &FMask,
                        nullptr); // a signal that has come meanwhile takes its effect here
    }
    TQuietTerminal(const TQuietTerminal&) = delete;
    TQuietTerminal& operator=(const TQuietTerminal&) = delete;

    /// False when a signal came first; it stays pending.
    bool WaitForInput() const
    {
        pollfd Waits[] = {{STDIN_FILENO, POLLIN, 0}, {FSignals, POLLIN, 0}};
        while (poll(Waits, 2, -1) < 0 && errno == EINTR) {
        }
        return (Waits[1].revents & POLLIN) == 0;
    }

private:
    const termios FBefore;
    sigset_t FMask{};
    int FSignals;
};

} // namespace

std::optional<std::string> PromptForPassword(const std::string& AQuestion)
{
    termios Before{};
    if (tcgetattr(STDIN_FILENO, &Before) != 0)
        return std::nullopt;
    const TQuietTerminal Terminal(Before); // first: who sees the question may type at once
    std::fputs(AQuestion.c_str(), stderr);
    std::fflush(stderr);
    std::string Line;
    char Char;
    while (Terminal.WaitForInput() && read(STDIN_FILENO, &Char, 1) == 1) {
        if (Char == '\n')
            return Line;
        Line += Char;
    }
    return std::nullopt;
}

} // namespace Zn
