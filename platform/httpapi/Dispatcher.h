#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "platform/httpapi/ConnectionTable.h"
#include "platform/httpapi/Operations.h"
#include "platform/httpapi/Poller.h"
#include "platform/httpapi/Reception.h"
#include "platform/httpapi/RequestQueue.h"
#include "platform/httpapi/UrlPrefix.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Prefixes that belong together; bound to a queue or not yet.
struct UrlGroup
{
    std::shared_ptr<RequestQueue> Queue; // guarded by the dispatcher's lock
    std::vector<UrlPrefix> Urls;         // guarded by the service's configuration lock
    bool IsListening = true;             // so is this; false: its ports are given up, its queue ends
};

/// Where a prefix leads.
struct Route
{
    std::shared_ptr<UrlGroup> Group;
    HTTP_URL_CONTEXT Context = 0;
};

/// Where a received request is laid out.
struct ReceiveBuffer
{
    PHTTP_REQUEST Record;
    std::uint32_t Length;
    std::uint32_t Used = 0;
};

/// Brings requests from the wire to the threads that wait for them, without a thread of its own in between.
///
/// Of all threads that wait for a request, one leads: it polls, accepts, reads and parses until a request
/// for its own queue is complete, takes that straight into its buffer and lets another waiter lead. Requests
/// for other queues are put there and their waiters woken.
///
///     waiter --nobody leads--> leader --request for its queue--> application
///                                | request for another queue: Waiting, wake its waiter
///
/// While no thread has waited for some time (the application is busy, or gone), a caretaker leads, so that
/// full queues answer 503 and time-outs run; it steps back as soon as a thread waits again.
///
/// Threads:   every operation from any thread.
/// Lock order: a request's Connection::Call before FLock, and no I/O under FLock.
class Dispatcher
{
public:
    Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;
    ~Dispatcher();

    ConnectionTable& Connections() { return FConnections; }
    Poller& Events() { return FPoller; }
    TlsPorts& SecurePorts() { return FTlsPorts; }
    ProxyPorts& PortsOfProxies() { return FProxyPorts; }

    /// The next request of the queue. 0, 234 (did not fit: closed), 995 (queue closed).
    std::uint32_t Receive(RequestQueue& AQueue, ReceiveBuffer& ABuffer);
    /// The same, but the request stays in the queue.
    std::uint32_t WaitForDemand(RequestQueue& AQueue);

    /// False when the prefix is taken.
    bool AddRoute(const UrlPrefix& APrefix, Route ARoute);
    void RemoveRoute(const UrlPrefix& APrefix);
    void BindGroup(UrlGroup& AGroup, std::shared_ptr<RequestQueue> AQueue);

    void SetQueueLength(RequestQueue& AQueue, std::uint32_t ALength);
    void SetQueueState(RequestQueue& AQueue, THTTP_ENABLED_STATE AState);
    void SetQueueVerbosity(RequestQueue& AQueue, THTTP_503_RESPONSE_VERBOSITY AVerbosity);

    /// Ends the queue: waiting threads return, requests that wait or are at work lose their connection.
    void CloseQueue(RequestQueue& AQueue);

    /// Ends the connections of a port (0: of all) that wait for a request.
    void CloseIdle(std::uint16_t APort);

    /// Ends the queue's connections as their requests end; cuts what is left after ATime. AClosedPorts take
    /// no new connections any more.
    TZnHttpDrainResult Drain(RequestQueue& AQueue, const std::set<std::uint16_t>& AClosedPorts,
                             std::chrono::milliseconds ATime);
    TZnHttpStatistics Statistics(const RequestQueue& AQueue);
    bool IsBound(const UrlGroup& AGroup, const RequestQueue& AQueue);
    void AcceptWaiting(const std::vector<int>& AListeners);

    /// The response is complete: the connection goes on, lingers or closes. Called by its owner, once.
    void Finish(Connection& AConnection);
    /// The request gets no answer, or no complete one.
    void Drop(Connection& AConnection) { FReception.Close(AConnection); }

private:
    enum class Delivery { Elsewhere, Taken, TooLarge };

    std::optional<std::uint32_t> Lead(RequestQueue* AQueue, ReceiveBuffer* ABuffer) ZN_EXCLUDES(FLock);
    Delivery Deliver(const Arrival& AArrival, RequestQueue* AOwn, ReceiveBuffer* ABuffer) ZN_EXCLUDES(FLock);
    std::uint32_t TakeWaiting(const WaitingRequest& ARequest, ReceiveBuffer& ABuffer) ZN_EXCLUDES(FLock);
    std::uint32_t WaitForRequest(RequestQueue& AQueue, ReceiveBuffer* ABuffer) ZN_EXCLUDES(FLock);
    const Route* FindRoute(const Arrival& AArrival) const ZN_REQUIRES(FLock);
    void AskLeaderToYield() ZN_REQUIRES(FLock);
    void EndLead() ZN_REQUIRES(FLock);
    void WaitForChange(RequestQueue& AQueue, MutexLock& AHeld) ZN_REQUIRES(FLock);
    void RunInPlaceOfLeader(const std::function<void()>& AWork) ZN_EXCLUDES(FLock);
    void ReturnToPoller(Connection& AConnection);
    void TakeCare();
    bool HasWork(const RequestQueue& AQueue, const std::set<std::uint16_t>& APorts) const;
    std::uint32_t Abandon(RequestQueue& AQueue) ZN_EXCLUDES(FLock);

    ConnectionTable FConnections;
    Poller FPoller;
    TlsPorts FTlsPorts;
    ProxyPorts FProxyPorts;
    Reception FReception; // the leader's

    Mutex FLock;
    UrlPrefixTable<Route> FRoutes ZN_GUARDED_BY(FLock);
    bool FLeading ZN_GUARDED_BY(FLock) = false;
    bool FCaretakerLeads ZN_GUARDED_BY(FLock) = false;
    std::uint32_t FAskers ZN_GUARDED_BY(FLock) = 0; // threads that want to work in the leader's place
    std::int64_t FLastLead ZN_GUARDED_BY(FLock) = 0;
    std::vector<RequestQueue*> FWaitingQueues ZN_GUARDED_BY(FLock); // those with a thread in Changed
    Condition FNobodyLeads;
    std::atomic<bool> FYield{false}; // set under FLock; read by the leader between two events

    std::uint64_t FUnavailable ZN_GUARDED_BY(FLock) = 0; // answers 503
    bool FStopping ZN_GUARDED_BY(FLock) = false;
    Condition FCareChanged;
    std::thread FCaretaker; // last: it uses all of the above
};

} // namespace Zn
