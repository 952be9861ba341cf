#include <algorithm>
#include <cstdio>

#include "common/StringList.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/network/Network.h"

namespace Zn
{

namespace
{

bool Includes(const TFamilies& AFamilies, TZnIPAddrType AType)
{
    return AFamilies.empty() || std::find(AFamilies.begin(), AFamilies.end(), AType) != AFamilies.end();
}

/// 12 hexadecimal digits, or six pairs with ":", "-" or "." between. The library takes more for zeros.
bool IsMacAddress(const std::string& AText)
{
    const bool IsPlain = AText.size() == 12;
    if (!IsPlain && AText.size() != 17)
        return false;
    for (std::size_t Index = 0; Index < AText.size(); ++Index) {
        const bool IsSeparator = !IsPlain && Index % 3 == 2;
        const char* const Allowed = IsSeparator ? ":-." : "0123456789abcdefABCDEF";
        if (std::string_view(Allowed).find(AText[Index]) == std::string_view::npos)
            return false;
    }
    return true;
}

} // namespace

std::string WhyNoAddress()
{
    return GetLastError() == WSATRY_AGAIN ? "the name servers don't answer"
                                          : "there is no such host, or it has no such address";
}

int ResolveHost(const std::string& AHost, const TFamilies& AFamilies)
{
    const std::string Address = ZnResolveHostName(AHost, AFamilies);
    if (Address.empty()) {
        std::fprintf(stderr, "zn resolve: %s: %s\n", AHost.c_str(), WhyNoAddress().c_str());
        return cExitFailure;
    }
    std::printf("%s\n", Address.c_str());
    return cExitOk;
}

int WakeHost(const std::string& AMacAddress, const std::string& AIPAddress)
{
    if (!IsMacAddress(AMacAddress)) {
        std::fprintf(stderr, "zn wol: %s: a hardware address has six pairs of hexadecimal digits\n",
                     AMacAddress.c_str());
        return cExitUsage;
    }
    if (!AIPAddress.empty() && !ZnIsValidIPV4Addr(AIPAddress)) {
        std::fprintf(stderr, "zn wol: %s: an IPv4 address has four numbers from 0 to 255\n",
                     AIPAddress.c_str());
        return cExitUsage;
    }
    if (!ZnWakeOnLan(AMacAddress, AIPAddress)) {
        std::fprintf(stderr, "zn wol: the packet could not be sent to %s\n",
                     AIPAddress.empty() ? "this network" : AIPAddress.c_str());
        return cExitFailure;
    }
    std::printf("Sent to %s.\n", AIPAddress.empty() ? "all on this network" : AIPAddress.c_str());
    return cExitOk;
}

int ShowHostName()
{
    std::printf("%s\n", ZnGetHostName().c_str());
    return cExitOk;
}

int ShowLocalIPs(const TFamilies& AFamilies)
{
    TStringList Addresses;
    ZnGetLocalIPs(Addresses, Includes(AFamilies, ipV4), Includes(AFamilies, ipV6));
    for (const std::string& Address : Addresses)
        std::printf("%s\n", Address.c_str());
    return cExitOk;
}

} // namespace Zn
