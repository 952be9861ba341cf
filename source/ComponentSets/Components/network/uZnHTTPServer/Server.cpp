#include "uZnHTTPServer/Server.h"

#include <algorithm>

#include "common/Exceptions.h"
#include "common/System.h"
#include "common/Text.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/Failures.h"
#include "uZnHTTPServer/ListenThread.h"
#include "uZnHTTPServer/Metrics.h"
#include "uZnHTTPServer/OpenIDConnect.h"
#include "uZnHTTPServer/Worker.h"

std::int32_t RequestBufferSize = 2048;
const TGUID SSLGUID{"ccafdd84-764f-4a5a-aa8b-2f1ace4ae99f"};

namespace
{

constexpr std::uint32_t cQueueLength = 10;

std::unique_ptr<TZnHTTPServerResponse> MakeResponse(TZnCustomHTTPServer& AServer,
                                                    PZnHTTPServerRequest ARequest)
{
    return std::make_unique<TZnHTTPServerResponse>(AServer, ARequest);
}

} // namespace

TZnCustomHTTPServer::TZnCustomHTTPServer(TComponent* AOwner)
    : TComponent(AOwner),
      FWindowsVersion(static_cast<std::uint16_t>(ZnGetWindowsVersion())),
      FResponseClass(MakeResponse),
      FAuthTokenManager(std::make_unique<TZnHTTPServerAuthTokenManager>(*this)),
      FOpenID(std::make_unique<TZnHTTPServerOIDC>(*this)),
      FAuthMonitor(TZnAuthMonitor::Create()),
      FWorkerPool(*this)
{
}

TZnCustomHTTPServer::~TZnCustomHTTPServer()
{
    if (FReqQueue != 0)
        Finalize();
}

void TZnCustomHTTPServer::SetActive(bool AValue)
{
    if (AValue == GetActive())
        return;
    AssertNoWorker();
    if (AValue)
        Initialize();
    else
        Finalize();
}

void TZnCustomHTTPServer::AssertNoWorker() const
{
    ZnAssert(!TZnHTTPServerResponseThread::IsWorkerOf(*this),
             "A handler can't stop its own server: stopping waits for the handler");
}

void TZnCustomHTTPServer::ReloadConfiguration()
{
    if (!GetActive())
        return;
    Zn::RequireFunction(Zn::HttpApi.ZnHttpReloadConfiguration != nullptr, "ZnHttpReloadConfiguration");
    CheckResult(Zn::HttpApi.ZnHttpReloadConfiguration(), "The configuration can't be taken over in whole.");
}

TZnHTTPServerDrainResult TZnCustomHTTPServer::Drain(std::chrono::milliseconds ATime)
{
    if (!GetActive())
        return {};
    AssertNoWorker();
    Zn::RequireFunction(Zn::HttpApi.ZnHttpDrainQueue != nullptr, "ZnHttpDrainQueue");
    constexpr std::int64_t cLongest = 0x7FFFFFFF;
    TZnHttpDrainResult Result{};
    CheckResult(Zn::HttpApi.ZnHttpDrainQueue(
        FReqQueue, static_cast<std::uint32_t>(std::clamp<std::int64_t>(ATime.count(), 0, cLongest)),
        &Result));
    SetActive(false);
    return {Result.Ended, Result.Cut};
}

TZnHTTPServerVersion TZnCustomHTTPServer::GetServerVersion() const
{
    return Zn::SelectedServerVersion();
}

void TZnCustomHTTPServer::SetServerVersion(TZnHTTPServerVersion AValue)
{
    if (Zn::HttpApiInitialised())
        throw Exception("You can not change the version when the Http API is initialized!");
    Zn::SelectServerVersion(AValue);
}

void TZnCustomHTTPServer::SetOnResponse(TZnHTTPServerOnResponse AValue)
{
    FOnResponse = std::move(AValue);
    FOnResponseRaw = nullptr;
}

void TZnCustomHTTPServer::SetOnResponseRaw(TZnHTTPServerOnResponseRaw AValue)
{
    FOnResponseRaw = std::move(AValue);
    FOnResponse = nullptr;
}

void TZnCustomHTTPServer::SetMaxBodySize(std::int64_t AValue)
{
    FMaxBodySize = std::max<std::int64_t>(AValue, 0);
}

void TZnCustomHTTPServer::SetTrustedProxies(const std::vector<std::string>& ARanges)
{
    FTrustedProxies = ARanges.empty() ? nullptr : std::make_unique<const Zn::TrustedProxies>(ARanges);
}

void TZnCustomHTTPServer::SetMetricsEnabled(bool AValue)
{
    if (AValue != GetMetricsEnabled())
        FCounters = AValue ? std::make_unique<Zn::RequestCounters>() : nullptr;
}

std::string TZnCustomHTTPServer::MetricsText()
{
    std::string Text;
    if (!FCounters)
        return Text;
    FCounters->AppendTo(Text);
    const std::uint64_t Workers = GetWorkerCount();
    const std::uint64_t Idle = std::min<std::uint64_t>(GetIdleWorkerCount(), Workers);
    Zn::AppendMetric(Text, "zn_http_requests_in_flight", "gauge", "Requests at work.", Workers - Idle);
    Zn::AppendMetric(Text, "zn_http_workers", "gauge", "Worker threads.", Workers);
    Zn::AppendMetric(Text, "zn_http_requests_without_worker_total", "counter",
                     "Requests answered 503 as all workers were busy.",
                     FExhausted.load(std::memory_order_relaxed));
    TZnHttpStatistics Service{};
    if (Zn::HttpApi.ZnHttpQueryStatistics == nullptr ||
        Zn::HttpApi.ZnHttpQueryStatistics(FReqQueue, &Service) != 0)
        return Text;
    Zn::AppendMetric(Text, "zn_http_queue_length", "gauge", "Requests that wait for the server.",
                     Service.QueueLength);
    Zn::AppendMetric(Text, "zn_http_requests_unavailable_total", "counter",
                     "Requests answered 503 ahead of the server, of the whole process.", Service.Unavailable);
    Zn::AppendMetric(Text, "zn_http_connections", "gauge", "Open connections of the whole process.",
                     Service.Connections);
    Zn::AppendMetric(Text, "zn_http_connections_total", "counter", "Connections taken, of the whole process.",
                     Service.Accepted);
    return Text;
}

void TZnCustomHTTPServer::SetName(const std::string& AName)
{
    FLogger = TZnLogger::GetLogger(AName);
    FAuthTokenManager->SetLogger(FLogger->Child("AuthManager"));
    TComponent::SetName(AName);
}

// --- Opening ------------------------------------------------------------------------------------

void TZnCustomHTTPServer::Initialize()
{
    if (FBindings.Count() == 0)
        throw Exception("No bindings defined!");
    if (Zn::SelectedServerVersion() == HTTPServerV2 && IsWow64())
        throw Exception("In order to use the \"HTTPServerV2\" version on a 64 bit system you must compile "
                        "your application as a 64 bit application!");
    Zn::LoadHttpApi();
    try {
        FPortCertificates.Apply();
        ApplyLimits();
        HandInSockets();
        ExpectProxyHeaders();
        TZnHTTPServerSSLModes Seen;
        if (Zn::SelectedServerVersion() == HTTPServerV1) {
            OpenQueueV1(Seen);
        } else {
            OpenUrlGroup(Seen);
            OpenQueueV2();
        }
        FSSLModes = FSSLModes | Seen;
        StartThreads();
    } catch (...) {
        Finalize();
        throw;
    }
}

void TZnCustomHTTPServer::ApplyLimits() const
{
    if (!FServiceLimits)
        return;
    Zn::RequireFunction(Zn::HttpApi.ZnHttpSetServiceLimits != nullptr, "ZnHttpSetServiceLimits");
    CheckResult(Zn::HttpApi.ZnHttpSetServiceLimits(&*FServiceLimits), "A limit is out of its range.");
}

void TZnCustomHTTPServer::HandInSockets()
{
    for (const int Fd : FListenSockets) {
        Zn::RequireFunction(Zn::HttpApi.ZnHttpAddListenSocket != nullptr, "ZnHttpAddListenSocket");
        CheckResult(Zn::HttpApi.ZnHttpAddListenSocket(Fd),
                    ZnFormat("Descriptor %d can't be listened to.", Fd));
    }
}

void TZnCustomHTTPServer::ExpectProxyHeaders()
{
    if (!FProxyProtocol || !FTrustedProxies)
        return;
    Zn::RequireFunction(Zn::HttpApi.ZnHttpSetProxyProtocol != nullptr, "ZnHttpSetProxyProtocol");
    for (const std::string& Binding : FBindings)
        CheckResult(Zn::HttpApi.ZnHttpSetProxyProtocol(TZnURLData::Create(Binding).Port,
                                                       FTrustedProxies->Text().c_str()));
}

void TZnCustomHTTPServer::OpenQueueV1(TZnHTTPServerSSLModes& AModes)
{
    CheckResult(Zn::HttpApi.HttpCreateHttpHandle(&FReqQueue, 0));
    AddBindings(AModes, [this](const std::string& AUrl) {
        return Zn::HttpApi.HttpAddUrl(FReqQueue, AUrl.c_str(), nullptr);
    });
}

void TZnCustomHTTPServer::OpenUrlGroup(TZnHTTPServerSSLModes& AModes)
{
    CheckResult(Zn::HttpApi.HttpCreateServerSession(HTTPAPI_VERSION_2, &FServerSessionId, 0));
    CheckResult(Zn::HttpApi.HttpCreateUrlGroup(FServerSessionId, &FHttpGroupID, 0));
    AddBindings(AModes, [this](const std::string& AUrl) {
        return Zn::HttpApi.HttpAddUrlToUrlGroup(FHttpGroupID, AUrl.c_str(), 0, 0);
    });
}

template <class TAddUrl>
void TZnCustomHTTPServer::AddBindings(TZnHTTPServerSSLModes& AModes, TAddUrl AAddUrl)
{
    for (const std::string& Binding : FBindings) {
        const std::string Url = LowerCase(Binding);
        const TZnURLData UrlData = TZnURLData::Create(Url);
        CheckResult(AAddUrl(Url));
        if (SameText(UrlData.Scheme, "https"))
            AModes.Include(UrlData.Port == 443 ? ssmDefaultSSL : ssmCustomSSL);
    }
}

void TZnCustomHTTPServer::OpenQueueV2()
{
    const SECURITY_ATTRIBUTES Security{sizeof(SECURITY_ATTRIBUTES), nullptr, true};
    CheckResult(Zn::HttpApi.HttpCreateRequestQueue(HTTPAPI_VERSION_2, ReqQueueName().c_str(), &Security,
                                                   HTTP_CREATE_REQUEST_QUEUE_FLAG_CONTROLLER, &FReqQueue));
    const auto SetQueue = [this](THTTP_SERVER_PROPERTY AProperty, auto AValue) {
        CheckResult(Zn::HttpApi.HttpSetRequestQueueProperty(FReqQueue, AProperty, &AValue, sizeof(AValue), 0,
                                                            nullptr));
    };
    SetQueue(HttpServerStateProperty, HttpEnabledStateActive);
    SetQueue(HttpServer503VerbosityProperty, Http503ResponseVerbosityFull);
    SetQueue(HttpServerQueueLengthProperty, cQueueLength);
    const THTTP_BINDING_INFO Binding{1, FReqQueue};
    CheckResult(Zn::HttpApi.HttpSetUrlGroupProperty(FHttpGroupID, HttpServerBindingProperty, &Binding,
                                                    sizeof(Binding)));
}

void TZnCustomHTTPServer::StartThreads()
{
    FListening = true;
    FRequestBuffers.SetBufferLength(
        static_cast<std::uint32_t>(sizeof(THTTP_REQUEST) + std::max(RequestBufferSize, 0)));
    FWorkerPool.Open();
    FListenThread = std::make_unique<TZnHTTPServerListenThread>(*this);
    FAcceptRequests.store(true); // ahead of the first receive: nothing of this activation is dropped
    FListenThread->Start();
}

// --- Closing ------------------------------------------------------------------------------------

// The stop order. Also undoes an Initialize that failed on its way, so each step takes what isn't
// there as done.
void TZnCustomHTTPServer::Finalize()
{
    if (FListenThread)
        FListenThread->Terminate(); // a flag only: it may wait in the service until CloseReqQueue
    FWorkerPool.Close();
    RemoveUrls();
    CloseUrlGroup();
    CloseReqQueue();
    if (FListenThread)
        FListenThread->WaitFor();
    FListenThread.reset();
    Zn::UnloadHttpApi();
}

void TZnCustomHTTPServer::RemoveUrls()
{
    if (!FListening)
        return;
    for (const std::string& Binding : FBindings) {
        if (Zn::SelectedServerVersion() == HTTPServerV1)
            Zn::HttpApi.HttpRemoveUrl(FReqQueue, Binding.c_str());
        else
            Zn::HttpApi.HttpRemoveUrlFromUrlGroup(FHttpGroupID, Binding.c_str(), 0);
    }
    FListening = false;
}

void TZnCustomHTTPServer::CloseUrlGroup()
{
    if (FHttpGroupID != 0)
        Zn::HttpApi.HttpCloseUrlGroup(FHttpGroupID);
    FHttpGroupID = 0;
    if (FServerSessionId != 0)
        Zn::HttpApi.HttpCloseServerSession(FServerSessionId);
    FServerSessionId = 0;
}

void TZnCustomHTTPServer::CloseReqQueue()
{
    if (FReqQueue == 0)
        return;
    if (Zn::SelectedServerVersion() == HTTPServerV1)
        CloseHandle(FReqQueue);
    else
        Zn::HttpApi.HttpCloseRequestQueue(FReqQueue);
    FReqQueue = 0;
}
