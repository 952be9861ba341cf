#pragma once

#include <memory>
#include <string>

#include "platform/Api.h"
#include "uZnWinHTTP/Session.h"
#include "uZnWinHTTPH.h"

/// The HTTP client on WinHTTP, which needs no user session: for services, and for everything else.
///
/// Use:       TZnWinHTTPClient Client(nullptr); Client.Request(httpGET, "https://localhost/", true);
/// Threads, ownership: as TZnHTTPTransportClient.
/// Errors:    as TZnHTTPClientBase, with the classes of uZnWinHTTPH.
class ZN_API TZnWinHTTPClient : public TZnHTTPTransportClient
{
public:
    explicit TZnWinHTTPClient(TComponent* AOwner) : TZnHTTPTransportClient(AOwner) {}
    ~TZnWinHTTPClient() override { Shutdown(); }

    /// The session as its class; made if there is none.
    TZnWinHTTPSession& GetWinHTTPSession() { return static_cast<TZnWinHTTPSession&>(GetTransportSession()); }
    using TZnHTTPTransportClient::SetSession;
    /// A session to share; nullptr takes it away, and the next request makes one.
    void SetSession(TZnWinHTTPSession* AValue) { UseSession(AValue); }

    /// How the proxy's credentials are offered at first.
    TWINHTTP_AUTH_SCHEME GetProxyAuthentication() const { return FProxyAuthentication; }

protected:
    TZnHTTPTransportSession* MakeSession() override { return new TZnWinHTTPSession(this); }
    /// EZnWinHTTPInvalidArgument for a session of another transport.
    TZnHTTPTransportSession* SessionFrom(TObject* ASession) override;
    std::shared_ptr<IZnHTTPRequestEx> MakeRequest(TZnHTTPTransportSession& ASession,
                                                  TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                  TStream* ABody, std::unique_ptr<TStream> AOwnBody,
                                                  const std::string& ABodyContentType) override;

private:
    TWINHTTP_AUTH_SCHEME FProxyAuthentication = asBASIC;
};
