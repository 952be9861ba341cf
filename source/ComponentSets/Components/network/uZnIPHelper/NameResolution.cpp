#include "uZnIPHelper/NameResolution.h"

#include <array>
#include <cstring>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Text.h"
#include "platform/iphelper/AddressParse.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

/// Asks the system for AText's first address of the family that T is for.
template <typename T>
bool ResolveBySystem(const std::string& AText, int AFamily, T& AAddress)
{
    if (AText.find('\0') != std::string::npos)
        return false; // the resolver would see its front only
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    ADDRINFOW Hints{};
    Hints.ai_family = AFamily;
    ADDRINFOW* List = nullptr;
    if (Functions.GetAddrInfoW(Utf16FromUtf8(AText).c_str(), nullptr, &Hints, &List) != 0)
        return false;
    const ADDRINFOW* Entry = List;
    while (Entry && Entry->ai_family != AFamily)
        Entry = Entry->ai_next;
    if (Entry)
        std::memcpy(&AAddress, Entry->ai_addr, sizeof(AAddress));
    if (Functions.FreeAddrInfo)
        Functions.FreeAddrInfo(List);
    return Entry != nullptr;
}

bool StartsWithDigit(const std::string& AText)
{
    return AText[0] >= '0' && AText[0] <= '9';
}

[[noreturn]] void RaiseNotSupported()
{
    throw Exception("This function is not supported by your version of Windows!");
}

/// "[fe80::1]%5" and the like: takes the brackets and the scope ID off.
bool SplitScope(std::string& AText, std::int32_t& AScopeId)
{
    const std::size_t Percent = AText.find('%');
    if (Percent != std::string::npos) {
        const auto ScopeId = ZnParseInt<std::int32_t>(AText.substr(Percent + 1));
        if (!ScopeId || *ScopeId < 0)
            return false;
        AScopeId = *ScopeId;
        AText.resize(Percent);
    }
    if (AText.size() >= 2 && AText.front() == '[' && AText.back() == ']')
        AText = AText.substr(1, AText.size() - 2);
    return true;
}

std::string Resolve(const std::string& AHost, TZnIPAddrType AType)
{
    if (AType == ipV4) {
        in_addr Address;
        return ZnStrToIPAddr(AHost, Address) ? ZnIPAddrToStr(Address) : std::string();
    }
    IN6_ADDR Address;
    return ZnStrToIPAddr(AHost, Address) ? ZnIPAddrToStr(Address) : std::string();
}

} // namespace

bool ZnStrToIPAddr(const std::string& AText, in_addr& AAddress)
{
    if (AText.empty())
        return false;
    InitializeWinsock();
    AAddress = {};
    if (Zn::SystemFunctions().GetAddrInfoW) {
        // Address text means the same to every resolver, and needs none.
        if (Zn::ParseAddress(AText, AAddress) == AText.size())
            return true;
        AAddress = {};
        sockaddr_in Found;
        if (!ResolveBySystem(AText, AF_INET, Found))
            return false;
        AAddress = Found.sin_addr;
        return true;
    }
    if (!StartsWithDigit(AText))
        return false;
    const auto Parse = Zn::SystemFunctions().RtlIpv4StringToAddressW;
    if (!Parse)
        RaiseNotSupported();
    const std::u16string Text = Utf16FromUtf8(AText);
    const char16_t* End = nullptr;
    in_addr Found{};
    if (Parse(Text.c_str(), true, &End, &Found) != 0 || *End != 0)
        return false;
    AAddress = Found;
    return true;
}

bool ZnStrToIPAddr(const std::string& AText, IN6_ADDR& AAddress)
{
    std::int32_t ScopeId = 0;
    return ZnStrToIPAddr(AText, AAddress, ScopeId);
}

bool ZnStrToIPAddr(const std::string& AText, IN6_ADDR& AAddress, std::int32_t& AScopeId)
{
    if (AText.empty())
        return false;
    InitializeWinsock();
    AAddress = {};
    AScopeId = 0;
    if (Zn::SystemFunctions().GetAddrInfoW) {
        if (Zn::ParseAddress(AText, AAddress) == AText.size())
            return true;
        AAddress = {};
        sockaddr_in6 Found;
        if (!ResolveBySystem(AText, AF_INET6, Found))
            return false;
        AAddress = Found.sin6_addr;
        AScopeId = static_cast<std::int32_t>(Found.sin6_scope_id);
        return true;
    }
    if (!StartsWithDigit(AText) && AText[0] != '[')
        return false;
    const auto Parse = Zn::SystemFunctions().RtlIpv6StringToAddressW;
    if (!Parse)
        RaiseNotSupported();
    std::string Literal = AText;
    std::int32_t ScopeId = 0;
    if (!SplitScope(Literal, ScopeId))
        return false;
    const std::u16string Text = Utf16FromUtf8(Literal);
    const char16_t* End = nullptr;
    IN6_ADDR Found{};
    if (Parse(Text.c_str(), &End, &Found) != 0 || *End != 0)
        return false;
    AAddress = Found;
    AScopeId = ScopeId;
    return true;
}

std::string ZnResolveHostName(const std::string& AHost)
{
    return ZnResolveHostName(AHost, {});
}

std::string ZnResolveHostName(const std::string& AHost, std::span<const TZnIPAddrType> ATypes)
{
    if (AHost.empty())
        return {};
    static constexpr std::array cUsual{ipV4, ipV6};
    const std::span<const TZnIPAddrType> Types = ATypes.empty() ? std::span(cUsual) : ATypes;
    std::string Address = Resolve(AHost, Types[0]);
    if (Address.empty() && Types.size() > 1)
        Address = Resolve(AHost, Types[1]);
    return Address;
}
