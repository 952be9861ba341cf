#include "uZnIPHelper/SystemFunctions.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include <arpa/inet.h>

#include "ScriptedLibraries.h"

namespace
{

TEST(SystemFunctions, AreFoundOnceAndFreedAtTheEnd)
{
    Zn::FinalizeWinsock();
    EXPECT_EQ(Zn::SystemFunctions().GetAddrInfoW, nullptr);
    std::vector<std::thread> Threads;
    for (int Index = 0; Index < 4; ++Index)
        Threads.emplace_back([] {
            for (int Count = 0; Count < 1000; ++Count) {
                InitializeWinsock();
                EXPECT_NE(Zn::SystemFunctions().ConvertLengthToIpv4Mask, nullptr);
            }
        });
    for (std::thread& Thread : Threads)
        Thread.join();
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    EXPECT_TRUE(Functions.GetAddrInfoW && Functions.FreeAddrInfo && Functions.RtlIpv4AddressToStringW &&
                Functions.RtlIpv6AddressToStringW && Functions.RtlIpv4StringToAddressW &&
                Functions.RtlIpv6StringToAddressW);
}

TEST(SystemFunctions, MissingOnesStayNil)
{
    const Zn::TScriptedLibraries Libraries({}, {});
    InitializeWinsock();
    EXPECT_EQ(Zn::SystemFunctions().GetAddrInfoW, nullptr);
    EXPECT_EQ(Zn::SystemFunctions().RtlIpv6AddressToStringW, nullptr);
    EXPECT_NE(Zn::SystemFunctions().ConvertLengthToIpv4Mask, nullptr) << "the other library is the system's";
}

TEST(SystemFunctions, IPv4TextAndMasks)
{
    InitializeWinsock();
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    const in_addr Address{htonl(0x0A00FF01)};
    char16_t Text[16];
    EXPECT_EQ(std::u16string(Text, Functions.RtlIpv4AddressToStringW(&Address, Text)), u"10.0.255.1");
    EXPECT_EQ(*Functions.RtlIpv4AddressToStringW(&Address, Text), 0);

    const char16_t* End = nullptr;
    in_addr Read{};
    EXPECT_EQ(Functions.RtlIpv4StringToAddressW(u"0x7f.1:80", false, &End, &Read), 0);
    EXPECT_EQ(std::u16string(End), u":80");
    EXPECT_EQ(ntohl(Read.s_addr), 0x7F000001u);
    EXPECT_NE(Functions.RtlIpv4StringToAddressW(u"0x7f.1", true, &End, &Read), 0);

    const std::pair<std::uint32_t, std::uint32_t> Masks[] = {
        {0, 0}, {1, 0x80000000}, {24, 0xFFFFFF00}, {32, 0xFFFFFFFF}};
    for (const auto& [Length, Mask] : Masks) {
        std::uint32_t Found = 1;
        EXPECT_EQ(Functions.ConvertLengthToIpv4Mask(Length, &Found), 0u);
        EXPECT_EQ(ntohl(Found), Mask) << Length;
    }
    std::uint32_t Found = 0;
    EXPECT_EQ(Functions.ConvertLengthToIpv4Mask(33, &Found), 87u);
}

} // namespace
