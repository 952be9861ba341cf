#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <sys/socket.h>

namespace Zn
{

/// An address with a port, as the system takes it.
struct Endpoint
{
    sockaddr_storage Address{};
    socklen_t Length = 0;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&Address); }
};

/// Reads a literal address: "127.0.0.1", "::1", "fe80::1%2" (the scope by its number). Nothing is looked up.
std::optional<Endpoint> EndpointFromText(const std::string& AAddress, std::uint16_t APort);

/// A copy of an address from outside: nullopt where ALength doesn't belong to its family, or the family is
/// none of IP's. Without ALength the family tells it.
std::optional<Endpoint> EndpointFromAddress(const sockaddr* AAddress, std::size_t ALength);
std::optional<Endpoint> EndpointFromAddress(const sockaddr* AAddress);

/// The address alone, in the form that EndpointFromText reads: one text for each address.
std::string AddressText(const Endpoint& AEndpoint);

std::uint16_t PortOf(const Endpoint& AEndpoint);

/// A link-local address means something on one interface only. One that names none gets the first interface
/// of this machine that has the address; unchanged where there is none.
void CompleteScope(Endpoint& AEndpoint);

} // namespace Zn
