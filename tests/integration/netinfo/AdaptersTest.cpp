#include "uZnIPHelper/NetworkAdapters.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <future>
#include <mutex>
#include <optional>
#include <vector>

#include <net/if.h>

#include "common/Exceptions.h"
#include "common/StringList.h"
#include "platform/errors/Errors.h"
#include "tests/support/NetworkLab.h"
#include "tests/support/TemporaryFolder.h"
#include "uZnIPHelper/HostFacts.h"
#include "uZnIPHelper/SystemFunctions.h"
#include "uZnIPHelper/WakeOnLan.h"

namespace
{

using namespace std::chrono_literals;
using TTexts = std::vector<std::string>;

TTexts TextsOf(const TZnIPAddressList& AList)
{
    TTexts Result;
    for (int Index = 0; Index < AList.Count(); ++Index)
        Result.push_back(AList.GetAddress(Index)->GetAsString());
    return Result;
}

class AdaptersLab : public Zn::TNetworkLab
{
};

TEST_F(AdaptersLab, AreWhatTheSystemHas)
{
    const Zn::TLabHost Router;
    Connect("h0", Router, "r0");
    Run("ip link add h1 type veth peer name h2; ip link set h1 alias \"To the cellar\";"
        "ip link set h0 address 02:00:00:00:0a:0b;"
        "ip addr add 10.1.0.1/24 dev h0; ip addr add 10.1.0.9/8 dev h0;"
        "ip addr add 10.5.0.1 peer 10.5.0.2/32 dev h0;"
        "ip -6 addr add fd01::1/64 dev h0 nodad; ip -6 addr add fe80::1/64 dev h0 nodad;"
        "ip addr add 10.1.0.77/24 dev h0 valid_lft 1000 preferred_lft 1000;"
        "ip route add default via 10.1.0.2 metric 20; ip route add default via 10.1.0.3 metric 10;"
        "ip -6 route add default via fe80::2 dev h0;"
        "ip route add 10.50.0.0/16 via 10.1.0.4; ip route add default via 10.1.0.5 table 77");
    TZnNetworkAdapters Adapters;
    ASSERT_EQ(Adapters.Count(), 4);
    EXPECT_EQ(Adapters.GetAdapter(3)->GetName(), "lo") << "loopback comes last";
    EXPECT_EQ(Adapters.GetAdapter(3)->GetAddress(), "00:00:00:00:00:00");

    TZnNetworkAdapter* const H0 = Adapters.FindAdapter("H0");
    ASSERT_NE(H0, nullptr);
    EXPECT_EQ(H0->GetDescription(), "veth");
    EXPECT_EQ(H0->GetAddress(), "02:00:00:00:0A:0B");
    EXPECT_EQ(H0->GetAdapterIndex(), if_nametoindex("h0"));
    const std::string Scope = "%" + std::to_string(H0->GetAdapterIndex());
    EXPECT_EQ(TextsOf(H0->GetIPAddresses()),
              (TTexts{"10.1.0.1", "10.1.0.9", "10.5.0.1", "10.1.0.77", "fd01::1", "fe80::1" + Scope}));
    EXPECT_EQ(TextsOf(H0->GetGateways()), (TTexts{"10.1.0.3", "10.1.0.2", "fe80::2" + Scope}));
    const auto* const Wide = dynamic_cast<const TZnIPV4AddressExt*>(H0->GetIPAddresses().GetAddress(1));
    ASSERT_NE(Wide, nullptr);
    EXPECT_EQ(Wide->GetMask(), "255.0.0.0");
    const auto* const LinkLocal = dynamic_cast<const TZnIPV6AddressExt*>(H0->GetIPAddresses().GetAddress(5));
    ASSERT_NE(LinkLocal, nullptr);
    EXPECT_EQ(LinkLocal->GetPrefixLength(), 64u);
    EXPECT_EQ(LinkLocal->GetPrefixOrigin(), IpPrefixOriginWellKnown);
    EXPECT_EQ(LinkLocal->GetScopeId(), static_cast<int>(H0->GetAdapterIndex()));

    EXPECT_EQ(Adapters.FindAdapter("h1")->GetDescription(), "To the cellar");
    EXPECT_EQ(Adapters.FindAdapter("h"), nullptr);
    EXPECT_THROW(Adapters.GetAdapter(4), EListError);
    EXPECT_THROW(Adapters.GetAdapter(-1), EListError);

    EXPECT_EQ(ZnGetMacAddress(), "02:00:00:00:0A:0B");
    TStringList Local;
    ZnGetLocalIPs(Local, false, true);
    ASSERT_EQ(Local.Count(), 2);
    EXPECT_EQ(Local[1], "fe80::1" + Scope);

    EXPECT_EQ(H0->GetInterfaces().Count(), 1);
    EXPECT_EQ(H0->GetInterfaces().GetInterfaceIdx(0), static_cast<int>(H0->GetAdapterIndex()));
    EXPECT_EQ(H0->RenewIPV4Address(), std::uint32_t{ERROR_NOT_SUPPORTED}) << "nothing manages it";
    EXPECT_EQ(Adapters.FindAdapter("lo")->RenewIPV4Address(), std::uint32_t{ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(AdaptersLab, RoutesOverSeveralWaysGiveEachItsGateway)
{
    Run("ip link add h0 type veth peer name p0; ip link add h1 type veth peer name p1;"
        "for i in h0 p0 h1 p1; do ip link set $i addrgenmode none; ip link set $i up; done;"
        "ip addr add 10.1.0.1/24 dev h0; ip addr add 10.2.0.1/24 dev h1;"
        "ip -6 addr add fd01::1/64 dev h1 nodad;"
        "ip route add default nexthop via 10.1.0.2 dev h0 nexthop via inet6 fd01::7 dev h1");
    const TZnNetworkAdapters Adapters;
    EXPECT_EQ(TextsOf(Adapters.FindAdapter("h0")->GetGateways()), TTexts{"10.1.0.2"});
    EXPECT_EQ(TextsOf(Adapters.FindAdapter("h1")->GetGateways()), TTexts{"fd01::7"}) << "of the other family";
}

TEST_F(AdaptersLab, MayVanishWhileTheyAreRead)
{
    const Zn::TemporaryFolder Folder;
    const std::string Lines = Folder.Path("lines");
    std::ofstream File(Lines);
    for (int Number = 0; Number < 150; ++Number)
        File << "link add v" << Number << " type veth peer name w" << Number << "\nlink del v" << Number
             << "\n";
    File.close();
    std::future<int> Changing =
        std::async(std::launch::async, [&] { return std::system(("ip -batch " + Lines).c_str()); });
    TZnNetworkAdapters Adapters;
    int Readings = 0;
    while (Changing.wait_for(0s) != std::future_status::ready) {
        ASSERT_NO_THROW(Adapters.Refresh());
        ASSERT_GE(Adapters.Count(), 1);
        ++Readings;
    }
    EXPECT_EQ(Changing.get(), 0);
    EXPECT_GT(Readings, 10);
    Adapters.Refresh();
    EXPECT_EQ(Adapters.Count(), 1);
}

struct TEvent
{
    TZnIPAddrType Family;
    int Index;
    bool Connected;
    TMIB_NOTIFICATION_TYPE Type;
};

/// Keeps the events of a watch and waits for one.
class TEventLog
{
public:
    TOnNotifyIpInterfaceChange Event()
    {
        return [this](TZnIPAddrType AFamily, int AIndex, bool AConnected, TMIB_NOTIFICATION_TYPE AType) {
            std::unique_lock Lock(FLock);
            FChanged.wait(Lock, [this] { return !FHeld; });
            FEvents.push_back({AFamily, AIndex, AConnected, AType});
            FChanged.notify_all();
        };
    }
    template <typename TRule>
    bool Has(TRule ARule)
    {
        std::unique_lock Lock(FLock);
        return FChanged.wait_for(Lock, 60s,
                                 [&] { return std::any_of(FEvents.begin(), FEvents.end(), ARule); });
    }
    bool Has(TZnIPAddrType AFamily, int AIndex, TMIB_NOTIFICATION_TYPE AType)
    {
        return Has(
            [&](const TEvent& A) { return A.Family == AFamily && A.Index == AIndex && A.Type == AType; });
    }
    /// Holds the thread that tells events within the next one.
    void Hold(bool AHold)
    {
        const std::lock_guard Lock(FLock);
        FHeld = AHold;
        FChanged.notify_all();
    }
    std::vector<TEvent> Take()
    {
        const std::lock_guard Lock(FLock);
        return std::exchange(FEvents, {});
    }

private:
    std::mutex FLock;
    std::condition_variable FChanged;
    std::vector<TEvent> FEvents;
    bool FHeld = false;
};

TEST_F(AdaptersLab, ChangesAreTold)
{
    TZnNetworkAdapters Adapters;
    TEventLog Log;
    Adapters.SetOnInterfaceChanged(Log.Event());
    Adapters.SetOnInterfaceChanged(Log.Event()); // registers once: each event comes once below
    Run("ip link add h0 type veth peer name p0");
    const int Index = static_cast<int>(if_nametoindex("h0"));
    const int Peer = static_cast<int>(if_nametoindex("p0"));
    EXPECT_TRUE(Log.Has(ipV4, Index, MibAddInstance));
    EXPECT_TRUE(Log.Has(ipV6, Index, MibAddInstance));
    EXPECT_TRUE(Log.Has(ipV6, Peer, MibAddInstance));
    const auto IsConnected = [&](const TEvent& A) { return A.Index == Index && A.Connected; };
    const auto IsParted = [&](const TEvent& A) { return A.Index == Index && !A.Connected; };
    Log.Take();
    Run("ip link set p0 up; ip link set h0 up");
    EXPECT_TRUE(Log.Has(IsConnected));
    Log.Take();
    Run("ip addr add 10.1.0.1/24 dev h0");
    EXPECT_TRUE(Log.Has(ipV4, Index, MibParameterNotification)) << "an address";
    Log.Take();
    Run("ip route add default via 10.1.0.2");
    EXPECT_TRUE(Log.Has(ipV4, Index, MibParameterNotification)) << "a gateway";
    Log.Take();
    Run("ip route replace default via 10.1.0.3");
    EXPECT_TRUE(Log.Has(ipV4, Index, MibParameterNotification)) << "another gateway";
    Log.Take();
    Run("ip link set p0 down");
    EXPECT_TRUE(Log.Has(IsParted)) << "the other end of the cable";
    Run("ip link del h0");
    EXPECT_TRUE(Log.Has(ipV4, Index, MibDeleteInstance));
    EXPECT_TRUE(Log.Has(ipV6, Peer, MibDeleteInstance));
    const std::vector<TEvent> Rest = Log.Take();
    EXPECT_EQ(std::count_if(Rest.begin(), Rest.end(),
                            [&](const TEvent& A) {
                                return A.Index == Index && A.Family == ipV4 && A.Type == MibDeleteInstance;
                            }),
              1);
    Adapters.SetOnInterfaceChanged(nullptr);
    Log.Take();
    Run("ip link add h1 type veth peer name p1");
    EXPECT_TRUE(Log.Take().empty()) << "nobody is told any more";
    Adapters.SetOnInterfaceChanged(Log.Event());
    Run("ip link del h1");
    EXPECT_TRUE(Log.Has([](const TEvent& A) { return A.Type == MibDeleteInstance; })) << "and now again";
}

/// Ten thousand changes while the event sleeps: the kernel drops most of them, but not what became of it all.
TEST_F(AdaptersLab, AFloodLosesNoFinalState)
{
    Run("ip link add h0 type veth peer name p0; ip link set h0 up; ip link set p0 up;"
        "ip link add h1 type veth peer name p1");
    const int Kept = static_cast<int>(if_nametoindex("h0"));
    const int Lost = static_cast<int>(if_nametoindex("h1"));
    const Zn::TemporaryFolder Folder;
    const std::string Lines = Folder.Path("lines");
    std::ofstream File(Lines);
    for (int Number = 0; Number < 5000; ++Number)
        File << "addr add 10.1." << Number / 250 << "." << Number % 250 << "/32 dev h0\naddr del 10.1."
             << Number / 250 << "." << Number % 250 << "/32 dev h0\n";
    File << "link del h1\nlink set h0 down\nlink add h9 type veth peer name p9\n";
    File.close();

    TZnNetworkAdapters Adapters;
    TEventLog Log;
    Log.Hold(true);
    Adapters.SetOnInterfaceChanged(Log.Event());
    Run("ip -batch " + Lines);
    Log.Hold(false);
    const int Added = static_cast<int>(if_nametoindex("h9"));
    EXPECT_TRUE(Log.Has(ipV4, Added, MibAddInstance));
    EXPECT_TRUE(Log.Has(ipV4, Lost, MibDeleteInstance));
    EXPECT_TRUE(Log.Has([&](const TEvent& A) { return A.Index == Kept && !A.Connected; }));
    Adapters.SetOnInterfaceChanged(nullptr);
    const std::vector<TEvent> Events = Log.Take();
    const auto Last =
        std::find_if(Events.rbegin(), Events.rend(), [&](const TEvent& A) { return A.Index == Kept; });
    ASSERT_NE(Last, Events.rend());
    EXPECT_FALSE(Last->Connected);
    EXPECT_LT(Events.size(), 10000u) << "messages were lost, or this shows nothing";
}

TEST_F(AdaptersLab, ADyingObjectHearsNothingMore)
{
    const Zn::TemporaryFolder Folder;
    const std::string Lines = Folder.Path("lines");
    std::ofstream File(Lines);
    for (int Number = 0; Number < 2000; ++Number)
        File << "addr add 10.1.0.1/32 dev lo\naddr del 10.1.0.1/32 dev lo\n";
    File.close();
    std::atomic<bool> IsEnough{false};
    std::future<int> Changing = std::async(std::launch::async, [&] {
        int Result = 0;
        do
            Result = std::system(("ip -batch " + Lines).c_str());
        while (Result == 0 && !IsEnough);
        return Result;
    });
    int Told = 0;
    for (int Round = 0; Round < 50; ++Round) {
        auto Count = std::make_unique<int>(0); // what an event after the end would touch
        auto Adapters = std::make_unique<TZnNetworkAdapters>();
        std::promise<void> First;
        Adapters->SetOnInterfaceChanged([&Count, &First](TZnIPAddrType, int, bool, TMIB_NOTIFICATION_TYPE) {
            if (++*Count == 1)
                First.set_value();
        });
        First.get_future().wait_for(100ms);
        Adapters.reset();
        Told += *Count;
    }
    IsEnough = true;
    EXPECT_EQ(Changing.get(), 0);
    EXPECT_GT(Told, 0);

    // An event that clears itself is the last one.
    TZnNetworkAdapters Adapters;
    std::atomic<int> Count{0};
    std::promise<void> Done;
    Adapters.SetOnInterfaceChanged([&](TZnIPAddrType, int, bool, TMIB_NOTIFICATION_TYPE) {
        ++Count;
        Adapters.SetOnInterfaceChanged(nullptr);
        Done.set_value();
    });
    Run("ip addr add 10.1.0.1/32 dev lo; ip addr add 10.1.0.2/32 dev lo; ip addr add 10.1.0.3/32 dev lo");
    ASSERT_EQ(Done.get_future().wait_for(60s), std::future_status::ready);
    EXPECT_EQ(Count.load(), 1);
}

TEST_F(AdaptersLab, TheRegistrationItselfIsTold)
{
    InitializeWinsock();
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    std::promise<TMIB_NOTIFICATION_TYPE> First;
    THandle Handle = 0;
    const auto Callback = [](void* AContext, const MIB_IPINTERFACE_ROW* ARow, TMIB_NOTIFICATION_TYPE AType) {
        EXPECT_EQ(ARow, nullptr);
        static_cast<std::promise<TMIB_NOTIFICATION_TYPE>*>(AContext)->set_value(AType);
    };
    ASSERT_EQ(Functions.NotifyIpInterfaceChange(AF_INET, Callback, &First, true, &Handle), 0u);
    auto Type = First.get_future();
    ASSERT_EQ(Type.wait_for(60s), std::future_status::ready);
    EXPECT_EQ(Type.get(), MibInitialNotification);
    EXPECT_EQ(Functions.CancelMibChangeNotify2(Handle), 0u);
    EXPECT_EQ(Functions.CancelMibChangeNotify2(Handle), std::uint32_t{ERROR_INVALID_HANDLE});
    EXPECT_EQ(Functions.NotifyIpInterfaceChange(1, Callback, &First, true, &Handle),
              std::uint32_t{ERROR_INVALID_PARAMETER});
}

constexpr int cPackets = 10; // of one wake-up to one port

/// Counts the datagrams with this packet that come to a port; stops at silence, behind the last that has to
/// come a short one.
int CountPackets(std::uint16_t APort, const std::array<std::uint8_t, 102>& APacket,
                 std::promise<void>& AReady)
{
    const int Socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto WaitAtMost = [Socket](timeval ALimit) {
        setsockopt(Socket, SOL_SOCKET, SO_RCVTIMEO, &ALimit, sizeof(ALimit));
    };
    WaitAtMost({20, 0});
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_port = htons(APort);
    EXPECT_EQ(bind(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)), 0);
    AReady.set_value();
    int Count = 0;
    std::array<std::uint8_t, 200> Buffer;
    for (ssize_t Size; (Size = recv(Socket, Buffer.data(), Buffer.size(), 0)) >= 0;) {
        EXPECT_EQ(Size, 102);
        EXPECT_TRUE(std::equal(APacket.begin(), APacket.end(), Buffer.begin()));
        if (++Count == cPackets)
            WaitAtMost({0, 300'000});
    }
    close(Socket);
    return Count;
}

TEST_F(AdaptersLab, MagicPacketsArriveByteForByte)
{
    const Zn::TLabHost Sleeper;
    Connect("h0", Sleeper, "s0");
    Run("ip addr add 10.1.0.1/24 dev h0; ip route add default via 10.1.0.2");
    Sleeper.Run("ip addr add 10.1.0.2/24 dev s0");
    std::array<std::uint8_t, 102> Expected;
    for (std::size_t At = 0; At < Expected.size(); ++At) {
        constexpr std::uint8_t cMac[] = {0x00, 0x1A, 0xB2, 0xC3, 0x04, 0xFF};
        Expected[At] = At < 6 ? 0xFF : cMac[At % 6];
    }
    const std::pair<const char*, const char*> Forms[] = {
        {"001AB2C304FF", ""}, {"00:1a:b2:c3:04:ff", "10.1.0.2"}, {"00-1A-B2-C3-04-FF", "10.1.0.255"}};
    for (const auto& [Mac, Target] : Forms) {
        std::promise<void> Ready[2];
        int Counts[2] = {};
        std::thread Captures[] = {Sleeper.Start([&] { Counts[0] = CountPackets(9, Expected, Ready[0]); }),
                                  Sleeper.Start([&] { Counts[1] = CountPackets(7, Expected, Ready[1]); })};
        for (std::promise<void>& Each : Ready)
            ASSERT_EQ(Each.get_future().wait_for(60s), std::future_status::ready);
        EXPECT_TRUE(ZnWakeOnLan(Mac, Target)) << Mac;
        for (std::thread& Each : Captures)
            Each.join();
        EXPECT_EQ(Counts[0], cPackets) << Target;
        EXPECT_EQ(Counts[1], cPackets) << Target;
    }
    Run("ip link set h0 down");
    EXPECT_FALSE(ZnWakeOnLan("001AB2C304FF", "")) << "there is no way out";
}

} // namespace
