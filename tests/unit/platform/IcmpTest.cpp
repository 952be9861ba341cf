#include "platform/icmp/EchoMessage.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/errors/Errors.h"
#include "platform/icmp/Icmp.h"
#include "platform/icmp/Statuses.h"

namespace
{

std::span<const std::byte> Bytes(std::string_view AText)
{
    return std::as_bytes(std::span(AText));
}

TEST(EchoMessage, WritesHeadWithChecksum)
{
    // Computed by hand: the words 0800, 1234, 0001 and those of the data; the one's complement of their sum.
    const auto Even = Zn::WriteEchoHead({8, 0, 0x1234, 1}, Bytes("ping"));
    const unsigned char Expected[] = {8, 0, 0x06, 0xFA, 0x12, 0x34, 0, 1};
    EXPECT_EQ(std::memcmp(Even.data(), Expected, sizeof(Expected)), 0);
    // An odd last byte is the high one of its word, and a carry out of the sum is added to it.
    const auto Odd = Zn::WriteEchoHead({8, 0, 0xFFFF, 0xFFFF}, Bytes("abc"));
    EXPECT_EQ(std::to_integer<int>(Odd[2]), 0x33);
    EXPECT_EQ(std::to_integer<int>(Odd[3]), 0x9D);
}

TEST(EchoMessage, ReadsWhatIsWhole)
{
    const auto Head = Zn::ReadEchoHead(Bytes(std::string_view("\x81\x02\0\0\xAB\xCD\x01\x02rest", 12)));
    ASSERT_TRUE(Head);
    EXPECT_EQ(Head->Type, 0x81);
    EXPECT_EQ(Head->Code, 2);
    EXPECT_EQ(Head->Id, 0xABCD);
    EXPECT_EQ(Head->Sequence, 0x0102);
    EXPECT_FALSE(Zn::ReadEchoHead(Bytes("1234567")));

    const std::string Packet = "\x46" + std::string(23, 'h') + "message";
    EXPECT_EQ(Zn::BehindIPv4Header(Bytes(Packet)).size(), 7u);
    for (const std::string_view Bad : {std::string_view(), std::string_view("\x44xxxxxxxxxxxxxxxxxxx"),
                                       std::string_view("\x4Fxxxxxxxxxxxxxxxxxxxxx")})
        EXPECT_TRUE(Zn::BehindIPv4Header(Bytes(Bad)).empty());
}

TEST(EchoStatus, TellsTheKindsApart)
{
    struct TRow
    {
        std::uint8_t Type, Code;
        std::uint32_t Status;
    };
    for (const auto& [Type, Code, Status] :
         {TRow{3, 0, 11002}, TRow{3, 6, 11002}, TRow{3, 1, 11003}, TRow{3, 13, 11003}, TRow{3, 2, 11004},
          TRow{3, 3, 11005}, TRow{3, 4, 11009}, TRow{3, 5, 11012}, TRow{4, 0, 11016}, TRow{11, 0, 11013},
          TRow{11, 1, 11014}, TRow{12, 0, 11015}, TRow{5, 0, 11050}})
        EXPECT_EQ(Zn::StatusOfIcmpError(Type, Code), Status) << int{Type} << "/" << int{Code};
    for (const auto& [Type, Code, Status] :
         {TRow{1, 0, 11002}, TRow{1, 1, 11003}, TRow{1, 2, 11002}, TRow{1, 3, 11003}, TRow{1, 4, 11005},
          TRow{1, 6, 11002}, TRow{2, 0, 11009}, TRow{3, 0, 11013}, TRow{3, 1, 11014}, TRow{4, 0, 11015},
          TRow{4, 1, 11004}, TRow{137, 0, 11050}})
        EXPECT_EQ(Zn::StatusOfIcmp6Error(Type, Code), Status) << int{Type} << "/" << int{Code};
}

} // namespace
