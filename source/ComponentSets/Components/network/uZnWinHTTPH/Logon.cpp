#include <array>

#include "uZnHTTPTransport/PlatformText.h"
#include "uZnWinHTTPH/Functions.h"

using Zn::PlatformText;

namespace
{

constexpr std::array<std::uint32_t, 5> cSchemes{WINHTTP_AUTH_SCHEME_BASIC, WINHTTP_AUTH_SCHEME_NTLM,
                                                WINHTTP_AUTH_SCHEME_PASSPORT, WINHTTP_AUTH_SCHEME_DIGEST,
                                                WINHTTP_AUTH_SCHEME_NEGOTIATE};

} // namespace

void WinHttpSetCredentials(HINTERNET AHandle, TWINHTTP_AUTH_TARGET ATarget, TWINHTTP_AUTH_SCHEME AScheme,
                           const std::string& AUserName, const std::string& APassword)
{
    const auto SetCredentials = *Zn::WinHttp.SetCredentials;
    const std::uint32_t Target =
        ATarget == authTargetServer ? WINHTTP_AUTH_TARGET_SERVER : WINHTTP_AUTH_TARGET_PROXY;
    if (!SetCredentials(AHandle, Target, cSchemes[AScheme], PlatformText(AUserName).OrNull(),
                        PlatformText(APassword).OrNull(), nullptr))
        WinHttpCheckError("WinHttpSetCredentials(Target:" + std::to_string(ATarget) +
                              "; Scheme:" + std::to_string(AScheme) + ")",
                          "");
}

void WinHttpQueryAuthSchemes(HINTERNET AHandle, TWINHTTP_AUTH_SCHEMES& ASupported,
                             TWINHTTP_AUTH_SCHEME& AFirst, TWINHTTP_AUTH_TARGET& ATarget)
{
    const auto QueryAuthSchemes = *Zn::WinHttp.QueryAuthSchemes;
    std::uint32_t Supported = 0;
    std::uint32_t First = 0;
    std::uint32_t Target = 0;
    if (!QueryAuthSchemes(AHandle, &Supported, &First, &Target))
        WinHttpCheckError("WinHttpQueryAuthSchemes", "");
    ASupported = {};
    AFirst = asBASIC;
    for (std::size_t Index = 0; Index < cSchemes.size(); ++Index) {
        const auto Scheme = static_cast<TWINHTTP_AUTH_SCHEME>(Index);
        if ((Supported & cSchemes[Index]) != 0)
            ASupported.Include(Scheme);
        if (First == cSchemes[Index])
            AFirst = Scheme;
    }
    ATarget = Target == WINHTTP_AUTH_TARGET_SERVER ? authTargetServer : authTargetProxy;
}
