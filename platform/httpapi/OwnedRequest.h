#pragma once

#include "platform/httpapi/Connection.h"
#include "platform/httpapi/Dispatcher.h"

namespace Zn
{

/// One call of a request's owner: finds the connection by the request's id and keeps it for the length of the
/// call. Empty when the id names nothing (any more). When the request was ended from outside meanwhile, the
/// connection is closed as the call ends.
class OwnedRequest
{
public:
    OwnedRequest(Dispatcher& ADispatcher, const RequestQueue* AQueue, HTTP_REQUEST_ID AId)
        : FDispatcher(ADispatcher), FId(AId)
    {
        Connection* const Found = AId != 0 ? ADispatcher.Connections().BySlotOf(AId) : nullptr;
        if (Found == nullptr || !IsIt(*Found))
            return;
        Found->Call.lock();
        if (IsIt(*Found) && Found->Queue.load(std::memory_order_acquire) == AQueue)
            FConnection = Found;
        else
            Found->Call.unlock();
    }
    OwnedRequest(const OwnedRequest&) = delete;
    OwnedRequest& operator=(const OwnedRequest&) = delete;
    ~OwnedRequest()
    {
        if (FConnection == nullptr)
            return;
        FConnection->Call.unlock();
        // Against CloseQueue, which sets Abandoned and then tries the lock: one of the two gets it.
        if (FConnection->Abandoned.load() && FConnection->Call.try_lock()) {
            if (IsIt(*FConnection) && FConnection->Abandoned.load())
                FDispatcher.Drop(*FConnection);
            FConnection->Call.unlock();
        }
    }

    explicit operator bool() const { return FConnection != nullptr; }
    Connection& operator*() const { return *FConnection; }
    Connection* operator->() const { return FConnection; }

private:
    bool IsIt(const Connection& AConnection) const
    {
        return AConnection.RequestId.load(std::memory_order_acquire) == FId;
    }

    Dispatcher& FDispatcher;
    HTTP_REQUEST_ID FId;
    Connection* FConnection = nullptr;
};

} // namespace Zn
