#include "platform/iphelper/InterfaceTable.h"

#include <gtest/gtest.h>

#include <random>

#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

#include "platform/iphelper/NameServers.h"

namespace
{

using TBytes = std::vector<std::byte>;

template <typename T>
void Append(TBytes& ABytes, const T& AValue)
{
    const auto* const Data = reinterpret_cast<const std::byte*>(&AValue);
    ABytes.insert(ABytes.end(), Data, Data + sizeof(T));
    ABytes.resize((ABytes.size() + 3) / 4 * 4);
}

template <typename T>
void AppendAttribute(TBytes& ABytes, std::uint16_t AType, const T& AValue)
{
    Append(ABytes, rtattr{static_cast<unsigned short>(sizeof(rtattr) + sizeof(T)), AType});
    Append(ABytes, AValue);
}

Zn::TLink Link(int AIndex, const char* AName, std::uint32_t AFlags)
{
    Zn::TLink Result;
    Result.Index = AIndex;
    Result.Name = AName;
    Result.Flags = AFlags;
    Result.HasIPv4 = true;
    return Result;
}

constexpr std::uint32_t cUp = 1U | 1U << 16; // up, with a carrier

std::string TextOf(const Zn::TInterfaceTable::TChanges& AChanges)
{
    std::string Text;
    for (const Zn::TInterfaceChange& Change : AChanges)
        Text += std::to_string(Change.Row.InterfaceIndex) + (Change.Row.Family == AF_INET ? "v4" : "v6") +
                "?+-!"[Change.Type] + (Change.Row.Connected ? "up " : "down ");
    return Text;
}

TEST(InterfaceTable, TellsWhatDiffersBetweenReadings)
{
    Zn::TInterfaceTable Table;
    Zn::TSnapshot Snapshot;
    Snapshot.Links = {Link(1, "lo", cUp), Link(2, "eth0", 0)};
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "1v4+up 2v4+down ");
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "") << "nothing differs";
    Snapshot.Links[1].Flags = cUp;
    Snapshot.Links[1].HasIPv6 = true;
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "2v4?up 2v6+up ");
    Snapshot.Addresses = {{2, {AF_INET6, {0xFD}}, 64, 0, IFA_F_TENTATIVE}};
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "2v6?up ");
    Snapshot.Addresses[0].Flags = 0; // nobody else has it: no news
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "");
    Snapshot.Gateways = {{2, {AF_INET, {10}}, 5}};
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "2v4?up ");
    Snapshot.Links = {Link(3, "eth1", cUp)};
    EXPECT_EQ(TextOf(Table.Replace(Snapshot)), "1v4-down 2v4-down 2v6-down 3v4+up ");
}

TEST(InterfaceTable, AppliesMessages)
{
    Zn::TInterfaceTable Table;
    Zn::TSnapshot Snapshot;
    Snapshot.Links = {Link(2, "eth0", cUp), Link(3, "eth1", cUp)};
    Table.Replace(Snapshot);
    TBytes Address;
    Append(Address, ifaddrmsg{AF_INET, 24, IFA_F_PERMANENT, 0, 2});
    AppendAttribute(Address, IFA_LOCAL, in_addr{7});
    EXPECT_EQ(TextOf(Table.Apply({RTM_NEWADDR, 0, Address})), "2v4?up ");
    EXPECT_EQ(TextOf(Table.Apply({RTM_NEWADDR, 0, Address})), "") << "known";
    EXPECT_EQ(TextOf(Table.Apply({RTM_DELADDR, 0, Address})), "2v4?up ");
    EXPECT_EQ(TextOf(Table.Apply({RTM_DELADDR, 0, Address})), "");

    const auto Route = [](int AIndex, std::uint32_t AGateway) {
        TBytes Bytes;
        Append(Bytes, rtmsg{AF_INET, 0, 0, 0, RT_TABLE_MAIN, 0, 0, RTN_UNICAST, 0});
        AppendAttribute(Bytes, RTA_OIF, AIndex);
        AppendAttribute(Bytes, RTA_GATEWAY, AGateway);
        return Bytes;
    };
    EXPECT_EQ(TextOf(Table.Apply({RTM_NEWROUTE, 0, Route(2, 9)})), "2v4?up ");
    EXPECT_EQ(TextOf(Table.Apply({RTM_NEWROUTE, NLM_F_REPLACE, Route(3, 8)})), "2v4?up 3v4?up ");
    EXPECT_EQ(TextOf(Table.Apply({RTM_NEWROUTE, 0, Route(2, 9)})), "2v4?up ")
        << "it was replaced, so it is new";

    TBytes Port;
    Append(Port, ifinfomsg{AF_BRIDGE, 0, 0, 2, 0, 0});
    EXPECT_EQ(TextOf(Table.Apply({RTM_DELLINK, 0, Port})), "") << "it left a bridge, and stays";
    TBytes Gone;
    Append(Gone, ifinfomsg{AF_UNSPEC, 0, 0, 2, 0, 0});
    EXPECT_EQ(TextOf(Table.Apply({RTM_DELLINK, 0, Gone})), "2v4-down ");
    EXPECT_EQ(TextOf(Table.Apply({RTM_NEWADDR, 0, Address})), "") << "of an interface that is gone";
}

/// Cut and bent messages are read without a step beyond their bytes (the sanitizers watch).
TEST(InterfaceTable, SurvivesDamagedMessages)
{
    std::mt19937 Random(3);
    Zn::TInterfaceTable Table;
    const std::uint16_t Types[] = {RTM_NEWLINK,  RTM_DELLINK,  RTM_NEWADDR, RTM_DELADDR,
                                   RTM_NEWROUTE, RTM_DELROUTE, 99};
    for (int Count = 0; Count < 20000; ++Count) {
        TBytes Bytes(Random() % 80);
        for (std::byte& Byte : Bytes)
            Byte =
                Random() % 3 == 0 ? static_cast<std::byte>(Random()) : static_cast<std::byte>(Random() % 20);
        const TBytes Exact(Bytes); // no room behind it
        Table.Apply({Types[Random() % std::size(Types)], 0, Exact});
        std::span<const std::byte> List(Exact);
        std::size_t Left = List.size() + 1;
        while (Zn::NextMessage(List)) {
            ASSERT_LT(List.size(), Left);
            Left = List.size();
        }
    }
}

TEST(NameServers, AreReadFromResolvConf)
{
    const std::vector<Zn::TLink> Links = {Link(4, "eth0", cUp)};
    const auto Servers = Zn::ParseResolvConf("# nameserver 1.1.1.1\nnameserver 10.0.0.1\r\nsearch x\n"
                                             "nameserver\tfe80::1%eth0\nnameserver fe80::2%9 # there\n"
                                             "nameservers 10.0.0.9\nnameserver\nnameserver 1.2.3\n"
                                             "nameserver fe80::3%nowhere\nnameserver 2001:db8::1",
                                             Links);
    ASSERT_EQ(Servers.size(), 5u);
    const int Indexes[] = {0, 4, 9, 0, 0};
    for (std::size_t Index = 0; Index < std::size(Indexes); ++Index)
        EXPECT_EQ(Servers[Index].Index, Indexes[Index]) << Index;
    EXPECT_TRUE(Zn::ParseResolvConf("", Links).empty());
}

TEST(NameServers, GoToTheInterfacesThatReachThem)
{
    const Zn::TAnyAddress Server{AF_INET, {10, 1, 2, 3}};
    const std::vector<Zn::TNameServer> Servers = {{0, Server}, {0, Server}, {3, {AF_INET6, {0xFE, 0x80}}}};
    Zn::TSnapshot Snapshot;
    Snapshot.Addresses = {{2, {AF_INET, {10, 1, 0, 1}}, 22, 0, 0}, {4, {AF_INET, {10, 1, 4, 1}}, 22, 0, 0}};
    EXPECT_EQ(Zn::NameServersOf(2, Servers, Snapshot).size(), 1u) << "by its prefix, and once";
    EXPECT_EQ(Zn::NameServersOf(4, Servers, Snapshot).size(), 0u);
    EXPECT_EQ(Zn::NameServersOf(3, Servers, Snapshot).size(), 1u) << "by its scope";
    Snapshot.Gateways = {{4, {AF_INET, {10, 1, 4, 9}}, 0}};
    EXPECT_EQ(Zn::NameServersOf(2, Servers, Snapshot).size(), 0u);
    EXPECT_EQ(Zn::NameServersOf(4, Servers, Snapshot).size(), 1u) << "by the way out";
}

} // namespace
