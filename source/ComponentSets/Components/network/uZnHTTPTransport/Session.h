#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "common/Locks.h"
#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "uZnHTTPTransport/Binding.h"
#include "uZnHTTPTransport/ComponentLink.h"

/// What several clients of one transport may share: one session handle with its connections, its open
/// requests and its cookies.
///
/// Use:       set properties, give it to clients by their Session. It opens with the first request.
///            Properties count from the next opening on.
/// Threads:   properties: one at a time, before requests are made. Everything else: any, at any time.
/// Ownership: AOwner frees it; it outlives requests under way on other threads. Clients that use it forget it
///            when it goes. Requests and responses may outlive it.
/// Errors:    Open raises the transport's exceptions.
class ZN_API TZnHTTPTransportSession : public TComponent,
                                       public virtual IZnHTTPSession,
                                       public virtual IZnObjectReference
{
public:
    TObject* Implementor() override { return this; }

    /// Does nothing when the session is open.
    void Open();
    /// Ends what is under way, in this order: requests, connections, the session. A request that meets it
    /// ends with EAbort. Stored cookies stay.
    void Close();

    /// Open, and not being closed.
    bool GetActive() override { return FSession != nullptr && !FClosing; }
    void SetActive(bool AValue) override;

    /// Sent with every request. Default: the transport's name.
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
    /// A PEM file with the authorities that servers' certificates may come from. Empty, the default: the
    /// system's.
    const std::string& GetAuthoritiesFile() const { return FAuthoritiesFile; }
    void SetAuthoritiesFile(std::string AValue) { FAuthoritiesFile = std::move(AValue); }

    TZnHTTPCookieList& GetCookies() override { return FCookies; }

    // --- For requests

    /// The connections of all clients of the session.
    TZnHTTPConnections& GetConnections() { return FConnections; }
    /// The session's handle. EAbort when the session isn't open, or is being closed.
    void* GetHandle() const;
    /// Gives the session a client's settings, unless it has them.
    virtual void ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts) = 0;
    /// Takes the handle over and closes it when the session is closed. Empty, with the handle closed, when
    /// the session isn't open, or is being closed. EZnHTTPException, code 500, for nullptr.
    std::shared_ptr<IZnHTTPRequestHandle> AddRequest(void* AHandle);
    /// Takes a handle back from AddRequest; the session closes it no more.
    void RemoveRequest(const std::shared_ptr<IZnHTTPRequestHandle>& AHandle);
    /// For requests and responses, which may outlive the session.
    const std::shared_ptr<Zn::ComponentLink<TZnHTTPTransportSession>>& GetLink() const { return FLink; }
    /// The functions of the transport's platform library.
    const Zn::FunctionBinding& Binding() const { return FBinding; }

protected:
    /// A transport's session calls Shutdown in its destructor.
    TZnHTTPTransportSession(TComponent* AOwner, const Zn::FunctionBinding& ABinding, std::string AUserAgent);
    /// Forgotten by all that know it, and closed.
    void Shutdown();

    /// The open session has been given nothing yet.
    virtual void ForgetSettings();
    /// Sets an option to a number of milliseconds, unless AApplied says that the session has it.
    void ApplyTime(void* AHandle, std::uint32_t AOption, std::atomic<int>& AApplied, int AValue);

    // What the open session was given last. Requests of several threads may give it different values; each
    // request then sets its own on its handle.
    std::atomic<int> FConnectTimeOut{-1};
    std::atomic<int> FSendTimeOut{-1};
    std::atomic<int> FReceiveTimeOut{-1};

private:
    void CloseRequests();
    void ApplyAuthorities(void* AHandle) const;

    const Zn::FunctionBinding& FBinding;
    TZnCriticalSection FOpenLock; // Open and Close; ahead of the two below, which are never held together
    std::atomic<void*> FSession{nullptr};
    std::atomic<bool> FClosing{false};
    TZnHTTPConnections FConnections;
    mutable TZnCriticalSection FRequestsLock;
    std::vector<std::shared_ptr<IZnHTTPRequestHandle>> FRequests ZN_GUARDED_BY(FRequestsLock);
    TZnHTTPCookieList FCookies;
    std::string FUserAgent;
    std::string FProxyServerBypass;
    std::string FProxyServer;
    TZnHTTPAccessType FAccessType = atDefault;
    std::string FAuthoritiesFile;
    std::shared_ptr<Zn::ComponentLink<TZnHTTPTransportSession>> FLink;
};
