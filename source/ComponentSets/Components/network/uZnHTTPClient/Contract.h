#pragma once

/// What an application asks of an HTTP client, whatever transport is behind it.
///
///     Request(...)  --PrepareRequest-->  IZnHTTPRequestEx  --SendRequest-->  IZnHTTPResponse

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "common/Component.h"
#include "common/Encoding.h"
#include "common/Interfaces.h"
#include "common/Set.h"
#include "common/Streams.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPClient/HeaderList.h"
#include "uZnHTTPClient/RequestHeaders.h"
#include "uZnHTTPClient/TimeOuts.h"

/// What of a server's certificate is not looked at.
enum TZnHTTPSecurityFlag : std::uint8_t {
    sfIgnoreInvalidCertDate,
    sfIgnoreUnknownCA,
    sfIgnoreInvalidCommonName,
    sfIgnoreRevocation,
    sfIgnoreWrongUsage
};
using TZnHTTPSecurityFlags = TZnSet<TZnHTTPSecurityFlag>;

/// How a session reaches servers: as the environment says, directly, through ProxyServer, or as the
/// environment says but without configuration scripts.
enum TZnHTTPAccessType : std::uint8_t { atDefault, atDirect, atProxy, atDefaultNoAutoProxy };

/// Who sends a session's cookies: the transport's engine, or the session's own list.
enum TZnHTTPCookieHandling : std::uint8_t { chAutomatic, chManual };

class IZnHTTPSession;

/// One request, from PrepareRequest to its response.
class IZnHTTPRequest : public virtual IInterface
{
public:
    static constexpr TGUID IID{"D987B870-66DB-4E51-B62E-991B93CCA239"};

    /// The request line and the header block as the transport holds them. Of use in OnRequest and
    /// later; empty before.
    virtual std::string GetRawHeaders() = 0;
    /// May be nullptr.
    virtual TStream* GetBody() = 0;
    virtual std::string GetURL() = 0;
    virtual TZnURLData GetURLData() = 0;
    /// Before SendRequest and in OnRequest. There it replaces a field of that name. Raises
    /// EZnHTTPInvalidArgument for what can't stand in a header.
    virtual void AddHeader(const std::string& AName, const std::string& AValue) = 0;
    /// As AddHeader; under chManual only.
    virtual void AddCookie(const std::string& AName, const std::string& AValue) = 0;
};

class IZnHTTPResponse;

class IZnHTTPRequestEx : public virtual IZnHTTPRequest
{
public:
    static constexpr TGUID IID{"07BAA665-C253-4647-9DD0-755759AA555A"};

    /// Sends, on the caller's thread, and returns when the response's head is in.
    virtual std::shared_ptr<IZnHTTPResponse> SendRequest() = 0;
    /// From any thread: a SendRequest or a read of the body that is under way ends with EAbort.
    virtual void CancelRequest() = 0;
};

/// A response. It may outlive its request, its client and its session; what is no longer there to
/// be read then ends in EAbort.
///
/// Threads: one at a time.
class IZnHTTPResponse : public virtual IInterface
{
public:
    static constexpr TGUID IID{"F80A489E-AFD4-481F-961A-F0A7B87B87EE"};

    virtual TZnHTTPStatus GetStatus() = 0;
    /// The status line and the fields. Stays the response's.
    virtual TZnHTTPHeaderList& GetResponseHeaders() = 0;
    /// The field of that name, all occurrences with CR LF between them; empty when there is none.
    virtual std::string GetHeader(const std::string& AName) = 0;
    /// Of the first "Set-Cookie" field (in this case exactly) whose value begins with AName, the
    /// text behind the first "=" to the end, attributes included; empty when there is none.
    virtual std::string GetCookie(const std::string& AName) = 0;
    /// Reads the body into the stream, piece by piece as it comes. "deflate" is undone.
    virtual void GetResponseData(TStream& AResponse) = 0;
    /// The body as text (UTF-8), read once and kept. What GetResponseData took before is gone.
    virtual std::string GetResponse() = 0;
    /// Raises for a status that means failure.
    virtual void CheckError() = 0;
};

/// The application's own form for the authorization page. Called from a server's thread too.
class IZnHTTPOAuthAutorizeForm : public virtual IInterface
{
public:
    static constexpr TGUID IID{"4CC65C79-D517-4F6D-8332-0A26DA67D452"};

    /// Shows the page; returns when the form is closed.
    virtual void Authorize(const std::string& AURL) = 0;
    virtual void Close() = 0;
};

using TZnHTTPProgress =
    std::function<void(TObject* Sender, TStream* AData, std::int64_t BytesRead, std::int64_t TotalBytes)>;
using TZnHTTPOnRequest =
    std::function<void(TObject* Sender, const std::shared_ptr<IZnHTTPRequest>& ARequest)>;
using TZnHTTPOnRequestError = std::function<void(
    TObject* Sender, const std::shared_ptr<IZnHTTPRequest>& ARequest, std::uint32_t AErrorCode)>;
using TZnHTTPOnResponse =
    std::function<void(TObject* Sender, const std::shared_ptr<IZnHTTPResponse>& AResponse)>;
/// Takes the certificate with its key as PEM text or as PKCS#12 bytes.
using TZnHTTPSetClientCertificate =
    std::function<void(const void* ACertContext, std::uint32_t ACertContextSize)>;
using TZnHTTPOnGetClientCertificate =
    std::function<void(const TZnHTTPSetClientCertificate& SetClientCertificate)>;
using TZnHTTPOnGetOAuthAuthorizeForm = std::function<std::shared_ptr<IZnHTTPOAuthAutorizeForm>()>;

/// What several clients may share: connections, cookies, the way to the servers.
class IZnHTTPSession : public virtual IInterface
{
public:
    static constexpr TGUID IID{"6517AD7C-869C-4649-AF5F-5D4F6E6B35E1"};

    virtual bool GetActive() = 0;
    virtual std::string GetUserAgent() = 0;
    virtual TZnHTTPAccessType GetAccessType() = 0;
    virtual std::string GetProxyServer() = 0;
    virtual std::string GetProxyServerBypass() = 0;
    virtual TZnHTTPCookieList& GetCookies() = 0;
    /// False closes everything that is open, from any thread; requests under way end with EAbort.
    virtual void SetActive(bool AValue) = 0;
    virtual void SetUserAgent(const std::string& AValue) = 0;
    virtual void SetAccessType(TZnHTTPAccessType AValue) = 0;
    virtual void SetProxyServer(const std::string& AValue) = 0;
    virtual void SetProxyServerBypass(const std::string& AValue) = 0;
};

/// An HTTP client. See TZnHTTPClientBase for what each setting means.
class IZnHTTPClient : public virtual IInterface
{
public:
    static constexpr TGUID IID{"E37C291B-D671-4F63-A042-A21982015483"};

    virtual TComponent* GetAsComponent() = 0;
    virtual std::shared_ptr<IZnHTTPSession> GetSession() = 0;
    virtual TZnHTTPCookieHandling GetCookieHandling() = 0;
    virtual TZnHTTPAccessType GetAccessType() = 0;
    virtual TZnHTTPAuthentication GetAuthentication() = 0;
    virtual TZnCredentials& GetCredentials() = 0;
    virtual TZnCredentials& GetProxyCredentials() = 0;
    virtual TZnOAuth& GetOAuth() = 0;
    virtual TZnHTTPRequestHeaders& GetRequestHeaders() = 0;
    virtual TZnHTTPSecurityFlags GetSecurityFlags() = 0;
    virtual TZnHTTPVersion GetHTTPVersion() = 0;
    virtual TZnHTTPTimeOuts& GetTimeOuts() = 0;
    virtual TZnHTTRedirectPolicy GetRedirectPolicy() = 0;
    virtual TZnHTTPProgress GetOnProgress() = 0;
    virtual TZnHTTPOnRequest GetOnRequest() = 0;
    virtual TZnHTTPOnRequestError GetOnRequestError() = 0;
    virtual TZnHTTPOnResponse GetOnResponse() = 0;
    virtual TZnHTTPOnGetClientCertificate GetOnGetClientCertificate() = 0;

    virtual void SetSession(const std::shared_ptr<IZnHTTPSession>& AValue) = 0;
    virtual void SetCookieHandling(TZnHTTPCookieHandling AValue) = 0;
    virtual void SetAccessType(TZnHTTPAccessType AValue) = 0;
    virtual void SetAuthentication(TZnHTTPAuthentication AValue) = 0;
    virtual void SetCredentials(const TZnCredentials* AValue) = 0;
    virtual void SetProxyCredentials(const TZnCredentials* AValue) = 0;
    virtual void SetOAuth(const TZnOAuth* AValue) = 0;
    virtual void SetRequestHeaders(const TZnHTTPRequestHeaders* AValue) = 0;
    virtual void SetSecurityFlags(TZnHTTPSecurityFlags AValue) = 0;
    virtual void SetHTTPVersion(TZnHTTPVersion AValue) = 0;
    virtual void SetTimeOuts(const TZnHTTPTimeOuts* AValue) = 0;
    virtual void SetRedirectPolicy(TZnHTTRedirectPolicy AValue) = 0;
    virtual void SetOnProgress(TZnHTTPProgress AValue) = 0;
    virtual void SetOnRequest(TZnHTTPOnRequest AValue) = 0;
    virtual void SetOnRequestError(TZnHTTPOnRequestError AValue) = 0;
    virtual void SetOnResponse(TZnHTTPOnResponse AValue) = 0;
    virtual void SetOnGetClientCertificate(TZnHTTPOnGetClientCertificate AValue) = 0;

    /// The methods that the server allows at AURL, by its "Allow" field, else by
    /// "Access-Control-Allow-Methods"; all nine when it doesn't tell. AOutput, unless it is nullptr,
    /// receives the body.
    virtual TZnHTTPMethods Options(const std::string& AURL, TStream* AOutput) = 0;

    /// A request with the bytes of ABody, which are UTF-8 where they are text.
    virtual std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                             const std::string& AURL, const AnsiString& ABody,
                                                             const std::string& ABodyContentType) = 0;
    /// A request with ABody from its position on. The stream, or nullptr for none, stays the
    /// caller's and has to live, unchanged, until SendRequest returns.
    virtual std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                             const std::string& AURL, TStream* ABody,
                                                             const std::string& ABodyContentType) = 0;

    /// PrepareRequest and SendRequest, and CheckError on the response when ARaiseError is set.
    virtual std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     TStream* ABody, const std::string& ABodyContentType,
                                                     bool ARaiseError) = 0;
    virtual std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     const AnsiString& ABody,
                                                     const std::string& ABodyContentType,
                                                     bool ARaiseError) = 0;
    virtual std::shared_ptr<IZnHTTPResponse> Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                     bool ARaiseError) = 0;
};

/// The object behind an interface.
class IZnObjectReference : public virtual IInterface
{
public:
    static constexpr TGUID IID{"0417F540-9CCC-4DE6-B2C4-1063D0508346"};

    virtual TObject* Implementor() = 0;
};

namespace Zn
{

/// A reference to an object that somebody else frees.
template <class T>
std::shared_ptr<T> Borrow(T* AObject)
{
    return std::shared_ptr<T>(std::shared_ptr<void>(), AObject);
}

} // namespace Zn
