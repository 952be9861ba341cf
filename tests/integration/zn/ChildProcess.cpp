#include "tests/integration/zn/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zn
{

TChildProcess::TChildProcess(std::vector<std::string> AArguments)
{
    int Output[2], Errors[2];
    if (pipe2(Output, O_CLOEXEC) != 0 || pipe2(Errors, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2 failed");
    posix_spawn_file_actions_t Actions;
    posix_spawn_file_actions_init(&Actions);
    posix_spawn_file_actions_addopen(&Actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&Actions, Output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&Actions, Errors[1], STDERR_FILENO);
    std::vector<char*> Arguments;
    for (std::string& Argument : AArguments)
        Arguments.push_back(Argument.data());
    Arguments.push_back(nullptr);
    const int Error = posix_spawnp(&FPid, Arguments[0], &Actions, nullptr, Arguments.data(), environ);
    posix_spawn_file_actions_destroy(&Actions);
    close(Output[1]);
    close(Errors[1]);
    FOutput.Fd = Output[0];
    FErrors.Fd = Errors[0];
    if (Error != 0)
        throw std::runtime_error("cannot start " + AArguments[0]);
    FOutput.Reader = std::thread([this] { Collect(FOutput); });
    FErrors.Reader = std::thread([this] { Collect(FErrors); });
}

TChildProcess::~TChildProcess()
{
    if (!FExitCode) {
        kill(FPid, SIGKILL);
        int Status = 0;
        waitpid(FPid, &Status, 0);
    }
    for (TCollector* Each : {&FOutput, &FErrors}) {
        if (Each->Reader.joinable())
            Each->Reader.join();
        close(Each->Fd);
    }
}

void TChildProcess::Signal(int ASignal)
{
    if (!FExitCode)
        kill(FPid, ASignal);
}

std::optional<int> TChildProcess::WaitForExit(std::chrono::milliseconds ALimit)
{
    if (FExitCode)
        return FExitCode;
    const int Process = static_cast<int>(syscall(SYS_pidfd_open, FPid, 0));
    pollfd Wait{.fd = Process, .events = POLLIN, .revents = 0};
    const int Ready = poll(&Wait, 1, static_cast<int>(ALimit.count()));
    close(Process);
    if (Ready != 1)
        return std::nullopt;
    int Status = 0;
    waitpid(FPid, &Status, 0);
    FExitCode = WIFEXITED(Status) ? WEXITSTATUS(Status) : 128 + WTERMSIG(Status);
    FOutput.Reader.join();
    FErrors.Reader.join();
    return FExitCode;
}

bool TChildProcess::WaitForOutput(const std::string& AText, std::chrono::milliseconds ALimit)
{
    return WaitFor(FOutput, AText, ALimit);
}

bool TChildProcess::WaitForErrors(const std::string& AText, std::chrono::milliseconds ALimit)
{
    return WaitFor(FErrors, AText, ALimit);
}

std::string TChildProcess::Output()
{
    const std::lock_guard Guard(FLock);
    return FOutput.Text;
}

std::string TChildProcess::Errors()
{
    const std::lock_guard Guard(FLock);
    return FErrors.Text;
}

void TChildProcess::Collect(TCollector& AFrom)
{
    char Buffer[65536];
    while (true) {
        const ssize_t Count = read(AFrom.Fd, Buffer, sizeof(Buffer));
        if (Count < 0 && errno == EINTR)
            continue;
        if (Count <= 0)
            return;
        const std::lock_guard Guard(FLock);
        AFrom.Text.append(Buffer, static_cast<std::size_t>(Count));
        FChanged.notify_all();
    }
}

bool TChildProcess::WaitFor(TCollector& AFrom, const std::string& AText, std::chrono::milliseconds ALimit)
{
    std::unique_lock Guard(FLock);
    return FChanged.wait_for(Guard, ALimit, [&] { return AFrom.Text.find(AText) != std::string::npos; });
}

} // namespace Zn
