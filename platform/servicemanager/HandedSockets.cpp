#include "platform/servicemanager/HandedSockets.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

namespace Zn
{
namespace
{

constexpr int FirstFd = 3;        // behind the standard three
constexpr int MostSockets = 1024; // more is no list of sockets but a damaged variable

/// The variable's text, which it has no longer afterwards.
std::string TakeVariable(const char* AName)
{
    const char* const Value = std::getenv(AName);
    std::string Result = Value != nullptr ? Value : "";
    unsetenv(AName);
    return Result;
}

std::optional<int> NumberOf(std::string_view AText)
{
    int Number = 0;
    const auto [Stop, Error] = std::from_chars(AText.data(), AText.data() + AText.size(), Number);
    if (Error != std::errc() || Stop != AText.data() + AText.size() || Number < 0)
        return std::nullopt;
    return Number;
}

std::string TakeName(std::string_view& ANames)
{
    const std::size_t End = std::min(ANames.find(':'), ANames.size());
    std::string Result(ANames.substr(0, End));
    ANames.remove_prefix(std::min(End + 1, ANames.size()));
    return Result;
}

int OptionOf(int AFd, int AOption)
{
    int Value = -1;
    socklen_t Length = sizeof Value;
    return getsockopt(AFd, SOL_SOCKET, AOption, &Value, &Length) == 0 ? Value : -1;
}

} // namespace

std::uint32_t CheckListening(int AFd, std::uint16_t& APort)
{
    sockaddr_storage Address{};
    socklen_t Length = sizeof Address;
    if (getsockname(AFd, reinterpret_cast<sockaddr*>(&Address), &Length) != 0)
        return errno == EBADF || errno == ENOTSOCK ? std::uint32_t{WSAENOTSOCK} : SocketErrorFromErrno(errno);
    if (Address.ss_family != AF_INET && Address.ss_family != AF_INET6)
        return WSAEAFNOSUPPORT;
    if (OptionOf(AFd, SO_TYPE) != SOCK_STREAM)
        return WSAESOCKTNOSUPPORT;
    if (OptionOf(AFd, SO_ACCEPTCONN) != 1)
        return WSAEINVAL;
    APort = ntohs(Address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(Address).sin6_port
                                                : reinterpret_cast<const sockaddr_in&>(Address).sin_port);
    return NO_ERROR;
}

std::uint32_t TakeHandedSockets(std::vector<HandedSocket>& AResult, std::string& AProblem)
{
    AResult.clear();
    const std::string Process = TakeVariable("LISTEN_PID");
    const std::string Count = TakeVariable("LISTEN_FDS");
    const std::string AllNames = TakeVariable("LISTEN_FDNAMES");
    if (Process.empty() || Count.empty())
        return NO_ERROR;
    const auto Pid = NumberOf(Process);
    const auto Sockets = NumberOf(Count);
    if (!Pid || !Sockets || *Sockets > MostSockets) {
        AProblem = "LISTEN_PID or LISTEN_FDS is no number that can be";
        return ERROR_INVALID_PARAMETER;
    }
    if (*Pid != getpid())
        return NO_ERROR; // inherited from a parent whom they were meant for
    std::string_view Names = AllNames;
    for (int Fd = FirstFd; Fd < FirstFd + *Sockets; ++Fd) {
        HandedSocket Each{Fd, TakeName(Names), 0};
        if (const std::uint32_t Result = CheckListening(Fd, Each.Port); Result != NO_ERROR) {
            AProblem = "descriptor " + std::to_string(Fd) + (Each.Name.empty() ? "" : " (" + Each.Name + ")");
            return Result;
        }
        fcntl(Fd, F_SETFD, FD_CLOEXEC);
        AResult.push_back(std::move(Each));
    }
    return NO_ERROR;
}

} // namespace Zn
