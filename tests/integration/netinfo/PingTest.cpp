#include "uZnIPHelper/Ping.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include <arpa/inet.h>

#include "platform/errors/Errors.h"
#include "platform/icmp/Icmp.h"
#include "platform/loader/Loader.h"
#include "tests/support/NetworkLab.h"
#include "uZnIPHelper/NameResolution.h"

namespace
{

/// Here 10.1.0.1 -- router 10.1.0.2, 10.2.0.1 -- far 10.2.0.2, and the same in fd01 and fd02. The parameter
/// is the range of groups that may open ICMP sockets: with ours in it they are datagram sockets, else raw
/// ones.
class PingLab : public Zn::TNetworkLab, public testing::WithParamInterface<const char*>
{
protected:
    void SetUp() override
    {
        TNetworkLab::SetUp();
        if (IsSkipped())
            return;
        Run(std::string("echo ") + GetParam() + " > /proc/sys/net/ipv4/ping_group_range");
        FRouter.emplace();
        FFar.emplace();
        Connect("h0", *FRouter, "r0");
        Run("ip addr add 10.1.0.1/24 dev h0; ip -6 addr add fd01::1/64 dev h0 nodad;"
            "ip -6 addr add fe80::1/64 dev h0 nodad;"
            "ip route add default via 10.1.0.2; ip -6 route add default via fd01::2");
        FRouter->Run(
            "ip addr add 10.1.0.2/24 dev r0; ip -6 addr add fd01::2/64 dev r0 nodad;"
            "ip -6 addr add fe80::2/64 dev r0 nodad;"
            "ip link add r1 type veth peer name f0 netns " +
            FFar->Number() +
            "; ip addr add 10.2.0.1/24 dev r1; ip -6 addr add fd02::1/64 dev r1 nodad;"
            "ip -6 addr add fe80::3/64 dev r1 nodad;"
            "ip link set r1 addrgenmode none; ip link set r1 up; echo 1 > /proc/sys/net/ipv4/ip_forward;"
            "echo 1 > /proc/sys/net/ipv6/conf/all/forwarding;"
            "echo 0 > /proc/sys/net/ipv4/icmp_ratelimit;"
            "echo 0 > /proc/sys/net/ipv6/icmp/ratelimit;"
            "echo 100000 > /proc/sys/net/ipv4/icmp_msgs_burst || true");
        FFar->Run("ip link set lo up; ip addr add 10.2.0.2/24 dev f0; ip -6 addr add fd02::2/64 dev f0 nodad;"
                  "ip -6 addr add fe80::4/64 dev f0 nodad;"
                  "ip link set f0 addrgenmode none; ip link set f0 up; ip route add default via 10.2.0.1; ip "
                  "-6 route add default via fd02::1");
    }

    static constexpr std::int32_t cPatience = 20000; // ms; an answer takes none of it
    std::optional<Zn::TLabHost> FRouter;
    std::optional<Zn::TLabHost> FFar;
};

INSTANTIATE_TEST_SUITE_P(Sockets, PingLab, testing::Values("0 0", "1 0"),
                         [](const auto& AInfo) { return AInfo.index == 0 ? "Datagram" : "Raw"; });

/// The functions themselves, for what Ping doesn't choose: hops, sizes.
class TEchoFunctions
{
public:
    TEchoFunctions() { FindAll(); }
    ~TEchoFunctions() { FreeLibrary(FLibrary); }

    /// The status and who told it; the last error where there was no reply.
    std::string Send(const char* AHost, std::size_t ASize, IP_OPTION_INFORMATION AOptions)
    {
        const std::vector<char> Data(ASize, 'x');
        std::vector<char> Area(sizeof(ICMP_ECHO_REPLY) + ASize);
        const THandle Handle = Create();
        in_addr Target{};
        inet_pton(AF_INET, AHost, &Target);
        const std::uint32_t Count =
            SendEcho(Handle, Target, Data.data(), static_cast<std::uint16_t>(ASize), &AOptions, Area.data(),
                     static_cast<std::uint32_t>(Area.size()), 20000);
        const std::uint32_t Error = GetLastError();
        EXPECT_TRUE(CloseIt(Handle));
        if (Count == 0)
            return "error " + std::to_string(Error);
        ICMP_ECHO_REPLY Reply;
        std::memcpy(&Reply, Area.data(), sizeof(Reply));
        if (Reply.Status == IP_SUCCESS) {
            FTtl = Reply.Options.Ttl;
            EXPECT_EQ(Reply.DataSize, ASize);
            EXPECT_EQ(std::memcmp(Reply.Data, Data.data(), ASize), 0);
        }
        return std::to_string(Reply.Status) + " " + ZnIPAddrToStr(Reply.Address);
    }

    std::string Send6(const char* AHost, std::size_t ASize, IP_OPTION_INFORMATION AOptions)
    {
        const std::vector<char> Data(ASize, 'x');
        std::vector<char> Area(sizeof(ICMPV6_ECHO_REPLY) + ASize);
        const THandle Handle = Create6();
        sockaddr_in6 Source{};
        Source.sin6_family = AF_INET6;
        sockaddr_in6 Target = Source;
        inet_pton(AF_INET6, AHost, &Target.sin6_addr);
        const std::uint32_t Count = SendEcho6(Handle, 0, nullptr, nullptr, &Source, &Target, Data.data(),
                                              static_cast<std::uint16_t>(ASize), &AOptions, Area.data(),
                                              static_cast<std::uint32_t>(Area.size()), 20000);
        const std::uint32_t Error = GetLastError();
        EXPECT_TRUE(CloseIt(Handle));
        if (Count == 0)
            return "error " + std::to_string(Error);
        ICMPV6_ECHO_REPLY Reply;
        std::memcpy(&Reply, Area.data(), sizeof(Reply));
        return std::to_string(Reply.Status) + " " + ZnIPAddrToStr(Reply.Address.sin6_addr);
    }

    /// Of the last answer.
    int Ttl() const { return FTtl; }

    TIcmpCreateFile Create = nullptr;
    TIcmpCreateFile Create6 = nullptr;
    TIcmpSendEcho SendEcho = nullptr;
    TIcmp6SendEcho2 SendEcho6 = nullptr;
    TIcmpCloseHandle CloseIt = nullptr;

private:
    template <typename T>
    void Find(const char* AName, T& AFunction)
    {
        AFunction = reinterpret_cast<T>(GetProcAddress(FLibrary, AName));
        ASSERT_NE(AFunction, nullptr) << AName;
    }
    void FindAll()
    {
        Find("IcmpCreateFile", Create);
        Find("Icmp6CreateFile", Create6);
        Find("IcmpSendEcho", SendEcho);
        Find("Icmp6SendEcho2", SendEcho6);
        Find("IcmpCloseHandle", CloseIt);
    }

    THandle FLibrary = LoadLibrary("Icmp.dll");
    int FTtl = 0;
};

TEST_P(PingLab, HostsAnswer)
{
    TZnIPAddrType Type = ipV6;
    std::string Text;
    std::uint32_t Time = 99;
    for (const char* Host : {"127.0.0.1", "10.1.0.1", "10.1.0.2", "10.2.0.2"}) {
        EXPECT_EQ(Ping(Host, cPatience, Type, Text, Time), prSuccess) << Host;
        EXPECT_EQ(Text, Host);
        EXPECT_EQ(Type, ipV4);
    }
    for (const char* Host : {"::1", "fd01::1", "fd01::2", "fd02::2"}) {
        EXPECT_EQ(Ping(Host, cPatience, Type, Text, Time), prSuccess) << Host;
        EXPECT_EQ(Text, Host);
        EXPECT_EQ(Type, ipV6) << "behind IPv4, which can't";
    }
    EXPECT_EQ(Ping("fe80::2%h0", cPatience, Type, Text, Time), prSuccess);
    EXPECT_EQ(Text, "fe80::2") << "without its scope";
    EXPECT_EQ(Ping("fe80::2", 200, ipV6), prParamProblem) << "which of the networks?";
}

TEST_P(PingLab, WhatRoutersSayIsMapped)
{
    FRouter->Run("ip route add unreachable 10.98.0.0/16; ip route add prohibit 10.97.0.0/16;"
                 "ip -6 route add prohibit fd97::/16; ip -6 route add unreachable fd98::/16");
    const std::pair<const char*, TPingResult> Hosts4[] = {{"10.99.0.1", prDestNetUnreachable},
                                                          {"10.98.0.1", prDestHostUnreachable},
                                                          {"10.97.0.1", prDestHostUnreachable}};
    for (const auto& [Host, Expected] : Hosts4)
        EXPECT_EQ(Ping(Host, cPatience, ipV4), Expected) << Host;
    const std::pair<const char*, TPingResult> Hosts6[] = {{"fd99::1", prDestNetUnreachable},
                                                          {"fd98::1", prDestNetUnreachable},
                                                          {"fd97::1", prDestHostUnreachable}};
    for (const auto& [Host, Expected] : Hosts6)
        EXPECT_EQ(Ping(Host, cPatience, ipV6), Expected) << Host;
    EXPECT_EQ(Ping("10.2.0.2", cPatience, ipV4), prSuccess) << "an error is over with its request";
}

TEST_P(PingLab, WhatThisHostKnowsIsMapped)
{
    Run("ip route add unreachable 10.98.0.0/16; ip route del default; ip -6 route del default");
    EXPECT_EQ(Ping("10.98.0.1", cPatience, ipV4), prDestHostUnreachable);
    EXPECT_EQ(Ping("10.99.0.1", cPatience, ipV4), prDestNetUnreachable);
    EXPECT_EQ(Ping("fd99::1", cPatience, ipV6), prDestNetUnreachable);
    EXPECT_EQ(Ping("255.255.255.255", cPatience, ipV4), prDestNetUnreachable);
    EXPECT_EQ(Ping("10.1.0.255", cPatience, ipV4), prBadDestination) << "a broadcast address";
}

TEST_P(PingLab, HopsAndSizesHaveTheirLimits)
{
    TEchoFunctions Echo;
    const IP_OPTION_INFORMATION OneHop{1, 0, 0, 0, nullptr};
    const IP_OPTION_INFORMATION TwoHops{2, 0, 0, 0, nullptr};
    const IP_OPTION_INFORMATION Whole{0, 0, IP_FLAG_DF, 0, nullptr};
    EXPECT_EQ(Echo.Send("10.2.0.2", 4, OneHop), "11013 10.1.0.2");
    EXPECT_EQ(Echo.Send("10.2.0.2", 4, TwoHops), "0 10.2.0.2");
    EXPECT_EQ(Echo.Ttl(), 63) << "of the answer, one hop away from 64";
    EXPECT_EQ(Echo.Send6("fd02::2", 4, OneHop), "11013 fd01::2");
    EXPECT_EQ(Echo.Send6("fd02::2", 4, TwoHops), "0 fd02::2");
    EXPECT_EQ(Echo.Send("10.2.0.2", 5000, {}), "0 10.2.0.2") << "in fragments";
    FRouter->Run("ip link set r1 mtu 1300");
    FFar->Run("ip link set f0 mtu 1300");
    EXPECT_EQ(Echo.Send("10.2.0.2", 1400, Whole), "11009 10.1.0.2");
    EXPECT_EQ(Echo.Send6("fd02::2", 1400, {}), "11009 fd01::2");
    EXPECT_EQ(Echo.Send6("fd02::2", 1400, {}), "0 fd02::2") << "now cut to what the router told";
}

TEST_P(PingLab, SilenceIsNoReply)
{
    FFar->Run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all");
    const auto Start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ping("10.2.0.2", 120, ipV4), prGeneralFailure);
    EXPECT_EQ(GetLastError(), std::uint32_t{IP_REQ_TIMED_OUT});
    EXPECT_GE(std::chrono::steady_clock::now() - Start, std::chrono::milliseconds(120));
    EXPECT_EQ(Ping("10.2.0.1", cPatience, ipV4), prSuccess);
}

TEST_P(PingLab, SimultaneousRequestsGetTheirOwnAnswers)
{
    std::vector<std::thread> Threads;
    for (int Number = 0; Number < 6; ++Number) {
        Threads.emplace_back([Number] {
            constexpr const char* cHosts[] = {"10.2.0.2", "10.99.0.1", "10.1.0.2",
                                              "fd02::2",  "fd99::1",   "fe80::2%h0"};
            const TPingResult Expected = Number % 3 == 1 ? prDestNetUnreachable : prSuccess;
            // Routers limit how often they say no.
            for (int Count = Expected == prSuccess ? 0 : 197; Count < 200; ++Count)
                ASSERT_EQ(Ping(cHosts[Number], cPatience, Number < 3 ? ipV4 : ipV6), Expected)
                    << cHosts[Number];
        });
    }
    for (std::thread& Thread : Threads)
        Thread.join();
}

/// Sockets belong to the namespace they were made in, and threads keep idle ones.
TEST_P(PingLab, AThreadThatMovesPingsFromWhereItIs)
{
    const Zn::TLabHost Silent; // its loopback is down
    const int Here = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    const int There = open(("/proc/" + Silent.Number() + "/ns/net").c_str(), O_RDONLY | O_CLOEXEC);
    for (const auto& [Address, Family] : {std::pair("127.0.0.1", ipV4), std::pair("::1", ipV6)}) {
        for (int Count = 0; Count < 300; ++Count) {
            ASSERT_EQ(setns(There, CLONE_NEWNET), 0);
            const TPingResult Away = Ping(Address, cPatience, Family);
            ASSERT_EQ(setns(Here, CLONE_NEWNET), 0);
            ASSERT_NE(Away, prSuccess) << Count;
            ASSERT_EQ(Ping(Address, cPatience, Family), prSuccess) << Count;
        }
    }
    close(Here);
    close(There);
}

TEST_P(PingLab, ArgumentsAreChecked)
{
    TEchoFunctions Echo;
    IP_OPTION_INFORMATION Options;
    char Area[sizeof(ICMP_ECHO_REPLY) + 2] = {};
    const in_addr Target{htonl(INADDR_LOOPBACK)};
    const THandle Handle = Echo.Create();
    EXPECT_EQ(Echo.SendEcho(Handle, Target, "ping", 4, nullptr, Area, sizeof(ICMP_ECHO_REPLY) - 1, 1000), 0u);
    EXPECT_EQ(GetLastError(), std::uint32_t{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(Echo.SendEcho(Handle, Target, "ping", 4, nullptr, Area, sizeof(Area), 1000), 1u);
    EXPECT_EQ(reinterpret_cast<ICMP_ECHO_REPLY*>(Area)->Status, std::uint32_t{IP_BUF_TOO_SMALL});
    Options.OptionsSize = 4;
    EXPECT_EQ(Echo.SendEcho(Handle, Target, "ping", 4, &Options, Area, sizeof(Area), 1000), 0u);
    EXPECT_EQ(GetLastError(), std::uint32_t{ERROR_NOT_SUPPORTED});
    EXPECT_TRUE(Echo.CloseIt(Handle));
    EXPECT_FALSE(Echo.CloseIt(Handle));
    EXPECT_EQ(Echo.SendEcho(Handle, Target, "ping", 4, nullptr, Area, sizeof(Area), 1000), 0u);
    EXPECT_EQ(GetLastError(), std::uint32_t{ERROR_INVALID_HANDLE});
}

/// Without a group in the range and without CAP_NET_RAW; in a process of its own, which can give them up.
TEST_P(PingLab, WithoutTheRightThereIsAResult)
{
    const bool MayAsGroup = std::string(GetParam()) == "0 0";
    const pid_t Child = fork();
    if (Child == 0) {
        if ((!MayAsGroup && setgid(65534) != 0) || setuid(65534) != 0)
            _exit(100);
        const TPingResult Result = Ping("127.0.0.1", cPatience, ipV4);
        _exit(Result == prSuccess                                                   ? 0
              : Result == prGeneralFailure && GetLastError() == ERROR_ACCESS_DENIED ? 1
                                                                                    : 2);
    }
    int Status = 0;
    ASSERT_EQ(waitpid(Child, &Status, 0), Child);
    EXPECT_TRUE(WIFEXITED(Status));
    EXPECT_EQ(WEXITSTATUS(Status), MayAsGroup ? 0 : 1);
}

} // namespace
