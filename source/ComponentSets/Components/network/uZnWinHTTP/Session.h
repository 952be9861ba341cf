#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "common/Locks.h"
#include "common/ThreadAnnotations.h"
#include "uZnHTTPClient.h"
#include "uZnWinHTTP/ComponentLink.h"

enum TWinHTTPSecureProtocol : std::uint8_t {
    sprotSSL2,
    sprotSSL3,
    sprotTLS1,
    sprotTLS1_1,
    sprotTLS1_2,
    sprotTLS1_3
};
using TWinHTTPSecureProtocols = TZnSet<TWinHTTPSecureProtocol>;

/// What several TZnWinHTTPClients may share: one WinHTTP session with its connections, its open requests and
/// its cookies.
///
/// Use:       set properties, give it to clients by their Session. It opens with the first request.
///            Properties count from the next opening on.
/// Threads:   properties: one at a time, before requests are made. Everything else: any, at any time.
/// Ownership: AOwner frees it; it outlives requests under way on other threads. Clients that use it forget it
///            when it goes. Requests and responses may outlive it.
/// Errors:    Open raises EZnWinHTTPInvalidArgument for a proxy that doesn't fit AccessType, and
///            EZnWinHTTPHException.
class TZnWinHTTPSession : public TComponent, public virtual IZnHTTPSession, public virtual IZnObjectReference
{
public:
    explicit TZnWinHTTPSession(TComponent* AOwner);
    /// Closes.
    ~TZnWinHTTPSession() override;

    TObject* Implementor() override { return this; }

    /// Does nothing when the session is open.
    void Open();
    /// Ends what is under way, in this order: requests, connections, the session. A request that meets it
    /// ends with EAbort. Stored cookies stay.
    void Close();

    /// Open, and not being closed.
    bool GetActive() override { return FSession != nullptr && !FClosing; }
    void SetActive(bool AValue) override;

    /// Sent with every request. Default "Tolmary WinHTTP Client".
    std::string GetUserAgent() override { return FUserAgent; }
    void SetUserAgent(const std::string& AValue) override { FUserAgent = AValue; }
    /// Default atDefault, which clears ProxyServer when it is set.
    TZnHTTPAccessType GetAccessType() override { return FAccessType; }
    void SetAccessType(TZnHTTPAccessType AValue) override;
    /// "host:port". Any text sets AccessType to atProxy.
    std::string GetProxyServer() override { return FProxyServer; }
    void SetProxyServer(const std::string& AValue) override;
    /// Names that are reached directly, "*" for any letters, ";" between them.
    std::string GetProxyServerBypass() override { return FProxyServerBypass; }
    void SetProxyServerBypass(const std::string& AValue) override { FProxyServerBypass = AValue; }
    /// Empty, the default: TLS 1.2 and newer. Those before 1.2 may be named and are not offered.
    TWinHTTPSecureProtocols GetSecureProtocols() const { return FSecureProtocols; }
    void SetSecureProtocols(TWinHTTPSecureProtocols AValue) { FSecureProtocols = AValue; }
    /// A PEM file with the authorities that servers' certificates may come from. Empty, the default: the
    /// system's.
    const std::string& GetAuthoritiesFile() const { return FAuthoritiesFile; }
    void SetAuthoritiesFile(std::string AValue) { FAuthoritiesFile = std::move(AValue); }

    TZnHTTPCookieList& GetCookies() override { return FCookies; }

    // --- For requests

    TZnHTTPConnections& GetConnections() { return FConnections; }
    /// The session's handle. EAbort when the session isn't open, or is being closed.
    void* GetHandle() const;
    /// Gives the session time-outs and protocols, unless it has them.
    void ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts);
    /// Takes the handle over and closes it when the session is closed. Empty, with the handle closed, when
    /// the session isn't open, or is being closed. EZnHTTPException, code 500, for nullptr.
    std::shared_ptr<IZnHTTPRequestHandle> AddRequest(void* AHandle);
    void RemoveRequest(const std::shared_ptr<IZnHTTPRequestHandle>& AHandle);
    const std::shared_ptr<Zn::ComponentLink<TZnWinHTTPSession>>& GetLink() const { return FLink; }

private:
    void CloseRequests();
    void ApplyAuthorities(void* AHandle) const;

    TZnCriticalSection FOpenLock; // Open and Close; ahead of the two below, which are never held together
    std::atomic<void*> FSession{nullptr};
    std::atomic<bool> FClosing{false};
    TZnHTTPConnections FConnections;
    mutable TZnCriticalSection FRequestsLock;
    std::vector<std::shared_ptr<IZnHTTPRequestHandle>> FRequests ZN_GUARDED_BY(FRequestsLock);
    TZnHTTPCookieList FCookies;
    std::string FUserAgent = "Tolmary WinHTTP Client";
    std::string FProxyServerBypass;
    std::string FProxyServer;
    TZnHTTPAccessType FAccessType = atDefault;
    TWinHTTPSecureProtocols FSecureProtocols;
    std::string FAuthoritiesFile;
    // What the open session was given last. Requests of several threads may give it different values; each
    // request then sets its own on its handle.
    std::atomic<int> FSendTimeOut{-1};
    std::atomic<int> FReceiveTimeOut{-1};
    std::atomic<bool> FProtocolsApplied{false};
    std::shared_ptr<Zn::ComponentLink<TZnWinHTTPSession>> FLink;
};
