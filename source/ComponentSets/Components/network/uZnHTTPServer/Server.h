#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Component.h"
#include "common/Locks.h"
#include "common/Logger.h"
#include "common/Set.h"
#include "common/StringList.h"
#include "platform/Api.h"
#include "uZnHTTPServer/AuthExceptions.h"
#include "uZnHTTPServer/AuthMonitor.h"
#include "uZnHTTPServer/PageFiles.h"
#include "uZnHTTPServer/PortCertificates.h"
#include "uZnHTTPServer/RequestBuffers.h"
#include "uZnHTTPServer/Response.h"
#include "uZnHTTPServer/TrustedProxies.h"
#include "uZnHTTPServer/WorkerPool.h"

class TZnHTTPServerAuthToken;
class TZnHTTPServerAuthTokenManager;
class TZnHTTPServerListenThread;
class TZnHTTPServerOIDC;
class TZnJWT;
class TZnTextParser;
namespace Zn
{
class RequestCounters;
}
class TZnHTTPServerResponseThread;

/// Which operations of the HTTP service are used: a queue with URLs of its own, or a session with a
/// URL group and a named queue of length 10.
enum TZnHTTPServerVersion : std::uint8_t { HTTPServerV1, HTTPServerV2 };

/// What became of the requests that were at work, or on their way, when a server was told to drain.
struct TZnHTTPServerDrainResult
{
    std::uint32_t Ended = 0; // came to their end, by a whole answer or by the client's leaving
    std::uint32_t Cut = 0;   // lost their connection when the time was over
};

/// Seen among the bindings: https on port 443, https on another port.
enum TZnHTTPServerSSLMode : std::uint8_t { ssmDefaultSSL, ssmCustomSSL };
/// The kinds that were seen.
using TZnHTTPServerSSLModes = TZnSet<TZnHTTPServerSSLMode>;

/// Room for what a request carries besides the fixed record (URL, header fields, addresses), in
/// bytes. A request that needs more is dropped and its connection closed. Bodies of unknown length
/// are read in steps of 16 times this. Process-wide; set it while no server is active.
ZN_API extern std::int32_t RequestBufferSize; // 2048

/// The application identifier in certificate bindings.
ZN_API extern const TGUID SSLGUID;

/// Answers through the worker's own operations; nothing is done before or after it.
using TZnHTTPServerOnResponseRaw =
    std::function<void(TZnCustomHTTPServer& ASender, TZnHTTPServerResponseThread& AResponseThread)>;
/// Fills AResponse. What it raises becomes a status and a page: EZnHTTPException the status that is
/// its code, anything else 500.
using TZnHTTPServerOnResponse = std::function<void(
    TZnCustomHTTPServer& ASender, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse)>;

/// Looks an account up: false when there is none, else its hash (32 hexadecimal digits, see
/// CalculatePasswordHash), role, salt (for an override of CalculatePasswordHash) and the date on which the
/// password expires. AAuthType is authBasic, authDigest or authOAuth2. AUserName is what the client sent, of
/// any length and with any character, NUL included: compare all of it.
using TZnHTTServerOnGetStoredPassword = std::function<bool(
    TZnCustomHTTPServer& ASender, TZnHTTPAuthentication AAuthType, const std::string& AUserName,
    std::string& APasswordHash, std::string& ARoleName, std::string& ASalt, TDateTime& AExpiresOn)>;
/// Tells how an authentication ended.
using TZnHTTServerOnAuthenticate =
    std::function<void(TZnCustomHTTPServer& ASender, const std::string& AUserName, bool AAuthenticated)>;

/// Serves HTTP/1.1 (RFC 9110, RFC 9112) for the URL prefixes in Bindings, through the HTTP service.
///
/// Use:       set Bindings and OnResponse (or OnResponseRaw), then SetActive(true).
/// Threads:   belongs to the thread that made it; properties change while inactive, CSPDirectives
///            also later under CSPDirectivesLock. One listen thread and up to 128 workers run
///            while it is active; OnResponse runs on a worker, several at once, under that
///            worker's FLock only, and for a file response the answer is sent under the read side
///            of FFileSystemLock.
/// Ownership: AOwner frees it. What an event receives is valid until the event returns. A
///            descendant that overrides what workers call stops the server in its own destructor.
/// Errors:    SetActive raises Exception ("No bindings defined!") or EZnHTTPException with the
///            platform's number, and leaves the server inactive. A client's bad input is answered
///            (4xx), never raised.
class ZN_API TZnCustomHTTPServer : public TComponent
{
public:
    explicit TZnCustomHTTPServer(TComponent* AOwner);
    ~TZnCustomHTTPServer() override;

    /// The service is open.
    bool GetActive() const { return FReqQueue != 0; }
    /// Opens or closes the service. Closing waits, without limit, until no request is in work;
    /// handlers in WaitForEvents are woken.
    virtual void SetActive(bool AValue);

    /// Closes the service gracefully: no new connections, idle ones close, and requests that have begun are
    /// served within ATime, with "Connection: close" on their answers. What runs longer loses its connection,
    /// and handlers in WaitForEvents are woken; a handler that goes on all the same is waited for without
    /// limit. The server is inactive afterwards. Nothing happens while it is inactive.
    TZnHTTPServerDrainResult Drain(std::chrono::milliseconds ATime);

    /// Takes changes of the configuration store over without a stop: certificates of the SSL binding list and
    /// addresses of the IP listen list, for all servers of the process. Connections stay. Raises
    /// EZnHTTPException with the first number of what can't be had, which stays as it was. Nothing happens
    /// while the server is inactive.
    void ReloadConfiguration();

    /// Drops what arrives from now on, until the next SetActive(true). Any thread.
    void StopAcceptingRequests() { FAcceptRequests.store(false); }

    /// One for the whole process. Default HTTPServerV1. Can't be changed while a server is active.
    TZnHTTPServerVersion GetServerVersion() const;
    void SetServerVersion(TZnHTTPServerVersion AValue);

    /// URL prefixes, "scheme://host:port/path/". Default "http://localhost:8080/localserver/".
    TStringList& GetBindings() { return FBindings; }
    const TStringList& GetBindings() const { return FBindings; }
    void SetBindings(const TStringList& AValue) { FBindings.Assign(&AValue); }

    /// The handler; setting one of the two clears the other.
    const TZnHTTPServerOnResponse& GetOnResponse() const { return FOnResponse; }
    void SetOnResponse(TZnHTTPServerOnResponse AValue);
    /// A handler without the pipeline: no pages, ranges, coding or logons.
    const TZnHTTPServerOnResponseRaw& GetOnResponseRaw() const { return FOnResponseRaw; }
    void SetOnResponseRaw(TZnHTTPServerOnResponseRaw AValue);

    /// The certificate of an https port. While the server is active, connections to come use it. Raises
    /// EZnHTTPException 1312 when certificate and key are not each other's; so does SetActive otherwise.
    void SetPortCertificate(TZnHTTPPortCertificate ACertificate)
    {
        FPortCertificates.Set(std::move(ACertificate));
    }

    /// Listening TCP sockets that the service is to use in place of opening the ports that they listen on, as
    /// a service manager hands them in (ZnTakeListenSockets). They stay the caller's and open as long as
    /// SetActive may be called. Default none. SetActive raises EZnHTTPException with a socket's number for
    /// what is none of that kind.
    void SetListenSockets(std::vector<int> AValue) { FListenSockets = std::move(AValue); }

    /// Proxies in front of this server: addresses and ranges ("192.0.2.0/24"). In a request that comes from
    /// one of them, the fields below tell the client's address, which takes the place of the proxy's in
    /// RemoteIp and in the service's record, and the scheme and host that it used, for Secure and UrlData.
    /// From anybody else they say nothing. Default none. Raises EInvalidArgument for what is no range. Change
    /// these three while inactive.
    void SetTrustedProxies(const std::vector<std::string>& ARanges);
    /// What those proxies write. Default ffXForwarded. They have to write or remove all fields of that kind:
    /// what they leave alone is the client's word.
    void SetForwardedFields(TZnForwardedFields AValue) { FForwardedFields = AValue; }
    /// Connections from those proxies begin with a header of the PROXY protocol, version 1 or 2, whose client
    /// counts as the connection's remote address; one without it is closed. Default false.
    void SetProxyProtocol(bool AValue) { FProxyProtocol = AValue; }

    /// Of the challenges, and a part of every stored hash: a hash made under another realm doesn't match.
    /// Default "Tolmary". Any thread, any time.
    std::string GetAuthenticationRealm() { return *FAuthenticationRealm.Locked(); }
    void SetAuthenticationRealm(std::string AValue) { *FAuthenticationRealm.Locked() = std::move(AValue); }

    /// The application's accounts. Without it every attempt fails. Called on workers, several at once and
    /// under no lock but the worker's, before the handler; HTTPRequest() and HTTPResponse() are set and
    /// the request's AuthAttempt tells the failures so far. A handler that sets the response's status to 429
    /// keeps the request from OnResponse. EZnHTTPException is answered with its status; what else it raises
    /// costs the client its connection.
    const TZnHTTServerOnGetStoredPassword& GetOnGetStoredPassword() const { return FOnGetStoredPassword; }
    void SetOnGetStoredPassword(TZnHTTServerOnGetStoredPassword AValue)
    {
        FOnGetStoredPassword = std::move(AValue);
    }

    /// Fires for each outcome but the failures that are answered with 429; threads and errors as above.
    const TZnHTTServerOnAuthenticate& GetOnAuthenticate() const { return FOnAuthenticate; }
    void SetOnAuthenticate(TZnHTTServerOnAuthenticate AValue) { FOnAuthenticate = std::move(AValue); }

    /// Form logon: a page that wants a logon (OnResponse raised EZnHTTPAuthenticationFailure) sends the
    /// browser to LogonUrl and gives it a cookie; a form there posts "userName" and "password" to LogonUrl,
    /// and the browser returns as that user. All three are compared exactly with the request's path and
    /// query; a "/" is put before what lacks one. Change them while inactive. See docs/authentication.md.
    ///
    /// The logon page, which the handler answers. Default empty: no form logon.
    const std::string& GetLogonUrl() const;
    void SetLogonUrl(const std::string& AValue);
    /// The path that ends the session; the handler answers it. Default empty: none.
    const std::string& GetLogoffUrl() const;
    void SetLogoffUrl(const std::string& AValue);
    /// Where the logon page takes a visitor who was sent there by nobody. Default empty: it is shown.
    const std::string& GetDefaultUrl() const;
    void SetDefaultUrl(const std::string& AValue);

    /// The sessions of form logon and the limit on their number.
    TZnHTTPServerAuthTokenManager& GetAuthTokenManager() const { return *FAuthTokenManager; }

    /// The identity provider that takes the place of the logon page once it is configured; LogonUrl is its
    /// authorization endpoint then. See docs/openid-connect.md.
    TZnHTTPServerOIDC& GetOpenIDConnect() const { return *FOpenID; }

    /// What OnGetStoredPassword is expected to give for an account: MD5 over "user:realm:password" in
    /// UTF-8, which is HA1 of RFC 7616 and so serves Basic and Digest. The salt is for overrides. An
    /// override ends Digest, which takes the stored hash as it is. Any thread.
    virtual std::string CalculatePasswordHash(const std::string& AUserName, const std::string& APassword,
                                              const std::string& ASalt);

    /// Each line becomes a Content-Security-Policy field of every response. Default empty. The list
    /// itself: on an active server it is changed under CSPDirectivesLock only.
    TStringList& GetCSPDirectives() ZN_NO_THREAD_SAFETY_ANALYSIS { return FCSPDirectives; }
    /// Held by workers for each response while they read the list.
    TZnCriticalSection& GetCSPDirectivesLock() ZN_RETURN_CAPABILITY(FCSPDirectivesLock)
    {
        return FCSPDirectivesLock;
    }

    /// Longest request body that GetBody takes, in bytes; a longer one is refused with 413. Default
    /// 1 GiB, 0: no limit.
    std::int64_t GetMaxBodySize() const { return FMaxBodySize; }
    void SetMaxBodySize(std::int64_t AValue);

    /// Longest page in bytes that server-side includes are looked for in, and that they may make of it; a
    /// longer one is answered with 500. Default 64 MiB, 0: no limit. Each page is held in memory while it is
    /// sent.
    std::int64_t GetMaxPageSize() const { return FMaxPageSize; }
    void SetMaxPageSize(std::int64_t AValue);

    /// How many requests may be at work at once; the next one is answered 503. Default 128. Change it while
    /// inactive.
    std::int32_t GetMaxWorkerThreadCnt() const { return FMaxWorkerThreadCnt; }
    void SetMaxWorkerThreadCnt(std::int32_t AValue) { FMaxWorkerThreadCnt = AValue; }

    /// The limits of the HTTP service below, which are set for the whole process when this server is
    /// activated. Default: they are left as they are. SetActive raises EZnHTTPException 87 for a value out of
    /// its range.
    TZnHttpServiceLimits GetServiceLimits() const { return FServiceLimits.value_or(TZnHttpServiceLimits{}); }
    void SetServiceLimits(const TZnHttpServiceLimits& AValue) { FServiceLimits = AValue; }

    /// Workers made so far. Any thread.
    std::size_t GetWorkerCount() { return FWorkerPool.GetWorkerCount(); }
    /// Those that wait for a request. Any thread.
    std::size_t GetIdleWorkerCount() { return FWorkerPool.GetIdleCount(); }

    /// Requests are counted and timed, for MetricsText. Default false; change it while inactive. What was
    /// counted is forgotten when it is set to false.
    bool GetMetricsEnabled() const { return FCounters != nullptr; }
    void SetMetricsEnabled(bool AValue);
    /// Counters, durations and how the server stands now, in the text format of Prometheus (content type
    /// "text/plain; version=0.0.4"): the names stand in docs/operations.md. Empty unless enabled. Any thread
    /// while the server is active, a handler too.
    std::string MetricsText();

    /// The SSL kinds that were ever seen among the bindings.
    TZnHTTPServerSSLModes GetSSLModes() const { return FSSLModes; }

    /// Also names the server's logger.
    void SetName(const std::string& AName) override;

protected:
    /// Counts a failure, and raises EZnHTTPException 429 from the 7th on; else calls OnAuthenticate. On a
    /// worker.
    virtual void DoOnAuthenticate(const std::string& AUserName, bool AAuthenticated);
    /// Fills the request's AuthAttempt, then calls OnGetStoredPassword. On a worker.
    virtual bool GetStoredPassword(TZnCustomHTTPServer& ASender, TZnHTTPAuthentication AAuthType,
                                   const std::string& AUserName, std::string& APasswordHash,
                                   std::string& ARoleName, std::string& ASalt, TDateTime& AExpiresOn);
    /// Checks an Authorization field of the scheme Basic or Digest and writes who asks into ARequest; anybody
    /// else stays anonymous. On a worker.
    void DoAuthenticate(TZnHTTPServerResponseThread& AResponseThread, std::string_view AAuthHeader,
                        PZnHTTPServerRequest ARequest);

    /// The life of one request for OnResponse: fills the record, calls AOnResponse, turns
    /// exceptions into pages and sends. On a worker; an exception that leaves it is dropped, and
    /// the client disconnected.
    virtual void DoOnResponse(TZnHTTPServerResponseThread& AResponseThread,
                              const TZnHTTPServerOnResponse& AOnResponse);
    /// Calls OnResponseRaw, or DoOnResponse if that has a handler. On a worker.
    virtual void DoOnResponseRaw(TZnHTTPServerResponseThread& AResponseThread);

    /// Answers with the expansion of the file ResponseFileName, as a stream in memory; with a page of its
    /// own, 500, when that fails. With a header "Zemvo-Cached" the expansion also takes the file's place on
    /// disk. On a worker, for files ending in ".shtml" or ".htm".
    void ParseSSI(TZnHTTPServerResponse& AResponse);
    /// Runs one directive of the page AFileName. AParams are its parameters as name=value lines, AParser
    /// stands behind it in the page; what it makes goes to AOutput. A command other than "include" makes
    /// nothing.
    void ProcessSSI(const std::string& AFileName, const std::string& ACommand, const TStringList& AParams,
                    TZnTextParser& AParser, TStream& AOutput);
    /// Opens a page (with an empty APath) or a file that a page includes: APath + AFileName, for reading. Any
    /// worker, many at once. Override it to serve files from elsewhere: AFileName is what a page says,
    /// unchecked. EFileNotFoundException for an included file becomes a text in the page; whatever else is
    /// raised fails the page. Never returns null.
    virtual std::unique_ptr<TStream> CreateFileStream(const std::string& APath, const std::string& AFileName);

    std::uint16_t FWindowsVersion;
    std::shared_ptr<IZnLogger> FLogger; // empty until the component has a name
    TZnHTTPServerSSLModes FSSLModes;
    TMultiReadExclusiveWriteSynchronizer FFileSystemLock; // the write side is for descendants
    std::int32_t FMaxWorkerThreadCnt = 128;
    TZnHTTPServerResponseClass FResponseClass;
    std::unique_ptr<TZnHTTPServerAuthTokenManager> FAuthTokenManager;
    std::unique_ptr<TZnHTTPServerOIDC> FOpenID;

private:
    friend class TZnHTTPServerListenThread;
    friend class TZnHTTPServerResponseThread;

    // Life cycle (Server.cpp)
    void Initialize();
    void AssertNoWorker() const;
    void ApplyLimits() const;
    void HandInSockets();
    void ExpectProxyHeaders();
    void OpenQueueV1(TZnHTTPServerSSLModes& AModes);
    void OpenUrlGroup(TZnHTTPServerSSLModes& AModes);
    void OpenQueueV2();
    template <class TAddUrl>
    void AddBindings(TZnHTTPServerSSLModes& AModes, TAddUrl AAddUrl);
    std::string ReqQueueName() const { return GetName() + "ReqQueue"; }
    void StartThreads();
    void Finalize();
    void RemoveUrls();
    void CloseUrlGroup();
    void CloseReqQueue();

    // On the listen thread (ListenThread.cpp)
    void ProcessRequest(Zn::ReceivedRequest ARequest);
    void AnswerExhausted(Zn::ReceivedRequest& ARequest);

    // Steps of DoOnResponse (ResponsePipeline.cpp)
    bool Prepare(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerRequest& ARequest,
                 TZnHTTPServerResponse& AResponse);
    static void FillRequest(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerRequest& ARequest);
    void AddStandingHeaders(TZnHTTPServerResponse& AResponse);
    bool RunAuthenticationStage(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerRequest& ARequest,
                                TZnHTTPServerResponse& AResponse);
    bool AuthenticateByToken(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerRequest& ARequest,
                             TZnHTTPServerResponse& AResponse);
    void LogOn(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerAuthToken& AToken,
               IZnBodyContent* ABody, TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse);
    void RunHandler(TZnHTTPServerResponseThread& AResponseThread, const TZnHTTPServerOnResponse& AOnResponse,
                    TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse);
    void ExpandIncludes(TZnHTTPServerResponse& AResponse);

    // Who asks (AuthDispatch.cpp, FailureStage.cpp)
    struct TAccount;
    void CheckBasic(std::string_view ACredentials, TZnHTTPServerRequest& ARequest);
    void CheckDigest(std::string_view ACredentials, TZnHTTPServerRequest& ARequest);
    TAccount FindAccount(TZnHTTPAuthentication AAuthType, const std::string& AUserName);
    void Conclude(TZnHTTPServerRequest& ARequest, TZnHTTPAuthentication AAuthType,
                  const std::string& AUserName, const TAccount& AAccount, bool AAuthenticated);
    void AnswerAuthenticationFailure(TZnHTTPServerResponseThread& AResponseThread,
                                     TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse,
                                     const EZnHTTPAuthenticationFailure& AException);
    bool AnswerLogonFailure(TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse);
    std::string Challenge(TZnHTTPAuthentication AAuthType);

    // Who asks, by an identity provider (OpenIDLogon.cpp)
    bool IsProviderAnswer(TZnHTTPServerResponseThread& AResponseThread,
                          const TZnHTTPServerRequest& ARequest) const;
    bool LogOnByProvider(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerRequest& ARequest,
                         TZnHTTPServerResponse& AResponse);
    bool AcceptIdToken(const std::string& AIdToken, TZnHTTPServerAuthToken& AToken,
                       TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse);
    bool AcceptCode(const std::string& ACode, TZnHTTPServerAuthToken& AToken, TZnHTTPServerRequest& ARequest,
                    TZnHTTPServerResponse& AResponse);
    std::string RoleOfProviderUser(const TZnJWT& AIdToken, const std::string& AUser);
    void SendToProvider(TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse);

    // Steps of ParseSSI (Includes.cpp)
    void ExpandPage(TZnHTTPServerResponse& AResponse);
    bool ExpandFile(const std::string& AFileName, TMemoryStream& AOutput);
    void CheckPageSize(std::int64_t ASize) const;

    std::atomic<bool> FAcceptRequests{true}; // any thread; guards no other data
    THandle FReqQueue = 0;                   // not 0: active
    HTTP_SERVER_SESSION_ID FServerSessionId = 0;
    HTTP_URL_GROUP_ID FHttpGroupID = 0;
    TStringList FBindings{"http://localhost:8080/localserver/"};
    Zn::PortCertificates FPortCertificates;
    std::vector<int> FListenSockets;
    std::unique_ptr<const Zn::TrustedProxies> FTrustedProxies; // empty: none
    TZnForwardedFields FForwardedFields = ffXForwarded;
    bool FProxyProtocol = false;
    std::optional<TZnHttpServiceLimits> FServiceLimits;
    bool FListening = false; // the URLs are registered
    std::unique_ptr<TZnHTTPServerListenThread> FListenThread;
    TZnCriticalSection FCSPDirectivesLock;
    TStringList FCSPDirectives ZN_GUARDED_BY(FCSPDirectivesLock);
    TZnHTTPServerOnResponseRaw FOnResponseRaw;
    TZnHTTPServerOnResponse FOnResponse;
    std::int64_t FMaxBodySize = std::int64_t{1} << 30;
    std::unique_ptr<TZnAuthMonitor, TZnAuthMonitor::TTerminate> FAuthMonitor;
    TZnThreadSafeType<std::string> FAuthenticationRealm{"Tolmary"};
    TZnHTTServerOnGetStoredPassword FOnGetStoredPassword;
    TZnHTTServerOnAuthenticate FOnAuthenticate;
    std::int64_t FMaxPageSize = std::int64_t{64} << 20;
    std::unique_ptr<Zn::RequestCounters> FCounters; // empty: nothing is counted
    std::atomic<std::uint64_t> FExhausted{0};       // requests that found no worker
    Zn::PageFiles FPageFiles;
    Zn::RequestBufferPool FRequestBuffers;
    Zn::WorkerPool FWorkerPool; // FWorkerThreadLock, FWorkerThreads, FIdleWorkerThreads
};

class ZN_API TZnHTTPServer : public TZnCustomHTTPServer
{
public:
    using TZnCustomHTTPServer::TZnCustomHTTPServer;
};
