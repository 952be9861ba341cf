#include "platform/httpapi/Listeners.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Endpoint.h"
#include "platform/httpapi/Poller.h"
#include "platform/httpapi/config/Configuration.h"
#include "platform/servicemanager/HandedSockets.h"

namespace Zn
{
namespace
{

constexpr int Backlog = 4096; // the system cuts it to its own limit

/// The addresses on which a prefix's host is listened to; "" is every one.
std::uint32_t AddressesOf(const std::string& AHost, std::vector<std::string>& AResult)
{
    const bool IsBracketed = AHost.size() > 2 && AHost.front() == '[';
    const std::string Literal = IsBracketed ? AHost.substr(1, AHost.size() - 2) : AHost;
    if (AHost == "localhost")
        AResult = {"127.0.0.1", "::1"};
    else if (EndpointFromText(Literal, 0))
        AResult = {Literal};
    else if (const std::uint32_t Result = LoadListenAddresses(AResult); Result != NO_ERROR)
        return Result;
    else if (AResult.empty())
        AResult = {""};
    return NO_ERROR;
}

bool IsIPv6(const std::string& AAddress)
{
    return AAddress.find(':') != std::string::npos;
}

/// Whether a socket on A takes what comes to B as well: the system then refuses to have both.
bool Covers(const std::string& A, const std::string& B)
{
    return A.empty() || A == B || (A == "0.0.0.0" && !B.empty() && !IsIPv6(B)) || (A == "::" && IsIPv6(B));
}

/// A listening descriptor, or -1 with errno.
int Listen(const Endpoint& AEndpoint, bool ABothFamilies)
{
    const int Fd = socket(AEndpoint.Address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (Fd < 0)
        return -1;
    const int On = 1;
    const int IPv6Only = ABothFamilies ? 0 : 1;
    setsockopt(Fd, SOL_SOCKET, SO_REUSEADDR, &On, sizeof On);
    setsockopt(Fd, IPPROTO_TCP, 1 /* TCP_NODELAY, inherited by what is accepted */, &On, sizeof On);
    if (AEndpoint.Address.ss_family == AF_INET6)
        setsockopt(Fd, IPPROTO_IPV6, IPV6_V6ONLY, &IPv6Only, sizeof IPv6Only);
    if (bind(Fd, AEndpoint.Get(), AEndpoint.Length) == 0 && listen(Fd, Backlog) == 0)
        return Fd;
    // A link-local address whose interface isn't there has no error of its own.
    const int Error = errno == EINVAL || errno == ENODEV ? EADDRNOTAVAIL : errno;
    close(Fd);
    errno = Error;
    return -1;
}

int ListenOn(const std::string& AAddress, std::uint16_t APort)
{
    if (!AAddress.empty()) {
        Endpoint Local = EndpointFromText(AAddress, APort).value_or(Endpoint{});
        CompleteScope(Local);
        return Listen(Local, false);
    }
    const int Fd = Listen(*EndpointFromText("::", APort), true); // both families on one socket
    return Fd < 0 && (errno == EAFNOSUPPORT || errno == EADDRNOTAVAIL)
               ? Listen(*EndpointFromText("0.0.0.0", APort), false)
               : Fd;
}

/// The numbers that mean that this machine, just now, hasn't got the address.
bool IsAbsence(std::uint32_t AResult)
{
    return AResult == WSAEADDRNOTAVAIL || AResult == WSAEAFNOSUPPORT || AResult == WSAEPROTONOSUPPORT;
}

} // namespace

Listeners::~Listeners()
{
    for (auto& [Number, Each] : FPorts)
        for (const auto& [Address, Fd] : Each.Open)
            if (!FAdopted.contains(Number))
                CloseOne(Fd);
    for (const auto& [Number, Sockets] : FAdopted)
        for (const auto& [Address, Fd] : Sockets)
            CloseOne(Fd);
}

std::uint32_t Listeners::Adopt(int AFd)
{
    std::uint16_t Number = 0;
    if (const std::uint32_t Result = CheckListening(AFd, Number); Result != NO_ERROR)
        return Result;
    sockaddr_storage Local{};
    socklen_t Length = sizeof Local;
    getsockname(AFd, reinterpret_cast<sockaddr*>(&Local), &Length);
    const std::string Address = AddressText(*EndpointFromAddress(reinterpret_cast<const sockaddr*>(&Local)));
    const auto Known = FAdopted.find(Number);
    if (Known != FAdopted.end() && Known->second.contains(Address))
        return NO_ERROR; // by an earlier activation: the socket is the same, as the address can't be had
                         // twice
    if (FPorts.contains(Number))
        return ERROR_ALREADY_EXISTS;
    const int Own = fcntl(AFd, F_DUPFD_CLOEXEC, 3);
    if (Own < 0)
        return SocketErrorFromErrno(errno);
    const int On = 1;
    setsockopt(Own, IPPROTO_TCP, 1 /* TCP_NODELAY, inherited by what is accepted */, &On, sizeof On);
    fcntl(Own, F_SETFL, fcntl(Own, F_GETFL) | O_NONBLOCK);
    FAdopted[Number].emplace(Address, Own);
    return NO_ERROR;
}

std::uint32_t Listeners::Add(const std::string& AHost, std::uint16_t APort)
{
    Wish New{AHost, {}};
    if (!FAdopted.contains(APort)) // those have their addresses
        if (const std::uint32_t Result = AddressesOf(AHost, New.Addresses); Result != NO_ERROR)
            return Result;
    Port& Entry = FPorts[APort];
    Entry.Wishes.push_back(std::move(New));
    const std::uint32_t Result = Reconcile(Entry, APort);
    if (Result != NO_ERROR) {
        Entry.Wishes.pop_back();
        Settle(APort);
    }
    return Result;
}

void Listeners::Remove(const std::string& AHost, std::uint16_t APort)
{
    const auto Found = FPorts.find(APort);
    if (Found == FPorts.end())
        return;
    std::vector<Wish>& Wishes = Found->second.Wishes;
    const auto Old =
        std::find_if(Wishes.begin(), Wishes.end(), [&](const Wish& AWish) { return AWish.Host == AHost; });
    if (Old != Wishes.end())
        Wishes.erase(Old);
    Settle(APort);
}

std::uint32_t Listeners::Readdress(const std::function<void(const std::vector<int>&)>& ABeforeChange)
{
    std::uint32_t First = NO_ERROR;
    for (auto& [Number, Entry] : FPorts) {
        if (FAdopted.contains(Number))
            continue;
        std::vector<Wish> Wishes = Entry.Wishes;
        bool IsChanged = false;
        for (Wish& Each : Wishes) {
            std::vector<std::string> Addresses;
            if (const std::uint32_t Result = AddressesOf(Each.Host, Addresses); Result != NO_ERROR)
                return First != NO_ERROR ? First : Result;
            IsChanged = IsChanged || Addresses != Each.Addresses;
            Each.Addresses = std::move(Addresses);
        }
        if (!IsChanged)
            continue;
        ABeforeChange(DescriptorsOf(Number));
        Entry.Wishes.swap(Wishes);
        const std::uint32_t Result = Reconcile(Entry, Number);
        if (Result == NO_ERROR)
            continue;
        First = First != NO_ERROR ? First : Result;
        Entry.Wishes.swap(Wishes);
        Reconcile(Entry, Number);
    }
    return First;
}

std::vector<int> Listeners::DescriptorsOf(std::uint16_t APort) const
{
    std::vector<int> Result;
    if (const auto Found = FPorts.find(APort); Found != FPorts.end())
        for (const auto& [Address, Fd] : Found->second.Open)
            Result.push_back(Fd);
    return Result;
}

/// Behind the end of a wish.
void Listeners::Settle(std::uint16_t APort)
{
    Port& Entry = FPorts[APort];
    Reconcile(Entry, APort);
    if (Entry.Wishes.empty())
        FPorts.erase(APort);
}

/// Closes what nobody wants any more, then opens what is missing. A wish is content with one of its addresses
/// where the machine lacks the others: "localhost" without IPv6, a listen list with the address of another
/// network.
std::uint32_t Listeners::Reconcile(Port& APort, std::uint16_t ANumber)
{
    if (UseAdopted(APort, ANumber))
        return NO_ERROR;
    const std::set<std::string> Target = WantedAddresses(APort);
    std::erase_if(APort.Open, [&](const auto& AEntry) {
        if (Target.contains(AEntry.first))
            return false;
        CloseOne(AEntry.second);
        return true;
    });
    std::uint32_t Absence = NO_ERROR;
    for (const std::string& Each : Target) {
        if (APort.Open.contains(Each))
            continue;
        const std::uint32_t Result = OpenOne(APort, ANumber, Each);
        if (Result != NO_ERROR && !IsAbsence(Result))
            return Result;
        Absence = Result != NO_ERROR ? Result : Absence;
    }
    const auto IsServed = [&](const Wish& AWish) {
        return std::any_of(AWish.Addresses.begin(), AWish.Addresses.end(), [&](const std::string& AAddress) {
            return std::any_of(APort.Open.begin(), APort.Open.end(),
                               [&](const auto& AOpen) { return Covers(AOpen.first, AAddress); });
        });
    };
    return std::all_of(APort.Wishes.begin(), APort.Wishes.end(), IsServed) ? std::uint32_t{NO_ERROR}
                                                                           : Absence;
}

/// False for a port without adopted sockets.
bool Listeners::UseAdopted(Port& APort, std::uint16_t ANumber)
{
    const auto Found = FAdopted.find(ANumber);
    if (Found == FAdopted.end())
        return false;
    if (APort.Wishes.empty())
        for (const auto& [Address, Fd] : APort.Open)
            FPoller.RemoveListener(Fd);
    else if (APort.Open.empty())
        for (const auto& [Address, Fd] : Found->second)
            FPoller.AddListener(Fd);
    APort.Open = APort.Wishes.empty() ? std::map<std::string, int>{} : Found->second;
    return true;
}

/// What is to be open: all that is wished for, without what something else covers.
std::set<std::string> Listeners::WantedAddresses(const Port& APort)
{
    std::set<std::string> Result;
    for (const Wish& Each : APort.Wishes)
        Result.insert(Each.Addresses.begin(), Each.Addresses.end());
    const std::set<std::string> All = Result;
    std::erase_if(Result, [&](const std::string& AAddress) {
        return std::any_of(All.begin(), All.end(), [&](const std::string& AOther) {
            return AOther != AAddress && Covers(AOther, AAddress);
        });
    });
    return Result;
}

std::uint32_t Listeners::OpenOne(Port& APort, std::uint16_t ANumber, const std::string& AAddress)
{
    const int Fd = ListenOn(AAddress, ANumber);
    if (Fd < 0)
        return SocketErrorFromErrno(errno);
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
