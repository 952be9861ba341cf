#include "platform/iphelper/AddressParse.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace
{

bool IsDigit(char16_t AChar)
{
    return AChar >= u'0' && AChar <= u'9';
}

int HexDigit(char16_t AChar)
{
    if (IsDigit(AChar))
        return AChar - u'0';
    const char16_t Lower = AChar | 0x20;
    return Lower >= u'a' && Lower <= u'f' ? Lower - u'a' + 10 : -1;
}

/// Four decimal numbers with dots into AOut. The characters taken, 0 for no address.
std::size_t ParseDotted(std::u16string_view AText, std::uint8_t* AOut)
{
    std::size_t Index = 0;
    for (int Part = 0; Part < 4; ++Part) {
        if (Part > 0) {
            if (Index >= AText.size() || AText[Index] != u'.')
                return 0;
            ++Index;
        }
        unsigned Value = 0;
        const std::size_t Begin = Index;
        while (Index < AText.size() && Index - Begin < 3 && IsDigit(AText[Index]))
            Value = Value * 10 + (AText[Index++] - u'0');
        if (Index == Begin || Value > 255 || (Index - Begin > 1 && AText[Begin] == u'0'))
            return 0;
        AOut[Part] = static_cast<std::uint8_t>(Value);
    }
    return Index < AText.size() && IsDigit(AText[Index]) ? 0 : Index;
}

} // namespace

std::size_t Zn::ParseAddress(std::u16string_view AText, in_addr& AAddress)
{
    std::uint8_t Bytes[4];
    const std::size_t Length = ParseDotted(AText, Bytes);
    if (Length > 0)
        std::memcpy(&AAddress, Bytes, sizeof(Bytes));
    return Length;
}

std::size_t Zn::ParseAddress(std::u16string_view AText, IN6_ADDR& AAddress)
{
    std::uint8_t Bytes[16] = {};
    std::size_t Count = 0; // bytes that have been read
    std::size_t Gap = 16;  // where "::" stood, in bytes; 16 for nowhere
    std::size_t Index = 0;
    const auto At = [AText](std::size_t APosition, char16_t AChar) {
        return APosition < AText.size() && AText[APosition] == AChar;
    };

    if (At(0, u':')) {
        if (!At(1, u':'))
            return 0;
        Gap = 0;
        Index = 2;
    }
    while (Count < 16) {
        // An IPv4 address may stand in the last four bytes.
        const std::size_t Dotted = Count <= 12 ? ParseDotted(AText.substr(Index), Bytes + Count) : 0;
        if (Dotted > 0) {
            Count += 4;
            Index += Dotted;
            break;
        }
        unsigned Group = 0;
        const std::size_t Begin = Index;
        while (Index < AText.size() && Index - Begin < 4 && HexDigit(AText[Index]) >= 0)
            Group = Group << 4 | static_cast<unsigned>(HexDigit(AText[Index++]));
        if (Index == Begin) {
            if (Gap == Count)
                break; // the text ends in "::"
            return 0;
        }
        Bytes[Count++] = static_cast<std::uint8_t>(Group >> 8);
        Bytes[Count++] = static_cast<std::uint8_t>(Group & 0xFF);
        if (!At(Index, u':') || Count == 16)
            break;
        if (At(Index + 1, u':')) {
            if (Gap != 16)
                break; // a second "::" is no part of the address
            Gap = Count;
            Index += 2;
        } else {
            ++Index;
        }
    }
    if (Gap == 16 && Count != 16)
        return 0;
    if (Gap != 16) {
        if (Count > 14)
            return 0; // "::" stands for one group of zeros at least
        std::copy_backward(Bytes + Gap, Bytes + Count, Bytes + 16);
        std::fill(Bytes + Gap, Bytes + 16 - (Count - Gap), std::uint8_t{0});
    }
    std::memcpy(&AAddress, Bytes, sizeof(Bytes));
    return Index;
}
