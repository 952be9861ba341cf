#pragma once

#include <cstdint>
#include <deque>
#include <memory>
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

/// Requests on their way to an application. All fields are guarded by the dispatcher's lock.
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
};

} // namespace Zn
