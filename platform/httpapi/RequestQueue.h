#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <string>

#include "platform/httpapi/Httpapi.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

struct Connection;

/// A request that waits: its connection, with the head still in Connection::Input.
struct WaitingRequest
{
    Connection* From;
    HTTP_REQUEST_ID RequestId;
    HTTP_URL_CONTEXT UrlContext;
};

/// Requests on their way to an application. Guarded by the dispatcher's lock, but for what is atomic.
class RequestQueue
{
public:
    explicit RequestQueue(std::string AName) : Name(std::move(AName)) {}

    const std::string Name; // empty: can't be opened by name

    std::deque<WaitingRequest> Waiting;
    std::uint32_t Length = 1000;
    THTTP_ENABLED_STATE State = HttpEnabledStateActive;
    THTTP_503_RESPONSE_VERBOSITY Verbosity = Http503ResponseVerbosityBasic;
    bool Closed = false;

    Condition Changed; // a request came, the queue was closed, or nobody leads
    std::uint32_t Waiters = 0;

    // Its graceful end: connections close behind their answers.
    std::atomic<bool> IsDraining{false}; // set under the dispatcher's lock; read by the owners of requests
    std::set<std::uint16_t> ClosedPorts; // only what comes in by them is still served
    std::uint32_t BegunInDrain = 0;      // requests at hand when it began, and those that came since
};

/// Whether the connection closes behind its present answer since its queue ends. Its owner's.
bool IsLastAnswer(const Connection& AConnection);

} // namespace Zn
