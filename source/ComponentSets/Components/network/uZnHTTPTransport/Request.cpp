#include "uZnHTTPTransport/Request.h"

#include <utility>

#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPClient/HeaderText.h"

namespace
{

/// As nearly all clients' are; to find that out by rendering them costs more than all else in the making.
bool HasNothing(const TZnHTTPRequestHeaders& AHeaders)
{
    return AHeaders.GetAssignedValues().Empty() && AHeaders.GetCustomHeaders().Count() == 0 &&
           AHeaders.GetCacheControl().GetAssignedValues().Empty();
}

/// Holds a session's connections for a scope.
class ConnectionsGuard
{
public:
    explicit ConnectionsGuard(TZnHTTPConnections& AConnections) ZN_NO_THREAD_SAFETY_ANALYSIS
        : FConnections(AConnections)
    {
        FConnections.Lock();
    }
    ~ConnectionsGuard() ZN_NO_THREAD_SAFETY_ANALYSIS { FConnections.Unlock(); }
    ConnectionsGuard(const ConnectionsGuard&) = delete;
    ConnectionsGuard& operator=(const ConnectionsGuard&) = delete;

private:
    TZnHTTPConnections& FConnections;
};

} // namespace

namespace Zn
{

TransportRequest::TransportRequest(TZnHTTPTransportClient& AHTTPClient, TZnHTTPTransportSession& ASession,
                                   TZnHTTPMethod AMethod, TStream* ABody, std::unique_ptr<TStream> AOwnBody)
    : FBinding(ASession.Binding()),
      FHTTPVersion(AHTTPClient.GetHTTPVersion()),
      FMethod(AMethod),
      FBodyData(ABody),
      FSecurityFlags(AHTTPClient.GetSecurityFlags()),
      FRedirectPolicy(AHTTPClient.GetRedirectPolicy()),
      FCookieHandling(AHTTPClient.GetCookieHandling()),
      FHTTPClient(AHTTPClient.GetLink()),
      FSession(ASession.GetLink()),
      FClientId(&AHTTPClient),
      FCloseConnection(AHTTPClient.GetRequestHeaders().GetConnection() == ctClose),
      FOwnBody(std::move(AOwnBody)),
      FBody(ABody)
{
}

void TransportRequest::Prepare(TZnHTTPTransportClient& AClient, TZnHTTPTransportSession& ASession,
                               const std::string& AURL, const std::string& ABodyContentType)
{
    FProxyCredentials.Assign(&AClient.GetProxyCredentials());
    TakeHeaders(AClient.GetRequestHeaders(), ABodyContentType);
    TakeURL(AClient, AURL);
    TakeConnection(AClient, ASession);
}

TransportRequest::~TransportRequest()
{
    DropHandle();
    TZnHTTPTransportSession* const Session = FSession->Get();
    if (Session != nullptr && FHTTPClient->Get() != nullptr && FConnection && FCloseConnection)
        Session->GetConnections().RemoveClient(FClientId);
}

/// A user name or password in the URL goes before the client's, each by itself.
void TransportRequest::TakeURL(TZnHTTPTransportClient& AClient, const std::string& AURL)
{
    const std::string_view URL = ZnTrimView(AURL);
    if (URL.empty() || !Zn::IsHeaderText(URL))
        throw EInvalidArgument("The provided URL is not a valid URL!");
    FURLData = AClient.DecodeURL(URL);
    // "https" in other letters would go out unprotected.
    if (FURLData->Scheme != "https" && SameText(FURLData->Scheme, "https"))
        FBinding.Raise("The scheme of a URL must be in small letters", ERROR_WINHTTP_UNRECOGNIZED_SCHEME);
    const TZnCredentials& Known = AClient.GetCredentials();
    FUserName = FURLData->Username.empty() ? Known.GetUserName() : FURLData->Username;
    FPassword = FURLData->Password.empty() ? Known.GetPassword() : FURLData->Password;
}

TZnURLData TransportRequest::GetURLData()
{
    TZnURLData Result = URLData();
    Result.Username = FUserName;
    Result.Password = FPassword;
    return Result;
}

/// Renders what every send of this request has in common. User-Agent, Referer and Accept go by other routes:
/// the session and the opening of the request.
void TransportRequest::TakeHeaders(const TZnHTTPRequestHeaders& AHeaders, const std::string& ABodyContentType)
{
    if (!HasNothing(AHeaders))
        FRequestHeaders.Assign(&AHeaders);
    FReferer = ZnTrim(FRequestHeaders.ValueOfName("Referer"));
    FAccept = ZnTrim(FRequestHeaders.ValueOfName("Accept"));
    for (int Index = FRequestHeaders.Count(); Index-- > 0;) {
        CheckHeaderLine(FRequestHeaders.GetLine(Index));
        const std::string_view Name = FRequestHeaders.NameView(Index);
        if (SameText(Name, "User-Agent") || SameText(Name, "Referer") || SameText(Name, "Accept"))
            FRequestHeaders.Delete(Index);
    }
    if (ABodyContentType.empty())
        return;
    CheckHeader("Content-Type", ABodyContentType);
    const int ContentType = FRequestHeaders.IndexOfName("Content-Type");
    if (ContentType >= 0)
        FRequestHeaders.SetValue(ContentType, ABodyContentType);
    else
        FRequestHeaders.Add("Content-Type", ABodyContentType);
}

/// The client's connection, if it fits. To open one sends nothing yet, so all of it is done under the
/// cache's lock, and two threads of one client don't both open one.
void TransportRequest::TakeConnection(TZnHTTPTransportClient& AClient, TZnHTTPTransportSession& ASession)
{
    TZnHTTPConnections& Connections = ASession.GetConnections();
    const TZnHTTPTimeOuts& TimeOuts = AClient.GetTimeOuts();
    const ConnectionsGuard Guard(Connections);
    void* const SessionHandle = ASession.GetHandle();
    FConnection = Connections.FindConnection(FClientId);
    if (FConnection && (FConnection->GetHostName() != FURLData->Hostname ||
                        FConnection->GetTimeOuts().GetConnectTimeOut() != TimeOuts.GetConnectTimeOut())) {
        Connections.RemoveConnection(FConnection.get());
        FConnection.reset();
    }
    if (!FConnection) {
        void* const Handle = OpenConnection(SessionHandle, TimeOuts);
        FConnection = Connections.AddConnection(FClientId, Handle, TimeOuts, FURLData->Hostname);
    }
    ASession.ApplySettings(SessionHandle, TimeOuts);
}

std::string TransportRequest::GetRawHeaders()
{
    if (!FRequestHandle)
        return {};
    return FBinding.QueryText(Handle(), WINHTTP_QUERY_RAW_HEADERS_CRLF | WINHTTP_QUERY_FLAG_REQUEST_HEADERS,
                              {});
}

void TransportRequest::AddHeader(const std::string& AName, const std::string& AValue)
{
    CheckHeader(AName, AValue);
    if (FRequestHandle)
        FBinding.AddField(Handle(), AName + ": " + AValue, FieldRule::AddReplace);
    else
        FCustomHeaders.emplace_back(AName, AValue);
}

void TransportRequest::AddCookie(const std::string& AName, const std::string& AValue)
{
    if (FCookieHandling == chAutomatic)
        FBinding.RaiseRule("Adding Cookies is only allowed when the CookieHandling is sset the chManual!");
    CheckHeader("Cookie", AName);
    CheckHeader("Cookie", AValue);
    if (FRequestHandle)
        FBinding.AddField(Handle(), "Cookie: " + AName + "=" + AValue, FieldRule::CoalesceWithSemicolon);
    else
        FCustomCookies.emplace_back(AName, AValue);
}

void TransportRequest::CancelRequest()
{
    FCancelled = true;
    const std::lock_guard Guard(FHandleLock);
    if (FRequestHandle)
        FRequestHandle->CloseHandle();
}

/// Takes the handle off the session's list. A response that holds it reads on.
void TransportRequest::DropHandle()
{
    if (TZnHTTPTransportSession* const Session = FSession->Get(); Session != nullptr && FRequestHandle)
        Session->RemoveRequest(FRequestHandle);
    const std::lock_guard Guard(FHandleLock);
    FRequestHandle.reset();
}

TZnHTTPTransportClient& TransportRequest::Client() const
{
    TZnHTTPTransportClient* const Client = FHTTPClient->Get();
    if (Client == nullptr)
        throw EAbort("The client of this request is gone!");
    return *Client;
}

TZnHTTPTransportSession& TransportRequest::Session() const
{
    TZnHTTPTransportSession* const Session = FSession->Get();
    if (Session == nullptr)
        throw EAbort("The session of this request is gone!");
    return *Session;
}

} // namespace Zn
