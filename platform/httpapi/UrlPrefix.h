#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zn
{

/// How a prefix names its host, strongest first.
enum class HostForm : std::uint8_t {
    Strong,  // "+": every host
    Name,    // the host of the request, without regard to case
    Literal, // the local address of the connection, whatever the request says
    Weak     // "*": every host that nothing else wants
};

/// A place in the URL space that an application asks for: "scheme://host:port/path/".
struct UrlPrefix
{
    bool Secure = false; // https
    HostForm Form = HostForm::Weak;
    std::uint16_t Port = 0; // 0 only where the text says so: the service may choose one
    std::string Host;       // lower case; a literal as canonical text in its brackets; "+" or "*"
    std::string Address;    // of a literal: 4 or 16 bytes in network order
    std::string Path;       // escapes decoded, lower case, begins and ends with "/"
    bool operator==(const UrlPrefix&) const = default;
};

/// Reads the text of a registration. Case doesn't matter, nor does a missing last "/"; the port
/// defaults to 80 or 443. nullopt for another scheme, no path, dot segments, a query or a fragment, an
/// escaped
/// "/" or NUL, or a host that is neither a name, a literal address, "+" nor "*".
std::optional<UrlPrefix> ParseUrlPrefix(std::string_view AText);

/// What a request asks for, as far as the choice of its prefix goes.
struct UrlLookup
{
    bool Secure;
    std::string_view Host; // without port; empty for an HTTP/1.0 request that names none
    std::string_view
        LocalAddress; // of the connection: 4 or 16 bytes in network order (IPv4-mapped counts as IPv4)
    std::uint16_t
        LocalPort;         // of the connection. The port in Host has no say: tunnels and port maps change it
    std::string_view Path; // canonical, escapes as written; "*" counts as "/"
};

/// Whether the prefix covers the request. "/app/" covers "/app", "/app/" and "/app/x", not "/apple".
/// Paths match without regard to case and to needless escapes; "%2f" is never a "/".
bool Covers(const UrlPrefix& APrefix, const UrlLookup& ALookup);

/// Whether A is looked at before B: the longer path, then the stronger form of host; the rest is for a fixed
/// order.
bool ComesBefore(const UrlPrefix& A, const UrlPrefix& B);

/// Prefixes in the order of precedence, each with a value. A few dozen entries are looked through in less
/// time than a hash takes. Copyable, so that readers can hold a snapshot; no locks of its own.
template <class T>
class UrlPrefixTable
{
public:
    struct Entry
    {
        UrlPrefix Prefix;
        T Value;
    };

    /// False, and nothing changes, when the same prefix is there already.
    bool Add(UrlPrefix APrefix, T AValue)
    {
        auto Place = std::lower_bound(FEntries.begin(), FEntries.end(), APrefix, Before);
        if (Place != FEntries.end() && Place->Prefix == APrefix)
            return false;
        FEntries.insert(Place, Entry{std::move(APrefix), std::move(AValue)});
        return true;
    }

    /// False when it isn't there.
    bool Remove(const UrlPrefix& APrefix)
    {
        auto Place = std::lower_bound(FEntries.begin(), FEntries.end(), APrefix, Before);
        if (Place == FEntries.end() || Place->Prefix != APrefix)
            return false;
        FEntries.erase(Place);
        return true;
    }

    /// The entry with the longest path that covers the request, of equal ones the strongest; nullptr for
    /// none. Valid until the table changes. Allocates nothing.
    const Entry* Find(const UrlLookup& ALookup) const
    {
        for (const Entry& Each : FEntries)
            if (Covers(Each.Prefix, ALookup))
                return &Each;
        return nullptr;
    }

    const std::vector<Entry>& Entries() const { return FEntries; }
    bool Empty() const { return FEntries.empty(); }

private:
    static bool Before(const Entry& AEntry, const UrlPrefix& APrefix)
    {
        return ComesBefore(AEntry.Prefix, APrefix);
    }

    std::vector<Entry> FEntries;
};

} // namespace Zn
