#include "uZnHTTPServer/ListenThread.h"

#include <algorithm>
#include <string_view>

#include "platform/errors/Errors.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/Failures.h"
#include "uZnHTTPServer/Server.h"

TZnHTTPServerListenThread::TZnHTTPServerListenThread(TZnCustomHTTPServer& AHTTPServer)
    : TThread("zn-http-listen"),
      FHTTPServer(AHTTPServer),
      FReqQueue(AHTTPServer.FReqQueue),
      FQueueName(AHTTPServer.ReqQueueName())
{
}

TZnHTTPServerListenThread::~TZnHTTPServerListenThread()
{
    Terminate();
    WaitFor();
}

void TZnHTTPServerListenThread::Execute()
{
    while (!GetTerminated() && ReceiveOne()) {
    }
}

/// The handle for the next request. HTTPServerV2 waits for a request first and opens a handle that
/// lives as long as that request, so that each is answered through a handle of its own.
Zn::RequestQueueHandle TZnHTTPServerListenThread::OpenQueue()
{
    if (Zn::SelectedServerVersion() == HTTPServerV1)
        return Zn::RequestQueueHandle::Borrowed(FReqQueue);
    Zn::HttpApi.HttpWaitForDemandStart(FReqQueue, nullptr);
    if (GetTerminated())
        return {};
    THandle Handle = 0;
    CheckResult(Zn::HttpApi.HttpCreateRequestQueue(HTTPAPI_VERSION_2, FQueueName.c_str(), nullptr,
                                                   HTTP_CREATE_REQUEST_QUEUE_FLAG_OPEN_EXISTING, &Handle));
    return Zn::RequestQueueHandle::Owned(Handle);
}

/// False when nothing more can come.
bool TZnHTTPServerListenThread::ReceiveOne()
{
    Zn::RequestQueueHandle Queue = OpenQueue();
    if (GetTerminated())
        return false;
    Zn::RequestBuffer Buffer = FHTTPServer.FRequestBuffers.Take();
    std::uint32_t Received = 0;
    const std::uint32_t Status = Zn::HttpApi.HttpReceiveHttpRequest(
        Queue.Get(), 0, 0, Buffer.get(), FHTTPServer.FRequestBuffers.GetBufferLength(), &Received, nullptr);
    // The queue was closed: asking again would only spin. Finalize has told the thread to end by then.
    if (Status == ERROR_OPERATION_ABORTED || Status == ERROR_INVALID_HANDLE)
        return false;
    // A request that doesn't fit has been dropped by the service already.
    if (Status != NO_ERROR || Received < sizeof(THTTP_REQUEST))
        return true;
    Zn::ReceivedRequest Request(std::move(Buffer), std::move(Queue));
    if (FHTTPServer.FAcceptRequests.load() && !GetTerminated())
        FHTTPServer.ProcessRequest(std::move(Request));
    return true;
}

void TZnCustomHTTPServer::ProcessRequest(Zn::ReceivedRequest ARequest)
{
    const auto Outcome =
        FWorkerPool.HandOver(ARequest, static_cast<std::size_t>(std::max(FMaxWorkerThreadCnt, 0)));
    if (Outcome == Zn::WorkerPool::Outcome::Exhausted)
        AnswerExhausted(ARequest);
}

void TZnCustomHTTPServer::AnswerExhausted(Zn::ReceivedRequest& ARequest)
{
    FExhausted.fetch_add(1, std::memory_order_relaxed);
    constexpr std::string_view cReason = "Server resources exhausted... Try again later.";
    THTTP_RESPONSE Response{};
    Response.Version = ARequest->Version;
    Response.StatusCode = 503;
    Response.ReasonLength = static_cast<std::uint16_t>(cReason.size());
    Response.pReason = cReason.data();
    std::uint32_t BytesSent = 0;
    const std::uint32_t Status = Zn::HttpApi.HttpSendHttpResponse(
        ARequest.ReqQueue(), ARequest->RequestId, HTTP_SEND_RESPONSE_FLAG_DISCONNECT, &Response, nullptr,
        &BytesSent, nullptr, 0, nullptr, nullptr);
    if (Status == NO_ERROR)
        ARequest.SetAnswered();
}
