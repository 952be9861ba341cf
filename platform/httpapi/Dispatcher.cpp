#include "platform/httpapi/Dispatcher.h"

#include <algorithm>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Limits.h"
#include "platform/httpapi/RequestRecord.h"
#include "platform/httpapi/Target.h"

namespace Zn
{
namespace
{

constexpr int LongestPoll = 500;       // ms; time-outs are looked at that often
constexpr std::int64_t CareAfter = 50; // ms without a leader
constexpr std::chrono::milliseconds CareEvery{50};

std::string_view AddressBytes(const sockaddr_storage& AAddress)
{
    if (AAddress.ss_family == AF_INET6)
        return {reinterpret_cast<const char*>(&reinterpret_cast<const sockaddr_in6&>(AAddress).sin6_addr),
                16};
    return {reinterpret_cast<const char*>(&reinterpret_cast<const sockaddr_in&>(AAddress).sin_addr), 4};
}

/// What a client reads when its queue takes nothing.
OwnAnswer Unavailable(THTTP_503_RESPONSE_VERBOSITY AVerbosity, std::string_view ADetail)
{
    return {503, AVerbosity == Http503ResponseVerbosityFull ? ADetail : std::string_view{}, true};
}

} // namespace

Dispatcher::Dispatcher()
    : FReception(FConnections, FPoller, FTlsPorts, FProxyPorts), FCaretaker([this] { TakeCare(); })
{
}

Dispatcher::~Dispatcher()
{
    {
        const MutexLock Guard(FLock);
        FStopping = true;
        AskLeaderToYield();
        FCareChanged.NotifyAll();
    }
    FCaretaker.join();
    CloseIdle(0);
}

std::uint32_t Dispatcher::Receive(RequestQueue& AQueue, ReceiveBuffer& ABuffer)
{
    return WaitForRequest(AQueue, &ABuffer);
}

std::uint32_t Dispatcher::WaitForDemand(RequestQueue& AQueue)
{
    return WaitForRequest(AQueue, nullptr);
}

std::uint32_t Dispatcher::WaitForRequest(RequestQueue& AQueue, ReceiveBuffer* ABuffer)
{
    MutexLock Held(FLock);
    if (FCaretakerLeads)
        AskLeaderToYield();
    for (;;) {
        if (AQueue.Closed)
            return ERROR_OPERATION_ABORTED;
        if (!AQueue.Waiting.empty()) {
            if (ABuffer == nullptr)
                return NO_ERROR;
            const WaitingRequest Request = AQueue.Waiting.front();
            AQueue.Waiting.pop_front();
            Held.Unlock();
            return TakeWaiting(Request, *ABuffer);
        }
        if (FLeading || FAskers > 0) {
            WaitForChange(AQueue, Held);
            continue;
        }
        FLeading = true;
        Held.Unlock();
        const auto Result = Lead(&AQueue, ABuffer);
        Held.Lock();
        EndLead();
        if (Result)
            return *Result;
    }
}

void Dispatcher::WaitForChange(RequestQueue& AQueue, MutexLock& AHeld)
{
    if (AQueue.Waiters++ == 0)
        FWaitingQueues.push_back(&AQueue);
    AQueue.Changed.Wait(AHeld);
    if (--AQueue.Waiters == 0)
        std::erase(FWaitingQueues, &AQueue);
}

/// Works until a request for AQueue is there (0 with it in ABuffer, 234, or nullopt with it in the queue) or
/// somebody wants the lead (nullopt).
std::optional<std::uint32_t> Dispatcher::Lead(RequestQueue* AQueue, ReceiveBuffer* ABuffer)
{
    while (!FYield.load(std::memory_order_acquire)) {
        const auto Arrived = FReception.Next(LongestPoll);
        if (!Arrived)
            continue;
        switch (Deliver(*Arrived, AQueue, ABuffer)) {
        case Delivery::Elsewhere:
            break;
        case Delivery::Taken:
            return NO_ERROR;
        case Delivery::TooLarge:
            return ERROR_MORE_DATA;
        }
        if (AQueue != nullptr && ABuffer == nullptr) {
            const MutexLock Guard(FLock);
            if (!AQueue->Waiting.empty())
                return NO_ERROR;
        }
    }
    return std::nullopt;
}

/// Gives up the lead to whoever wants it next.
void Dispatcher::EndLead()
{
    FLeading = false;
    FLastLead = CoarseNow();
    FYield.store(FAskers > 0, std::memory_order_release);
    if (FAskers > 0)
        FNobodyLeads.NotifyAll();
    else if (!FWaitingQueues.empty())
        FWaitingQueues.front()->Changed.NotifyOne();
}

void Dispatcher::AskLeaderToYield()
{
    if (!FLeading)
        return;
    FYield.store(true, std::memory_order_release);
    FPoller.Wake();
}

const Route* Dispatcher::FindRoute(const Arrival& AArrival) const
{
    const auto Host = SplitHost(AArrival.Head.Host, AArrival.From.LocalPort);
    const auto* const Entry = FRoutes.Find({.Secure = AArrival.From.Io.IsSecure(),
                                            .Host = Host ? Host->Host : std::string_view{},
                                            .LocalAddress = AddressBytes(AArrival.From.Local),
                                            .LocalPort = AArrival.From.LocalPort,
                                            .Path = AArrival.Head.Path});
    return Entry != nullptr ? &Entry->Value : nullptr;
}

/// From here on the request belongs to its queue, and then to the thread that receives it.
Dispatcher::Delivery Dispatcher::Deliver(const Arrival& AArrival, RequestQueue* AOwn, ReceiveBuffer* ABuffer)
{
    Connection& From = AArrival.From;
    std::optional<OwnAnswer> Refusal;
    RequestOrigin Origin{From, 0, 0};
    bool Mine = false;
    {
        const MutexLock Guard(FLock);
        const Route* const Found = FindRoute(AArrival);
        const auto Queue = Found != nullptr ? Found->Group->Queue : nullptr;
        if (Found == nullptr) {
            Refusal = OwnAnswer{404, "Nothing is served under this address.", true};
        } else if (!Queue || Queue->Closed || Queue->State == HttpEnabledStateInactive) {
            Refusal = Unavailable(Queue ? Queue->Verbosity : Http503ResponseVerbosityBasic,
                                  "The service does not take requests at present.");
        } else if (Queue->Waiting.size() >= Queue->Length) {
            Refusal = Unavailable(Queue->Verbosity, "Too many requests wait to be served.");
        } else if (Queue->IsDraining.load(std::memory_order_relaxed) &&
                   !Queue->ClosedPorts.contains(From.LocalPort)) {
            Refusal = Unavailable(Queue->Verbosity, "The service is being stopped.");
        } else {
            if (Queue->IsDraining.load(std::memory_order_relaxed))
                ++Queue->BegunInDrain;
            Origin.RequestId = FConnections.NextRequestId(From);
            Origin.UrlContext = Found->Context;
            From.BeginRequest(AArrival.Head, Queue.get(), Origin.RequestId);
            From.State.store(Owner::Worker, std::memory_order_release);
            Mine = Queue.get() == AOwn && ABuffer != nullptr && Queue->Waiting.empty();
            if (!Mine) {
                AArrival.Keep();
                Queue->Waiting.push_back({&From, Origin.RequestId, Origin.UrlContext});
                Queue->Changed.NotifyOne();
            }
        }
        FUnavailable += Refusal && Refusal->Status == 503 ? 1 : 0;
    }
    if (Refusal)
        FReception.Answer(AArrival, *Refusal);
    if (!Mine)
        return Delivery::Elsewhere;
    if (WriteRequest(AArrival.Head, Origin, ABuffer->Record, ABuffer->Length, ABuffer->Used) != NO_ERROR) {
        Drop(From);
        return Delivery::TooLarge;
    }
    AArrival.ConsumeHead();
    return Delivery::Taken;
}

/// A request that waited is read again from the bytes that were kept: cheaper than to keep what was read.
std::uint32_t Dispatcher::TakeWaiting(const WaitingRequest& ARequest, ReceiveBuffer& ABuffer)
{
    thread_local RequestHeadParser Parser = MakeHeadParser();
    Connection& From = *ARequest.From;
    Parser.Reset();
    if (Parser.Parse(From.Input) != HeadResult::Complete)
        Parser = MakeHeadParser(); // the limits have changed since this thread's parser was made
    if (Parser.Parse(From.Input) != HeadResult::Complete ||
        WriteRequest(Parser.Head(), {From, ARequest.RequestId, ARequest.UrlContext}, ABuffer.Record,
                     ABuffer.Length, ABuffer.Used) != NO_ERROR) {
        Drop(From);
        return ERROR_MORE_DATA;
    }
    From.Input.erase(0, Parser.Head().Length);
    return NO_ERROR;
}

bool Dispatcher::AddRoute(const UrlPrefix& APrefix, Route ARoute)
{
    const MutexLock Guard(FLock);
    return FRoutes.Add(APrefix, std::move(ARoute));
}

void Dispatcher::RemoveRoute(const UrlPrefix& APrefix)
{
    const MutexLock Guard(FLock);
    FRoutes.Remove(APrefix);
}

void Dispatcher::BindGroup(UrlGroup& AGroup, std::shared_ptr<RequestQueue> AQueue)
{
    const MutexLock Guard(FLock);
    AGroup.Queue = std::move(AQueue);
}

void Dispatcher::SetQueueLength(RequestQueue& AQueue, std::uint32_t ALength)
{
    const MutexLock Guard(FLock);
    AQueue.Length = ALength;
}

void Dispatcher::SetQueueState(RequestQueue& AQueue, THTTP_ENABLED_STATE AState)
{
    const MutexLock Guard(FLock);
    AQueue.State = AState;
}

void Dispatcher::SetQueueVerbosity(RequestQueue& AQueue, THTTP_503_RESPONSE_VERBOSITY AVerbosity)
{
    const MutexLock Guard(FLock);
    AQueue.Verbosity = AVerbosity;
}

void Dispatcher::CloseQueue(RequestQueue& AQueue)
{
    {
        const MutexLock Guard(FLock);
        AQueue.Closed = true;
        AQueue.Changed.NotifyAll();
        AskLeaderToYield();
    }
    Abandon(AQueue);
}

TZnHttpStatistics Dispatcher::Statistics(const RequestQueue& AQueue)
{
    const MutexLock Guard(FLock);
    return {FReception.Accepted(), FUnavailable, FConnections.Count(),
            static_cast<std::uint32_t>(AQueue.Waiting.size())};
}

bool Dispatcher::IsBound(const UrlGroup& AGroup, const RequestQueue& AQueue)
{
    const MutexLock Guard(FLock);
    return AGroup.Queue.get() == &AQueue;
}

void Dispatcher::AcceptWaiting(const std::vector<int>& AListeners)
{
    RunInPlaceOfLeader([&] {
        for (const int Each : AListeners)
            FReception.AcceptWaiting(Each);
    });
}

void Dispatcher::CloseIdle(std::uint16_t APort)
{
    RunInPlaceOfLeader([&] { FReception.CloseIdle(APort); });
}

void Dispatcher::RunInPlaceOfLeader(const std::function<void()>& AWork)
{
    MutexLock Held(FLock);
    ++FAskers;
    AskLeaderToYield();
    while (FLeading)
        FNobodyLeads.Wait(Held);
    FLeading = true;
    Held.Unlock();
    AWork();
    Held.Lock();
    --FAskers;
    EndLead();
}

void Dispatcher::Finish(Connection& AConnection)
{
    const ResponseState& Response = AConnection.Response;
    if (Response.Broken) {
        Drop(AConnection);
        return;
    }
    const TZnHttpServiceLimits& Limits = CurrentLimits();
    if (!Response.Close && !IsLastAnswer(AConnection)) {
        AConnection.EndRequest();
        AConnection.Phase = Expecting::FirstByte;
        AConnection.Deadline = CoarseNow() + Limits.IdleWait;
        ReturnToPoller(AConnection);
        return;
    }
    const bool PeerMaySend = !AConnection.Input.empty() || !AConnection.Request.BodyDone ||
                             AConnection.MoreInKernel ||
                             AConnection.State.load(std::memory_order_relaxed) == Owner::WorkerMissed;
    if (!PeerMaySend) {
        Drop(AConnection);
        return;
    }
    // The leader reads the rest away, so that closing can't take the response from the peer.
    AConnection.Io.ShutdownSend();
    AConnection.EndRequest();
    AConnection.Input.clear();
    AConnection.Phase = Expecting::EndOfLinger;
    AConnection.LingerLeft = 1024 * 1024;
    AConnection.Deadline = CoarseNow() + Limits.LingerWait;
    AConnection.MoreInKernel = true;
    ReturnToPoller(AConnection);
}

/// Hands the connection back. The next event finds it there, unless bytes are at hand already or an event
/// came while the worker had it: then it is put up to be looked at.
void Dispatcher::ReturnToPoller(Connection& AConnection)
{
    const std::uint64_t Id = AConnection.ConnectionId.load(std::memory_order_relaxed);
    Owner Expected = Owner::Worker;
    if (AConnection.Input.empty() && !AConnection.MoreInKernel && !AConnection.Io.HoldsInput() &&
        AConnection.State.compare_exchange_strong(Expected, Owner::Poller, std::memory_order_acq_rel))
        return;
    AConnection.State.store(Owner::Poller, std::memory_order_release);
    FPoller.PushReturned(Id);
}

void Dispatcher::TakeCare()
{
    MutexLock Held(FLock);
    while (!FStopping) {
        FCareChanged.WaitFor(Held, CareEvery);
        if (FStopping || FLeading || FAskers > 0 || CoarseNow() - FLastLead < CareAfter)
            continue;
        FLeading = true;
        FCaretakerLeads = true;
        Held.Unlock();
        Lead(nullptr, nullptr);
        Held.Lock();
        FCaretakerLeads = false;
        EndLead();
    }
}

} // namespace Zn
