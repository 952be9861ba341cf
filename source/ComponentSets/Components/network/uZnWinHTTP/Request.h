#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "common/ThreadAnnotations.h"
#include "uZnWinHTTP/Client.h"
#include "uZnWinHTTP/RequestBody.h"
#include "uZnWinHTTP/Session.h"

/// What a response asks its request.
class IZnHTTPRequestEx1 : public virtual IZnHTTPRequestEx
{
public:
    static constexpr TGUID IID{"5C300043-697A-4D47-9BEC-53E3FA580ACE"};

    /// The best scheme of the challenge; asBASIC before there was one.
    virtual TWINHTTP_AUTH_SCHEME GetFirstAuthScheme() = 0;
    virtual TWINHTTP_AUTH_SCHEME GetFirstProxyAuthScheme() = 0;
};

namespace Zn
{

/// One request: a copy of the client's settings, a connection, and the exchange.
///
/// Threads:   the thread that prepares it sends it; CancelRequest from any.
/// Ownership: lives as long as an interface to it, of which its response holds one. The client and the
/// session
///            may go before it: it then ends in EAbort where it needs them.
class TZnHTTPRequest final : public TObject,
                             public virtual IZnHTTPRequestEx1,
                             public std::enable_shared_from_this<TZnHTTPRequest>
{
public:
    /// AOwnBody, if any, is ABody given away.
    TZnHTTPRequest(TZnWinHTTPClient& AHTTPClient, TZnWinHTTPSession& ASession, TZnHTTPMethod AMethod,
                   const std::string& AURL, TStream* ABody, std::unique_ptr<TStream> AOwnBody,
                   const std::string& ABodyContentType);
    ~TZnHTTPRequest() override;
    TZnHTTPRequest(const TZnHTTPRequest&) = delete;
    TZnHTTPRequest& operator=(const TZnHTTPRequest&) = delete;

    std::string GetRawHeaders() override;
    TStream* GetBody() override { return FBody; }
    std::string GetURL() override { return FURLData.URL; }
    TZnURLData GetURLData() override { return FURLData; }
    void AddHeader(const std::string& AName, const std::string& AValue) override;
    void AddCookie(const std::string& AName, const std::string& AValue) override;

    std::shared_ptr<IZnHTTPResponse> SendRequest() override;
    void CancelRequest() override;

    TWINHTTP_AUTH_SCHEME GetFirstAuthScheme() override { return FFirstAuthScheme; }
    TWINHTTP_AUTH_SCHEME GetFirstProxyAuthScheme() override { return FFirstProxyAuthScheme; }

private:
    // Making it (Request.cpp)
    void TakeURL(const std::string& AURL, const TZnCredentials& ACredentials);
    void TakeHeaders(const TZnHTTPRequestHeaders& AHeaders, const std::string& ABodyContentType);
    void TakeConnection(TZnWinHTTPClient& AClient, TZnWinHTTPSession& ASession);

    // Sending it (Exchange.cpp), in this order
    std::shared_ptr<IZnHTTPResponse> Exchange();
    void OpenHandle();
    void ApplyTimeOuts();
    void ApplyCookieHandling();
    void AddFields();
    void AddStoredCookies();
    void ApplySecurityFlags();
    void ApplyLogonPolicy();
    void ApplyRedirectPolicy();
    void OfferCredentials();
    void OfferProxyCredentials();
    void OfferClientCertificate();
    void SendFirst();
    void Send();
    void Receive();
    void ReadStatus();
    void AnswerProxyChallenge();
    void AnswerServerChallenge();
    void LearnAuthentication();
    std::shared_ptr<IZnHTTPResponse> TakeResponse();

    void SendAgain();
    bool HasServerCredentials() const;
    void DropHandle();
    void RaiseIfClosed();

    TZnWinHTTPClient& Client() const;
    TZnWinHTTPSession& Session() const;
    void* Handle() const { return FRequestHandle->GetHandle(true); }

    std::shared_ptr<ComponentLink<TZnWinHTTPClient>> FHTTPClient;
    std::shared_ptr<ComponentLink<TZnWinHTTPSession>> FSession;
    const void* FClientId;
    std::shared_ptr<TZnHTTPConnection> FConnection;
    bool FCloseConnection;
    std::mutex FHandleLock; // the sending thread writes, CancelRequest reads
    std::shared_ptr<IZnHTTPRequestHandle> FRequestHandle;
    std::atomic<bool> FCancelled{false};
    TZnHTTPVersion FHTTPVersion;
    TZnHTTPMethod FMethod;
    TZnURLData FURLData;
    std::unique_ptr<TStream> FOwnBody;
    TStream* FBody;
    RequestBody FBodyData;
    TZnHTTPAuthentication FAuthentication;
    TWINHTTP_AUTH_SCHEME FProxyAuthentication;
    TZnCredentials FProxyCredentials;
    TZnHTTPSecurityFlags FSecurityFlags;
    TZnHTTPHeaderList FRequestHeaders;
    std::string FReferer;
    std::string FAccept;
    TZnHTTRedirectPolicy FRedirectPolicy;
    TZnHTTPCookieHandling FCookieHandling;
    TZnHTTPHeaders FCustomHeaders;
    TZnHTTPHeaders FCustomCookies;
    TWINHTTP_AUTH_SCHEMES FSupportedAuthSchemes;
    TWINHTTP_AUTH_SCHEME FFirstAuthScheme = asBASIC;
    TWINHTTP_AUTH_SCHEMES FSupportedProxyAuthSchemes;
    TWINHTTP_AUTH_SCHEME FFirstProxyAuthScheme = asBASIC;
    TZnHTTPStatus FStatus;
};

} // namespace Zn
