#include "uZnHTTPServer/Worker.h"

#include <chrono>

#include "common/Exceptions.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/CurrentExchange.h"
#include "uZnHTTPServer/Metrics.h"
#include "uZnHTTPServer/Server.h"

namespace
{

constexpr std::uint32_t cHandoverWait = 100;    // ms
constexpr std::uint32_t cIdleWait = 0x7FFFFFFF; // ms

thread_local const TZnCustomHTTPServer* ThreadServer = nullptr;

} // namespace

TZnHTTPServerResponseThread::TZnHTTPServerResponseThread(TZnCustomHTTPServer& AHTTPServer)
    : TThread("zn-http-worker"), FHTTPServer(AHTTPServer)
{
}

TZnHTTPServerResponseThread::~TZnHTTPServerResponseThread()
{
    TZnHTTPServerResponseThread::Terminate();
    WaitFor();
}

bool TZnHTTPServerResponseThread::IsWorkerOf(const TZnCustomHTTPServer& AHTTPServer)
{
    return ThreadServer == &AHTTPServer;
}

// From the moment a worker stands in the idle list it can be handed a request, but it still has to
// reset FIdleEvent, and a SetEvent before that would be lost. It holds FLock until after the reset, so
// entering FLock here waits until it is over.
void TZnHTTPServerResponseThread::ProcessRequest(Zn::ReceivedRequest ARequest)
{
    if (!FLock.TryEnter(cHandoverWait))
        throw Exception("The 100 msec delay is not enough to bridge the gap between the "
                        "\"FHTTPServer.FWorkerThreadLock.Leave;\" and \"FLock.Unlock(Unlock);\"");
    FLock.Leave();
    Accept(std::move(ARequest));
}

void TZnHTTPServerResponseThread::Accept(Zn::ReceivedRequest ARequest)
{
    FCookiesParsed = false;
    FBody.reset();
    FHTTP_REQUEST = std::move(ARequest);
    FSentStatus = 0;
    FSentBytes = 0;
    FReceivedBytes = 0;
    if (FDisconnectArmed) {
        FDisconnectEvent.ResetEvent();
        FDisconnectArmed = false;
    }
}

void TZnHTTPServerResponseThread::Wake()
{
    FIdleEvent.SetEvent();
}

void TZnHTTPServerResponseThread::TakeOver(TZnHTTPServerResponseThread& AFrom)
{
    Accept(std::move(AFrom.FHTTP_REQUEST));
}

void TZnHTTPServerResponseThread::Execute()
{
    ThreadServer = &FHTTPServer;
    Zn::InitThreadVars();
    while (SleepUntilHandover()) {
        TZnLockGuard Guard(FLock);
        do {
            if (FHTTPServer.FCounters)
                ServeCounted(*FHTTPServer.FCounters);
            else
                ServeRequest();
        } while (FHTTPServer.FWorkerPool.TakeNext(*this));
        // Before the look at Terminated that follows: a Terminate between the two would be lost.
        FIdleEvent.ResetEvent();
    }
}

/// False when the worker has to end.
bool TZnHTTPServerResponseThread::SleepUntilHandover()
{
    // A wait that ran out says nothing, and the request that a set event told of may be another worker's
    // by now: only the pool says that FHTTP_REQUEST may be touched.
    while (!GetTerminated()) {
        if (FIdleEvent.WaitFor(cIdleWait) != wrSignaled)
            continue;
        FIdleEvent.ResetEvent(); // before Begin: from there on the worker can be woken again
        if (!GetTerminated() && FHTTPServer.FWorkerPool.Begin(*this))
            return true;
    }
    return false;
}

void TZnHTTPServerResponseThread::ServeRequest()
{
    try {
        if (FHTTPServer.FTrustedProxies)
            FHTTPServer.FTrustedProxies->Apply(FHTTPServer.FForwardedFields, *FHTTP_REQUEST.Get(), FOrigin);
        FHTTPServer.DoOnResponseRaw(*this);
    } catch (...) {
        // The request gets no further answer; the worker goes on.
    }
    FHTTP_REQUEST = {};
    Cleanup();
}

void TZnHTTPServerResponseThread::ServeCounted(Zn::RequestCounters& ACounters)
{
    const auto Start = std::chrono::steady_clock::now();
    const THTTP_VERB Verb = FHTTP_REQUEST->Verb;
    const std::uint64_t HeadBytes = FHTTP_REQUEST->BytesReceived;
    ServeRequest();
    ACounters.Count({Verb, FSentStatus, std::chrono::steady_clock::now() - Start, HeadBytes + FReceivedBytes,
                     FSentBytes});
}

void TZnHTTPServerResponseThread::Cleanup()
{
    FCookiesParsed = false;
    FBody.reset();
    Zn::InitThreadVars();
}

void TZnHTTPServerResponseThread::Terminate()
{
    TThread::Terminate();
    FTerminateEvent.SetEvent();
    FIdleEvent.SetEvent();
}

std::uint32_t TZnHTTPServerResponseThread::SendHttpResponse(std::uint32_t AFlags,
                                                            const THTTP_RESPONSE* AResponse,
                                                            std::uint32_t& BytesSent)
{
    BytesSent = 0;
    const std::uint32_t Status =
        Zn::HttpApi.HttpSendHttpResponse(GetReqQueue(), FHTTP_REQUEST->RequestId, AFlags, AResponse, nullptr,
                                         &BytesSent, nullptr, 0, nullptr, nullptr);
    if (Status == 0)
        FSentStatus = AResponse->StatusCode;
    FSentBytes += BytesSent;
    NoteSent(Status, AFlags);
    return Status;
}

std::uint32_t TZnHTTPServerResponseThread::SendHttpResponseEntityBody(std::uint32_t AFlags,
                                                                      std::uint16_t AChunkCount,
                                                                      const THTTP_DATA_CHUNK* AChunks,
                                                                      std::uint32_t& BytesSent)
{
    BytesSent = 0;
    const std::uint32_t Status =
        Zn::HttpApi.HttpSendResponseEntityBody(GetReqQueue(), FHTTP_REQUEST->RequestId, AFlags, AChunkCount,
                                               AChunks, &BytesSent, nullptr, 0, nullptr, nullptr);
    FSentBytes += BytesSent;
    NoteSent(Status, AFlags);
    return Status;
}

void TZnHTTPServerResponseThread::NoteSent(std::uint32_t AStatus, std::uint32_t AFlags)
{
    if (AStatus == 0 && (AFlags & HTTP_SEND_RESPONSE_FLAG_MORE_DATA) == 0)
        FHTTP_REQUEST.SetAnswered();
}
