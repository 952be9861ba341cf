#include "uZnIPHelper/HostFacts.h"

#include <array>
#include <cstring>

#include "common/Encoding.h"
#include "common/StringList.h"
#include "uZnIPHelper/NetworkAdapters.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

bool HasFirst(const TZnIPAddressList& AList)
{
    return AList.Count() > 0 && !AList.GetAddress(0)->IsEmpty();
}

template <typename TRule>
std::string FirstAddress(const TZnNetworkAdapters& AAdapters, TRule ARule)
{
    for (int Index = 0; Index < AAdapters.Count(); ++Index) {
        const TZnNetworkAdapter& Adapter = *AAdapters.GetAdapter(Index);
        if (ARule(Adapter))
            return Adapter.GetAddress();
    }
    return {};
}

} // namespace

std::string ZnGetMacAddress()
{
    const TZnNetworkAdapters Adapters;
    std::string Address = FirstAddress(Adapters, [](const TZnNetworkAdapter& AAdapter) {
        return HasFirst(AAdapter.GetIPAddresses()) && HasFirst(AAdapter.GetGateways());
    });
    if (Address.empty())
        Address = FirstAddress(Adapters, [](const TZnNetworkAdapter& AAdapter) {
            return HasFirst(AAdapter.GetIPAddresses()) && !AAdapter.GetAddress().empty();
        });
    if (Address.empty())
        Address = FirstAddress(
            Adapters, [](const TZnNetworkAdapter& AAdapter) { return !AAdapter.GetAddress().empty(); });
    return Address;
}

std::string ZnGetHostName()
{
    InitializeWinsock();
    std::array<char, 256> Name{};
    if (const auto GetHostName = Zn::SystemFunctions().GetHostName)
        GetHostName(Name.data(), Name.size());
    return TZnEncoding::ConvertA(std::string_view(Name.data(), strnlen(Name.data(), Name.size())),
                                 cZnCodePageSystem);
}

void ZnGetLocalIPs(TStringList& AList, bool AIPv4, bool AIPv6)
{
    const TZnNetworkAdapters Adapters;
    for (int Index = 0; Index < Adapters.Count(); ++Index) {
        const TZnNetworkAdapter& Adapter = *Adapters.GetAdapter(Index);
        if (Adapter.GetGateways().Count() == 0)
            continue;
        const TZnIPAddressList& Addresses = Adapter.GetIPAddresses();
        for (int Number = 0; Number < Addresses.Count(); ++Number) {
            const TZnIPAddress& Address = *Addresses.GetAddress(Number);
            const bool IsWanted = Address.GetIPType() == ipV4 ? AIPv4 : AIPv6;
            if (IsWanted && !Address.IsEmpty())
                AList.Add(Address.GetAsString());
        }
    }
}
