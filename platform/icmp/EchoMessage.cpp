#include "platform/icmp/EchoMessage.h"

namespace
{

std::uint16_t Word(std::byte AHigh, std::byte ALow)
{
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(AHigh) << 8 |
                                      std::to_integer<unsigned>(ALow));
}

void Put(std::byte* AAt, std::uint16_t AValue)
{
    AAt[0] = static_cast<std::byte>(AValue >> 8);
    AAt[1] = static_cast<std::byte>(AValue);
}

/// The sum of the 16-bit words of ABytes; an odd last byte counts as the high one of a word.
std::uint32_t SumOf(std::span<const std::byte> ABytes)
{
    std::uint32_t Sum = 0; // 32,750 words of 16 bits fit
    std::size_t Index = 0;
    for (; Index + 1 < ABytes.size(); Index += 2)
        Sum += Word(ABytes[Index], ABytes[Index + 1]);
    if (Index < ABytes.size())
        Sum += Word(ABytes[Index], std::byte{0});
    return Sum;
}

std::uint16_t Folded(std::uint32_t ASum)
{
    while (ASum >> 16)
        ASum = (ASum & 0xFFFF) + (ASum >> 16);
    return static_cast<std::uint16_t>(ASum);
}

} // namespace

std::array<std::byte, Zn::cEchoHeadSize> Zn::WriteEchoHead(const TEchoHead& AHead)
{
    std::array<std::byte, cEchoHeadSize> Head{};
    Head[0] = static_cast<std::byte>(AHead.Type);
    Head[1] = static_cast<std::byte>(AHead.Code);
    Put(&Head[4], AHead.Id);
    Put(&Head[6], AHead.Sequence);
    return Head;
}

std::array<std::byte, Zn::cEchoHeadSize> Zn::WriteEchoHead(const TEchoHead& AHead,
                                                           std::span<const std::byte> AData)
{
    std::array<std::byte, cEchoHeadSize> Head = WriteEchoHead(AHead);
    Put(&Head[2], static_cast<std::uint16_t>(~Folded(SumOf(Head) + SumOf(AData))));
    return Head;
}

std::optional<Zn::TEchoHead> Zn::ReadEchoHead(std::span<const std::byte> AMessage)
{
    if (AMessage.size() < cEchoHeadSize)
        return std::nullopt;
    return TEchoHead{std::to_integer<std::uint8_t>(AMessage[0]), std::to_integer<std::uint8_t>(AMessage[1]),
                     Word(AMessage[4], AMessage[5]), Word(AMessage[6], AMessage[7])};
}

std::span<const std::byte> Zn::BehindIPv4Header(std::span<const std::byte> APacket)
{
    if (APacket.empty())
        return {};
    const std::size_t Length = std::to_integer<std::size_t>(APacket[0] & std::byte{0x0F}) * 4;
    return Length >= 20 && Length <= APacket.size() ? APacket.subspan(Length) : std::span<const std::byte>();
}
