#pragma once

#include <string_view>
#include <vector>

#include "platform/iphelper/Snapshot.h"

namespace Zn
{

/// A DNS server and the interface that it is for; 0 for all with a way out.
struct TNameServer
{
    int Index = 0;
    TAnyAddress Address;

    bool operator==(const TNameServer&) const = default;
};

/// The "nameserver" lines of a resolv.conf (resolv.conf(5)); a scope ("%eth0", "%2") names the interface.
std::vector<TNameServer> ParseResolvConf(std::string_view AText, const std::vector<TLink>& ALinks);

/// The servers that this machine asks: what systemd-resolved knows for each interface where it runs, else
/// those of /etc/resolv.conf.
std::vector<TNameServer> ReadNameServers(const std::vector<TLink>& ALinks);

/// Those of AServers that are for interface AIndex. A server for all counts for each interface with a
/// gateway; where no interface has one, for each whose addresses share a prefix with the server.
std::vector<TAnyAddress> NameServersOf(int AIndex, const std::vector<TNameServer>& AServers,
                                       const TSnapshot& ASnapshot);

} // namespace Zn
