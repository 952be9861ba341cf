#include "uZnIPHelper/Ping.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <arpa/inet.h>

#include "ScriptedLibraries.h"
#include "platform/errors/Errors.h"

namespace
{

/// What the scripted echo is to do, by family, and what was asked of it.
struct TScript
{
    std::uint32_t Count = 1;
    std::uint32_t Status = IP_SUCCESS;
    std::uint32_t Error = 0;
    bool Opens = true;
};
std::map<int, TScript> GScripts;
std::vector<std::string> GCalls;

THandle Create(int AFamily)
{
    GCalls.emplace_back(AFamily == AF_INET ? "create4" : "create6");
    return GScripts[AFamily].Opens ? THandle{40} : INVALID_HANDLE_VALUE;
}
THandle Create4()
{
    return Create(AF_INET);
}
THandle Create6()
{
    return Create(AF_INET6);
}
bool Close(THandle AHandle)
{
    EXPECT_EQ(AHandle, THandle{40});
    GCalls.emplace_back("close");
    return true;
}

std::string Sent(const char* AName, const std::string& ATo, const void* AData, std::uint16_t ASize,
                 std::uint32_t ATimeout)
{
    return AName + (" " + ATo) + " [" + std::string(static_cast<const char*>(AData), ASize) + "] " +
           std::to_string(ATimeout);
}

std::uint32_t Finish(const TScript& AScript)
{
    SetLastError(AScript.Error);
    return AScript.Count;
}

std::uint32_t Send4(THandle, in_addr ATo, const void* AData, std::uint16_t ASize,
                    const IP_OPTION_INFORMATION* AOptions, void* AReply, std::uint32_t AReplySize,
                    std::uint32_t ATimeout)
{
    EXPECT_EQ(AOptions, nullptr);
    EXPECT_EQ(AReplySize, sizeof(ICMP_ECHO_REPLY) + 4);
    GCalls.push_back(Sent("send4", ZnIPAddrToStr(ATo), AData, ASize, ATimeout));
    auto* const Reply = static_cast<ICMP_ECHO_REPLY*>(AReply);
    Reply->Status = GScripts[AF_INET].Status;
    Reply->Address.s_addr = htonl(0x0A000007);
    Reply->RoundTripTime = 17;
    return Finish(GScripts[AF_INET]);
}

std::uint32_t Send6(THandle, THandle AEvent, void* ARoutine, void*, const sockaddr_in6* ASource,
                    const sockaddr_in6* ATo, const void* AData, std::uint16_t ASize,
                    const IP_OPTION_INFORMATION* AOptions, void* AReply, std::uint32_t AReplySize,
                    std::uint32_t ATimeout)
{
    EXPECT_TRUE(AEvent == 0 && !ARoutine && !AData && !AOptions);
    EXPECT_TRUE(IN6_IS_ADDR_UNSPECIFIED(&ASource->sin6_addr) && ASource->sin6_family == AF_INET6);
    EXPECT_EQ(AReplySize, sizeof(ICMPV6_ECHO_REPLY) + 4);
    GCalls.push_back(
        Sent("send6", ZnIPAddrToStr(reinterpret_cast<const sockaddr*>(ATo)), "", ASize, ATimeout));
    auto* const Reply = static_cast<ICMPV6_ECHO_REPLY*>(AReply);
    Reply->Status = GScripts[AF_INET6].Status;
    inet_pton(AF_INET6, "2001:db8::7", &Reply->Address.sin6_addr);
    Reply->RoundTripTime = 19;
    return Finish(GScripts[AF_INET6]);
}

class ScriptedEcho : public testing::Test
{
protected:
    ScriptedEcho()
    {
        GScripts.clear();
        GCalls.clear();
        Zn::FinalizeWinsock();
    }
    ~ScriptedEcho() override { Zn::FinalizeWinsock(); }

    std::vector<TZnExport> FFunctions{Zn::Export("IcmpCreateFile", Create4),
                                      Zn::Export("Icmp6CreateFile", Create6),
                                      Zn::Export("IcmpSendEcho", Send4), Zn::Export("Icmp6SendEcho2", Send6),
                                      Zn::Export("IcmpCloseHandle", Close)};
    using TList = std::vector<std::string>;
};

TEST_F(ScriptedEcho, SendsTheExactPayloadsAndClosesTheHandle)
{
    const TZnScopedLibrary Iphlpapi("Iphlpapi.dll", FFunctions);
    in_addr V4{};
    IN6_ADDR V6{};
    std::uint32_t Time = 0;
    EXPECT_EQ(PingV4("10.0.0.1", 250, V4, Time), prSuccess);
    EXPECT_EQ(ZnIPAddrToStr(V4), "10.0.0.7");
    EXPECT_EQ(Time, 17u);
    EXPECT_EQ(PingV6("fe80::1%1", 300, V6, Time), prSuccess);
    EXPECT_EQ(ZnIPAddrToStr(V6), "2001:db8::7");
    EXPECT_EQ(Time, 19u);
    EXPECT_EQ(GCalls, (TList{"create4", "send4 10.0.0.1 [ping] 250", "close", "create6",
                             "send6 fe80::1%1 [] 300", "close"}));
}

TEST_F(ScriptedEcho, MapsStatusesAndErrors)
{
    const TZnScopedLibrary Iphlpapi("Iphlpapi.dll", FFunctions);
    for (const TZnIPAddrType Type : {ipV4, ipV6}) {
        TScript& Script = GScripts[Type == ipV4 ? AF_INET : AF_INET6];
        const char* const Host = Type == ipV4 ? "10.0.0.1" : "::1";
        Script = {};
        for (std::uint32_t Status = 11000; Status <= 11051; ++Status) {
            Script.Status = Status;
            const int Expected =
                Status >= 11001 && Status <= 11018 ? static_cast<int>(Status) - 11000 : prGeneralFailure;
            EXPECT_EQ(Ping(Host, 1, Type), Expected) << Status;
        }
        Script.Count = 0;
        const std::pair<std::uint32_t, TPingResult> Errors[] = {{8, prBufTooSmall},
                                                                {122, prBufTooSmall},
                                                                {87, prParamProblem},
                                                                {11010, prGeneralFailure},
                                                                {5, prGeneralFailure}};
        for (const auto& [Error, Expected] : Errors) {
            Script.Error = Error;
            EXPECT_EQ(Ping(Host, 1, Type), Expected) << Error;
        }
        Script.Opens = false;
        GCalls.clear();
        EXPECT_EQ(Ping(Host, 1, Type), prGeneralFailure);
        EXPECT_EQ(GCalls.size(), 1u) << "nothing is sent or closed without a handle";
        EXPECT_EQ(Ping("no such host", 1, Type), prGeneralFailure);
        EXPECT_EQ(GCalls.size(), 1u);
    }
}

TEST_F(ScriptedEcho, TriesTheFirstTwoTypes)
{
    const TZnScopedLibrary Iphlpapi("Iphlpapi.dll", FFunctions);
    const TZnScopedLibrary Resolver("ws2_32.dll",
                                    {Zn::Export(
                                        "GetAddrInfoW", +[](const char16_t*, const char16_t*,
                                                            const ADDRINFOW* AHints, ADDRINFOW** AResult) {
                                            static sockaddr_in6 Address;
                                            static ADDRINFOW Info;
                                            Info.ai_family = AHints->ai_family;
                                            Address.sin6_family = static_cast<sa_family_t>(AHints->ai_family);
                                            Info.ai_addr = reinterpret_cast<sockaddr*>(&Address);
                                            *AResult = &Info;
                                            return 0;
                                        })});
    TZnIPAddrType Type = ipV4;
    std::string Text = "old";
    std::uint32_t Time = 5;
    GScripts[AF_INET].Status = IP_DEST_HOST_UNREACHABLE;
    EXPECT_EQ(Ping("host", 1, Type, Text, Time), prSuccess);
    EXPECT_EQ(Type, ipV6);
    EXPECT_EQ(Text, "2001:db8::7");

    const std::array FourFourSix{ipV4, ipV4, ipV6};
    GCalls.clear();
    EXPECT_EQ(Ping("host", 1, Type, Text, Time, FourFourSix), prDestHostUnreachable);
    EXPECT_EQ(Text, "");
    EXPECT_EQ(Time, 0u);
    EXPECT_EQ(GCalls.size(), 6u) << "the third is never tried";

    const std::array SixFour{ipV6, ipV4};
    GCalls.clear();
    EXPECT_EQ(Ping("host", 1, Type, Text, Time, SixFour), prSuccess);
    EXPECT_EQ(GCalls.size(), 3u) << "the first answered";
}

TEST_F(ScriptedEcho, TakesWhatIphlpapiLacksFromIcmp)
{
    const auto Only = [](std::vector<TZnExport> AAll, const char* AName) {
        std::erase_if(AAll,
                      [AName](const TZnExport& AExport) { return std::strcmp(AExport.Name, AName) != 0; });
        return AAll;
    };
    {
        const TZnScopedLibrary Iphlpapi("Iphlpapi.dll", Only(FFunctions, "IcmpSendEcho"));
        std::vector<TZnExport> Rest = FFunctions;
        Rest[2] = Zn::Export("IcmpSendEcho", Close); // never taken: there was one
        const TZnScopedLibrary Icmp("Icmp.dll", Rest);
        EXPECT_EQ(Ping("10.0.0.1", 1, ipV4), prSuccess);
        EXPECT_EQ(GCalls.size(), 3u);
        Zn::FinalizeWinsock();
    }
    // With IcmpCreateFile in the one, the other isn't asked; what is missing stays missing.
    const TZnScopedLibrary Iphlpapi("Iphlpapi.dll", Only(FFunctions, "IcmpCreateFile"));
    EXPECT_EQ(Ping("10.0.0.1", 1, ipV4), prGeneralFailure);
    EXPECT_EQ(Zn::SystemFunctions().IcmpSendEcho, nullptr);
    EXPECT_EQ(Ping("::1", 1, ipV6), prGeneralFailure);
}

} // namespace
