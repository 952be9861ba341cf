#include <array>

#include "uZnHTTPTransport/AcceptTypes.h"
#include "uZnWinHTTPH/Functions.h"

using Zn::PlatformText;

namespace
{

constexpr std::array<std::uint32_t, 4> cAccessTypes{
    WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_ACCESS_TYPE_NO_PROXY, WINHTTP_ACCESS_TYPE_NAMED_PROXY,
    WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY};

constexpr std::array<std::uint32_t, 7> cOpenFlags{
    WINHTTP_FLAG_SECURE,
    WINHTTP_FLAG_ESCAPE_PERCENT,
    WINHTTP_FLAG_NULL_CODEPAGE,
    WINHTTP_FLAG_BYPASS_PROXY_CACHE,
    WINHTTP_FLAG_REFRESH,
    WINHTTP_FLAG_ESCAPE_DISABLE,
    WINHTTP_FLAG_ESCAPE_DISABLE_QUERY,
};

std::uint32_t PlatformFlags(TWINHTTP_OPENREQUEST_FLAGS AFlags)
{
    std::uint32_t Result = 0;
    for (std::size_t Index = 0; Index < cOpenFlags.size(); ++Index) {
        if (AFlags.Contains(static_cast<TWINHTTP_OPENREQUEST_FLAG>(Index)))
            Result |= cOpenFlags[Index];
    }
    return Result;
}

HINTERNET Checked(HINTERNET AHandle, const char* AFuncName)
{
    if (AHandle == nullptr)
        WinHttpCheckError(AFuncName, "");
    return AHandle;
}

} // namespace

HINTERNET WinHttpOpen(const std::string& AUserAgent, TZnHTTPAccessType AAccessType,
                      const std::string& AProxyServer, const std::string& AProxyBypass, bool AAsync)
{
    const auto Open = *Zn::WinHttp.Open;
    if (AAccessType != atProxy && !AProxyServer.empty())
        throw EZnWinHTTPInvalidArgument(
            "You must set the AccessType to atNAMED_PROXY is you wish to specify a Proxy Server!");
    if (AAccessType == atProxy && AProxyServer.empty())
        throw EZnWinHTTPInvalidArgument(
            "You must specify a ProxyServer when the accesstype is set to atNAMED_PROXY!");
    return Checked(Open(PlatformText(AUserAgent).OrNull(), cAccessTypes[AAccessType],
                        PlatformText(AProxyServer).OrNull(), PlatformText(AProxyBypass).OrNull(),
                        AAsync ? WINHTTP_FLAG_ASYNC : 0),
                   "WinHttpOpen");
}

void WinHttpCloseHandle(HINTERNET AHandle, bool ARaiseError)
{
    if (!(*Zn::WinHttp.CloseHandle)(AHandle) && ARaiseError)
        WinHttpCheckError("WinHttpCloseHandle", "");
}

HINTERNET WinHttpConnect(HINTERNET ASession, const std::string& AServerName, std::uint16_t APort)
{
    const auto Connect = *Zn::WinHttp.Connect;
    return Checked(Connect(ASession, PlatformText(AServerName).OrNull(), APort, 0), "WinHttpConnect");
}

HINTERNET WinHttpOpenRequest(HINTERNET AConnection, std::string_view AVerb, std::string_view AObjectName,
                             TWINHTTP_OPENREQUEST_FLAGS AFlags, std::string_view AVersion,
                             std::string_view AReferrer, std::string_view AAcceptTypes)
{
    const auto OpenRequest = *Zn::WinHttp.OpenRequest;
    const Zn::AcceptTypes Types(AAcceptTypes);
    return Checked(OpenRequest(AConnection, PlatformText(AVerb).Text(), PlatformText(AObjectName).OrNull(),
                               PlatformText(AVersion).OrNull(), PlatformText(AReferrer).OrNull(),
                               Types.Pointers(), PlatformFlags(AFlags)),
                   "WinHttpOpenRequest");
}
