#include "platform/iphelper/AddressFormat.h"

#include <cstdint>
#include <cstring>

namespace
{

char* PutDecimal(std::uint8_t AValue, char* AText)
{
    if (AValue >= 100)
        *AText++ = static_cast<char>('0' + AValue / 100);
    if (AValue >= 10)
        *AText++ = static_cast<char>('0' + AValue / 10 % 10);
    *AText++ = static_cast<char>('0' + AValue % 10);
    return AText;
}

char* PutDotted(const std::uint8_t* ABytes, char* AText)
{
    for (int Index = 0; Index < 4; ++Index) {
        if (Index > 0)
            *AText++ = '.';
        AText = PutDecimal(ABytes[Index], AText);
    }
    return AText;
}

/// Without leading zeros.
char* PutHex(unsigned AGroup, char* AText)
{
    static constexpr char cDigits[] = "0123456789abcdef";
    for (int Shift = AGroup >= 0x1000  ? 12
                     : AGroup >= 0x100 ? 8
                     : AGroup >= 0x10  ? 4
                                       : 0;
         Shift >= 0; Shift -= 4)
        *AText++ = cDigits[AGroup >> Shift & 0x0F];
    return AText;
}

struct TRun
{
    int Begin = -1;
    int Length = 0;
};

/// The first of the longest runs of zero groups; one group alone isn't shortened (RFC 5952, 4.2).
TRun LongestZeroRun(const unsigned (&AGroups)[8])
{
    TRun Longest;
    TRun Present;
    for (int Index = 0; Index < 8; ++Index) {
        if (AGroups[Index] != 0) {
            Present.Length = 0;
            continue;
        }
        if (Present.Length++ == 0)
            Present.Begin = Index;
        if (Present.Length > Longest.Length)
            Longest = Present;
    }
    return Longest.Length > 1 ? Longest : TRun();
}

} // namespace

char* Zn::FormatAddress(const in_addr& AAddress, char* AText)
{
    std::uint8_t Bytes[4];
    std::memcpy(Bytes, &AAddress, sizeof(Bytes));
    return PutDotted(Bytes, AText);
}

char* Zn::FormatAddress(const IN6_ADDR& AAddress, char* AText)
{
    unsigned Groups[8];
    for (int Index = 0; Index < 8; ++Index)
        Groups[Index] = AAddress.s6_addr[Index * 2] * 256u + AAddress.s6_addr[Index * 2 + 1];

    const TRun Zeros = LongestZeroRun(Groups);
    const bool Mapped = Zeros.Begin == 0 && Zeros.Length == 5 && Groups[5] == 0xFFFF;
    const int Count = Mapped ? 6 : 8;
    for (int Index = 0; Index < Count;) {
        if (Index == Zeros.Begin) {
            *AText++ = ':';
            *AText++ = ':';
            Index += Zeros.Length;
            continue;
        }
        if (Index > 0 && Index != Zeros.Begin + Zeros.Length)
            *AText++ = ':';
        AText = PutHex(Groups[Index++], AText);
    }
    if (Mapped) {
        *AText++ = ':';
        AText = PutDotted(AAddress.s6_addr + 12, AText);
    }
    return AText;
}
