#pragma once

#include <map>
#include <set>
#include <vector>

#include "platform/iphelper/Adapters.h"
#include "platform/iphelper/Snapshot.h"

namespace Zn
{

/// A change of an interface in one family.
struct TInterfaceChange
{
    MIB_IPINTERFACE_ROW Row;
    TMIB_NOTIFICATION_TYPE Type = MibParameterNotification;
};

/// What is known of the interfaces, and what a message or a new reading changes in it. Messages say again and
/// again what is known already; only what differs counts. One thread at a time.
class TInterfaceTable
{
public:
    using TChanges = std::vector<TInterfaceChange>;

    /// A message of the kernel's about a link, an address or a route.
    TChanges Apply(const TNetlinkMessage& AMessage);

    /// A reading of everything, at the start and after messages were lost.
    TChanges Replace(const TSnapshot& ASnapshot);

private:
    struct TEntry
    {
        TLink Link;
        std::set<TUnicast> Addresses;
        std::set<TGateway> Gateways;
    };

    void SetLink(TLink ALink, TChanges& AChanges);
    void RemoveLink(int AIndex, TChanges& AChanges);
    void SetUnicast(const TUnicast& AUnicast, bool AIsThere, TChanges& AChanges);
    void SetGateway(const TGateway& AGateway, bool AIsThere, TChanges& AChanges);
    void RemoveReplaced(const std::vector<TGateway>& ANew, TChanges& AChanges);

    std::map<int, TEntry> FEntries;
};

} // namespace Zn
