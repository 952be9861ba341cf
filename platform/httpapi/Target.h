#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Zn
{

/// Whether a raw path, as RequestHeadParser lets it through, has no dot segment, so that it is its own
/// canonical form. Allocates nothing; true for nearly every request.
bool IsCanonical(std::string_view ARawPath);

/// The path with its dot segments resolved (RFC 3986, 5.2.4), those written "%2e" too. Other escapes and
/// empty segments stay as they are. ".." at the root stays at the root, as it does in a client that resolves
/// the same reference itself: prefixes and files are chosen by the outcome, so nothing above can be reached.
/// nullopt where the path doesn't begin with "/" or has an escape that is none.
///
/// "%2f" and "%5c" are no separators here. Who decodes the outcome to a file name has to refuse them.
std::optional<std::string> CanonicalPath(std::string_view ARawPath);

/// Whether the text is a host: an IPv6 literal in brackets, or labels of letters, digits, "-", "_" and "~"
/// with single dots between them. RFC 3986 lets a name be more, but escapes and sub-delimiters occur in none
/// that resolves, and ","
/// "*" "+" "=" would read as more than a name elsewhere.
bool IsHost(std::string_view AText);

/// One to five digits, at most 65535.
std::optional<std::uint16_t> ParsePort(std::string_view ADigits);

struct HostPort
{
    std::string_view Host; // as written; an IPv6 literal with its brackets; never empty
    std::uint16_t Port;
    bool operator==(const HostPort&) const = default;
};

/// Takes host[:port] apart (RFC 9110, 7.2). An empty port is the default one (RFC 3986, 6.2.3). nullopt for
/// anything else, userinfo and port 0 included.
std::optional<HostPort> SplitHost(std::string_view AHost, std::uint16_t ADefaultPort);

/// Where the parts of a composed URL stand in the buffer; all in characters.
struct CookedUrl
{
    std::size_t Length;
    std::size_t HostStart, HostLength; // host:port
    std::size_t PathStart, PathLength;
    std::size_t QueryStart, QueryLength; // with its "?"
};

/// Writes scheme://host:port/path?query as UTF-16, scheme and host in lower case, the port always there.
/// A path of "*" becomes "/": that target means the server as a whole (RFC 9112, 3.2.4). What comes
/// in is ASCII, as the parser checked it. No terminating 0. nullopt when AOut is too small.
std::optional<CookedUrl> ComposeUrl(std::string_view AScheme, const HostPort& AHost, std::string_view APath,
                                    std::string_view AQuery, std::span<char16_t> AOut);

} // namespace Zn
