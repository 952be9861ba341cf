#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Zn::HttpClient
{

/// Where a request goes. Two requests of one origin may share credentials (RFC 9110, 4.3).
struct Origin
{
    bool Secure = false;
    std::string Host; // as it stands in a URL: a literal IPv6 address in brackets
    std::uint16_t Port = 0;

    bool operator==(const Origin&) const = default;
    /// "http://host" or "https://host", with the port where it isn't the scheme's own.
    std::string Text() const;
    /// "host" or "host:port", as Host has it.
    std::string Authority() const;
    void AppendTo(std::string& AText) const; // the same
};

struct Url
{
    HttpClient::Origin Origin;
    std::string Target; // "/path?query", or "*"

    bool operator==(const Url&) const = default;
    std::string Text() const;
};

/// A host as it was given, made fit for a URL; empty where no host can have it (RFC 3986, 3.2.2).
std::string HostForUrl(std::string_view AHost);

struct TargetEscapes
{
    bool Percent = false;    // "%" too
    bool LeavePath = false;  // path and query as given
    bool LeaveQuery = false; // query as given
};

/// A path with query as a request target: what may not stand there is written as "%XX", a fragment is left
/// out. Empty where it holds what no target can (CR, LF and other controls, or blanks that may not be
/// escaped).
std::string TargetFromPath(std::string_view APath, const TargetEscapes& AEscapes);

/// Where a Location field leads from ABase (RFC 3986, 5.2), without user and fragment. Empty for what is no
/// http or https URL.
std::optional<Url> ResolveLocation(const Url& ABase, std::string_view ALocation);

} // namespace Zn::HttpClient
