#include "platform/iphelper/DhcpClient.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/iphelper/Snapshot.h"
#include "platform/sync/Deadline.h"
#include "platform/sync/Mutex.h"

namespace
{

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds cPause{50};
constexpr int cPatience = 60'000; // ms, what dhclient itself allows for a lease

/// How a dhclient was started, as far as another one has to be started in the same way.
struct TDhcpClient
{
    std::string Program;
    std::vector<std::string> Options;    // with their values: files, script, identifiers
    std::vector<std::string> Interfaces; // none: all there are

    bool IsFor(const std::string& AName) const
    {
        return Interfaces.empty() || std::ranges::find(Interfaces, AName) != Interfaces.end();
    }
};

/// Those that were told to give their leases back, by interface: they have ended, and start again from here.
Zn::Mutex GMutex;
std::map<std::string, TDhcpClient> GReleased ZN_GUARDED_BY(GMutex);

/// A process's command line, cut into its arguments.
std::vector<std::string> ArgumentsOf(const fs::path& AProcess)
{
    std::ifstream File(AProcess / "cmdline", std::ios::binary);
    std::vector<std::string> Result;
    std::string Argument;
    while (std::getline(File, Argument, '\0'))
        Result.push_back(Argument);
    return Result;
}

fs::path LinkOf(const fs::path& APath)
{
    std::error_code Error;
    return fs::read_symlink(APath, Error);
}

bool IsOneOf(std::string_view AOption, std::span<const std::string_view> AOptions)
{
    return std::ranges::find(AOptions, AOption) != AOptions.end();
}

/// Takes a command line apart. Options that only tell how to start, or what for, are left out.
TDhcpClient ClientOf(std::span<const std::string> AArguments)
{
    static constexpr std::string_view cWithValue[] = {"-pf", "-lf", "-cf", "-sf", "-df", "-e", "-p", "-s",
                                                      "-g",  "-C",  "-H",  "-F",  "-V",  "-R", "-D"};
    static constexpr std::string_view cOfTheStart[] = {"-1", "-4", "-d", "-q", "-v", "-w", "-nw", "-r", "-x"};
    TDhcpClient Client;
    for (std::size_t Index = 1; Index < AArguments.size(); ++Index) {
        const std::string& Argument = AArguments[Index];
        if (!Argument.starts_with('-')) {
            Client.Interfaces.push_back(Argument);
        } else if (!IsOneOf(Argument, cOfTheStart)) {
            Client.Options.push_back(Argument);
            if (IsOneOf(Argument, cWithValue) && Index + 1 < AArguments.size())
                Client.Options.push_back(AArguments[++Index]);
        }
    }
    return Client;
}

std::optional<TDhcpClient> ClientIn(const fs::path& AProcess, const std::string& AName,
                                    const fs::path& ANamespace)
{
    const std::vector<std::string> Arguments = ArgumentsOf(AProcess);
    if (Arguments.empty() || fs::path(Arguments[0]).filename() != "dhclient" ||
        LinkOf(AProcess / "ns/net") != ANamespace)
        return std::nullopt;
    TDhcpClient Client = ClientOf(Arguments);
    const bool IsV6 = std::ranges::find(Client.Options, "-6") != Client.Options.end();
    Client.Program = LinkOf(AProcess / "exe");
    if (IsV6 || Client.Program.empty() || !Client.IsFor(AName))
        return std::nullopt;
    return Client;
}

std::optional<TDhcpClient> FindClient(const std::string& AName)
{
    const fs::path Namespace = LinkOf("/proc/thread-self/ns/net");
    std::error_code Error;
    for (const fs::directory_entry& Entry : fs::directory_iterator("/proc", Error)) {
        const std::string Number = Entry.path().filename();
        if (Number.find_first_not_of("0123456789") != std::string::npos)
            continue;
        if (auto Client = ClientIn(Entry.path(), AName, Namespace))
            return Client;
    }
    return std::nullopt;
}

/// Waits for a child; one that takes too long is ended.
std::uint32_t WaitFor(pid_t AChild)
{
    // glibc's own pidfd_open has no C linkage in some releases.
    const int Descriptor = static_cast<int>(syscall(SYS_pidfd_open, AChild, 0));
    pollfd Wait{Descriptor, POLLIN, 0};
    const bool Ended = Descriptor >= 0 && poll(&Wait, 1, cPatience) > 0;
    if (Descriptor >= 0)
        close(Descriptor);
    if (!Ended)
        kill(AChild, SIGKILL);
    int Status = 0;
    while (waitpid(AChild, &Status, 0) < 0) {
        if (errno != EINTR)
            return ERROR_GEN_FAILURE;
    }
    if (!Ended)
        return ERROR_TIMEOUT;
    return WIFEXITED(Status) && WEXITSTATUS(Status) == 0 ? NO_ERROR : ERROR_GEN_FAILURE;
}

std::uint32_t Run(const TDhcpClient& AClient, const char* AOrder, std::span<const std::string> AInterfaces)
{
    if (geteuid() != 0)
        return ERROR_ACCESS_DENIED;
    std::vector<std::string> Arguments{AClient.Program, "-4", AOrder};
    Arguments.insert(Arguments.end(), AClient.Options.begin(), AClient.Options.end());
    Arguments.insert(Arguments.end(), AInterfaces.begin(), AInterfaces.end());
    std::vector<char*> Pointers;
    Pointers.reserve(Arguments.size() + 1);
    for (std::string& Argument : Arguments)
        Pointers.push_back(Argument.data());
    Pointers.push_back(nullptr);

    posix_spawn_file_actions_t Actions;
    posix_spawn_file_actions_init(&Actions);
    for (const int Stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&Actions, Stream, "/dev/null", O_RDWR, 0);
    pid_t Child = 0;
    const int Errno =
        posix_spawn(&Child, AClient.Program.c_str(), &Actions, nullptr, Pointers.data(), environ);
    posix_spawn_file_actions_destroy(&Actions);
    return Errno != 0 ? FromErrno(Errno) : WaitFor(Child);
}

bool HasAddress(const std::string& AName)
{
    Zn::TSnapshot Snapshot;
    if (Zn::ReadSnapshot(Snapshot) != 0)
        return false;
    const auto Link = std::ranges::find(Snapshot.Links, AName, &Zn::TLink::Name);
    return Link != Snapshot.Links.end() && std::ranges::any_of(Snapshot.Addresses, [&](const auto& AUnicast) {
               return AUnicast.Index == Link->Index && AUnicast.Address.Family == AF_INET;
           });
}

/// A dhclient for several interfaces has started when the first of them has its lease.
std::uint32_t WaitForAddress(const std::string& AName)
{
    const Zn::Deadline End(cPatience);
    while (!HasAddress(AName)) {
        if (End.HasPassed())
            return ERROR_TIMEOUT;
        std::this_thread::sleep_for(cPause);
    }
    return NO_ERROR;
}

} // namespace

std::optional<std::uint32_t> Zn::ReleaseByDhcpClient(const std::string& AName)
{
    const auto Client = FindClient(AName);
    if (!Client)
        return std::nullopt;
    const std::uint32_t Error = Run(*Client, "-r", {&AName, 1});
    if (Error == NO_ERROR) {
        const MutexLock Lock(GMutex);
        GReleased[AName] = *Client;
    }
    return Error;
}

std::optional<std::uint32_t> Zn::RenewByDhcpClient(const std::string& AName)
{
    auto Client = FindClient(AName);
    if (Client) {
        // A second one doesn't start beside it; -x ends it and keeps the lease to ask for again.
        if (const std::uint32_t Error = Run(*Client, "-x", {&AName, 1}); Error != NO_ERROR)
            return Error;
    } else {
        const MutexLock Lock(GMutex);
        const auto Found = GReleased.find(AName);
        if (Found == GReleased.end())
            return std::nullopt;
        Client = Found->second;
    }
    // For all of its interfaces: with its end the others have lost it, too.
    const std::uint32_t Error = Run(*Client, "-1", Client->Interfaces);
    return Error == NO_ERROR ? WaitForAddress(AName) : Error;
}
