#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "uZnHTTPTransport/Client.h"
#include "uZnHTTPTransport/RequestBody.h"

namespace Zn
{

inline constexpr std::uint16_t cUnauthorized = 401;
inline constexpr std::uint16_t cProxyAuthenticationRequired = 407;

class TransportResponse;

/// One request: a copy of the client's settings, a connection, and what the exchanges of both transports have
/// in common. A transport derives a final class, which calls Prepare in its constructor.
///
/// Threads:   the thread that prepares it sends it; CancelRequest from any.
/// Ownership: lives as long as an interface to it, of which its response holds one. The client and the
///            session may go before it: it then ends in EAbort where it needs them.
class TransportRequest : public TObject,
                         public virtual IZnHTTPRequestEx,
                         public std::enable_shared_from_this<TransportRequest>
{
public:
    ~TransportRequest() override;
    TransportRequest(const TransportRequest&) = delete;
    TransportRequest& operator=(const TransportRequest&) = delete;

    std::string GetRawHeaders() override;
    TStream* GetBody() override { return FBody; }
    std::string GetURL() override { return URLData().URL; }
    TZnURLData GetURLData() override;
    void AddHeader(const std::string& AName, const std::string& AValue) override;
    void AddCookie(const std::string& AName, const std::string& AValue) override;

    std::shared_ptr<IZnHTTPResponse> SendRequest() override;
    void CancelRequest() override;

protected:
    /// AOwnBody, if any, is ABody given away.
    TransportRequest(TZnHTTPTransportClient& AHTTPClient, TZnHTTPTransportSession& ASession,
                     TZnHTTPMethod AMethod, TStream* ABody, std::unique_ptr<TStream> AOwnBody);
    /// The rest of the making: headers, URL, connection.
    void Prepare(TZnHTTPTransportClient& AClient, TZnHTTPTransportSession& ASession, const std::string& AURL,
                 const std::string& ABodyContentType);

    // --- What a transport adds

    /// The steps between SendRequest and its response, in their order.
    virtual std::shared_ptr<IZnHTTPResponse> Exchange() = 0;
    /// A new connection to the host. Under the lock of the session's connections.
    virtual void* OpenConnection(void* ASession, const TZnHTTPTimeOuts& ATimeOuts) = 0;
    virtual void* OpenRequest(void* AConnection) = 0;
    virtual std::shared_ptr<TransportResponse> MakeResponse() = 0;

    // --- Steps of an exchange (RequestSteps.cpp)

    void OpenHandle();
    void ApplyTimeOuts(std::uint32_t ASendOption, std::uint32_t AReceiveOption);
    void AddCustomHeaders();
    void AddStoredCookies();
    /// Asks OnGetClientCertificate, if there is one, and sets what it gives by AOption.
    void OfferClientCertificate(std::uint32_t AOption);
    void ReadStatus();
    std::shared_ptr<IZnHTTPResponse> TakeResponse();

    void SetOption(std::uint32_t AOption, std::uint32_t AValue) const;
    TZnHTTPTransportClient& Client() const;
    TZnHTTPTransportSession& Session() const;
    void* Handle() const { return FRequestHandle->GetHandle(true); }
    const std::shared_ptr<IZnHTTPRequestHandle>& SharedHandle() const { return FRequestHandle; }
    const std::shared_ptr<ComponentLink<TZnHTTPTransportClient>>& ClientLink() const { return FHTTPClient; }
    void* ConnectionHandle() const;
    /// As the URL has it; user and password stand beside it.
    const TZnURLData& URLData() const { return *FURLData; }
    void RaiseIfClosed();

    const FunctionBinding& FBinding;
    TZnHTTPVersion FHTTPVersion;
    TZnHTTPMethod FMethod;
    std::string FUserName; // of the URL, else the client's
    std::string FPassword;
    RequestBody FBodyData;
    TZnCredentials FProxyCredentials;
    TZnHTTPSecurityFlags FSecurityFlags;
    TZnHTTPHeaderList FRequestHeaders;
    std::string FReferer;
    std::string FAccept;
    TZnHTTRedirectPolicy FRedirectPolicy;
    TZnHTTPCookieHandling FCookieHandling;
    TZnHTTPStatus FStatus;

private:
    void TakeURL(TZnHTTPTransportClient& AClient, const std::string& AURL);
    void TakeHeaders(const TZnHTTPRequestHeaders& AHeaders, const std::string& ABodyContentType);
    void TakeConnection(TZnHTTPTransportClient& AClient, TZnHTTPTransportSession& ASession);
    void DropHandle();

    std::shared_ptr<const TZnURLData> FURLData;
    std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> FHTTPClient;
    std::shared_ptr<ComponentLink<TZnHTTPTransportSession>> FSession;
    const void* FClientId;
    std::shared_ptr<TZnHTTPConnection> FConnection;
    bool FCloseConnection;
    std::mutex FHandleLock; // the sending thread writes, CancelRequest reads
    std::shared_ptr<IZnHTTPRequestHandle> FRequestHandle;
    std::atomic<bool> FCancelled{false};
    std::unique_ptr<TStream> FOwnBody;
    TStream* FBody;
    TZnHTTPHeaders FCustomHeaders;
    TZnHTTPHeaders FCustomCookies;
};

} // namespace Zn
