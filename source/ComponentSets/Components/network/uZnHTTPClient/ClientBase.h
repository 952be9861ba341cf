#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "common/Locks.h"
#include "platform/Api.h"
#include "uZnHTTPClient/Contract.h"

/// Application-wide: asked for the form that shows an authorization page. Unassigned, the page opens in
/// the user's browser. A user interface assigns it once, before requests are made.
ZN_API extern TZnHTTPOnGetOAuthAuthorizeForm ZnOnGetOAuthAuthorizeForm;

/// What all HTTP clients have in common: settings, events, the drivers Request and Options.
///
/// Use:       make a transport's client (TZnWinHTTPClient), set what differs from the defaults, call
///            Request; see examples/http-client.
/// Threads:   set properties before requests are made. Then several threads may send, each with requests of
///            its own. Events run on the thread that sends or reads, several at once, under no lock. The
///            client is not freed while another thread sends with it.
/// Ownership: owns its settings objects, whose setters copy. Session is shared.
/// Errors:    platform failures raise the transport's EZnHTTPClientApiException with number and text:
///            EZnHTTPTimeOut, EZnHTTPConnect, EAbort for what was cancelled. A status raises on request only.
class ZN_API TZnHTTPClientBase : public TComponent, public virtual IZnHTTPClient
{
public:
    /// Of MaxInflatedSize, in bytes.
    static constexpr std::int64_t cDefaultMaxInflatedSize = 256 * 1024 * 1024;

    explicit TZnHTTPClientBase(TComponent* AOwner);
    ~TZnHTTPClientBase() override;

    TComponent* GetAsComponent() override { return this; }

    /// Default HTTP1_1.
    TZnHTTPVersion GetHTTPVersion() override { return FHTTPVersion; }
    void SetHTTPVersion(TZnHTTPVersion AValue) override { FHTTPVersion = AValue; }
    /// Default chAutomatic.
    TZnHTTPCookieHandling GetCookieHandling() override { return FCookieHandling; }
    void SetCookieHandling(TZnHTTPCookieHandling AValue) override { FCookieHandling = AValue; }
    /// Default rdpDisallowHttpsToHttp.
    TZnHTTRedirectPolicy GetRedirectPolicy() override { return FRedirectPolicy; }
    void SetRedirectPolicy(TZnHTTRedirectPolicy AValue) override { FRedirectPolicy = AValue; }
    /// Default empty: every fault of a certificate ends the request.
    TZnHTTPSecurityFlags GetSecurityFlags() override { return FSecurityFlags; }
    void SetSecurityFlags(TZnHTTPSecurityFlags AValue) override { FSecurityFlags = AValue; }
    /// Default nothing assigned.
    TZnHTTPRequestHeaders& GetRequestHeaders() override { return FRequestHeaders; }
    void SetRequestHeaders(const TZnHTTPRequestHeaders* AValue) override { FRequestHeaders.Assign(AValue); }
    /// How the credentials are offered. Default authNone, which answers what the server asks for; a
    /// transport sets authBasic or authDigest when it has learnt that.
    TZnHTTPAuthentication GetAuthentication() override { return FAuthentication; }
    void SetAuthentication(TZnHTTPAuthentication AValue) override { FAuthentication = AValue; }
    /// For servers; a user name or password in a URL goes before them. nullptr changes nothing.
    TZnCredentials& GetCredentials() override { return FCredentials; }
    void SetCredentials(const TZnCredentials* AValue) override;
    /// For the proxy. nullptr changes nothing.
    TZnCredentials& GetProxyCredentials() override { return FProxyCredentials; }
    void SetProxyCredentials(const TZnCredentials* AValue) override;
    TZnHTTPTimeOuts& GetTimeOuts() override { return FTimeOuts; }
    void SetTimeOuts(const TZnHTTPTimeOuts* AValue) override { FTimeOuts.Assign(AValue); }
    /// For authOAuth2. nullptr changes nothing.
    TZnOAuth& GetOAuth() override { return FOAuth; }
    void SetOAuth(const TZnOAuth* AValue) override;

    /// Bytes that a "deflate" body unfolds to at most; a longer one ends in EZnZlibException. A few kilobytes
    /// can unfold to gigabytes. Default 256 MiB.
    std::int64_t GetMaxInflatedSize() const { return FMaxInflatedSize; }
    void SetMaxInflatedSize(std::int64_t AValue) { FMaxInflatedSize = AValue; }

    /// Runs for each piece of a body that was read; BytesRead is the size of that piece. The client isn't
    /// freed in it: its destructor waits for the end of such a call on another thread.
    TZnHTTPProgress GetOnProgress() override { return FOnProgress; }
    void SetOnProgress(TZnHTTPProgress AValue) override { FOnProgress = std::move(AValue); }
    /// Runs before a request goes out; it may still add headers and cookies.
    TZnHTTPOnRequest GetOnRequest() override { return FOnRequest; }
    void SetOnRequest(TZnHTTPOnRequest AValue) override { FOnRequest = std::move(AValue); }
    /// Runs when the first send fails, before the exception.
    TZnHTTPOnRequestError GetOnRequestError() override { return FOnRequestError; }
    void SetOnRequestError(TZnHTTPOnRequestError AValue) override { FOnRequestError = std::move(AValue); }
    /// Runs when a response's head is in, before SendRequest returns.
    TZnHTTPOnResponse GetOnResponse() override { return FOnResponse; }
    void SetOnResponse(TZnHTTPOnResponse AValue) override { FOnResponse = std::move(AValue); }
    /// Asked for the client's certificate, before a request goes out and when a server demands one.
    TZnHTTPOnGetClientCertificate GetOnGetClientCertificate() override { return FOnGetClientCertificate; }
    void SetOnGetClientCertificate(TZnHTTPOnGetClientCertificate AValue) override
    {
        FOnGetClientCertificate = std::move(AValue);
    }

    /// ZnOnGetOAuthAuthorizeForm.
    static const TZnHTTPOnGetOAuthAuthorizeForm& GetOnGetOAuthAuthorizeForm();
    static void SetOnGetOAuthAuthorizeForm(TZnHTTPOnGetOAuthAuthorizeForm AValue);

    /// The same with a text, sent as UTF-8, for ABody.
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             TStream* ABody, const std::string& ABodyContentType,
                                             bool ARaiseError) override;
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             const AnsiString& ABody, const std::string& ABodyContentType,
                                             bool ARaiseError) override;
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             const std::string& ABody, const std::string& ABodyContentType,
                                             bool ARaiseError);
    std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                             bool ARaiseError) override;

    TZnHTTPMethods Options(const std::string& AURL, TStream* AOutput) override;

    /// Sees to it that OAuth holds a live token, or raises. Transports call it before each request when
    /// Authentication is authOAuth2; while a token lives it costs a look at the clock. The interactive grants
    /// wait for the user. See docs/oauth.md.
    virtual void GetOAuthAccessToken();

    // Each calls its event, if there is one.
    /// Tells OnProgress of a piece of a body: its size, and the length announced (0: none was).
    virtual void DoProgress(TStream* AData, std::uint64_t ABytesRead, std::uint64_t ATotalBytes);
    /// Calls OnRequest ahead of a send.
    virtual void DoOnRequest(const std::shared_ptr<IZnHTTPRequest>& ARequest);
    /// Calls OnRequestError for a first send that failed, with the transport's number.
    virtual void DoOnRequestError(const std::shared_ptr<IZnHTTPRequest>& ARequest, std::uint32_t AErrorCode);
    /// Calls OnResponse when a head is in.
    virtual void DoOnResponse(const std::shared_ptr<IZnHTTPResponse>& AResponse);

private:
    std::shared_ptr<IZnHTTPResponse> RequestWithBytes(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                      std::string_view ABody,
                                                      const std::string& ABodyContentType, bool ARaiseError);

    TZnHTTPVersion FHTTPVersion = HTTP1_1;
    TZnHTTPCookieHandling FCookieHandling = chAutomatic;
    TZnHTTPRequestHeaders FRequestHeaders;
    TZnHTTPSecurityFlags FSecurityFlags;
    TZnCredentials FCredentials;
    TZnCredentials FProxyCredentials;
    std::atomic<TZnHTTPAuthentication> FAuthentication{authNone}; // requests of any thread learn it
    TZnHTTPTimeOuts FTimeOuts;
    TZnHTTRedirectPolicy FRedirectPolicy = rdpDisallowHttpsToHttp;
    std::int64_t FMaxInflatedSize = cDefaultMaxInflatedSize;
    TZnHTTPProgress FOnProgress;
    TZnHTTPOnRequest FOnRequest;
    TZnHTTPOnRequestError FOnRequestError;
    TZnHTTPOnResponse FOnResponse;
    TZnHTTPOnGetClientCertificate FOnGetClientCertificate;
    TZnOAuth FOAuth;
    TZnCriticalSection FOAuthLock; // held while a token is got, by whatever it takes
    bool FRequestingOAuthToken ZN_GUARDED_BY(FOAuthLock) = false;
};
