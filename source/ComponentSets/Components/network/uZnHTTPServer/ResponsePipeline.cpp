// The life of one request on a worker, from the hand-over to the last byte of the answer.

#include <algorithm>
#include <optional>

#include "common/Text.h"
#include "platform/httpapi/Target.h"
#include "uZnHTTPServer/CurrentExchange.h"
#include "uZnHTTPServer/ErrorPages.h"
#include "uZnHTTPServer/Failures.h"
#include "uZnHTTPServer/IncludeParser.h"
#include "uZnHTTPServer/ResponseSender.h"
#include "uZnHTTPServer/Server.h"
#include "uZnHTTPServer/Worker.h"
#include "uZnIPHelper.h"

namespace
{

constexpr std::uint16_t cCodePageUTF16 = 1200;

/// Nobody is left to answer: nothing is sent.
void AnswerNobody(TZnHTTPServerResponse& AResponse, const EZnHTTPConnection& AException)
{
    AResponse.SetStatusCode(AException.GetErrorCode());
    AResponse.SetContentType({});
}

void AnswerWithStatus(TZnHTTPServerResponse& AResponse, std::string_view AAccept,
                      const EZnHTTPException& AException)
{
    const int Code = AException.GetErrorCode();
    Zn::AnswerWithErrorPage(AResponse, Code,
                            Zn::MakeErrorPage(AAccept, Zn::NumberedErrorText(Code, AException.Message())));
}

void AnswerWithFailure(TZnHTTPServerResponse& AResponse, std::string_view AAccept, const std::string& AText)
{
    Zn::AnswerWithErrorPage(AResponse, 500, Zn::MakeErrorPage(AAccept, AText));
}

/// The URL as the client used it, where a trusted proxy told so.
void TakeForwardedUrl(const Zn::ForwardedOrigin& AOrigin, TZnURLData& AUrl)
{
    if (AOrigin.Proto.empty() && AOrigin.Host.empty())
        return;
    const auto DefaultPort = [](const std::string& AScheme) {
        return static_cast<std::uint16_t>(SameText(AScheme, "https") ? 443 : 80);
    };
    const std::string Scheme = AOrigin.Proto.empty() ? AUrl.Scheme : AOrigin.Proto;
    // The service's URLs are scheme://host:port/...
    const std::size_t HostStart = AUrl.URL.find("://") + 3;
    const std::size_t PathStart = std::min(AUrl.URL.find('/', HostStart), AUrl.URL.size());
    std::string Host = AUrl.URL.substr(HostStart, AUrl.URL.rfind(':', PathStart) - HostStart);
    std::uint16_t Port = AUrl.Port == DefaultPort(AUrl.Scheme) ? DefaultPort(Scheme) : AUrl.Port;
    if (const auto Forwarded = Zn::SplitHost(AOrigin.Host, DefaultPort(Scheme))) {
        Host = Forwarded->Host;
        Port = Forwarded->Port;
    }
    AUrl = ZnDecodeURL(Scheme + "://" + Host + ":" + std::to_string(Port) + AUrl.URL.substr(PathStart));
}

} // namespace

void TZnCustomHTTPServer::DoOnResponseRaw(TZnHTTPServerResponseThread& AResponseThread)
{
    if (FOnResponseRaw)
        FOnResponseRaw(*this, AResponseThread);
    else if (FOnResponse)
        DoOnResponse(AResponseThread, FOnResponse);
}

void TZnCustomHTTPServer::DoOnResponse(TZnHTTPServerResponseThread& AResponseThread,
                                       const TZnHTTPServerOnResponse& AOnResponse)
{
    // What goes first at the end stands last: the response leaves the thread before it is freed, and its
    // file is closed before the lock on it goes.
    TZnHTTPServerRequest Request;
    const Zn::CurrentRequest ThisRequest(&Request);
    std::optional<TZnReadGuard> FileLock;
    const std::unique_ptr<TZnHTTPServerResponse> Response = FResponseClass(*this, &Request);
    const Zn::CurrentResponse ThisResponse(Response.get());

    if (Prepare(AResponseThread, Request, *Response))
        RunHandler(AResponseThread, AOnResponse, Request, *Response);

    // From here on nothing is guarded: what is raised costs the client its connection.
    Zn::ResponseSender Sender(AResponseThread, Request, *Response);
    if (Response->GetStatusCode() < 0) {
        Sender.SendFailure();
        return;
    }
    if (Response->GetResponseType() == rtFile)
        FileLock.emplace(FFileSystemLock);
    ExpandIncludes(*Response);
    if (Response->GetContentType().empty() || AResponseThread.GetTerminated())
        return;
    Sender.Send();
}

/// Fills the record and finds out who asks. True when the handler is to be called, false when the
/// response is complete.
bool TZnCustomHTTPServer::Prepare(TZnHTTPServerResponseThread& AResponseThread,
                                  TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    try {
        FillRequest(AResponseThread, ARequest);
        AddStandingHeaders(AResponse);
        return RunAuthenticationStage(AResponseThread, ARequest, AResponse);
    } catch (const EZnHTTPConnection& E) {
        AnswerNobody(AResponse, E);
    } catch (const EZnHTTPException& E) {
        AnswerWithStatus(AResponse, AResponseThread.GetHeaderView(HttpHeaderAccept), E);
    }
    return false;
}

void TZnCustomHTTPServer::FillRequest(TZnHTTPServerResponseThread& AResponseThread,
                                      TZnHTTPServerRequest& ARequest)
{
    TZnHTTPServerResponseThread* const Worker = &AResponseThread;
    const PHTTP_REQUEST Record = Worker->GetHTTP_REQUEST();
    ARequest.HTTP_REQUEST = Record;
    ARequest.HttpVerb = Record->Verb;
    ARequest.UrlData =
        ZnDecodeURL(Record->CookedUrl.pFullUrl, Record->CookedUrl.FullUrlLength, cCodePageUTF16);
    TakeForwardedUrl(AResponseThread.GetOrigin(), ARequest.UrlData);
    ARequest.Secure = SameText(ARequest.UrlData.Scheme, "https");
    ARequest.RemoteIp = ZnIPAddrToStr(Record->Address.pRemoteAddress);

    // Each captures one pointer, which std::function holds without an allocation.
    ARequest.GetBody = [Worker](std::shared_ptr<IZnBodyContent>& Body) { return Worker->GetBody(Body); };
    ARequest.GetKnownHeaderValue = [Worker](THTTP_HEADER_ID AHeader) {
        return Worker->GetHeaderValue(AHeader);
    };
    ARequest.GetUnknownHeaderValue = [Worker](const std::string& AHeader) {
        return Worker->GetHeaderValue(AHeader);
    };
    ARequest.GetUnknownHeaderValueEx = [Worker](std::uint16_t AHeaderIdx, std::string& AHeader) {
        return Worker->GetUnknownHeaderValue(AHeaderIdx, AHeader);
    };
    ARequest.GetCookie = [Worker](const TZnURLData& AUrlData, const std::string& AName, std::string& AValue) {
        return Worker->GetCookie(AUrlData, AName, AValue);
    };
    ARequest.WaitForEvents = [Worker](std::int32_t ATimeOut, std::span<const THandle> AHandles) {
        return Worker->WaitForEvents(ATimeOut, AHandles);
    };

    // Servers on one host share its cookies; the port keeps theirs apart.
    if (ARequest.UrlData.Port != 80 && ARequest.UrlData.Port != 443)
        ARequest.AuthTokenName += "-" + std::to_string(ARequest.UrlData.Port);
}

void TZnCustomHTTPServer::AddStandingHeaders(TZnHTTPServerResponse& AResponse)
{
    if (FSSLModes.Contains(ssmDefaultSSL))
        AResponse.AddUnknownHeader("Strict-Transport-Security", "max-age=31536000; includeSubDomains");
    TZnLockGuard Guard(FCSPDirectivesLock);
    for (const std::string& Directive : FCSPDirectives)
        AResponse.AddUnknownHeader("Content-Security-Policy", Directive);
}

/// Finds out who asks: by the Authorization field, else by the token cookie or an OpenID Connect post. Each
/// may complete the response (a redirect, a refusal) and so keep the handler out.
bool TZnCustomHTTPServer::RunAuthenticationStage(TZnHTTPServerResponseThread& AResponseThread,
                                                 TZnHTTPServerRequest& ARequest,
                                                 TZnHTTPServerResponse& AResponse)
{
    const std::string_view Authorization = AResponseThread.GetHeaderView(HttpHeaderAuthorization);
    if (StartsText("Basic ", Authorization) || StartsText("Digest ", Authorization))
        DoAuthenticate(AResponseThread, Authorization, &ARequest);
    return ARequest.AuthenticationType != authNone ||
           AuthenticateByToken(AResponseThread, ARequest, AResponse);
}

/// Ahead of coding and ranges, which are about the page that is sent.
void TZnCustomHTTPServer::ExpandIncludes(TZnHTTPServerResponse& AResponse)
{
    const TZnHTTPServerResponseType Type = AResponse.GetResponseType();
    if ((Type == rtStream || Type == rtFile) && Zn::MayHoldDirectives(AResponse.GetResponseFileName()))
        ParseSSI(AResponse);
}

void TZnCustomHTTPServer::RunHandler(TZnHTTPServerResponseThread& AResponseThread,
                                     const TZnHTTPServerOnResponse& AOnResponse,
                                     TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    const auto Accept = [&] { return AResponseThread.GetHeaderView(HttpHeaderAccept); };
    try {
        // The door for a policy of the application's own: its account events refused the caller.
        if (AResponse.GetStatusCode() == 429)
            throw EZnHTTPException("Too many authentication attempts!", 429);
        AOnResponse(*this, &ARequest, AResponse);
    } catch (const EZnHTTPConnection& E) {
        AnswerNobody(AResponse, E);
    } catch (const EZnHTTPAuthenticationFailure& E) {
        AnswerAuthenticationFailure(AResponseThread, ARequest, AResponse, E);
    } catch (const EZnHTTPException& E) {
        AnswerWithStatus(AResponse, Accept(), E);
    } catch (const std::exception& E) {
        AnswerWithFailure(AResponse, Accept(), Zn::ExceptionText(E));
    } catch (...) {
        AnswerWithFailure(AResponse, Accept(), "unknown exception");
    }
}
