#include "uZnIPHelper/NetworkAdapters.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>

#include "ScriptedLibraries.h"
#include "common/Exceptions.h"
#include "common/StringList.h"
#include "common/System.h"
#include "uZnIPHelper/HostFacts.h"
#include "uZnIPHelper/WakeOnLan.h"

namespace
{

std::vector<std::string> GCalls;
std::uint32_t GFirstResult;
std::uint32_t GSecondResult;
std::vector<std::u16string> GInterfaces;
std::uint32_t GRegistration; // its result
TIpInterfaceChangeCallback GCallback;
void* GContext;

/// One adapter with an address of each kind, and of none: what a system may list.
struct TOneAdapter
{
    IP_ADAPTER_ADDRESSES Record;
    IP_ADAPTER_UNICAST_ADDRESS Unicasts[3];
    sockaddr_storage Addresses[3]{};
    char16_t Description[6] = u"Blauß";
    char Name[5] = "eth1";
};
TOneAdapter GAdapter;

std::uint32_t GetAdapters(std::uint32_t AFamily, std::uint32_t AFlags, void*, IP_ADAPTER_ADDRESSES* AAdapters,
                          std::uint32_t* ASize)
{
    GCalls.push_back("adapters " + std::to_string(AFamily) + " " + std::to_string(AFlags));
    *ASize = sizeof(GAdapter.Record);
    if (!AAdapters)
        return GFirstResult;
    *AAdapters = GAdapter.Record;
    return GSecondResult;
}

std::uint32_t GetInterfaces(IP_INTERFACE_INFO* AInfo, std::uint32_t* ASize)
{
    if (GInterfaces.empty())
        return 232;
    *ASize = static_cast<std::uint32_t>(sizeof(IP_INTERFACE_INFO) +
                                        GInterfaces.size() * sizeof(IP_ADAPTER_INDEX_MAP));
    if (!AInfo)
        return 122;
    AInfo->NumAdapters = static_cast<std::int32_t>(GInterfaces.size());
    for (std::size_t Index = 0; Index < GInterfaces.size(); ++Index) {
        IP_ADAPTER_INDEX_MAP Map;
        Map.Index = static_cast<std::uint32_t>(Index + 7);
        GInterfaces[Index].copy(Map.Name, MAX_ADAPTER_NAME);
        std::memcpy(&AInfo->Adapter[0] + Index, &Map, sizeof(Map));
    }
    return 0;
}

std::uint32_t Release(const IP_ADAPTER_INDEX_MAP* AInterface)
{
    GCalls.push_back("release " + std::to_string(AInterface->Index));
    return 5;
}
std::uint32_t Renew(const IP_ADAPTER_INDEX_MAP* AInterface)
{
    GCalls.push_back("renew " + std::to_string(AInterface->Index));
    return AInterface->Index;
}
std::uint32_t Notify(std::uint32_t AFamily, TIpInterfaceChangeCallback ACallback, void* AContext,
                     bool AInitial, THandle* AHandle)
{
    GCalls.push_back("notify " + std::to_string(AFamily) + (AInitial ? " initial" : ""));
    GCallback = ACallback;
    GContext = AContext;
    *AHandle = GRegistration == 0 ? 44 : 0;
    return GRegistration;
}
std::uint32_t Cancel(THandle AHandle)
{
    GCalls.push_back("cancel " + std::to_string(AHandle));
    return 0;
}

class ScriptedAdapters : public testing::Test
{
protected:
    ScriptedAdapters()
    {
        GCalls.clear();
        GFirstResult = 111;
        GSecondResult = 0;
        GInterfaces.clear();
        GRegistration = 0;
        MakeAdapter();
        Zn::FinalizeWinsock();
    }
    ~ScriptedAdapters() override { Zn::FinalizeWinsock(); }

    static void MakeAdapter()
    {
        GAdapter = {};
        auto& [Record, Unicasts, Addresses, Description, Name] = GAdapter;
        Record.AdapterName = Name;
        Record.Description = Description;
        Record.IfIndex = 3;
        const std::uint8_t Mac[] = {0x0A, 0, 0xFF, 4, 5, 6, 7, 8};
        std::copy(std::begin(Mac), std::end(Mac), Record.PhysicalAddress);
        const int Families[] = {AF_UNIX, AF_INET, AF_INET6};
        for (int Index = 0; Index < 3; ++Index) {
            Addresses[Index].ss_family = static_cast<sa_family_t>(Families[Index]);
            Unicasts[Index].Address = {reinterpret_cast<sockaddr*>(&Addresses[Index]),
                                       sizeof(Addresses[Index])};
            Unicasts[Index].Next = Index < 2 ? &Unicasts[Index + 1] : nullptr;
        }
        reinterpret_cast<sockaddr_in&>(Addresses[1]).sin_addr.s_addr = htonl(0x0A000001);
        Unicasts[1].OnLinkPrefixLength = 33; // no mask has that length
        auto& V6 = reinterpret_cast<sockaddr_in6&>(Addresses[2]);
        inet_pton(AF_INET6, "fe80::7", &V6.sin6_addr);
        V6.sin6_scope_id = 3;
        Record.FirstUnicastAddress = Unicasts;
    }

    using TList = std::vector<std::string>;
    static constexpr auto cMask = [](std::uint32_t, std::uint32_t* AMask) -> std::uint32_t {
        *AMask = 7;
        return 87;
    };
    TZnScopedLibrary FIphlpapi{
        "Iphlpapi.dll",
        {Zn::Export("IcmpCreateFile", Cancel), Zn::Export("GetAdaptersAddresses", GetAdapters),
         Zn::Export("GetInterfaceInfo", GetInterfaces), Zn::Export("IpReleaseAddress", Release),
         Zn::Export("IpRenewAddress", Renew), Zn::Export("NotifyIpInterfaceChange", Notify),
         Zn::Export("CancelMibChangeNotify2", Cancel), Zn::Export("ConvertLengthToIpv4Mask", +cMask)}};
};

TEST_F(ScriptedAdapters, AreMadeFromTheRecords)
{
    TZnNetworkAdapters Adapters;
    EXPECT_EQ(GCalls, (TList{"adapters 0 150", "adapters 0 150"}));
    ASSERT_EQ(Adapters.Count(), 1);
    const TZnNetworkAdapter& Adapter = *Adapters.GetAdapter(0);
    EXPECT_EQ(Adapter.GetDescription(), "Blauß");
    EXPECT_EQ(Adapter.GetAddress(), "0A:00:FF:04:05:06");
    ASSERT_EQ(Adapter.GetIPAddresses().Count(), 2) << "a family that isn't IP is passed over";
    EXPECT_EQ(dynamic_cast<const TZnIPV4AddressExt&>(*Adapter.GetIPAddresses().GetAddress(0)).GetMask(),
              "0.0.0.0");
    EXPECT_EQ(Adapter.GetIPAddresses().GetAddress(1)->GetAsString(), "fe80::7%3");
    EXPECT_THROW(Adapter.GetIPAddresses().GetAddress(2), EListError);
    EXPECT_EQ(Adapters.FindAdapter("ETH1"), &Adapter);
    EXPECT_EQ(ZnGetMacAddress(), "0A:00:FF:04:05:06") << "there is no gateway";
    TStringList Local;
    Local.Add("kept");
    ZnGetLocalIPs(Local, true, true);
    EXPECT_EQ(Local.Count(), 1);
}

TEST_F(ScriptedAdapters, FailuresAreEmptyOrRaised)
{
    GFirstResult = 232;
    TZnNetworkAdapters Adapters;
    EXPECT_EQ(Adapters.Count(), 0);
    EXPECT_EQ(Adapters.FindAdapter("eth1"), nullptr);
    EXPECT_EQ(ZnGetMacAddress(), "");
    GFirstResult = 111;
    GSecondResult = 8;
    try {
        Adapters.Refresh();
        ADD_FAILURE();
    } catch (const EOSError& Failure) {
        EXPECT_EQ(Failure.GetErrorCode(), 8);
    }
    EXPECT_EQ(Adapters.Count(), 0);
}

TEST_F(ScriptedAdapters, InterfacesAreFoundByWholeNames)
{
    GInterfaces = {u"eth10", u"\\DEVICE\\{eth1}", u"my_eth1", u"eth1", u"eth1.5"};
    TZnNetworkAdapters Adapters;
    TZnNetworkAdapter& Adapter = *Adapters.GetAdapter(0);
    ASSERT_EQ(Adapter.GetInterfaces().Count(), 2);
    EXPECT_EQ(Adapter.GetInterfaces().GetAdapterName(0), "\\DEVICE\\{eth1}");
    EXPECT_EQ(Adapter.GetInterfaces().GetInterfaceIdx(1), 10);
    GCalls.clear();
    EXPECT_EQ(Adapter.RenewIPV4Address(), 10u) << "the last one's result";
    EXPECT_EQ(GCalls, (TList{"release 8", "renew 8", "release 10", "renew 10"}));
    GInterfaces = {u"eth10"};
    EXPECT_EQ(Adapter.GetInterfaces().Count(), 2) << "read once";
    EXPECT_EQ(Adapter.RenewIPV4Address(), 122u);
    GInterfaces.clear();
    EXPECT_EQ(Adapter.RenewIPV4Address(), 232u);
}

TEST_F(ScriptedAdapters, TheEventRegistersOnce)
{
    TList Told;
    const auto Event = [&Told](TZnIPAddrType AFamily, int AIndex, bool AConnected,
                               TMIB_NOTIFICATION_TYPE AType) {
        Told.push_back(std::to_string(AFamily) + std::to_string(AIndex) + std::to_string(AConnected) +
                       std::to_string(AType));
    };
    {
        TZnNetworkAdapters Adapters;
        GCalls.clear();
        GRegistration = 5;
        Adapters.SetOnInterfaceChanged(Event); // refused, silently
        GRegistration = 0;
        Adapters.SetOnInterfaceChanged(Event);
        Adapters.SetOnInterfaceChanged(Event);
        MIB_IPINTERFACE_ROW Row{AF_INET6, 9, 1500, true};
        GCallback(GContext, &Row, MibAddInstance);
        Row.Family = AF_INET;
        GCallback(GContext, &Row, MibParameterNotification);
        GCallback(GContext, nullptr, MibInitialNotification);
        EXPECT_EQ(Told, (TList{"1911", "0910"}));
        Adapters.SetOnInterfaceChanged(nullptr);
        Adapters.SetOnInterfaceChanged(nullptr);
        Adapters.SetOnInterfaceChanged(Event);
        EXPECT_EQ(GCalls, (TList{"notify 0", "notify 0", "cancel 44", "notify 0"}));
    }
    EXPECT_EQ(GCalls.back(), "cancel 44") << "before the object is gone";
}

TEST(IPAddresses, KnowWhetherTheyAreEmpty)
{
    EXPECT_TRUE(TZnIPV4Address(in_addr{}).IsEmpty());
    EXPECT_FALSE(TZnIPV4Address(in_addr{htonl(1)}).IsEmpty());
    IN6_ADDR Address{};
    EXPECT_TRUE(TZnIPV6Address(Address, 4).IsEmpty());
    Address.s6_addr[15] = 1;
    EXPECT_FALSE(TZnIPV6Address(Address, 0).IsEmpty());
    const TZnIPAddressList List;
    EXPECT_TRUE(List.IsEmpty());
    EXPECT_EQ(List.GetAsString(), "");
    EXPECT_THROW(List.GetIPType(), Exception);
}

TEST(WakeOnLan, RefusesOtherLengths)
{
    const Zn::TScriptedLibraries NoSockets({}, {});
    for (const char* Mac :
         {"", "0", "00112233445", "0011223344556", "00:11:22:33:44:5", "00:11:22:33:44:555"})
        EXPECT_FALSE(ZnWakeOnLan(Mac, "")) << Mac;
    EXPECT_FALSE(ZnWakeOnLan("001122334455", "")) << "and there is no socket";
    const auto Packet = Zn::MagicPacket("0aGG-1 1+23F");
    const std::uint8_t Expected[] = {0xFF, 0x0A, 0, 0, 0, 0, 0x3F};
    EXPECT_EQ(std::memcmp(&Packet[5], Expected, sizeof(Expected)), 0)
        << "pairs that aren't hexadecimal are zero";
}

} // namespace
