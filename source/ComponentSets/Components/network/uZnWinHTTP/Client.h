#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "common/Locks.h"
#include "uZnWinHTTP/ComponentLink.h"
#include "uZnWinHTTP/Session.h"
#include "uZnWinHTTPH.h"

/// The HTTP client on WinHTTP, which needs no user session: for services, and for everything else.
///
/// Use:       TZnWinHTTPClient Client(nullptr); Client.Request(httpGET, "https://localhost/", true);
/// Threads:   as TZnHTTPClientBase. A session of its own is made at the first request, on whatever thread.
/// Ownership: AOwner frees it. It owns the session that it makes; one that it is given stays somebody else's,
///            and is forgotten when it goes.
/// Errors:    as TZnHTTPClientBase, with the classes of uZnWinHTTPH.
class TZnWinHTTPClient : public TZnHTTPClientBase
{
public:
    explicit TZnWinHTTPClient(TComponent* AOwner);
    ~TZnWinHTTPClient() override;

    /// The session, made if there is none.
    std::shared_ptr<IZnHTTPSession> GetSession() override;
    TZnWinHTTPSession& GetWinHTTPSession();
    /// nullptr takes the session away; the next request makes one. A session of another transport raises
    /// EZnWinHTTPInvalidArgument.
    void SetSession(const std::shared_ptr<IZnHTTPSession>& AValue) override;
    void SetSession(TZnWinHTTPSession* AValue);

    /// The session's.
    TZnHTTPAccessType GetAccessType() override { return GetWinHTTPSession().GetAccessType(); }
    void SetAccessType(TZnHTTPAccessType AValue) override { GetWinHTTPSession().SetAccessType(AValue); }

    /// How the proxy's credentials are offered at first.
    TWINHTTP_AUTH_SCHEME GetProxyAuthentication() const { return FProxyAuthentication; }

    /// Of the certificate that OnGetClientCertificate gives, or of its key. Default empty: none.
    const std::string& GetClientCertificatePassword() const { return FClientCertificatePassword; }
    void SetClientCertificatePassword(std::string AValue) { FClientCertificatePassword = std::move(AValue); }

    using TZnHTTPClientBase::Request;
    std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     const AnsiString& ABody,
                                                     const std::string& ABodyContentType) override;
    std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     TStream* ABody,
                                                     const std::string& ABodyContentType) override;

    /// For requests and responses, which may outlive the client.
    const std::shared_ptr<Zn::ComponentLink<TZnWinHTTPClient>>& GetLink() const { return FLink; }

private:
    TZnWinHTTPSession& CheckSession();
    TZnWinHTTPSession& MakeSession(const std::string& AUserAgent);
    TZnWinHTTPSession& PrepareSession();

    using TSessionLink = Zn::ComponentLink<TZnWinHTTPSession>;

    /// nullptr when there is none, or when it is gone.
    TZnWinHTTPSession* PresentSession() const;
    void UseSession(TZnWinHTTPSession& ASession) ZN_REQUIRES(FSessionLock);

    // A link instead of a free notification, whose lists belong to one thread: clients of several threads may
    // share a session. Read without the lock.
    std::atomic<TSessionLink*> FSession{nullptr};
    TZnCriticalSection FSessionLock; // one thread makes the session
    std::vector<std::shared_ptr<TSessionLink>>
        FLinks ZN_GUARDED_BY(FSessionLock); // keeps what FSession named
    TWINHTTP_AUTH_SCHEME FProxyAuthentication = asBASIC;
    std::string FClientCertificatePassword;
    std::shared_ptr<Zn::ComponentLink<TZnWinHTTPClient>> FLink;
};
