#include <array>

#include "uZnHTTPTransport/AcceptTypes.h"
#include "uZnWinINetH/Functions.h"

using Zn::PlatformText;

namespace
{

constexpr std::array<std::uint32_t, 4> cAccessTypes{INTERNET_OPEN_TYPE_PRECONFIG, INTERNET_OPEN_TYPE_DIRECT,
                                                    INTERNET_OPEN_TYPE_PROXY,
                                                    INTERNET_OPEN_TYPE_PRECONFIG_WITH_NO_AUTOPROXY};

constexpr std::array<std::uint32_t, 3> cServices{INTERNET_SERVICE_FTP, INTERNET_SERVICE_GOPHER,
                                                 INTERNET_SERVICE_HTTP};

HINTERNET Checked(HINTERNET AHandle, const char* AFuncName)
{
    if (AHandle == nullptr)
        HttpCheckError(AFuncName, "");
    return AHandle;
}

} // namespace

HINTERNET InternetOpen(const std::string& AAgent, TZnHTTPAccessType AAccessType, bool AAsync,
                       const std::string& AProxyServer, const std::string& AProxyBypass)
{
    const auto Open = *Zn::WinINet.Open;
    return Checked(Open(PlatformText(AAgent).OrNull(), cAccessTypes[AAccessType],
                        PlatformText(AProxyServer).OrNull(), PlatformText(AProxyBypass).OrNull(),
                        AAsync ? INTERNET_FLAG_ASYNC : 0),
                   "InternetOpen");
}

HINTERNET InternetConnect(HINTERNET ASession, const std::string& AServer, std::uint16_t APort,
                          const std::string& AUserName, const std::string& APassword,
                          TINTERNET_SERVICE_TYPE AService, bool APassive, std::uintptr_t AContext)
{
    if (APassive && AService != stFTP)
        throw EZnWinINetInvalidArgument(
            "Invalid Parameter (PassiveFTP is only allowed for the FTP ServiceType)!");
    const auto Connect = *Zn::WinINet.Connect;
    return Checked(Connect(ASession, PlatformText(AServer).OrNull(), APort, PlatformText(AUserName).OrNull(),
                           PlatformText(APassword).OrNull(), cServices[AService],
                           APassive ? INTERNET_FLAG_PASSIVE : 0, AContext),
                   "InternetConnect");
}

void InternetCloseHandle(HINTERNET AHandle, bool ARaiseError)
{
    if (!(*Zn::WinINet.CloseHandle)(AHandle) && ARaiseError)
        HttpCheckError("InternetCloseHandle", "");
}

HINTERNET HttpOpenRequest(HINTERNET AConnection, std::string_view AVerb, std::string_view AObjectName,
                          std::uint32_t AFlags, std::string_view AVersion, std::string_view AReferrer,
                          std::string_view AAcceptTypes, std::uintptr_t AContext)
{
    const auto OpenRequest = *Zn::WinINet.OpenRequest;
    const Zn::AcceptTypes Types(AAcceptTypes);
    return Checked(OpenRequest(AConnection, PlatformText(AVerb).OrNull(), PlatformText(AObjectName).OrNull(),
                               PlatformText(AVersion).OrNull(), PlatformText(AReferrer).OrNull(),
                               Types.Pointers(), AFlags, AContext),
                   "HttpOpenRequest");
}
