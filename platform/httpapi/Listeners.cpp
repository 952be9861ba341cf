#include "platform/httpapi/Listeners.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Poller.h"

namespace Zn
{
namespace
{

constexpr int Backlog = 4096; // the system cuts it to its own limit

/// The addresses on which a prefix's host is listened to; "" is every one.
std::vector<std::string> AddressesOf(const std::string& AHost)
{
    if (AHost == "localhost")
        return {"127.0.0.1", "::1"};
    if (AHost.size() > 2 && AHost.front() == '[')
        return {AHost.substr(1, AHost.size() - 2)};
    in_addr Literal{};
    if (inet_pton(AF_INET, AHost.c_str(), &Literal) == 1)
        return {AHost};
    return {""};
}

struct Endpoint
{
    sockaddr_storage Address{};
    socklen_t Length = 0;
};

Endpoint IPv4(const std::string& AAddress, std::uint16_t APort)
{
    Endpoint Result;
    auto& Address = reinterpret_cast<sockaddr_in&>(Result.Address);
    Address.sin_family = AF_INET;
    Address.sin_port = htons(APort);
    Address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (!AAddress.empty())
        inet_pton(AF_INET, AAddress.c_str(), &Address.sin_addr);
    Result.Length = sizeof Address;
    return Result;
}

Endpoint IPv6(const std::string& AAddress, std::uint16_t APort)
{
    Endpoint Result;
    auto& Address = reinterpret_cast<sockaddr_in6&>(Result.Address);
    Address.sin6_family = AF_INET6;
    Address.sin6_port = htons(APort);
    Address.sin6_addr = in6addr_any;
    if (!AAddress.empty())
        inet_pton(AF_INET6, AAddress.c_str(), &Address.sin6_addr);
    Result.Length = sizeof Address;
    return Result;
}

/// A listening descriptor, or -1 with errno.
int Listen(const Endpoint& AEndpoint)
{
    const int Fd = socket(AEndpoint.Address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (Fd < 0)
        return -1;
    const int On = 1;
    const int Off = 0;
    setsockopt(Fd, SOL_SOCKET, SO_REUSEADDR, &On, sizeof On);
    setsockopt(Fd, IPPROTO_TCP, 1 /* TCP_NODELAY, inherited by what is accepted */, &On, sizeof On);
    if (AEndpoint.Address.ss_family == AF_INET6)
        setsockopt(Fd, IPPROTO_IPV6, IPV6_V6ONLY, &Off, sizeof Off);
    if (bind(Fd, reinterpret_cast<const sockaddr*>(&AEndpoint.Address), AEndpoint.Length) == 0 &&
        listen(Fd, Backlog) == 0)
        return Fd;
    const int Error = errno;
    close(Fd);
    errno = Error;
    return -1;
}

bool LacksIPv6(int AError)
{
    return AError == EAFNOSUPPORT || AError == EADDRNOTAVAIL || AError == EPROTONOSUPPORT;
}

int ListenOn(const std::string& AAddress, std::uint16_t APort)
{
    if (!AAddress.empty())
        return Listen(AAddress.find(':') == std::string::npos ? IPv4(AAddress, APort)
                                                              : IPv6(AAddress, APort));
    const int Fd = Listen(IPv6("", APort)); // both families on one socket
    return Fd < 0 && LacksIPv6(errno) ? Listen(IPv4("", APort)) : Fd;
}

} // namespace

Listeners::~Listeners()
{
    for (auto& [Number, Each] : FPorts)
        for (const auto& [Address, Fd] : Each.Open)
            CloseOne(Fd);
}

std::uint32_t Listeners::Add(const std::string& AHost, std::uint16_t APort)
{
    Port& Entry = FPorts[APort];
    for (const std::string& Each : AddressesOf(AHost))
        Entry.Wanted.insert(Each);
    const std::uint32_t Result = Reconcile(Entry, APort);
    if (Result != NO_ERROR)
        Remove(AHost, APort);
    return Result;
}

void Listeners::Remove(const std::string& AHost, std::uint16_t APort)
{
    const auto Found = FPorts.find(APort);
    if (Found == FPorts.end())
        return;
    Port& Entry = Found->second;
    for (const std::string& Each : AddressesOf(AHost))
        if (const auto Wish = Entry.Wanted.find(Each); Wish != Entry.Wanted.end())
            Entry.Wanted.erase(Wish);
    Reconcile(Entry, APort);
    if (Entry.Wanted.empty())
        FPorts.erase(Found);
}

/// Closes what nobody wants any more, then opens what is missing.
std::uint32_t Listeners::Reconcile(Port& APort, std::uint16_t ANumber)
{
    std::set<std::string> Target;
    if (APort.Wanted.contains(""))
        Target.insert("");
    else
        Target.insert(APort.Wanted.begin(), APort.Wanted.end());
    std::erase_if(APort.Open, [&](const auto& AEntry) {
        if (Target.contains(AEntry.first))
            return false;
        CloseOne(AEntry.second);
        return true;
    });
    for (const std::string& Each : Target)
        if (!APort.Open.contains(Each))
            if (const std::uint32_t Result = OpenOne(APort, ANumber, Each); Result != NO_ERROR)
                return Result;
    return NO_ERROR;
}

std::uint32_t Listeners::OpenOne(Port& APort, std::uint16_t ANumber, const std::string& AAddress)
{
    const int Fd = ListenOn(AAddress, ANumber);
    if (Fd < 0) {
        // "localhost" is content with one family.
        if (AAddress == "::1" && LacksIPv6(errno) && APort.Open.contains("127.0.0.1"))
            return NO_ERROR;
        return SocketErrorFromErrno(errno);
    }
    APort.Open.emplace(AAddress, Fd);
    FPoller.AddListener(Fd);
    return NO_ERROR;
}

void Listeners::CloseOne(int AFd)
{
    FPoller.RemoveListener(AFd);
    close(AFd);
}

} // namespace Zn
