#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/httpapi/AddressRange.h"
#include "platform/httpapi/Endpoint.h"
#include "uZnHTTPH.h"

/// Which fields trusted proxies write. One kind: the other would come through from clients as they sent it.
enum TZnForwardedFields : std::uint8_t {
    ffXForwarded, // X-Forwarded-For, X-Forwarded-Proto, X-Forwarded-Host
    ffForwarded   // Forwarded (RFC 7239)
};

namespace Zn
{

/// What a trusted proxy told about the request in hand.
struct ForwardedOrigin
{
    bool IsFromProxy = false; // the connection's peer is a trusted proxy
    Endpoint Client;          // what the record's remote address points to, where one was named
    std::string Proto;        // "http", "https", or empty
    std::string Host;         // host or host:port, or empty
};

/// The proxies that a server believes. Immutable; any thread.
class TrustedProxies
{
public:
    /// Raises EInvalidArgument for what is no address or range.
    explicit TrustedProxies(const std::vector<std::string>& ARanges);

    /// Reads the fields of a request that a trusted proxy passed on, and makes the client's address the
    /// record's remote address; it lives in AOrigin. Fields that aren't well-formed say nothing.
    void Apply(TZnForwardedFields AFields, THTTP_REQUEST& ARequest, ForwardedOrigin& AOrigin) const;

    /// The ranges, with blanks between them.
    const std::string& Text() const { return FText; }

private:
    std::string FText;
    AddressRanges FRanges;
};

} // namespace Zn
