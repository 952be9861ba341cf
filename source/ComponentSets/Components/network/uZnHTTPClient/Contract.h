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
#include "platform/Api.h"
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
/// What of a server's certificate is forgiven; empty: nothing.
using TZnHTTPSecurityFlags = TZnSet<TZnHTTPSecurityFlag>;

/// How a session reaches servers: as the environment says, directly, through ProxyServer, or as the
/// environment says but without configuration scripts.
enum TZnHTTPAccessType : std::uint8_t { atDefault, atDirect, atProxy, atDefaultNoAutoProxy };

/// Who sends a session's cookies: the transport's engine, or the session's own list.
enum TZnHTTPCookieHandling : std::uint8_t { chAutomatic, chManual };

class IZnHTTPSession;

/// One request, from PrepareRequest to its response.
class ZN_API IZnHTTPRequest : public virtual IInterface
{
public:
    static constexpr TGUID IID{"D987B870-66DB-4E51-B62E-991B93CCA239"};

    /// The request line and the header block as the transport holds them. Of use in OnRequest and
    /// later; empty before.
    virtual std::string GetRawHeaders() = 0;
    /// May be nullptr.
    virtual TStream* GetBody() = 0;
    /// As it was asked for, with name and password where it had them.
    virtual std::string GetURL() = 0;
    /// The same in its parts.
    virtual TZnURLData GetURLData() = 0;
    /// Before SendRequest and in OnRequest. There it replaces a field of that name. Raises
    /// EZnHTTPInvalidArgument for what can't stand in a header.
    virtual void AddHeader(const std::string& AName, const std::string& AValue) = 0;
    /// As AddHeader; under chManual only.
    virtual void AddCookie(const std::string& AName, const std::string& AValue) = 0;
};

class IZnHTTPResponse;

/// A request that is ready to be sent.
class ZN_API IZnHTTPRequestEx : public virtual IZnHTTPRequest
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
class ZN_API IZnHTTPResponse : public virtual IInterface
{
public:
    static constexpr TGUID IID{"F80A489E-AFD4-481F-961A-F0A7B87B87EE"};

    /// Status and reason phrase, as the server gave them; those of the last one after redirects.
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
class ZN_API IZnHTTPOAuthAutorizeForm : public virtual IInterface
{
public:
    static constexpr TGUID IID{"4CC65C79-D517-4F6D-8332-0A26DA67D452"};

    /// Shows the page; returns when the form is closed.
    virtual void Authorize(const std::string& AURL) = 0;
    /// The flow is over: the form goes away. On the thread that shows it.
    virtual void Close() = 0;
};

/// A piece of a body was read: the stream that it went into, its size in bytes, and the length announced (0:
/// none was).
using TZnHTTPProgress =
    std::function<void(TObject* Sender, TStream* AData, std::int64_t BytesRead, std::int64_t TotalBytes)>;
/// A request is about to go out; it may still get fields and cookies.
using TZnHTTPOnRequest =
    std::function<void(TObject* Sender, const std::shared_ptr<IZnHTTPRequest>& ARequest)>;
/// A first send failed, with the transport's number; the exception follows.
using TZnHTTPOnRequestError = std::function<void(
    TObject* Sender, const std::shared_ptr<IZnHTTPRequest>& ARequest, std::uint32_t AErrorCode)>;
/// The head of a response is in; its body hasn't been read.
using TZnHTTPOnResponse =
    std::function<void(TObject* Sender, const std::shared_ptr<IZnHTTPResponse>& AResponse)>;
/// Takes the certificate with its key as PEM text or as PKCS#12 bytes.
using TZnHTTPSetClientCertificate =
    std::function<void(const void* ACertContext, std::uint32_t ACertContextSize)>;
/// Asked for the client's certificate: PEM text with key and chain, or PKCS#12 bytes.
using TZnHTTPOnGetClientCertificate =
    std::function<void(const TZnHTTPSetClientCertificate& SetClientCertificate)>;
/// Asked for the form that shows an authorization page; nullptr: the user's browser.
using TZnHTTPOnGetOAuthAuthorizeForm = std::function<std::shared_ptr<IZnHTTPOAuthAutorizeForm>()>;

/// What several clients may share: connections, cookies, the way to the servers.
class ZN_API IZnHTTPSession : public virtual IInterface
{
public:
    static constexpr TGUID IID{"6517AD7C-869C-4649-AF5F-5D4F6E6B35E1"};

    /// Open, and not being closed. Setting it opens or closes; requests open a session by themselves.
    virtual bool GetActive() = 0;
    /// Sent with every request. Counts from the next opening on.
    virtual std::string GetUserAgent() = 0;
    /// How servers are reached. Default atDefault; counts from the next opening on.
    virtual TZnHTTPAccessType GetAccessType() = 0;
    /// "host:port" for atProxy; default empty. Any text sets AccessType to atProxy.
    virtual std::string GetProxyServer() = 0;
    /// Names that are reached directly, "*" for any letters, ";" between them. Default empty.
    virtual std::string GetProxyServerBypass() = 0;
    /// The cookies of all clients of the session. Any thread.
    virtual TZnHTTPCookieList& GetCookies() = 0;
    /// False closes everything that is open, from any thread; requests under way end with EAbort.
    virtual void SetActive(bool AValue) = 0;
    /// See GetUserAgent.
    virtual void SetUserAgent(const std::string& AValue) = 0;
    /// See GetAccessType.
    virtual void SetAccessType(TZnHTTPAccessType AValue) = 0;
    /// See GetProxyServer.
    virtual void SetProxyServer(const std::string& AValue) = 0;
    /// See GetProxyServerBypass.
    virtual void SetProxyServerBypass(const std::string& AValue) = 0;
};

/// An HTTP client. See TZnHTTPClientBase for what each setting means.
class ZN_API IZnHTTPClient : public virtual IInterface
{
public:
    static constexpr TGUID IID{"E37C291B-D671-4F63-A042-A21982015483"};

    /// The component behind the interface, for owners and names.
    virtual TComponent* GetAsComponent() = 0;
    /// The session, made if there is none; borrowed from whoever frees it.
    virtual std::shared_ptr<IZnHTTPSession> GetSession() = 0;
    /// Who sends cookies. Default chAutomatic.
    virtual TZnHTTPCookieHandling GetCookieHandling() = 0;
    /// The session's.
    virtual TZnHTTPAccessType GetAccessType() = 0;
    /// How credentials are offered at first. Default authNone, which answers what the server asks for.
    virtual TZnHTTPAuthentication GetAuthentication() = 0;
    /// For servers; a name or password in a URL goes before them.
    virtual TZnCredentials& GetCredentials() = 0;
    /// For the proxy.
    virtual TZnCredentials& GetProxyCredentials() = 0;
    /// For authOAuth2: how tokens are got, and the present one.
    virtual TZnOAuth& GetOAuth() = 0;
    /// Fields of every request. Default nothing assigned.
    virtual TZnHTTPRequestHeaders& GetRequestHeaders() = 0;
    /// What of a server's certificate is forgiven. Default nothing.
    virtual TZnHTTPSecurityFlags GetSecurityFlags() = 0;
    /// The version of requests. Default HTTP1_1.
    virtual TZnHTTPVersion GetHTTPVersion() = 0;
    /// How long the client waits for connection, request and response, in ms; 0 waits for ever.
    virtual TZnHTTPTimeOuts& GetTimeOuts() = 0;
    /// When a redirect is followed. Default rdpDisallowHttpsToHttp.
    virtual TZnHTTRedirectPolicy GetRedirectPolicy() = 0;
    /// Called for each piece of a body, on the thread that reads.
    virtual TZnHTTPProgress GetOnProgress() = 0;
    /// Called before a request goes out, on the thread that sends.
    virtual TZnHTTPOnRequest GetOnRequest() = 0;
    /// Called when the first send fails, ahead of the exception, on the thread that sends.
    virtual TZnHTTPOnRequestError GetOnRequestError() = 0;
    /// Called when a head is in, on the thread that sends.
    virtual TZnHTTPOnResponse GetOnResponse() = 0;
    /// Asked for the client's certificate, on the thread that sends.
    virtual TZnHTTPOnGetClientCertificate GetOnGetClientCertificate() = 0;

    /// nullptr takes the session away; the next request makes one. It has to be of the client's transport.
    virtual void SetSession(const std::shared_ptr<IZnHTTPSession>& AValue) = 0;
    /// See GetCookieHandling.
    virtual void SetCookieHandling(TZnHTTPCookieHandling AValue) = 0;
    /// See GetAccessType.
    virtual void SetAccessType(TZnHTTPAccessType AValue) = 0;
    /// See GetAuthentication.
    virtual void SetAuthentication(TZnHTTPAuthentication AValue) = 0;
    /// Copies; nullptr changes nothing.
    virtual void SetCredentials(const TZnCredentials* AValue) = 0;
    /// Copies; nullptr changes nothing.
    virtual void SetProxyCredentials(const TZnCredentials* AValue) = 0;
    /// Copies; nullptr changes nothing.
    virtual void SetOAuth(const TZnOAuth* AValue) = 0;
    /// Copies.
    virtual void SetRequestHeaders(const TZnHTTPRequestHeaders* AValue) = 0;
    /// See GetSecurityFlags.
    virtual void SetSecurityFlags(TZnHTTPSecurityFlags AValue) = 0;
    /// See GetHTTPVersion.
    virtual void SetHTTPVersion(TZnHTTPVersion AValue) = 0;
    /// Copies.
    virtual void SetTimeOuts(const TZnHTTPTimeOuts* AValue) = 0;
    /// See GetRedirectPolicy.
    virtual void SetRedirectPolicy(TZnHTTRedirectPolicy AValue) = 0;
    /// See GetOnProgress.
    virtual void SetOnProgress(TZnHTTPProgress AValue) = 0;
    /// See GetOnRequest.
    virtual void SetOnRequest(TZnHTTPOnRequest AValue) = 0;
    /// See GetOnRequestError.
    virtual void SetOnRequestError(TZnHTTPOnRequestError AValue) = 0;
    /// See GetOnResponse.
    virtual void SetOnResponse(TZnHTTPOnResponse AValue) = 0;
    /// See GetOnGetClientCertificate.
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
class ZN_API IZnObjectReference : public virtual IInterface
{
public:
    static constexpr TGUID IID{"0417F540-9CCC-4DE6-B2C4-1063D0508346"};

    /// Borrowed: it lives as long as the reference to the interface, or as its owner.
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
