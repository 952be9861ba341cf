#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace Zn
{

/// A program in a process of its own, whose output is kept and can be waited for. It is killed with
/// its holder.
class TChildProcess
{
public:
    /// Starts AArguments[0], found in PATH unless it has a slash. Standard input is empty.
    explicit TChildProcess(std::vector<std::string> AArguments);
    ~TChildProcess();
    TChildProcess(const TChildProcess&) = delete;
    TChildProcess& operator=(const TChildProcess&) = delete;

    void Signal(int ASignal);

    /// The exit code, 128 + the signal that ended it, or nothing while it still runs after ALimit.
    std::optional<int> WaitForExit(std::chrono::milliseconds ALimit);

    /// Whether AText has appeared within ALimit.
    bool WaitForOutput(const std::string& AText, std::chrono::milliseconds ALimit);
    bool WaitForErrors(const std::string& AText, std::chrono::milliseconds ALimit);

    /// What it has written so far; all of it once WaitForExit has given a code.
    std::string Output();
    std::string Errors();

private:
    struct TCollector
    {
        int Fd = -1;
        std::string Text;
        std::thread Reader;
    };

    void Collect(TCollector& AFrom);
    bool WaitFor(TCollector& AFrom, const std::string& AText, std::chrono::milliseconds ALimit);

    pid_t FPid = -1;
    std::optional<int> FExitCode;
    std::mutex FLock;
    std::condition_variable FChanged;
    TCollector FOutput;
    TCollector FErrors;
};

} // namespace Zn
