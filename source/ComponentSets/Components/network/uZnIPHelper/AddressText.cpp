#include "uZnIPHelper/AddressText.h"

#include <cstring>

#include "common/Exceptions.h"
#include "common/Text.h"
#include "platform/iphelper/AddressFormat.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

/// For a system without a function of its own: eight groups of four digits, nothing shortened.
std::string AllGroups(const IN6_ADDR& AAddress)
{
    static constexpr char cDigits[] = "0123456789ABCDEF";
    std::string Text;
    for (int Index = 0; Index < 16; ++Index) {
        if (Index > 0 && Index % 2 == 0)
            Text.push_back(':');
        Text.push_back(cDigits[AAddress.s6_addr[Index] >> 4]);
        Text.push_back(cDigits[AAddress.s6_addr[Index] & 0x0F]);
    }
    return Text;
}

/// A copy, since the bytes of a socket address need not be aligned for it.
template <typename T>
T CopyOf(const sockaddr* AAddress)
{
    T Result;
    std::memcpy(&Result, AAddress, sizeof(Result));
    return Result;
}

} // namespace

std::string ZnIPAddrToStr(const in_addr& AAddress)
{
    char Text[Zn::cIPv4TextSize];
    return std::string(Text, Zn::FormatAddress(AAddress, Text));
}

std::string ZnIPAddrToStr(const IN6_ADDR& AAddress)
{
    return ZnIPAddrToStr(AAddress, 0);
}

std::string ZnIPAddrToStr(const IN6_ADDR& AAddress, std::int32_t AScopeId)
{
    InitializeWinsock();
    std::string Text;
    if (const auto ToString = Zn::SystemFunctions().RtlIpv6AddressToStringW) {
        char16_t Buffer[Zn::cIPv6TextSize + 1];
        const char16_t* const Begin = Buffer;
        const char16_t* const End = ToString(&AAddress, Buffer);
        Text.assign(Begin, End); // ASCII
    } else {
        Text = AllGroups(AAddress);
    }
    if (AScopeId != 0 && StartsText("fe80:", Text))
        Text.append("%").append(std::to_string(AScopeId));
    return Text;
}

std::string ZnIPAddrToStr(const sockaddr* AAddress)
{
    InitializeWinsock();
    switch (AAddress->sa_family) {
    case AF_INET:
        return ZnIPAddrToStr(CopyOf<sockaddr_in>(AAddress).sin_addr);
    case AF_INET6: {
        const auto Address = CopyOf<sockaddr_in6>(AAddress);
        return ZnIPAddrToStr(Address.sin6_addr, static_cast<std::int32_t>(Address.sin6_scope_id));
    }
    default:
        throw Exception("Invalid socket fammilly");
    }
}

bool ZnIsValidIPV4Addr(const std::string& AAddress)
{
    std::string_view Rest = AAddress;
    for (int Part = 0; Part < 4; ++Part) {
        // The fourth part is all that is left, a further dot included.
        const std::size_t End = Part < 3 ? Rest.find('.') : Rest.size();
        if (End == std::string_view::npos || !ZnParseInt<std::uint8_t>(Rest.substr(0, End)))
            return false;
        Rest.remove_prefix(Part < 3 ? End + 1 : End);
    }
    return true;
}
