#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/httpapi/AddressRange.h"
#include "platform/httpapi/Endpoint.h"

namespace Zn
{

/// What the proxies between a client and this server wrote into a request, the nearest proxy last. Each text
/// is as it stands in the field.
struct ForwardedHops
{
    std::vector<std::string> For;
    std::vector<std::string> Proto;
    std::vector<std::string> Host;
};

/// Reads a Forwarded field (RFC 7239): one entry in each list per element, empty where it lacks the
/// parameter. nullopt for what isn't of its grammar.
std::optional<ForwardedHops> ReadForwarded(std::string_view AField);

/// The entries of a list such as X-Forwarded-For, without the blanks around them.
std::vector<std::string> ReadForwardedList(std::string_view AField);

/// What a trusted proxy says about the client.
struct ForwardedClient
{
    std::optional<Endpoint> Address; // empty: none was named that counts
    std::string Proto;               // "http", "https", or empty
    std::string Host;                // host or host:port, or empty
};

/// Goes from the nearest hop outwards, as long as hops are trusted proxies: the first address that is none is
/// the client. What stands further out may be anybody's invention. A hop that is no address ("unknown", a
/// name) ends the walk at the one before it.
ForwardedClient FindClient(const ForwardedHops& AHops, const AddressRanges& ATrusted);

/// "192.0.2.1", "192.0.2.1:80", "2001:db8::1", "[2001:db8::1]:80".
std::optional<Endpoint> EndpointOfHop(std::string_view AText);

} // namespace Zn
