#include <algorithm>
#include <bit>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>

#include <pthread.h>

#include "common/Exceptions.h"
#include "common/Json.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Report.h"
#include "tools/zn/network/Network.h"

namespace Zn
{

namespace
{

/// The length of the prefix that an IPv4 mask stands for.
int PrefixLengthOf(const TZnIPV4AddressExt& AAddress)
{
    in_addr Mask{};
    ZnStrToIPAddr(AAddress.GetMask(), Mask);
    return std::popcount(Mask.s_addr);
}

/// "192.0.2.7/24", "fe80::1%2/64"
std::string WithPrefix(const TZnIPAddress& AAddress)
{
    if (const auto* const V4 = dynamic_cast<const TZnIPV4AddressExt*>(&AAddress))
        return V4->GetAsString() + "/" + std::to_string(PrefixLengthOf(*V4));
    if (const auto* const V6 = dynamic_cast<const TZnIPV6AddressExt*>(&AAddress))
        return V6->GetAsString() + "/" + std::to_string(V6->GetPrefixLength());
    return AAddress.GetAsString();
}

std::string TextAt(const TZnIPAddressList& AList, int AIndex)
{
    return AIndex < AList.Count() ? WithPrefix(*AList.GetAddress(AIndex)) : std::string();
}

/// As many rows as its longest list takes.
void AddRows(std::vector<TRow>& ARows, const TZnNetworkAdapter& AAdapter)
{
    const TZnIPAddressList& IPs = AAdapter.GetIPAddresses();
    const TZnIPAddressList& Gateways = AAdapter.GetGateways();
    const TZnIPAddressList& Servers = AAdapter.GetDNSServers();
    ARows.push_back({std::to_string(AAdapter.GetAdapterIndex()), AAdapter.GetName(), AAdapter.GetAddress(),
                     TextAt(IPs, 0), TextAt(Gateways, 0), TextAt(Servers, 0), AAdapter.GetDescription()});
    const int Lines = std::max({IPs.Count(), Gateways.Count(), Servers.Count()});
    for (int Line = 1; Line < Lines; ++Line)
        ARows.push_back({"", "", "", TextAt(IPs, Line), TextAt(Gateways, Line), TextAt(Servers, Line), ""});
}

const char* OriginText(IP_PREFIX_ORIGIN AOrigin)
{
    constexpr const char* cTexts[] = {"other", "manual", "well-known", "dhcp", "router"};
    return AOrigin < std::size(cTexts) ? cTexts[AOrigin] : "other";
}

const char* OriginText(IP_SUFFIX_ORIGIN AOrigin)
{
    constexpr const char* cTexts[] = {"other", "manual", "well-known", "dhcp", "hardware-address", "random"};
    return AOrigin < std::size(cTexts) ? cTexts[AOrigin] : "other";
}

std::unique_ptr<TJSONValue> AddressJson(const TZnIPAddress& AAddress)
{
    auto Result = std::make_unique<TJSONObject>();
    Result->AddPair("address", AAddress.GetAsString());
    if (const auto* const V4 = dynamic_cast<const TZnIPV4AddressExt*>(&AAddress))
        Result->AddPair("family", "IPv4")
            .AddPair("prefixLength", PrefixLengthOf(*V4))
            .AddPair("mask", V4->GetMask());
    if (const auto* const V6 = dynamic_cast<const TZnIPV6AddressExt*>(&AAddress))
        Result->AddPair("family", "IPv6")
            .AddPair("prefixLength", std::int64_t{V6->GetPrefixLength()})
            .AddPair("prefixOrigin", OriginText(V6->GetPrefixOrigin()))
            .AddPair("suffixOrigin", OriginText(V6->GetSuffixOrigin()));
    return Result;
}

std::unique_ptr<TJSONValue> TextsJson(const TZnIPAddressList& AList)
{
    auto Result = std::make_unique<TJSONArray>();
    for (int Index = 0; Index < AList.Count(); ++Index)
        Result->Add(AList.GetAddress(Index)->GetAsString());
    return Result;
}

std::unique_ptr<TJSONValue> AdapterJson(const TZnNetworkAdapter& AAdapter)
{
    auto Addresses = std::make_unique<TJSONArray>();
    for (int Index = 0; Index < AAdapter.GetIPAddresses().Count(); ++Index)
        Addresses->Add(AddressJson(*AAdapter.GetIPAddresses().GetAddress(Index)));
    auto Result = std::make_unique<TJSONObject>();
    Result->AddPair("name", AAdapter.GetName())
        .AddPair("index", std::int64_t{AAdapter.GetAdapterIndex()})
        .AddPair("description", AAdapter.GetDescription())
        .AddPair("hardwareAddress", AAdapter.GetAddress())
        .AddPair("addresses", std::move(Addresses))
        .AddPair("gateways", TextsJson(AAdapter.GetGateways()))
        .AddPair("dnsServers", TextsJson(AAdapter.GetDNSServers()));
    return Result;
}

void Print(const TZnNetworkAdapters& AAdapters, bool AJson)
{
    TJSONArray Json;
    std::vector<TRow> Rows;
    for (int Index = 0; Index < AAdapters.Count(); ++Index) {
        if (AJson)
            Json.Add(AdapterJson(*AAdapters.GetAdapter(Index)));
        else
            AddRows(Rows, *AAdapters.GetAdapter(Index));
    }
    if (AJson)
        PrintJson(Json);
    else
        PrintTable({"INDEX", "NAME", "HARDWARE ADDRESS", "ADDRESS", "GATEWAY", "DNS SERVER", "DESCRIPTION"},
                   Rows, "There is no adapter.");
}

/// Writes a line for each change. Runs on the thread that the changes are told on.
class TChangeLog
{
public:
    explicit TChangeLog(bool AJson) : FJson(AJson) { ReadNames(); }

    void Write(TZnIPAddrType AType, int AIndex, bool AConnected, TMIB_NOTIFICATION_TYPE ANotification)
    {
        if (ANotification != MibDeleteInstance) // it may be new, or have another name
            ReadNames();
        const char* const Family = AType == ipV4 ? "IPv4" : "IPv6";
        if (FJson) {
            TJSONObject Line;
            Line.AddPair("event", EventText(ANotification))
                .AddPair("name", FNames[AIndex])
                .AddPair("index", AIndex)
                .AddPair("family", Family)
                .AddPair("connected", AConnected);
            PrintJson(Line);
        } else {
            std::printf("%s  %s  %s %s, %s\n", TimeOfDay().c_str(), FNames[AIndex].c_str(), Family,
                        EventText(ANotification), AConnected ? "connected" : "not connected");
        }
        std::fflush(stdout);
    }

private:
    static const char* EventText(TMIB_NOTIFICATION_TYPE AType)
    {
        switch (AType) {
        case MibAddInstance:
            return "added";
        case MibDeleteInstance:
            return "removed";
        default:
            return "changed";
        }
    }

    static std::string TimeOfDay()
    {
        const std::time_t Now = std::time(nullptr);
        std::tm Parts{};
        localtime_r(&Now, &Parts);
        return ZnFormat("%02d:%02d:%02d", Parts.tm_hour, Parts.tm_min, Parts.tm_sec);
    }

    /// Names of adapters that are gone stay known.
    void ReadNames()
    {
        try {
            const TZnNetworkAdapters Adapters;
            for (int Index = 0; Index < Adapters.Count(); ++Index) {
                const TZnNetworkAdapter& Adapter = *Adapters.GetAdapter(Index);
                FNames[static_cast<int>(Adapter.GetAdapterIndex())] = Adapter.GetName();
            }
        } catch (const Exception&) {
            return; // a name stays as it was: the change itself matters more
        }
    }

    bool FJson;
    std::map<int, std::string> FNames;
};

} // namespace

int ShowAdapters(bool AJson)
{
    try {
        Print(TZnNetworkAdapters(), AJson);
        return cExitOk;
    } catch (const Exception& Error) {
        std::fprintf(stderr, "zn adapters: %s\n", Error.Message().c_str());
        return cExitFailure;
    }
}

int WatchAdapters(bool AJson)
{
    sigset_t Stop;
    sigemptyset(&Stop);
    sigaddset(&Stop, SIGINT);
    sigaddset(&Stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &Stop, nullptr);
    try {
        TChangeLog Log(AJson);
        TZnNetworkAdapters Adapters;
        Adapters.SetOnInterfaceChanged(
            [&Log](TZnIPAddrType AType, int AIndex, bool AConnected, TMIB_NOTIFICATION_TYPE ANotification) {
                Log.Write(AType, AIndex, AConnected, ANotification);
            });
        Adapters.Refresh(); // what changed before the watch began
        Print(Adapters, AJson);
        std::fflush(stdout);
        int Signal = 0;
        sigwait(&Stop, &Signal);
        return cExitOk;
    } catch (const Exception& Error) {
        std::fprintf(stderr, "zn adapters: %s\n", Error.Message().c_str());
        return cExitFailure;
    }
}

} // namespace Zn
