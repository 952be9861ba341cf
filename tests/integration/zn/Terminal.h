#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zn
{

struct TTerminalOutcome
{
    int Code = -1;
    std::string Seen; // what the terminal showed
};

/// Runs a program on a terminal of its own and types each answer when its question has appeared.
inline TTerminalOutcome RunOnTerminal(std::vector<std::string> AArguments,
                                      const std::vector<std::pair<std::string, std::string>>& AAnswers)
{
    TTerminalOutcome Result;
    std::vector<char*> Pointers;
    for (std::string& Each : AArguments)
        Pointers.push_back(Each.data());
    Pointers.push_back(nullptr);
    int Terminal = -1;
    const pid_t Child = forkpty(&Terminal, nullptr, nullptr, nullptr);
    if (Child == 0) {
        execv(Pointers[0], Pointers.data());
        _exit(127);
    }
    std::size_t Answered = 0;
    std::size_t From = 0;
    pollfd Wait{Terminal, POLLIN, 0};
    while (poll(&Wait, 1, 60'000) > 0) {
        std::array<char, 256> Bytes;
        const ssize_t Length = read(Terminal, Bytes.data(), Bytes.size());
        if (Length <= 0)
            break;
        Result.Seen.append(Bytes.data(), static_cast<std::size_t>(Length));
        while (Answered < AAnswers.size()) {
            const auto& [Question, Answer] = AAnswers[Answered];
            const std::size_t At = Result.Seen.find(Question, From);
            if (At == std::string::npos || write(Terminal, Answer.data(), Answer.size()) < 0)
                break;
            From = At + Question.size();
            ++Answered;
        }
    }
    close(Terminal);
    int Status = -1;
    waitpid(Child, &Status, 0);
    Result.Code = WIFEXITED(Status) ? WEXITSTATUS(Status) : -1;
    return Result;
}

} // namespace Zn
