#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/httpclient/CookieShare.h"
#include "platform/httpclient/ProxyRules.h"
#include "platform/httpclient/Settings.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

namespace Zn::HttpClient
{

class Connection;

/// What connections have in common: user agent, proxy, cookies, and the settings with which requests begin.
/// Any thread. Locks are taken in the order session, connection, request.
class Session final : public KernelObject
{
public:
    Session(const std::string& AUserAgent, ProxyRules AProxies);
    ~Session() override = default;

    /// "User-Agent: ...", empty for none.
    const std::string& UserAgentLine() const { return FUserAgentLine; }
    const ProxyRules& Proxies() const { return FProxies; }
    CURLSH* Cookies() const { return FCookies.Share(); }

    Settings Defaults() const;
    template <class Change>
    void ChangeDefaults(Change AChange)
    {
        MutexLock Lock(FLock);
        AChange(FDefaults);
    }

    /// False when the session is closed.
    bool Add(Connection& AConnection);
    void Remove(Connection& AConnection);
    /// Ends what runs below the session.
    void HandleClosed() override;

private:
    const std::string FUserAgentLine;
    const ProxyRules FProxies;
    CookieShare FCookies;
    mutable Mutex FLock;
    Settings FDefaults ZN_GUARDED_BY(FLock);
    std::vector<Connection*> FConnections ZN_GUARDED_BY(FLock);
    bool FClosed ZN_GUARDED_BY(FLock) = false;
};

} // namespace Zn::HttpClient
