#pragma once

#include <memory>

#include "platform/Api.h"
#include "uZnHTTPClient/Contract.h"

/// An HTTP client on the transport that fits the program, behind the one interface.
///
/// Use:       auto Client = std::make_shared<TZnHTTPClient>(true);
/// Threads:   as TZnHTTPClientBase.
/// Ownership: owns the component behind it (GetAsComponent).
/// Errors:    the constructor raises EZnHTTPInvalidArgument when the program was linked without that
/// transport.
class ZN_API TZnHTTPClient : public TObject, public virtual IZnHTTPClient
{
public:
    /// True: the program runs as a service, or otherwise without a user's session (TZnWinHTTPClient).
    explicit TZnHTTPClient(bool ANTService);
    ~TZnHTTPClient() override;
    TZnHTTPClient(const TZnHTTPClient&) = delete;
    TZnHTTPClient& operator=(const TZnHTTPClient&) = delete;

    TComponent* GetAsComponent() override { return FObj.get(); }
    std::shared_ptr<IZnHTTPSession> GetSession() override { return FIntf->GetSession(); }
    TZnHTTPCookieHandling GetCookieHandling() override { return FIntf->GetCookieHandling(); }
    TZnHTTPAccessType GetAccessType() override { return FIntf->GetAccessType(); }
    TZnHTTPAuthentication GetAuthentication() override { return FIntf->GetAuthentication(); }
    TZnCredentials& GetCredentials() override { return FIntf->GetCredentials(); }
    TZnCredentials& GetProxyCredentials() override { return FIntf->GetProxyCredentials(); }
    TZnOAuth& GetOAuth() override { return FIntf->GetOAuth(); }
    TZnHTTPRequestHeaders& GetRequestHeaders() override { return FIntf->GetRequestHeaders(); }
    TZnHTTPSecurityFlags GetSecurityFlags() override { return FIntf->GetSecurityFlags(); }
    TZnHTTPVersion GetHTTPVersion() override { return FIntf->GetHTTPVersion(); }
    TZnHTTPTimeOuts& GetTimeOuts() override { return FIntf->GetTimeOuts(); }
    TZnHTTRedirectPolicy GetRedirectPolicy() override { return FIntf->GetRedirectPolicy(); }
    TZnHTTPProgress GetOnProgress() override { return FIntf->GetOnProgress(); }
    TZnHTTPOnRequest GetOnRequest() override { return FIntf->GetOnRequest(); }
    TZnHTTPOnRequestError GetOnRequestError() override { return FIntf->GetOnRequestError(); }
    TZnHTTPOnResponse GetOnResponse() override { return FIntf->GetOnResponse(); }
    TZnHTTPOnGetClientCertificate GetOnGetClientCertificate() override
    {
        return FIntf->GetOnGetClientCertificate();
    }

    void SetSession(const std::shared_ptr<IZnHTTPSession>& AValue) override { FIntf->SetSession(AValue); }
    void SetCookieHandling(TZnHTTPCookieHandling AValue) override { FIntf->SetCookieHandling(AValue); }
    void SetAccessType(TZnHTTPAccessType AValue) override { FIntf->SetAccessType(AValue); }
    void SetAuthentication(TZnHTTPAuthentication AValue) override { FIntf->SetAuthentication(AValue); }
    void SetCredentials(const TZnCredentials* AValue) override { FIntf->SetCredentials(AValue); }
    void SetProxyCredentials(const TZnCredentials* AValue) override { FIntf->SetProxyCredentials(AValue); }
    void SetOAuth(const TZnOAuth* AValue) override { FIntf->SetOAuth(AValue); }
    void SetRequestHeaders(const TZnHTTPRequestHeaders* AValue) override { FIntf->SetRequestHeaders(AValue); }
    void SetSecurityFlags(TZnHTTPSecurityFlags AValue) override { FIntf->SetSecurityFlags(AValue); }
    void SetHTTPVersion(TZnHTTPVersion AValue) override { FIntf->SetHTTPVersion(AValue); }
    void SetTimeOuts(const TZnHTTPTimeOuts* AValue) override { FIntf->SetTimeOuts(AValue); }
    void SetRedirectPolicy(TZnHTTRedirectPolicy AValue) override { FIntf->SetRedirectPolicy(AValue); }
    void SetOnProgress(TZnHTTPProgress AValue) override { FIntf->SetOnProgress(std::move(AValue)); }
    void SetOnRequest(TZnHTTPOnRequest AValue) override { FIntf->SetOnRequest(std::move(AValue)); }
    void SetOnRequestError(TZnHTTPOnRequestError AValue) override
    {
        FIntf->SetOnRequestError(std::move(AValue));
    }
    void SetOnResponse(TZnHTTPOnResponse AValue) override { FIntf->SetOnResponse(std::move(AValue)); }
    void SetOnGetClientCertificate(TZnHTTPOnGetClientCertificate AValue) override
    {
        FIntf->SetOnGetClientCertificate(std::move(AValue));
    }

    TZnHTTPMethods Options(const std::string& AURL, TStream* AOutput) override;
    std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     const AnsiString& ABody,
                                                     const std::string& ABodyContentType) override;
    std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     TStream* ABody,
                                                     const std::string& ABodyContentType) override;
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             TStream* ABody, const std::string& ABodyContentType,
                                             bool ARaiseError) override;
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             const AnsiString& ABody, const std::string& ABodyContentType,
                                             bool ARaiseError) override;
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             bool ARaiseError) override;

private:
    std::unique_ptr<TComponent> FObj;
    std::shared_ptr<IZnHTTPClient> FIntf; // borrowed from FObj
};
