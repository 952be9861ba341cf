#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/httpapi/Endpoint.h"

namespace Zn
{

/// What a proxy puts ahead of a connection's own bytes to tell whom it stands for: the PROXY protocol,
/// version 1 (a line of text) and version 2 (binary), for TCP over IPv4 and IPv6.
struct ProxyHeader
{
    enum class Result { Incomplete, Complete, Refused } State = Result::Incomplete;
    std::size_t Length = 0;         // bytes on the wire, when complete
    std::optional<Endpoint> Client; // empty: the proxy speaks for itself, or doesn't know
};

/// No header is longer: more is refused as soon as it is announced.
inline constexpr std::size_t LongestProxyHeader = 2048;

/// Reads the header at the beginning of ABytes. Refused is whatever two readers could take in two ways, and
/// what belongs to no TCP connection over IP.
ProxyHeader ReadProxyHeader(std::string_view ABytes);

} // namespace Zn
