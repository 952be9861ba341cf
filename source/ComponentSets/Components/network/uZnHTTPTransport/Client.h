#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Locks.h"
#include "platform/Api.h"
#include "platform/sync/Mutex.h"
#include "uZnHTTPTransport/Session.h"

/// A client over a session of its transport. What both transports' clients have in common: the session, and
/// how a request is prepared.
///
/// Threads:   as TZnHTTPClientBase. A session of its own is made at the first request, on whatever thread.
/// Ownership: AOwner frees it. It owns the session that it makes; one that it is given stays somebody else's,
///            and is forgotten when it goes.
/// Errors:    as TZnHTTPClientBase, with the transport's classes.
class ZN_API TZnHTTPTransportClient : public TZnHTTPClientBase
{
public:
    /// The session, made if there is none.
    std::shared_ptr<IZnHTTPSession> GetSession() override;
    /// The same as its class; made if there is none.
    TZnHTTPTransportSession& GetTransportSession();
    /// nullptr takes the session away; the next request makes one. A session of another transport raises
    /// the transport's EZnHTTPInvalidArgument.
    void SetSession(const std::shared_ptr<IZnHTTPSession>& AValue) override;

    /// The session's.
    TZnHTTPAccessType GetAccessType() override { return GetTransportSession().GetAccessType(); }
    void SetAccessType(TZnHTTPAccessType AValue) override { GetTransportSession().SetAccessType(AValue); }

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

    /// For requests: the parts of a URL. The last one's are kept, as many programs ask for the same again.
    std::shared_ptr<const TZnURLData> DecodeURL(std::string_view AURL);
    /// For requests and responses, which may outlive the client.
    const std::shared_ptr<Zn::ComponentLink<TZnHTTPTransportClient>>& GetLink() const { return FLink; }

protected:
    /// A transport's client calls Shutdown in its destructor.
    explicit TZnHTTPTransportClient(TComponent* AOwner);
    /// Forgotten by all that know it; its own session is freed.
    void Shutdown();

    void UseSession(TZnHTTPTransportSession* AValue);

    virtual TZnHTTPTransportSession* MakeSession() = 0;
    /// ASession as one of this transport; raises where it isn't.
    virtual TZnHTTPTransportSession* SessionFrom(TObject* ASession) = 0;
    /// AOwnBody, if any, is ABody given away.
    virtual std::shared_ptr<IZnHTTPRequestEx> MakeRequest(TZnHTTPTransportSession& ASession,
                                                          TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                          TStream* ABody, std::unique_ptr<TStream> AOwnBody,
                                                          const std::string& ABodyContentType) = 0;

private:
    using TSessionLink = Zn::ComponentLink<TZnHTTPTransportSession>;

    TZnHTTPTransportSession& CheckSession();
    TZnHTTPTransportSession& OwnSession(const std::string& AUserAgent);
    TZnHTTPTransportSession& PrepareSession();
    /// nullptr when there is none, or when it is gone.
    TZnHTTPTransportSession* PresentSession() const;
    void Remember(TZnHTTPTransportSession& ASession) ZN_REQUIRES(FSessionLock);

    // A link instead of a free notification, whose lists belong to one thread: clients of several threads may
    // share a session. Read without the lock.
    std::atomic<TSessionLink*> FSession{nullptr};
    TZnCriticalSection FSessionLock; // one thread makes the session
    std::vector<std::shared_ptr<TSessionLink>>
        FLinks ZN_GUARDED_BY(FSessionLock); // keeps what FSession named
    std::string FClientCertificatePassword;
    Zn::Mutex FLastURLLock; // innermost
    std::shared_ptr<const TZnURLData> FLastURL ZN_GUARDED_BY(FLastURLLock);
    std::shared_ptr<Zn::ComponentLink<TZnHTTPTransportClient>> FLink;
};
