#include "platform/httpapi/Endpoint.h"

#include <charconv>
#include <cstring>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

namespace Zn
{
namespace
{

sockaddr_in& AsIPv4(Endpoint& AEndpoint)
{
    return reinterpret_cast<sockaddr_in&>(AEndpoint.Address);
}

sockaddr_in6& AsIPv6(Endpoint& AEndpoint)
{
    return reinterpret_cast<sockaddr_in6&>(AEndpoint.Address);
}

const sockaddr_in6& AsIPv6(const Endpoint& AEndpoint)
{
    return reinterpret_cast<const sockaddr_in6&>(AEndpoint.Address);
}

bool ReadScope(const std::string& AText, std::uint32_t& AScope)
{
    const char* const End = AText.data() + AText.size();
    const auto [Stop, Error] = std::from_chars(AText.data(), End, AScope);
    return Error == std::errc() && Stop == End;
}

} // namespace

std::optional<Endpoint> EndpointFromText(const std::string& AAddress, std::uint16_t APort)
{
    Endpoint Result;
    if (inet_pton(AF_INET, AAddress.c_str(), &AsIPv4(Result).sin_addr) == 1) {
        Result.Length = sizeof(sockaddr_in);
        AsIPv4(Result).sin_family = AF_INET;
        AsIPv4(Result).sin_port = htons(APort);
        return Result;
    }
    const std::size_t Percent = AAddress.find('%');
    if (inet_pton(AF_INET6, AAddress.substr(0, Percent).c_str(), &AsIPv6(Result).sin6_addr) != 1)
        return std::nullopt;
    if (Percent != std::string::npos &&
        !ReadScope(AAddress.substr(Percent + 1), AsIPv6(Result).sin6_scope_id))
        return std::nullopt;
    Result.Length = sizeof(sockaddr_in6);
    AsIPv6(Result).sin6_family = AF_INET6;
    AsIPv6(Result).sin6_port = htons(APort);
    return Result;
}

std::optional<Endpoint> EndpointFromAddress(const sockaddr* AAddress)
{
    if (AAddress == nullptr)
        return std::nullopt;
    Endpoint Result;
    switch (AAddress->sa_family) {
    case AF_INET:
        Result.Length = sizeof(sockaddr_in);
        break;
    case AF_INET6:
        Result.Length = sizeof(sockaddr_in6);
        break;
    default:
        return std::nullopt;
    }
    std::memcpy(&Result.Address, AAddress, Result.Length);
    return Result;
}

std::optional<Endpoint> EndpointFromAddress(const sockaddr* AAddress, std::size_t ALength)
{
    if (ALength < sizeof(sockaddr_in)) // the family can't be trusted to be there
        return std::nullopt;
    const bool IsIPv6 = AAddress != nullptr && AAddress->sa_family == AF_INET6;
    return ALength == (IsIPv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in)) ? EndpointFromAddress(AAddress)
                                                                            : std::nullopt;
}

std::string AddressText(const Endpoint& AEndpoint)
{
    char Text[INET6_ADDRSTRLEN] = "";
    if (AEndpoint.Address.ss_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(AEndpoint.Address).sin_addr, Text,
                  sizeof Text);
        return Text;
    }
    const sockaddr_in6& Address = AsIPv6(AEndpoint);
    inet_ntop(AF_INET6, &Address.sin6_addr, Text, sizeof Text);
    if (Address.sin6_scope_id == 0 || !IN6_IS_ADDR_LINKLOCAL(&Address.sin6_addr))
        return Text;
    return std::string(Text) + "%" + std::to_string(Address.sin6_scope_id);
}

std::uint16_t PortOf(const Endpoint& AEndpoint)
{
    return ntohs(AEndpoint.Address.ss_family == AF_INET
                     ? reinterpret_cast<const sockaddr_in&>(AEndpoint.Address).sin_port
                     : AsIPv6(AEndpoint).sin6_port);
}

void CompleteScope(Endpoint& AEndpoint)
{
    if (AEndpoint.Address.ss_family != AF_INET6)
        return;
    sockaddr_in6& Address = AsIPv6(AEndpoint);
    if (Address.sin6_scope_id != 0 || !IN6_IS_ADDR_LINKLOCAL(&Address.sin6_addr))
        return;
    ifaddrs* First = nullptr;
    if (getifaddrs(&First) != 0)
        return;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> Owner(First, freeifaddrs);
    for (const ifaddrs* Each = First; Each != nullptr; Each = Each->ifa_next) {
        if (Each->ifa_addr == nullptr || Each->ifa_addr->sa_family != AF_INET6)
            continue;
        sockaddr_in6 Theirs;
        std::memcpy(&Theirs, Each->ifa_addr, sizeof Theirs);
        if (IN6_ARE_ADDR_EQUAL(&Theirs.sin6_addr, &Address.sin6_addr)) {
            Address.sin6_scope_id = Theirs.sin6_scope_id;
            return;
        }
    }
}

} // namespace Zn
