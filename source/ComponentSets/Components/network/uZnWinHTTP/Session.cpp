#include "uZnWinHTTP/Session.h"

#include <array>

#include "uZnWinHTTP/Binding.h"
#include "uZnWinHTTPH.h"

namespace
{

constexpr std::array<std::uint32_t, 6> cProtocols{
    WINHTTP_FLAG_SECURE_PROTOCOL_SSL2,   WINHTTP_FLAG_SECURE_PROTOCOL_SSL3,
    WINHTTP_FLAG_SECURE_PROTOCOL_TLS1,   WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_1,
    WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2, WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3};

std::uint32_t PlatformProtocols(TWinHTTPSecureProtocols AProtocols)
{
    std::uint32_t Result = 0;
    for (std::size_t Index = 0; Index < cProtocols.size(); ++Index) {
        if (AProtocols.Contains(static_cast<TWinHTTPSecureProtocol>(Index)))
            Result += cProtocols[Index];
    }
    return Result;
}

} // namespace

TZnWinHTTPSession::TZnWinHTTPSession(TComponent* AOwner)
    : TZnHTTPTransportSession(AOwner, Zn::WinHTTPBinding(), "Tolmary WinHTTP Client")
{
}

TZnWinHTTPSession::~TZnWinHTTPSession()
{
    Shutdown();
}

void TZnWinHTTPSession::ForgetSettings()
{
    TZnHTTPTransportSession::ForgetSettings();
    FProtocolsApplied = false;
}

void TZnWinHTTPSession::ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts)
{
    ApplyTime(AHandle, WINHTTP_OPTION_SEND_TIMEOUT, FSendTimeOut, ATimeOuts.GetSendTimeOut());
    ApplyTime(AHandle, WINHTTP_OPTION_RECEIVE_TIMEOUT, FReceiveTimeOut, ATimeOuts.GetReceiveTimeOut());
    if (!FSecureProtocols.Empty() && !FProtocolsApplied) {
        WinHttpSetOption(AHandle, WINHTTP_OPTION_SECURE_PROTOCOLS, PlatformProtocols(FSecureProtocols));
        FProtocolsApplied = true;
    }
}
