#pragma once

#include <memory>

#include "platform/Api.h"
#include "uZnHTTPClient/Contract.h"

/// A session on the transport that fits the program, behind the one interface. Give it to several
/// TZnHTTPClients of the same transport; it has to outlive their use of it.
///
/// Threads, errors: as TZnHTTPClient.
/// Ownership: owns the component behind it.
class ZN_API TZnHTTPSession : public TObject, public virtual IZnHTTPSession, public virtual IZnObjectReference
{
public:
    /// ANTService picks the transport, as TZnHTTPClient does. Raises EZnHTTPInvalidArgument where it isn't
    /// part of the program.
    explicit TZnHTTPSession(bool ANTService);
    ~TZnHTTPSession() override;
    TZnHTTPSession(const TZnHTTPSession&) = delete;
    TZnHTTPSession& operator=(const TZnHTTPSession&) = delete;

    TObject* Implementor() override { return FObj.get(); }

    bool GetActive() override { return FIntf->GetActive(); }
    std::string GetUserAgent() override { return FIntf->GetUserAgent(); }
    TZnHTTPAccessType GetAccessType() override { return FIntf->GetAccessType(); }
    std::string GetProxyServer() override { return FIntf->GetProxyServer(); }
    std::string GetProxyServerBypass() override { return FIntf->GetProxyServerBypass(); }
    TZnHTTPCookieList& GetCookies() override { return FIntf->GetCookies(); }
    void SetActive(bool AValue) override { FIntf->SetActive(AValue); }
    void SetUserAgent(const std::string& AValue) override { FIntf->SetUserAgent(AValue); }
    void SetAccessType(TZnHTTPAccessType AValue) override { FIntf->SetAccessType(AValue); }
    void SetProxyServer(const std::string& AValue) override { FIntf->SetProxyServer(AValue); }
    void SetProxyServerBypass(const std::string& AValue) override { FIntf->SetProxyServerBypass(AValue); }

private:
    std::unique_ptr<TComponent> FObj;
    std::shared_ptr<IZnHTTPSession> FIntf; // borrowed from FObj
};
