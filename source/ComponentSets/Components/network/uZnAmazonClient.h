#pragma once

/// A client for Amazon web services: it makes the address of a service, signs each request by Signature
/// Version 4, and gives back what the service answers.
///
///     TZnAmazonClient Client(nullptr);
///     Client.SetService("dynamodb");
///     Client.SetRegion("eu-central-1");
///     Client.UseCredentials(*ZnLoadAmazonCredentials());
///     std::cout << Client.Execute("ListTables", httpPOST, "{}");

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/Component.h"
#include "common/StringList.h"
#include "platform/Api.h"
#include "uZnAmazonClient/Credentials.h"
#include "uZnAmazonClient/Endpoint.h"
#include "uZnAmazonClient/ErrorAnswer.h"
#include "uZnAmazonClient/Query.h"
#include "uZnHTTPClient.h"

namespace Zn
{
struct TSigner;
}

/// Calls web services that are signed by Signature Version 4, over any HTTP client of the library.
///
/// Use:       set Service, Region, AccessKeyID and AccessKey; then Get, Delete and Execute.
/// Threads:   belongs to one thread, on which every call waits and every event runs.
/// Ownership: AOwner frees it. It frees its HTTP client with itself, also one that was handed over; a client
///            that another one replaces goes back to whoever gave it. Bodies and data streams are borrowed
///            for a call.
/// Errors:    a status other than 2xx raises what the HTTP client's CheckError raises: EZnHTTPException with
/// the
///            status and the service's answer, which ZnReadAmazonError reads. A body that can't seek raises
///            its own exception. Settings aren't checked: with wrong ones the service refuses.
class ZN_API TZnAmazonClient : public TComponent
{
public:
    /// Parameters of a URL, in order.
    using TParams = std::vector<TNameValuePair>;
    using TParamTexts = std::vector<std::string>; // "name=value" each

    explicit TZnAmazonClient(TComponent* AOwner);
    ~TZnAmazonClient() override;

    /// "AWS4-HMAC-SHA256".
    const std::string& GetSignAlg() const { return FSignAlg; }
    /// "eu-central-1".
    const std::string& GetRegion() const { return FRegion; }
    void SetRegion(const std::string& AValue) { FRegion = AValue; }
    /// The service's name as it stands in its host name. "dynamodb", "rekognition" and "s3", in any case, set
    /// TargetPrefix and ContentType as well; any other leaves them. Only "s3" in lower case has buckets.
    const std::string& GetService() const { return FService; }
    void SetService(const std::string& AValue);
    /// The key's name, which is no secret.
    const std::string& GetAccessKeyID() const { return FAccessKeyID; }
    void SetAccessKeyID(const std::string& AValue) { FAccessKeyID = AValue; }
    /// The secret.
    const std::string& GetAccessKey() const { return FAccessKey; }
    void SetAccessKey(const std::string& AValue) { FAccessKey = AValue; }
    /// Goes, with a ".", in front of a target that has none.
    const std::string& GetTargetPrefix() const { return FTargetPrefix; }
    void SetTargetPrefix(const std::string& AValue) { FTargetPrefix = AValue; }
    /// Of bodies. Default "application/x-amz-json-1.0".
    const std::string& GetContentType() const { return FContentType; }
    void SetContentType(const std::string& AValue) { FContentType = AValue; }

    // Additions. As long as they have their defaults, requests are what they are without them.

    /// Of temporary keys; sent and signed as X-Amz-Security-Token. Default empty. A secret.
    const std::string& GetSessionToken() const { return FSessionToken; }
    void SetSessionToken(const std::string& AValue) { FSessionToken = AValue; }
    /// Keys and token; the region where the source has one.
    void UseCredentials(const TZnAmazonCredentials& ACredentials);

    /// Default cfClassic.
    TZnAmazonCanonicalForm GetCanonicalForm() const { return FCanonicalForm; }
    void SetCanonicalForm(TZnAmazonCanonicalForm AValue) { FCanonicalForm = AValue; }

    /// Default "amazonaws.com".
    const std::string& GetEndpointDomain() const { return FEndpoint.Domain; }
    void SetEndpointDomain(const std::string& AValue) { FEndpoint.Domain = AValue; }
    /// A bucket that holds this text is a full host name. Default "amazonaws".
    const std::string& GetEndpointLabel() const { return FEndpoint.Label; }
    void SetEndpointLabel(const std::string& AValue) { FEndpoint.Label = AValue; }
    /// "https" or "http". Default "https".
    const std::string& GetEndpointScheme() const { return FEndpoint.Scheme; }
    void SetEndpointScheme(const std::string& AValue) { FEndpoint.Scheme = AValue; }
    /// Default 0, the scheme's own.
    std::uint16_t GetEndpointPort() const { return FEndpoint.Port; }
    void SetEndpointPort(std::uint16_t AValue) { FEndpoint.Port = AValue; }
    /// Default efRegional.
    TZnAmazonEndpointForm GetEndpointForm() const { return FEndpoint.Form; }
    void SetEndpointForm(TZnAmazonEndpointForm AValue) { FEndpoint.Form = AValue; }
    /// Sets all of them for a local service: scheme, host and port of AURL, efPlain, and cfExact, as such
    /// services are reached at ports of their own. EInvalidArgument for what is no http or https URL.
    void SetEndpointURL(const std::string& AURL);

    /// How often a request is sent again after 429, 500, 502, 503, 504 or a throttling answer. Default 0.
    /// Each time it is signed anew.
    std::uint32_t GetMaxRetries() const { return FMaxRetries; }
    void SetMaxRetries(std::uint32_t AValue) { FMaxRetries = AValue; }
    /// The longest pause ahead of the first retry; each further one may be twice as long, up to 20 s. The
    /// pause is a random part of it. Default 100 ms.
    std::chrono::milliseconds GetRetryDelay() const { return FRetryDelay; }
    void SetRetryDelay(std::chrono::milliseconds AValue) { FRetryDelay = AValue; }

    // The client's own settings and events, forwarded. Its OnRequest is this component's: see SetOnRequest.
    /// The client's: who sends cookies. Makes a client where there is none, as all of these do.
    TZnHTTPCookieHandling GetCookieHandling() { return Client().GetCookieHandling(); }
    void SetCookieHandling(TZnHTTPCookieHandling AValue) { Client().SetCookieHandling(AValue); }
    /// The client's: what of a server's certificate is forgiven.
    TZnHTTPSecurityFlags GetSecurityFlags() { return Client().GetSecurityFlags(); }
    void SetSecurityFlags(TZnHTTPSecurityFlags AValue) { Client().SetSecurityFlags(AValue); }
    /// The client's: for the proxy.
    TZnCredentials& GetProxyCredentials() { return Client().GetProxyCredentials(); }
    void SetProxyCredentials(const TZnCredentials* AValue) { Client().SetProxyCredentials(AValue); }
    /// The client's: how long it waits, in ms.
    TZnHTTPTimeOuts& GetTimeOuts() { return Client().GetTimeOuts(); }
    void SetTimeOuts(const TZnHTTPTimeOuts* AValue) { Client().SetTimeOuts(AValue); }
    /// The client's: a piece of a body was read.
    TZnHTTPProgress GetOnProgress() { return Client().GetOnProgress(); }
    void SetOnProgress(TZnHTTPProgress AValue) { Client().SetOnProgress(std::move(AValue)); }
    /// The client's: the first send failed.
    TZnHTTPOnRequestError GetOnRequestError() { return Client().GetOnRequestError(); }
    void SetOnRequestError(TZnHTTPOnRequestError AValue) { Client().SetOnRequestError(std::move(AValue)); }
    /// The client's: the head of a response is in.
    TZnHTTPOnResponse GetOnResponse() { return Client().GetOnResponse(); }
    void SetOnResponse(TZnHTTPOnResponse AValue) { Client().SetOnResponse(std::move(AValue)); }

    /// Fires when a request is signed and about to go out.
    const TZnHTTPOnRequest& GetOnRequest() const { return FOnRequest; }
    void SetOnRequest(TZnHTTPOnRequest AValue) { FOnRequest = std::move(AValue); }

    /// The client in use; nullptr when it was freed from outside, until the next call makes one.
    TComponent* GetHTTPClient() const { return FHTTPClientObj; }
    /// Takes a client, whose OnRequest becomes this component's. Exception for a component that is none.
    /// nullptr frees the one there is.
    virtual void SetHTTPClient(TComponent* AValue);
    /// Makes a default client where there is none.
    void CheckClient();

    /// A request that is ready to be sent. ATarget: the bucket of "s3", else the operation; with the prefix
    /// it is X-Amz-Target. AResource: the path without its first "/", not encoded yet; what begins with "?"
    /// is dropped. ABody is sent from its beginning. ARedirectLocation, unless empty, is the URL that all
    /// others are added to.
    virtual std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AMethod,
                                                             const std::string& ATarget, TStream* ABody,
                                                             const std::string& AResource,
                                                             const TParams& AParams,
                                                             const std::string& ARedirectLocation);

    /// The body as text.
    std::string Get(const std::string& AResource);
    std::string Get(const std::string& ATarget, const std::string& AResource);
    std::string Get(const std::string& AResource, const TParams& AParams);
    std::string Get(const std::string& AResource, const TParamTexts& AParams);
    std::string Get(const std::string& ATarget, const std::string& AResource, const TParams& AParams);
    std::string Get(const std::string& ATarget, const std::string& AResource, const TParamTexts& AParams);

    /// The body goes into AData, at its position; the result is AData's size.
    std::int64_t Get(const std::string& AResource, TStream& AData);
    std::int64_t Get(const std::string& ATarget, const std::string& AResource, TStream& AData);
    std::int64_t Get(const std::string& AResource, const TParams& AParams, TStream& AData);
    std::int64_t Get(const std::string& AResource, const TParamTexts& AParams, TStream& AData);
    std::int64_t Get(const std::string& ATarget, const std::string& AResource, const TParams& AParams,
                     TStream& AData);
    std::int64_t Get(const std::string& ATarget, const std::string& AResource, const TParamTexts& AParams,
                     TStream& AData);

    /// Sends DELETE; what the service answers is dropped, a status other than 2xx raises.
    void Delete(const std::string& ATarget);
    void Delete(const std::string& ATarget, const std::string& AResource);
    void Delete(const std::string& AResource, const TParamTexts& AParams);
    void Delete(const std::string& ATarget, const std::string& AResource, const TParamTexts& AParams);

    /// Sends a body; the answer's body as text. A text goes out in UTF-8.
    std::string Execute(TZnHTTPBodyMethod AMethod, TStream* ABody, const std::string& AResource = {},
                        const TParams& AParams = {});
    std::string Execute(TZnHTTPBodyMethod AMethod, const std::string& ABody,
                        const std::string& AResource = {}, const TParams& AParams = {});
    std::string Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod, TStream* ABody,
                        const std::string& AResource = {}, const TParams& AParams = {});
    std::string Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod, const std::string& ABody,
                        const std::string& AResource = {}, const TParams& AParams = {});
    std::string Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod, TStream* ABody,
                        const std::string& AResource, const TParamTexts& AParams);
    std::string Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod, const std::string& ABody,
                        const std::string& AResource, const TParamTexts& AParams);

    /// A URL that lets whoever has it read (httpGET) or write (httpPUT) one object for AExpires (1 s to 7
    /// days) from now, without keys. EInvalidArgument for another method or time.
    std::string PresignURL(TZnHTTPMethod AMethod, const std::string& ATarget, const std::string& AResource,
                           std::chrono::seconds AExpires, const TParams& AParams = {}) const;
    /// The same from a moment of the caller's, such as "20130524T000000Z".
    std::string PresignURLAt(const std::string& ADate, TZnHTTPMethod AMethod, const std::string& ATarget,
                             const std::string& AResource, std::chrono::seconds AExpires,
                             const TParams& AParams = {}) const;

    // How a request is signed. BeforeSendRequest does all of it; it hangs on the client's OnRequest.

    /// The lines that are signed. Adds X-Amz-Date to the request where it has none.
    std::unique_ptr<TStringList> CreateCanonicalRequest(const std::shared_ptr<IZnHTTPRequest>& ARequest,
                                                        std::string& ADate, std::string& ASignedHeaders);
    /// The string to sign: algorithm, date, credential scope, and the hash of the canonical request.
    std::string CalculateStringToSign(const TStringList& ACanonicalRequest, const std::string& ADate) const;
    /// Adds Authorization to the request.
    void SignRequest(const std::shared_ptr<IZnHTTPRequest>& ARequest, const std::string& ADate,
                     const std::string& ASignedHeaders, const std::string& AStringToSign) const;
    /// Signs a request, then fires OnRequest.
    void BeforeSendRequest(TObject* Sender, const std::shared_ptr<IZnHTTPRequest>& ARequest);

protected:
    void Notification(TComponent* AComponent, TOperation AOperation) override;
    /// Waits ahead of a retry.
    virtual void Pause(std::chrono::milliseconds ATime);

private:
    IZnHTTPClient& Client();
    Zn::TSigner Signer() const;
    void ReleaseClient();
    void FreeClient();
    std::string BaseURL(const std::string& ATarget) const;
    std::string TargetHeader(const std::string& ATarget) const;
    /// Sends, with the retries, and checks the status.
    std::shared_ptr<IZnHTTPResponse> Send(TZnHTTPMethod AMethod, const std::string& ATarget, TStream* ABody,
                                          const std::string& AResource, const TParams& AParams);

    const std::string FSignAlg = "AWS4-HMAC-SHA256";
    std::string FRegion;
    std::string FService;
    std::string FTargetPrefix;
    std::string FAccessKey;
    std::string FAccessKeyID;
    std::string FContentType = "application/x-amz-json-1.0";
    TComponent* FHTTPClientObj = nullptr;
    std::shared_ptr<IZnHTTPClient> FHTTPClient;
    bool FIsDefaultClient = false; // made here, so freed here when another one takes its place
    TZnHTTPOnRequest FOnRequest;
    std::string FSessionToken;
    TZnAmazonCanonicalForm FCanonicalForm = cfClassic;
    Zn::TEndpoint FEndpoint;
    std::uint32_t FMaxRetries = 0;
    std::chrono::milliseconds FRetryDelay{100};
};
