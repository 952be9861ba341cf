#pragma once

#include <cstdint>
#include <string>

namespace Zn
{

/// The work of `zn pipe`, one function for each command. They print to standard output, return the
/// program's exit code and raise what the library raises. SIGINT and SIGTERM end those that wait.

struct TPipeListener
{
    std::string Name;
    std::string Program; // empty: a command is answered with itself
    int MaxConnections = 0;
};

struct TPipeTarget
{
    std::string Name;
    std::string Server; // empty: this machine
    std::string User;
    std::string Password;
    int ConnectTimeout = 10000; // ms
};

int ListenOnPipe(const TPipeListener& AListener);
/// AText is the text, or "@" and the name of a file.
int SendToPipe(const TPipeTarget& ATarget, const std::string& AText, std::uint32_t ATimeout);
int AskPipe(const TPipeTarget& ATarget, const std::string& AText, std::uint32_t ATimeout);
int PingPipe(const TPipeTarget& ATarget, int ACount);
int TalkWithPipe(const TPipeTarget& ATarget);

/// A text of several lines as one.
std::string OneLine(const std::string& AText);

/// Runs AProgram (found by PATH) with AInput on its standard input and returns its standard output.
/// Raises Exception when it can't be started or fails.
std::string RunFilter(const std::string& AProgram, const std::string& AInput);

} // namespace Zn
