#include "uZnHTTPTransport/Session.h"

#include <algorithm>
#include <span>
#include <utility>

#include "common/Encoding.h"

namespace
{

constexpr int cInternalServerError = 500;
constexpr int cNotApplied = -1;

} // namespace

TZnHTTPTransportSession::TZnHTTPTransportSession(TComponent* AOwner, const Zn::FunctionBinding& ABinding,
                                                 std::string AUserAgent)
    : TComponent(AOwner),
      FBinding(ABinding),
      FConnections([&ABinding](const void* AClientId, void* AConnection, const TZnHTTPTimeOuts& ATimeOuts,
                               std::string AHostName) {
          return ABinding.OwnConnection(AClientId, AConnection, ATimeOuts, std::move(AHostName));
      }),
      FUserAgent(std::move(AUserAgent)),
      FLink(std::make_shared<Zn::ComponentLink<TZnHTTPTransportSession>>(this))
{
}

void TZnHTTPTransportSession::Shutdown()
{
    FLink->Clear();
    Close();
}

void TZnHTTPTransportSession::Open()
{
    if (FSession != nullptr)
        return;
    const TZnLockGuard Guard(FOpenLock);
    if (FSession != nullptr)
        return;
    ForgetSettings();
    void* const Handle = FBinding.Open(FUserAgent, FAccessType, FProxyServer, FProxyServerBypass);
    try {
        ApplyAuthorities(Handle);
    } catch (...) {
        FBinding.Close(Handle, false);
        throw;
    }
    FSession = Handle;
}

void TZnHTTPTransportSession::Close()
{
    const TZnLockGuard Guard(FOpenLock);
    if (FSession == nullptr)
        return;
    FClosing = true;
    CloseRequests();
    FConnections.Clear();
    try {
        FBinding.Close(FSession, true);
    } catch (const Exception&) {
        // The handle is of no use any more, whatever the library says of it.
    }
    FSession = nullptr;
    FClosing = false;
}

void TZnHTTPTransportSession::CloseRequests()
{
    const TZnLockGuard Guard(FRequestsLock);
    for (std::size_t Index = FRequests.size(); Index-- > 0;)
        FRequests[Index]->CloseHandle();
    FRequests.clear();
}

void TZnHTTPTransportSession::SetActive(bool AValue)
{
    if (AValue)
        Open();
    else
        Close();
}

void TZnHTTPTransportSession::SetAccessType(TZnHTTPAccessType AValue)
{
    FAccessType = AValue;
    if (AValue == atDefault)
        FProxyServer.clear();
}

void TZnHTTPTransportSession::SetProxyServer(const std::string& AValue)
{
    FProxyServer = AValue;
    if (!AValue.empty())
        FAccessType = atProxy;
}

void* TZnHTTPTransportSession::GetHandle() const
{
    void* const Handle = FSession;
    if (Handle == nullptr || FClosing)
        throw EAbort("The session has been closed!");
    return Handle;
}

void TZnHTTPTransportSession::ForgetSettings()
{
    FConnectTimeOut = cNotApplied;
    FSendTimeOut = cNotApplied;
    FReceiveTimeOut = cNotApplied;
}

void TZnHTTPTransportSession::ApplyTime(void* AHandle, std::uint32_t AOption, std::atomic<int>& AApplied,
                                        int AValue)
{
    if (AApplied.exchange(AValue) == AValue)
        return;
    const auto Milliseconds = static_cast<std::uint32_t>(AValue);
    FBinding.SetOption(AHandle, AOption, std::as_bytes(std::span(&Milliseconds, 1)));
}

void TZnHTTPTransportSession::ApplyAuthorities(void* AHandle) const
{
    if (FAuthoritiesFile.empty())
        return;
    const std::u16string Name = Utf16FromUtf8(FAuthoritiesFile);
    FBinding.SetOption(AHandle, ZN_OPTION_CA_FILE, std::as_bytes(std::span(Name)));
}

std::shared_ptr<IZnHTTPRequestHandle> TZnHTTPTransportSession::AddRequest(void* AHandle)
{
    if (AHandle == nullptr)
        throw EZnHTTPException("No RequestHandle provided!", cInternalServerError);
    const TZnLockGuard Guard(FRequestsLock);
    if (!GetActive()) {
        FBinding.Close(AHandle, false);
        return nullptr;
    }
    const auto Known = std::ranges::find_if(
        FRequests, [&](const auto& AEach) { return AEach->GetHandle(false) == AHandle; });
    if (Known != FRequests.end())
        return *Known;
    FRequests.push_back(FBinding.Own(AHandle));
    return FRequests.back();
}

void TZnHTTPTransportSession::RemoveRequest(const std::shared_ptr<IZnHTTPRequestHandle>& AHandle)
{
    const TZnLockGuard Guard(FRequestsLock);
    std::erase(FRequests, AHandle);
}
