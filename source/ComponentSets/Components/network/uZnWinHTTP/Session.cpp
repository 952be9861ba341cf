#include "uZnWinHTTP/Session.h"

#include <algorithm>
#include <array>
#include <span>

#include "common/Encoding.h"
#include "uZnWinHTTP/Handles.h"
#include "uZnWinHTTPH.h"

namespace
{

constexpr int cInternalServerError = 500;
constexpr int cNotApplied = -1;

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
    : TComponent(AOwner),
      FConnections([](const void* AClientId, void* AConnection, const TZnHTTPTimeOuts& ATimeOuts,
                      std::string AHostName) {
          return std::make_shared<TZnWinHTTPConnection>(AClientId, AConnection, ATimeOuts,
                                                        std::move(AHostName));
      }),
      FLink(std::make_shared<Zn::ComponentLink<TZnWinHTTPSession>>(this))
{
}

TZnWinHTTPSession::~TZnWinHTTPSession()
{
    FLink->Clear();
    Close();
}

void TZnWinHTTPSession::Open()
{
    if (FSession != nullptr)
        return;
    const TZnLockGuard Guard(FOpenLock);
    if (FSession != nullptr)
        return;
    FSendTimeOut = cNotApplied;
    FReceiveTimeOut = cNotApplied;
    FProtocolsApplied = false;
    void* const Handle = WinHttpOpen(FUserAgent, FAccessType, FProxyServer, FProxyServerBypass, false);
    try {
        ApplyAuthorities(Handle);
    } catch (...) {
        WinHttpCloseHandle(Handle, false);
        throw;
    }
    FSession = Handle;
}

void TZnWinHTTPSession::Close()
{
    const TZnLockGuard Guard(FOpenLock);
    if (FSession == nullptr)
        return;
    FClosing = true;
    CloseRequests();
    FConnections.Clear();
    try {
        WinHttpCloseHandle(FSession, true);
    } catch (const Exception&) {
        // The handle is of no use any more, whatever the library says of it.
    }
    FSession = nullptr;
    FClosing = false;
}

void TZnWinHTTPSession::CloseRequests()
{
    const TZnLockGuard Guard(FRequestsLock);
    for (std::size_t Index = FRequests.size(); Index-- > 0;)
        FRequests[Index]->CloseHandle();
    FRequests.clear();
}

void TZnWinHTTPSession::SetActive(bool AValue)
{
    if (AValue)
        Open();
    else
        Close();
}

void TZnWinHTTPSession::SetAccessType(TZnHTTPAccessType AValue)
{
    FAccessType = AValue;
    if (AValue == atDefault)
        FProxyServer.clear();
}

void TZnWinHTTPSession::SetProxyServer(const std::string& AValue)
{
    FProxyServer = AValue;
    if (!AValue.empty())
        FAccessType = atProxy;
}

void* TZnWinHTTPSession::GetHandle() const
{
    void* const Handle = FSession;
    if (Handle == nullptr || FClosing)
        throw EAbort("The session has been closed!");
    return Handle;
}

void TZnWinHTTPSession::ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts)
{
    if (FSendTimeOut.exchange(ATimeOuts.GetSendTimeOut()) != ATimeOuts.GetSendTimeOut())
        WinHttpSetOption(AHandle, WINHTTP_OPTION_SEND_TIMEOUT,
                         static_cast<std::uint32_t>(ATimeOuts.GetSendTimeOut()));
    if (FReceiveTimeOut.exchange(ATimeOuts.GetReceiveTimeOut()) != ATimeOuts.GetReceiveTimeOut())
        WinHttpSetOption(AHandle, WINHTTP_OPTION_RECEIVE_TIMEOUT,
                         static_cast<std::uint32_t>(ATimeOuts.GetReceiveTimeOut()));
    if (!FSecureProtocols.Empty() && !FProtocolsApplied) {
        WinHttpSetOption(AHandle, WINHTTP_OPTION_SECURE_PROTOCOLS, PlatformProtocols(FSecureProtocols));
        FProtocolsApplied = true;
    }
}

void TZnWinHTTPSession::ApplyAuthorities(void* AHandle) const
{
    if (FAuthoritiesFile.empty())
        return;
    const std::u16string Name = Utf16FromUtf8(FAuthoritiesFile);
    WinHttpSetOption(AHandle, ZN_OPTION_CA_FILE, std::as_bytes(std::span(Name)));
}

std::shared_ptr<IZnHTTPRequestHandle> TZnWinHTTPSession::AddRequest(void* AHandle)
{
    if (AHandle == nullptr)
        throw EZnHTTPException("No RequestHandle provided!", cInternalServerError);
    const TZnLockGuard Guard(FRequestsLock);
    if (!GetActive()) {
        WinHttpCloseHandle(AHandle, false);
        return nullptr;
    }
    const auto Known = std::ranges::find_if(
        FRequests, [&](const auto& AEach) { return AEach->GetHandle(false) == AHandle; });
    if (Known != FRequests.end())
        return *Known;
    FRequests.push_back(std::make_shared<TZnWinHTTPRequestHandle>(AHandle));
    return FRequests.back();
}

void TZnWinHTTPSession::RemoveRequest(const std::shared_ptr<IZnHTTPRequestHandle>& AHandle)
{
    const TZnLockGuard Guard(FRequestsLock);
    std::erase(FRequests, AHandle);
}
