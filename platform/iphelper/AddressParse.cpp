#include "platform/iphelper/AddressParse.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace
{

template <typename C>
bool IsDigit(C AChar)
{
    return AChar >= '0' && AChar <= '9';
}

/// The value of each ASCII character as a hexadecimal digit; -1 for none.
constexpr std::array<std::int8_t, 128> HexDigits()
{
    std::array<std::int8_t, 128> Values;
    Values.fill(-1);
    for (std::int8_t Digit = 0; Digit < 10; ++Digit)
        Values[static_cast<std::size_t>('0' + Digit)] = Digit;
    for (std::int8_t Digit = 10; Digit < 16; ++Digit) {
        Values[static_cast<std::size_t>('a' + Digit - 10)] = Digit;
        Values[static_cast<std::size_t>('A' + Digit - 10)] = Digit;
    }
    return Values;
}

constexpr std::array<std::int8_t, 128> cHexDigits = HexDigits();

template <typename C>
int HexDigit(C AChar)
{
    const auto Index = static_cast<std::make_unsigned_t<C>>(AChar);
    return Index < cHexDigits.size() ? cHexDigits[Index] : -1;
}

/// Four decimal numbers with dots into AOut. The characters taken, 0 for no address.
template <typename C>
std::size_t ParseDotted(std::basic_string_view<C> AText, std::uint8_t* AOut)
{
    std::size_t Index = 0;
    for (int Part = 0; Part < 4; ++Part) {
        if (Part > 0) {
            if (Index >= AText.size() || AText[Index] != '.')
                return 0;
            ++Index;
        }
        unsigned Value = 0;
        const std::size_t Begin = Index;
        while (Index < AText.size() && Index - Begin < 3 && IsDigit(AText[Index]))
            Value = Value * 10 + static_cast<unsigned>(AText[Index++] - '0');
        if (Index == Begin || Value > 255 || (Index - Begin > 1 && AText[Begin] == '0'))
            return 0;
        AOut[Part] = static_cast<std::uint8_t>(Value);
    }
    return Index < AText.size() && IsDigit(AText[Index]) ? 0 : Index;
}

template <typename C>
std::size_t Parse(std::basic_string_view<C> AText, in_addr& AAddress)
{
    std::uint8_t Bytes[4];
    const std::size_t Length = ParseDotted(AText, Bytes);
    if (Length > 0)
        std::memcpy(&AAddress, Bytes, sizeof(Bytes));
    return Length;
}

template <typename C>
std::size_t Parse(std::basic_string_view<C> AText, IN6_ADDR& AAddress)
{
    std::uint8_t Bytes[16] = {};
    std::size_t Count = 0; // bytes that have been read
    std::size_t Gap = 16;  // where "::" stood, in bytes; 16 for nowhere
    std::size_t Index = 0;
    const auto At = [AText](std::size_t APosition, char AChar) {
        return APosition < AText.size() && AText[APosition] == AChar;
    };

    if (At(0, ':')) {
        if (!At(1, ':'))
            return 0;
        Gap = 0;
        Index = 2;
    }
    while (Count < 16) {
        unsigned Group = 0;
        const std::size_t Begin = Index;
        for (int Digit; Index < AText.size() && Index - Begin < 4; ++Index) {
            if ((Digit = HexDigit(AText[Index])) < 0)
                break;
            Group = Group << 4 | static_cast<unsigned>(Digit);
        }
        if (Index == Begin) {
            if (Gap == Count)
                break; // the text ends in "::"
            return 0;
        }
        if (At(Index, '.') && Count <= 12) {
            // What looked like a group may be an IPv4 address, for the last four bytes.
            if (const std::size_t Dotted = ParseDotted(AText.substr(Begin), Bytes + Count)) {
                Count += 4;
                Index = Begin + Dotted;
                break;
            }
        }
        Bytes[Count++] = static_cast<std::uint8_t>(Group >> 8);
        Bytes[Count++] = static_cast<std::uint8_t>(Group & 0xFF);
        if (!At(Index, ':') || Count == 16)
            break;
        if (At(Index + 1, ':')) {
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

} // namespace

std::size_t Zn::ParseAddress(std::string_view AText, in_addr& AAddress)
{
    return Parse(AText, AAddress);
}

std::size_t Zn::ParseAddress(std::string_view AText, IN6_ADDR& AAddress)
{
    return Parse(AText, AAddress);
}

std::size_t Zn::ParseAddress(std::u16string_view AText, in_addr& AAddress)
{
    return Parse(AText, AAddress);
}

std::size_t Zn::ParseAddress(std::u16string_view AText, IN6_ADDR& AAddress)
{
    return Parse(AText, AAddress);
}
