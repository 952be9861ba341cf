#include "uZnIPHelper/AddressText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include <arpa/inet.h>

#include "ScriptedLibraries.h"
#include "common/Exceptions.h"
#include "platform/iphelper/AddressParse.h"

namespace
{

IN6_ADDR V6(const char* AText)
{
    IN6_ADDR Address{};
    EXPECT_EQ(inet_pton(AF_INET6, AText, &Address), 1) << AText;
    return Address;
}

TEST(AddressText, WritesIPv4)
{
    for (const char* Text : {"192.168.0.1", "0.0.0.0", "255.255.255.255", "9.10.99.100"}) {
        in_addr Address{};
        ASSERT_EQ(inet_pton(AF_INET, Text, &Address), 1);
        EXPECT_EQ(ZnIPAddrToStr(Address), Text);
    }
}

TEST(AddressText, WritesIPv6InItsRecommendedForm)
{
    // RFC 5952, 4.
    for (const char* Text :
         {"::", "::1", "1::", "2001:db8::1", "2001:db8:0:1:1:1:1:1", "2001:0:0:1::1", "2001:db8::1:0:0:1",
          "1:2:3:4:5:6:7:8", "0:1:2:3:4:5:6:7", "1:2:3:4:5:6:7:0", "::ffff:1.2.3.4", "::102:304",
          "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "fe80::abc"})
        EXPECT_EQ(ZnIPAddrToStr(V6(Text)), Text);
}

TEST(AddressText, TextComesBackAndAgreesWithTheSystemsReader)
{
    std::mt19937 Random(1);
    for (int Count = 0; Count < 20000; ++Count) {
        IN6_ADDR Address{};
        for (std::uint8_t& Byte : Address.s6_addr)
            Byte = Random() % 3 == 0 ? static_cast<std::uint8_t>(Random()) : 0;
        const std::string Text = ZnIPAddrToStr(Address);
        const IN6_ADDR Back = V6(Text.c_str());
        ASSERT_EQ(std::memcmp(&Back, &Address, sizeof(Back)), 0) << Text;
    }
}

TEST(AddressText, ReadsWhatTheSystemsReaderReads)
{
    // Random texts out of the characters of addresses: the two readers must agree on every one.
    constexpr std::string_view cV4 = "0125.";
    constexpr std::string_view cV6 = "01f:::.";
    std::mt19937 Random(2);
    int Taken = 0;
    for (int Count = 0; Count < 400000; ++Count) {
        const bool IsV4 = Count % 2 == 0;
        std::string Text;
        for (std::size_t Length = 1 + Random() % (IsV4 ? 9 : 20); Text.size() < Length;)
            Text.push_back(IsV4 ? cV4[Random() % cV4.size()] : cV6[Random() % cV6.size()]);
        const std::u16string Wide(Text.begin(), Text.end());
        IN6_ADDR Mine{};
        IN6_ADDR Theirs{};
        bool Read;
        if (IsV4)
            Read = Zn::ParseAddress(Wide, reinterpret_cast<in_addr&>(Mine)) == Text.size();
        else
            Read = Zn::ParseAddress(Wide, Mine) == Text.size();
        ASSERT_EQ(Read, inet_pton(IsV4 ? AF_INET : AF_INET6, Text.c_str(), &Theirs) == 1) << Text;
        if (Read) {
            ASSERT_EQ(std::memcmp(&Mine, &Theirs, IsV4 ? sizeof(in_addr) : sizeof(IN6_ADDR)), 0) << Text;
            ++Taken;
        }
    }
    EXPECT_GT(Taken, 1000);
}

TEST(AddressText, AppendsTheScopeToLinkLocalAddressesOnly)
{
    EXPECT_EQ(ZnIPAddrToStr(V6("fe80::1"), 5), "fe80::1%5");
    EXPECT_EQ(ZnIPAddrToStr(V6("fe80::1"), 0), "fe80::1");
    EXPECT_EQ(ZnIPAddrToStr(V6("fe80::1")), "fe80::1");
    EXPECT_EQ(ZnIPAddrToStr(V6("2001:db8::1"), 5), "2001:db8::1");
    EXPECT_EQ(ZnIPAddrToStr(V6("fe8::1"), 5), "fe8::1");
}

TEST(AddressText, WritesAllGroupsWhereTheSystemHasNoFunction)
{
    const Zn::TScriptedLibraries Libraries({}, {});
    EXPECT_EQ(ZnIPAddrToStr(V6("fe80::1:ab"), 7), "FE80:0000:0000:0000:0000:0000:0001:00AB%7");
}

TEST(AddressText, TakesSocketAddresses)
{
    sockaddr_in Short{};
    Short.sin_family = AF_INET;
    Short.sin_port = htons(80);
    Short.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(ZnIPAddrToStr(reinterpret_cast<const sockaddr*>(&Short)), "127.0.0.1");
    sockaddr_in6 Long{};
    Long.sin6_family = AF_INET6;
    Long.sin6_addr = V6("fe80::1");
    Long.sin6_scope_id = 3;
    EXPECT_EQ(ZnIPAddrToStr(reinterpret_cast<const sockaddr*>(&Long)), "fe80::1%3");
    Short.sin_family = AF_UNIX;
    try {
        ZnIPAddrToStr(reinterpret_cast<const sockaddr*>(&Short));
        ADD_FAILURE();
    } catch (const Exception& Failure) {
        EXPECT_EQ(Failure.Message(), "Invalid socket fammilly");
    }
}

TEST(AddressText, ValidatesIPv4)
{
    for (const char* Text : {"255.255.255.255", "0.0.0.0", "1.2.3.4"})
        EXPECT_TRUE(ZnIsValidIPV4Addr(Text)) << Text;
    for (const char* Text : {"", "1", "1.2.3", "1.2.3.", "1.2.3.4.5", "256.1.1.1", "1.2.3.-4", "1..3.4",
                             "a.b.c.d", "1.2.3.4 ", " 1.2.3.4", "localhost"})
        EXPECT_FALSE(ZnIsValidIPV4Addr(Text)) << Text;
}

} // namespace
