#include "platform/iphelper/InterfaceTable.h"

#include <algorithm>

#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

namespace
{

void Tell(Zn::TInterfaceTable::TChanges& AChanges, const Zn::TLink& ALink, std::uint16_t AFamily,
          TMIB_NOTIFICATION_TYPE AType)
{
    MIB_IPINTERFACE_ROW Row;
    Row.Family = AFamily;
    Row.InterfaceIndex = static_cast<std::uint32_t>(ALink.Index);
    Row.NlMtu = ALink.Mtu;
    Row.Connected = AType != MibDeleteInstance && ALink.IsConnected();
    AChanges.push_back({Row, AType});
}

/// One family of an interface: it came, went, or stayed and differs in something.
void TellDifference(Zn::TInterfaceTable::TChanges& AChanges, const Zn::TLink& ALink, std::uint16_t AFamily,
                    bool AWasThere, bool AIsThere, bool ADiffers)
{
    if (AIsThere && !AWasThere)
        Tell(AChanges, ALink, AFamily, MibAddInstance);
    else if (AWasThere && !AIsThere)
        Tell(AChanges, ALink, AFamily, MibDeleteInstance);
    else if (AIsThere && ADiffers)
        Tell(AChanges, ALink, AFamily, MibParameterNotification);
}

/// Whether a reader of a snapshot would see another interface. The flags hold much that nobody sees.
bool Differs(const Zn::TLink& A, const Zn::TLink& B)
{
    return A.IsConnected() != B.IsConnected() || A.Mtu != B.Mtu || A.Name != B.Name || A.Alias != B.Alias ||
           A.HardwareAddress != B.HardwareAddress || A.HardwareAddressLength != B.HardwareAddressLength;
}

/// An address without what changes by itself: tentative while the kernel looks for another owner of it.
Zn::TUnicast Settled(Zn::TUnicast AUnicast)
{
    AUnicast.Flags &= IFA_F_PERMANENT | IFA_F_TEMPORARY | IFA_F_STABLE_PRIVACY;
    return AUnicast;
}

template <typename T>
bool Set(std::set<T>& AEntries, const T& AEntry, bool AIsThere)
{
    return AIsThere ? AEntries.insert(AEntry).second : AEntries.erase(AEntry) > 0;
}

/// Whether the entries of one family are the same in both.
template <typename T>
bool SameInFamily(const std::set<T>& A, const std::set<T>& B, std::uint16_t AFamily)
{
    const auto Chosen = [AFamily](const std::set<T>& ASet) {
        std::vector<T> Result;
        std::copy_if(ASet.begin(), ASet.end(), std::back_inserter(Result),
                     [AFamily](const T& AEntry) { return AEntry.Address.Family == AFamily; });
        return Result;
    };
    return Chosen(A) == Chosen(B);
}

} // namespace

Zn::TInterfaceTable::TChanges Zn::TInterfaceTable::Apply(const TNetlinkMessage& AMessage)
{
    TChanges Changes;
    switch (AMessage.Type) {
    case RTM_NEWLINK:
        if (auto Link = LinkOf(AMessage))
            SetLink(std::move(*Link), Changes);
        break;
    case RTM_DELLINK:
        if (const auto Link = LinkOf(AMessage))
            RemoveLink(Link->Index, Changes);
        break;
    case RTM_NEWADDR:
    case RTM_DELADDR:
        if (const auto Unicast = UnicastOf(AMessage))
            SetUnicast(Settled(*Unicast), AMessage.Type == RTM_NEWADDR, Changes);
        break;
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
        if ((AMessage.Flags & NLM_F_REPLACE) != 0)
            RemoveReplaced(GatewaysOf(AMessage), Changes);
        for (const TGateway& Gateway : GatewaysOf(AMessage))
            SetGateway(Gateway, AMessage.Type == RTM_NEWROUTE, Changes);
        break;
    default:
        break;
    }
    return Changes;
}

void Zn::TInterfaceTable::SetLink(TLink ALink, TChanges& AChanges)
{
    TEntry& Entry = FEntries[ALink.Index];
    const TLink Old = std::move(Entry.Link);
    Entry.Link = std::move(ALink);
    // The kernel drops the routes of an interface that goes down, and doesn't say so.
    if ((Entry.Link.Flags & IFF_UP) == 0)
        Entry.Gateways.clear();
    const bool Changed = Differs(Old, Entry.Link);
    TellDifference(AChanges, Entry.Link, AF_INET, Old.HasIPv4, Entry.Link.HasIPv4, Changed);
    TellDifference(AChanges, Entry.Link, AF_INET6, Old.HasIPv6, Entry.Link.HasIPv6, Changed);
}

void Zn::TInterfaceTable::RemoveLink(int AIndex, TChanges& AChanges)
{
    const auto Found = FEntries.find(AIndex);
    if (Found == FEntries.end())
        return;
    const TLink& Link = Found->second.Link;
    TellDifference(AChanges, Link, AF_INET, Link.HasIPv4, false, true);
    TellDifference(AChanges, Link, AF_INET6, Link.HasIPv6, false, true);
    FEntries.erase(Found);
}

void Zn::TInterfaceTable::SetUnicast(const TUnicast& AUnicast, bool AIsThere, TChanges& AChanges)
{
    const auto Found = FEntries.find(AUnicast.Index);
    if (Found == FEntries.end())
        return; // of an interface that is gone already
    TEntry& Entry = Found->second;
    const auto IsSame = [&](const TUnicast& AOther) {
        return AOther.Address == AUnicast.Address && AOther.PrefixLength == AUnicast.PrefixLength;
    };
    if (Entry.Addresses.count(AUnicast) != 0 && AIsThere)
        return;
    const bool Was = std::erase_if(Entry.Addresses, IsSame) > 0; // with other flags
    if (AIsThere)
        Entry.Addresses.insert(AUnicast);
    if (Was || AIsThere)
        Tell(AChanges, Entry.Link, AUnicast.Address.Family, MibParameterNotification);
}

void Zn::TInterfaceTable::SetGateway(const TGateway& AGateway, bool AIsThere, TChanges& AChanges)
{
    const auto Found = FEntries.find(AGateway.Index);
    if (Found != FEntries.end() && Set(Found->second.Gateways, AGateway, AIsThere))
        Tell(AChanges, Found->second.Link, AGateway.Address.Family, MibParameterNotification);
}

/// A new default route took the place of the one of its family and metric, of which there is no other word.
void Zn::TInterfaceTable::RemoveReplaced(const std::vector<TGateway>& ANew, TChanges& AChanges)
{
    if (ANew.empty())
        return;
    const auto IsReplaced = [&](const TGateway& AOld) {
        return AOld.Address.Family == ANew[0].Address.Family && AOld.Metric == ANew[0].Metric &&
               std::find(ANew.begin(), ANew.end(), AOld) == ANew.end();
    };
    for (auto& [Index, Entry] : FEntries) {
        if (std::erase_if(Entry.Gateways, IsReplaced) > 0)
            Tell(AChanges, Entry.Link, ANew[0].Address.Family, MibParameterNotification);
    }
}

Zn::TInterfaceTable::TChanges Zn::TInterfaceTable::Replace(const TSnapshot& ASnapshot)
{
    std::map<int, TEntry> Entries;
    for (const TLink& Link : ASnapshot.Links)
        Entries[Link.Index].Link = Link;
    for (const TUnicast& Unicast : ASnapshot.Addresses) {
        if (const auto Found = Entries.find(Unicast.Index); Found != Entries.end())
            Found->second.Addresses.insert(Settled(Unicast));
    }
    for (const TGateway& Gateway : ASnapshot.Gateways) {
        if (const auto Found = Entries.find(Gateway.Index); Found != Entries.end())
            Found->second.Gateways.insert(Gateway);
    }

    TChanges Changes;
    std::vector<int> Gone;
    for (const auto& [Index, Entry] : FEntries) {
        if (Entries.find(Index) == Entries.end())
            Gone.push_back(Index);
    }
    for (const int Index : Gone)
        RemoveLink(Index, Changes);
    for (auto& [Index, Fresh] : Entries) {
        TEntry& Entry = Fresh; // a lambda can't take the name above with it
        const TEntry Old = std::move(FEntries[Index]);
        const bool LinkDiffers = Differs(Old.Link, Entry.Link);
        const auto FamilyDiffers = [&](std::uint16_t AFamily) {
            return LinkDiffers || !SameInFamily(Old.Addresses, Entry.Addresses, AFamily) ||
                   !SameInFamily(Old.Gateways, Entry.Gateways, AFamily);
        };
        TellDifference(Changes, Entry.Link, AF_INET, Old.Link.HasIPv4, Entry.Link.HasIPv4,
                       FamilyDiffers(AF_INET));
        TellDifference(Changes, Entry.Link, AF_INET6, Old.Link.HasIPv6, Entry.Link.HasIPv6,
                       FamilyDiffers(AF_INET6));
        FEntries[Index] = std::move(Entry);
    }
    return Changes;
}
