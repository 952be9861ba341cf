#include "tools/zn/SiteServer.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "common/Text.h"
#include "platform/text/Unicode.h"
#include "tools/zn/AccessLog.h"
#include "tools/zn/Demo.h"
#include "tools/zn/FormLogon.h"
#include "tools/zn/RequestId.h"
#include "uZnIPHelper.h"

namespace Zn
{

namespace
{

constexpr std::string_view cDemoFolder = "demo/";

TAccessRecord RecordOf(const THTTP_REQUEST& ARequest)
{
    TAccessRecord Record;
    Record.Time = std::chrono::system_clock::now();
    Record.RemoteIp = ZnIPAddrToStr(ARequest.Address.pRemoteAddress);
    Record.Method = MethodName(ARequest);
    Record.Path =
        Utf8FromUtf16({ARequest.CookedUrl.pAbsPath, ARequest.CookedUrl.AbsPathLength / sizeof(char16_t)});
    Record.HasQuery = ARequest.CookedUrl.QueryStringLength > 0;
    return Record;
}

/// What a proxy called the request, if that proxy is trusted; else a name of our own.
std::string IdOf(const TZnHTTPServerResponseThread& AWorker)
{
    std::string Given;
    if (AWorker.GetOrigin().IsFromProxy)
        Given = AWorker.GetHeaderValue("X-Request-Id");
    return IsRequestId(Given) ? Given : NewRequestId();
}

void AddDetails(TAccessRecord& ARecord, const TZnHTTPServerResponseThread& AWorker)
{
    const THTTP_VERSION Version = AWorker.GetHTTP_REQUEST()->Version;
    ARecord.Id = IdOf(AWorker);
    ARecord.Protocol =
        "HTTP/" + std::to_string(Version.MajorVersion) + "." + std::to_string(Version.MinorVersion);
    ARecord.Referer = WithoutSecrets(AWorker.GetHeaderView(HttpHeaderReferer));
    ARecord.UserAgent = AWorker.GetHeaderView(HttpHeaderUserAgent);
}

} // namespace

TSiteServer::TSiteServer(const TStaticFiles& AFiles, const TAccessLog& ALog, bool ADemo)
    : TZnHTTPServer(nullptr), FFiles(AFiles), FLog(ALog), FDemo(ADemo)
{
    GetBindings().Clear();
    // DoOnResponse answers by itself; without a handler it wouldn't be called.
    SetOnResponse([](TZnCustomHTTPServer&, PZnHTTPServerRequest, TZnHTTPServerResponse&) {});
}

TSiteServer::~TSiteServer()
{
    SetActive(false); // while the workers still find this class's DoOnResponse
}

void TSiteServer::AddBinding(const std::string& AUrl)
{
    GetBindings().Add(AUrl);
    FPrefixes.push_back(TZnURLData::Create(AUrl).FilePath);
    std::sort(FPrefixes.begin(), FPrefixes.end(),
              [](const std::string& A, const std::string& B) { return A.size() > B.size(); });
}

void TSiteServer::Protect(const TProtection& AProtection)
{
    FProtection = &AProtection;
    AProtection.Attach(*this);
}

void TSiteServer::LogOnBy(const TOpenIDLogon& AProvider)
{
    FOpenID = &AProvider;
}

void TSiteServer::DoOnResponse(TZnHTTPServerResponseThread& AResponseThread, const TZnHTTPServerOnResponse&)
{
    const auto Start = std::chrono::steady_clock::now();
    TAccessRecord Record = RecordOf(*AResponseThread.GetHTTP_REQUEST());
    if (FLog.HasDetails())
        AddDetails(Record, AResponseThread);

    // Lives until the answer has left: the response is freed with the base class's call.
    std::optional<TExchange> Exchange;
    TZnHTTPServer::DoOnResponse(AResponseThread, [&](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest,
                                                     TZnHTTPServerResponse& AResponse) {
        if (FLog.HasDetails()) {
            Record.User = ARequest->AuthenticationType == authNone ? std::string() : ARequest->LogonName;
            AResponse.AddUnknownHeader("X-Request-Id", Record.Id);
        }
        Respond(Exchange.emplace(AResponseThread, *ARequest, AResponse));
    });

    Record.Status = AResponseThread.GetSentStatus();
    Record.Bytes = AResponseThread.GetSentBytes();
    Record.Duration =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - Start);
    FLog.Write(Record);
}

std::unique_ptr<TStream> TSiteServer::CreateFileStream(const std::string& APath, const std::string& AFileName)
{
    return FFiles.OpenForPage(APath + AFileName);
}

void TSiteServer::ShowMetricsAt(const std::string& APath)
{
    FMetricsPath = APath.substr(1);
    SetMetricsEnabled(true);
}

void TSiteServer::RespondMetrics(TExchange& AExchange)
{
    if (AExchange.Request.HttpVerb != HttpVerbGET && AExchange.Request.HttpVerb != HttpVerbHEAD) {
        AExchange.Response.AddUnknownHeader("Allow", "GET, HEAD");
        throw EZnHTTPException("Counters can be fetched, and nothing else.", 405);
    }
    AExchange.Response.AddUnknownHeader("Cache-Control", "no-store");
    AExchange.RespondText(MetricsText(), "text/plain; version=0.0.4; charset=utf-8");
}

void TSiteServer::Respond(TExchange& AExchange)
{
    const std::string_view Path = AExchange.Request.UrlData.FilePath;
    const std::string_view Prefix = PrefixOf(Path);
    const std::string_view Rest = Path.substr(Prefix.size());
    if (FOpenID != nullptr && RespondByProvider(AExchange, Rest))
        return;
    if (FProtection && !IsLogonPage(*this, AExchange.Request.UrlData))
        FProtection->Check(AExchange.Request, Rest);
    if (!FMetricsPath.empty() && Rest == FMetricsPath)
        RespondMetrics(AExchange);
    else if (FDemo && Rest.starts_with(cDemoFolder))
        RespondDemo(AExchange, Rest.substr(cDemoFolder.size()));
    else
        FFiles.Respond(AExchange, Prefix, Rest);
}

/// True when it has answered: a stranger is on his way to the provider, or somebody has come back from it.
bool TSiteServer::RespondByProvider(TExchange& AExchange, std::string_view APath) const
{
    const TZnHTTPServerRequest& Request = AExchange.Request;
    const bool IsRedirectPage = FOpenID->IsRedirectPage(Request.UrlData);
    if (Request.AuthenticationType != authNone) {
        if (IsRedirectPage)
            FOpenID->Welcome(AExchange);
        return IsRedirectPage;
    }
    if (!IsRedirectPage && (IsLogonPage(*this, Request.UrlData) || !FProtection->Refuses(Request, APath)))
        return false;
    FOpenID->SendToProvider(AExchange);
    return true;
}

/// The part of APath that belongs to the binding it came by. The service compares bindings without
/// regard to case, so this does as well.
std::string_view TSiteServer::PrefixOf(std::string_view APath) const
{
    for (const std::string& Prefix : FPrefixes)
        if (StartsText(Prefix, APath))
            return APath.substr(0, Prefix.size());
    return APath.substr(0, APath.starts_with('/') ? 1 : 0);
}

} // namespace Zn
