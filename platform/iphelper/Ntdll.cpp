#include <algorithm>
#include <charconv>
#include <string>

#include <arpa/inet.h>

#include "platform/iphelper/AddressFormat.h"
#include "platform/iphelper/AddressParse.h"
#include "platform/iphelper/Exports.h"
#include "platform/iphelper/Functions.h"

namespace
{

constexpr std::int32_t cStatusSuccess = 0;
constexpr std::int32_t cStatusInvalidParameter = static_cast<std::int32_t>(0xC000000D);

char16_t* RtlIpv4AddressToStringW(const in_addr* AAddress, char16_t* AText)
{
    char Text[Zn::cIPv4TextSize];
    char16_t* const End = std::copy(Text, Zn::FormatAddress(*AAddress, Text), AText);
    *End = 0;
    return End;
}

char16_t* RtlIpv6AddressToStringW(const IN6_ADDR* AAddress, char16_t* AText)
{
    char Text[Zn::cIPv6TextSize];
    char16_t* const End = std::copy(Text, Zn::FormatAddress(*AAddress, Text), AText);
    *End = 0;
    return End;
}

/// The older forms of an IPv4 address: fewer than four parts, octal, hexadecimal.
std::size_t ParseLoosely(std::u16string_view AText, in_addr& AAddress)
{
    constexpr std::u16string_view cAllowed = u"0123456789abcdefABCDEFxX.";
    const std::size_t Length = std::min(AText.find_first_not_of(cAllowed), AText.size());
    const std::string Text(AText.begin(), AText.begin() + static_cast<std::ptrdiff_t>(Length));
    return inet_aton(Text.c_str(), &AAddress) != 0 ? Length : 0;
}

std::int32_t RtlIpv4StringToAddressW(const char16_t* AText, bool AStrict, const char16_t** ATerminator,
                                     in_addr* AAddress)
{
    std::size_t Length = Zn::ParseAddress(AText, *AAddress);
    if (Length == 0 && !AStrict)
        Length = ParseLoosely(AText, *AAddress);
    *ATerminator = AText + Length;
    return Length > 0 ? cStatusSuccess : cStatusInvalidParameter;
}

std::int32_t RtlIpv6StringToAddressW(const char16_t* AText, const char16_t** ATerminator, IN6_ADDR* AAddress)
{
    const std::size_t Length = Zn::ParseAddress(AText, *AAddress);
    *ATerminator = AText + Length;
    return Length > 0 ? cStatusSuccess : cStatusInvalidParameter;
}

} // namespace

std::span<const TZnExport> NtdllExports()
{
    static constexpr auto Address = [](auto AFunction) { return reinterpret_cast<void*>(AFunction); };
    static const TZnExport Exports[] = {
        {"RtlIpv4AddressToStringW", Address(TRtlIpv4AddressToStringW(RtlIpv4AddressToStringW))},
        {"RtlIpv6AddressToStringW", Address(TRtlIpv6AddressToStringW(RtlIpv6AddressToStringW))},
        {"RtlIpv4StringToAddressW", Address(TRtlIpv4StringToAddressW(RtlIpv4StringToAddressW))},
        {"RtlIpv6StringToAddressW", Address(TRtlIpv6StringToAddressW(RtlIpv6StringToAddressW))},
    };
    return Exports;
}
