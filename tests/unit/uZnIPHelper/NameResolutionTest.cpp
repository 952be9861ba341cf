#include "uZnIPHelper/NameResolution.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include <arpa/inet.h>

#include "ScriptedLibraries.h"
#include "common/Exceptions.h"

namespace
{

// Names that the scripted resolver knows: text to the addresses in the order of its list.
std::map<std::u16string, std::vector<std::string>> GHosts;
std::vector<std::string> GAsked; // "family name"
int GListsOpen = 0;

int ScriptedGetAddrInfo(const char16_t* AName, const char16_t* AService, const ADDRINFOW* AHints,
                        ADDRINFOW** AResult)
{
    const std::u16string Name(AName);
    GAsked.push_back(std::string(AHints->ai_family == AF_INET ? "4 " : "6 ") +
                     std::string(Name.begin(), Name.end()));
    EXPECT_EQ(AService, nullptr);
    const auto Found = GHosts.find(Name);
    if (Found == GHosts.end())
        return 11001;
    *AResult = nullptr;
    ADDRINFOW** Last = AResult;
    for (const std::string& Text : Found->second) {
        auto* const Node = new ADDRINFOW{};
        auto* const Address = new sockaddr_storage{};
        const bool IsV4 = Text.find(':') == std::string::npos;
        Address->ss_family = IsV4 ? AF_INET : AF_INET6;
        auto* const V6 = reinterpret_cast<sockaddr_in6*>(Address);
        if (IsV4) {
            inet_pton(AF_INET, Text.c_str(), &reinterpret_cast<sockaddr_in*>(Address)->sin_addr);
        } else {
            inet_pton(AF_INET6, Text.c_str(), &V6->sin6_addr);
            V6->sin6_scope_id = 4;
        }
        Node->ai_family = Address->ss_family;
        Node->ai_addr = reinterpret_cast<sockaddr*>(Address);
        *Last = Node;
        Last = &Node->ai_next;
    }
    ++GListsOpen;
    return 0;
}

void ScriptedFreeAddrInfo(ADDRINFOW* AInfo)
{
    --GListsOpen;
    while (AInfo) {
        ADDRINFOW* const Next = AInfo->ai_next;
        delete reinterpret_cast<sockaddr_storage*>(AInfo->ai_addr);
        delete AInfo;
        AInfo = Next;
    }
}

class ScriptedResolver : public testing::Test
{
protected:
    ScriptedResolver()
    {
        GHosts.clear();
        GAsked.clear();
        GListsOpen = 0;
    }
    ~ScriptedResolver() override { EXPECT_EQ(GListsOpen, 0) << "every list is given back"; }

    Zn::TScriptedLibraries FLibraries{
        {Zn::Export("GetAddrInfoW", ScriptedGetAddrInfo), Zn::Export("freeaddrinfo", ScriptedFreeAddrInfo)},
        {}};
};

TEST_F(ScriptedResolver, TakesTheFirstAddressOfTheFamily)
{
    GHosts[u"both"] = {"::1", "10.0.0.1", "10.0.0.2"};
    GHosts[u"six"] = {"::1"};
    in_addr V4{};
    IN6_ADDR V6{};
    std::int32_t Scope = 0;
    EXPECT_TRUE(ZnStrToIPAddr("both", V4));
    EXPECT_EQ(ZnIPAddrToStr(V4), "10.0.0.1");
    EXPECT_TRUE(ZnStrToIPAddr("both", V6, Scope));
    EXPECT_EQ(Scope, 4);
    EXPECT_FALSE(ZnStrToIPAddr("six", V4));
    EXPECT_EQ(V4.s_addr, 0u) << "zero where there is none";
    V4.s_addr = 7;
    Scope = 9;
    EXPECT_FALSE(ZnStrToIPAddr("absent", V4));
    EXPECT_EQ(V4.s_addr, 0u);
    EXPECT_FALSE(ZnStrToIPAddr("absent", V6, Scope));
    EXPECT_EQ(Scope, 0);
    V4.s_addr = 7;
    GAsked.clear();
    EXPECT_FALSE(ZnStrToIPAddr("", V4));
    EXPECT_EQ(V4.s_addr, 7u) << "untouched for no text";
    EXPECT_TRUE(GAsked.empty());
}

TEST_F(ScriptedResolver, TriesTheTypesInTheirOrder)
{
    GHosts[u"six"] = {"fe80::1"};
    using TList = std::vector<std::string>;
    const char* const Long = "FE80:0000:0000:0000:0000:0000:0000:0001";
    const TZnIPAddrType Six[] = {ipV6};
    const TZnIPAddrType FourFourSix[] = {ipV4, ipV4, ipV6};
    const TZnIPAddrType SixFour[] = {ipV6, ipV4};
    EXPECT_EQ(ZnResolveHostName("six"), Long) << "the scope is left out";
    EXPECT_EQ(ZnResolveHostName("six", Six), Long);
    EXPECT_EQ(GAsked, (TList{"4 six", "6 six", "6 six"}));
    GAsked.clear();
    EXPECT_EQ(ZnResolveHostName("six", FourFourSix), "");
    EXPECT_EQ(GAsked, (TList{"4 six", "4 six"})) << "the third is never tried";
    GAsked.clear();
    EXPECT_EQ(ZnResolveHostName("six", SixFour), Long);
    EXPECT_EQ(GAsked, TList{"6 six"});
    GAsked.clear();
    EXPECT_EQ(ZnResolveHostName(""), "");
    EXPECT_TRUE(GAsked.empty());
}

TEST(NameResolution, AsksTheSystem)
{
    in_addr V4{};
    IN6_ADDR V6{};
    std::int32_t Scope = 0;
    EXPECT_TRUE(ZnStrToIPAddr("127.0.0.1", V4));
    EXPECT_EQ(ntohl(V4.s_addr), 0x7F000001u);
    EXPECT_TRUE(ZnStrToIPAddr("2001:db8::1", V6));
    EXPECT_EQ(ZnIPAddrToStr(V6), "2001:db8::1");
    EXPECT_TRUE(ZnStrToIPAddr("fe80::1%7", V6, Scope));
    EXPECT_EQ(Scope, 7);
    EXPECT_EQ(ZnResolveHostName("localhost").substr(0, 4), "127.");
    EXPECT_FALSE(ZnStrToIPAddr("not a name", V4));
    EXPECT_FALSE(ZnStrToIPAddr(std::string("localhost\0x", 11), V4));
    EXPECT_FALSE(ZnStrToIPAddr("::1", V4)) << "the other family";
    EXPECT_FALSE(ZnStrToIPAddr("127.0.0.1", V6));
}

/// Ntdll's readers are built in; the resolver is not there.
TEST(NameResolution, FallsBackToTheReadersOfAddressText)
{
    InitializeWinsock();
    const Zn::TSystemFunctions Real = Zn::SystemFunctions();
    const Zn::TScriptedLibraries Libraries(
        {}, {Zn::Export("RtlIpv4StringToAddressW", Real.RtlIpv4StringToAddressW),
             Zn::Export("RtlIpv6StringToAddressW", Real.RtlIpv6StringToAddressW)});
    in_addr V4{};
    IN6_ADDR V6{};
    std::int32_t Scope = 0;
    EXPECT_TRUE(ZnStrToIPAddr("10.1.2.3", V4));
    EXPECT_EQ(ZnIPAddrToStr(V4), "10.1.2.3");
    for (const char* Text : {"localhost", "10.1.2", "10.1.2.3.4", "10.1.2.03", "10.1.2.3 "}) {
        EXPECT_FALSE(ZnStrToIPAddr(Text, V4)) << Text;
        EXPECT_EQ(V4.s_addr, 0u) << Text;
    }
    EXPECT_TRUE(ZnStrToIPAddr("[2001:db8::1]", V6, Scope));
    EXPECT_TRUE(ZnStrToIPAddr("1::2%9", V6, Scope));
    EXPECT_EQ(Scope, 9);
    for (const char* Text : {"fe80::1", "[1::2", "1::2%", "1::2%x", "1::2::3", "localhost"})
        EXPECT_FALSE(ZnStrToIPAddr(Text, V6, Scope)) << Text;
}

TEST(NameResolution, RaisesWhereTheSystemHasNoReader)
{
    const Zn::TScriptedLibraries Libraries({}, {});
    in_addr V4{};
    IN6_ADDR V6{};
    EXPECT_FALSE(ZnStrToIPAddr("localhost", V4));
    for (int Family : {AF_INET, AF_INET6}) {
        try {
            Family == AF_INET ? ZnStrToIPAddr("1.2.3.4", V4) : ZnStrToIPAddr("[::1]", V6);
            ADD_FAILURE();
        } catch (const Exception& Failure) {
            EXPECT_EQ(Failure.Message(), "This function is not supported by your version of Windows!");
        }
    }
}

} // namespace
