#pragma once

#include <utility>

#include "uZnHTTPH.h"
#include "uZnHTTPServer/RequestBuffers.h"

namespace Zn
{

/// A queue's handle that is closed with its last use (HTTPServerV2 opens one per request), or one
/// that stays the server's.
class RequestQueueHandle
{
public:
    RequestQueueHandle() = default;
    static RequestQueueHandle Borrowed(THandle AHandle) { return RequestQueueHandle(AHandle, false); }
    static RequestQueueHandle Owned(THandle AHandle) { return RequestQueueHandle(AHandle, true); }
    RequestQueueHandle(RequestQueueHandle&& AOther) noexcept
        : FHandle(std::exchange(AOther.FHandle, 0)), FOwned(AOther.FOwned)
    {
    }
    RequestQueueHandle& operator=(RequestQueueHandle AOther) noexcept
    {
        std::swap(FHandle, AOther.FHandle);
        std::swap(FOwned, AOther.FOwned);
        return *this; // AOther closes what stood here
    }
    ~RequestQueueHandle();

    THandle Get() const { return FHandle; }

private:
    RequestQueueHandle(THandle AHandle, bool AOwned) : FHandle(AHandle), FOwned(AOwned) {}

    THandle FHandle = 0;
    bool FOwned = false;
};

/// A request in hand: its buffer and the queue handle that it is answered through. Moves from the
/// listen thread to the worker, so that it has one owner at each moment. One that dies without a
/// complete answer is dropped at the service, which closes its connection: no client waits for an
/// answer that won't come.
class ReceivedRequest
{
public:
    ReceivedRequest() = default;
    ReceivedRequest(RequestBuffer ABuffer, RequestQueueHandle AQueue)
        : FQueue(std::move(AQueue)), FBuffer(std::move(ABuffer))
    {
    }
    ReceivedRequest(ReceivedRequest&&) noexcept = default;
    ReceivedRequest& operator=(ReceivedRequest&& AOther) noexcept;
    ~ReceivedRequest();

    explicit operator bool() const { return FBuffer != nullptr; }
    PHTTP_REQUEST Get() const { return FBuffer.get(); }
    PHTTP_REQUEST operator->() const { return FBuffer.get(); }
    THandle ReqQueue() const { return FQueue.Get(); }

    /// The last byte of the response was handed to the service.
    void SetAnswered() { FAnswered = true; }

private:
    void Finish() noexcept;

    RequestQueueHandle FQueue; // outlives the buffer
    RequestBuffer FBuffer;
    bool FAnswered = false;
};

} // namespace Zn
