#include "uZnWinHTTP/Request.h"

#include <utility>

#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPClient/HeaderText.h"

namespace
{

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

TZnHTTPRequest::TZnHTTPRequest(TZnWinHTTPClient& AHTTPClient, TZnWinHTTPSession& ASession,
                               TZnHTTPMethod AMethod, const std::string& AURL, TStream* ABody,
                               std::unique_ptr<TStream> AOwnBody, const std::string& ABodyContentType)
    : FHTTPClient(AHTTPClient.GetLink()),
      FSession(ASession.GetLink()),
      FClientId(&AHTTPClient),
      FCloseConnection(AHTTPClient.GetRequestHeaders().GetConnection() == ctClose),
      FHTTPVersion(AHTTPClient.GetHTTPVersion()),
      FMethod(AMethod),
      FOwnBody(std::move(AOwnBody)),
      FBody(ABody),
      FBodyData(ABody),
      FAuthentication(AHTTPClient.GetAuthentication()),
      FProxyAuthentication(AHTTPClient.GetProxyAuthentication()),
      FSecurityFlags(AHTTPClient.GetSecurityFlags()),
      FRedirectPolicy(AHTTPClient.GetRedirectPolicy()),
      FCookieHandling(AHTTPClient.GetCookieHandling())
{
    FProxyCredentials.Assign(&AHTTPClient.GetProxyCredentials());
    TakeHeaders(AHTTPClient.GetRequestHeaders(), ABodyContentType);
    TakeURL(AURL, AHTTPClient.GetCredentials());
    TakeConnection(AHTTPClient, ASession);
}

TZnHTTPRequest::~TZnHTTPRequest()
{
    DropHandle();
    TZnWinHTTPSession* const Session = FSession->Get();
    if (Session != nullptr && FHTTPClient->Get() != nullptr && FConnection && FCloseConnection)
        Session->GetConnections().RemoveClient(FClientId);
}

/// A user name or password in the URL goes before the client's, each by itself.
void TZnHTTPRequest::TakeURL(const std::string& AURL, const TZnCredentials& ACredentials)
{
    const std::string URL = ZnTrim(AURL);
    if (URL.empty() || !Zn::IsHeaderText(URL))
        throw EInvalidArgument("The provided URL is not a valid URL!");
    FURLData = ZnDecodeURL(URL);
    // "https" in other letters would go out unprotected.
    if (FURLData.Scheme != "https" && SameText(FURLData.Scheme, "https"))
        throw EZnWinHTTPHException("The scheme of a URL must be in small letters",
                                   ERROR_WINHTTP_UNRECOGNIZED_SCHEME, "");
    if (FURLData.Username.empty())
        FURLData.Username = ACredentials.GetUserName();
    if (FURLData.Password.empty())
        FURLData.Password = ACredentials.GetPassword();
}

/// Renders what every send of this request has in common. User-Agent, Referer and Accept go by other routes:
/// the session and the opening of the request.
void TZnHTTPRequest::TakeHeaders(const TZnHTTPRequestHeaders& AHeaders, const std::string& ABodyContentType)
{
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
void TZnHTTPRequest::TakeConnection(TZnWinHTTPClient& AClient, TZnWinHTTPSession& ASession)
{
    TZnHTTPConnections& Connections = ASession.GetConnections();
    const TZnHTTPTimeOuts& TimeOuts = AClient.GetTimeOuts();
    const ConnectionsGuard Guard(Connections);
    void* const SessionHandle = ASession.GetHandle();
    FConnection = Connections.FindConnection(FClientId);
    if (FConnection && (FConnection->GetHostName() != FURLData.Hostname ||
                        FConnection->GetTimeOuts().GetConnectTimeOut() != TimeOuts.GetConnectTimeOut())) {
        Connections.RemoveConnection(FConnection.get());
        FConnection.reset();
    }
    if (!FConnection) {
        WinHttpSetOption(SessionHandle, WINHTTP_OPTION_CONNECT_TIMEOUT,
                         static_cast<std::uint32_t>(TimeOuts.GetConnectTimeOut()));
        void* const Handle = WinHttpConnect(SessionHandle, FURLData.Hostname, FURLData.Port);
        FConnection = Connections.AddConnection(FClientId, Handle, TimeOuts, FURLData.Hostname);
    }
    ASession.ApplySettings(SessionHandle, TimeOuts);
}

std::string TZnHTTPRequest::GetRawHeaders()
{
    std::string Result;
    if (FRequestHandle)
        WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_RAW_HEADERS_CRLF | WINHTTP_QUERY_FLAG_REQUEST_HEADERS, {},
                            Result);
    return Result;
}

void TZnHTTPRequest::AddHeader(const std::string& AName, const std::string& AValue)
{
    CheckHeader(AName, AValue);
    if (FRequestHandle)
        WinHttpAddRequestHeaders(Handle(), AName + ": " + AValue, {mfAdd, mfReplace}, true);
    else
        FCustomHeaders.emplace_back(AName, AValue);
}

void TZnHTTPRequest::AddCookie(const std::string& AName, const std::string& AValue)
{
    if (FCookieHandling == chAutomatic)
        throw EZnWinHTTPException(
            "Adding Cookies is only allowed when the CookieHandling is sset the chManual!");
    CheckHeader("Cookie", AName);
    CheckHeader("Cookie", AValue);
    if (FRequestHandle)
        WinHttpAddRequestHeaders(Handle(), "Cookie: " + AName + "=" + AValue,
                                 {mfAdd, mfCoalesceWithSemiColon}, true);
    else
        FCustomCookies.emplace_back(AName, AValue);
}

void TZnHTTPRequest::CancelRequest()
{
    FCancelled = true;
    const std::lock_guard Guard(FHandleLock);
    if (FRequestHandle)
        FRequestHandle->CloseHandle();
}

/// Takes the handle off the session's list. A response that holds it reads on.
void TZnHTTPRequest::DropHandle()
{
    if (TZnWinHTTPSession* const Session = FSession->Get(); Session != nullptr && FRequestHandle)
        Session->RemoveRequest(FRequestHandle);
    const std::lock_guard Guard(FHandleLock);
    FRequestHandle.reset();
}

TZnWinHTTPClient& TZnHTTPRequest::Client() const
{
    TZnWinHTTPClient* const Client = FHTTPClient->Get();
    if (Client == nullptr)
        throw EAbort("The client of this request is gone!");
    return *Client;
}

TZnWinHTTPSession& TZnHTTPRequest::Session() const
{
    TZnWinHTTPSession* const Session = FSession->Get();
    if (Session == nullptr)
        throw EAbort("The session of this request is gone!");
    return *Session;
}

} // namespace Zn
