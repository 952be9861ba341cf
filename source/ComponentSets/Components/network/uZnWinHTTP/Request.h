#pragma once

#include <memory>
#include <string>

#include "uZnHTTPTransport/Request.h"
#include "uZnWinHTTP/Client.h"

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

/// One request of a TZnWinHTTPClient: one attempt, with one further send for each party that has a challenge.
/// Threads, ownership: as TransportRequest.
class WinHTTPRequest final : public TransportRequest, public virtual IZnHTTPRequestEx1
{
public:
    WinHTTPRequest(TZnWinHTTPClient& AHTTPClient, TZnHTTPTransportSession& ASession, TZnHTTPMethod AMethod,
                   const std::string& AURL, TStream* ABody, std::unique_ptr<TStream> AOwnBody,
                   const std::string& ABodyContentType);

    TWINHTTP_AUTH_SCHEME GetFirstAuthScheme() override { return FFirstAuthScheme; }
    TWINHTTP_AUTH_SCHEME GetFirstProxyAuthScheme() override { return FFirstProxyAuthScheme; }

protected:
    std::shared_ptr<IZnHTTPResponse> Exchange() override;
    void* OpenConnection(void* ASession, const TZnHTTPTimeOuts& ATimeOuts) override;
    void* OpenRequest(void* AConnection) override;
    std::shared_ptr<TransportResponse> MakeResponse() override;

private:
    // In this order, between the steps of TransportRequest
    void ApplyCookieHandling();
    void AddFields();
    void ApplySecurityFlags();
    void ApplyLogonPolicy();
    void ApplyRedirectPolicy();
    void OfferCredentials();
    void OfferProxyCredentials();
    void SendFirst();
    void Send();
    void Receive();
    void AnswerProxyChallenge();
    void AnswerServerChallenge();
    void LearnAuthentication();

    void SendAgain();
    bool HasServerCredentials() const;

    TZnHTTPAuthentication FAuthentication;
    TWINHTTP_AUTH_SCHEME FProxyAuthentication;
    TWINHTTP_AUTH_SCHEMES FSupportedAuthSchemes;
    TWINHTTP_AUTH_SCHEME FFirstAuthScheme = asBASIC;
    TWINHTTP_AUTH_SCHEMES FSupportedProxyAuthSchemes;
    TWINHTTP_AUTH_SCHEME FFirstProxyAuthScheme = asBASIC;
};

} // namespace Zn
