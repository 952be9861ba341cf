#include "uZnHTTPServer/ReceivedRequest.h"

#include "uZnHTTPServer/ApiBinding.h"

namespace Zn
{

RequestQueueHandle::~RequestQueueHandle()
{
    if (FOwned && FHandle != 0)
        HttpApi.HttpCloseRequestQueue(FHandle);
}

ReceivedRequest::~ReceivedRequest()
{
    Finish();
}

ReceivedRequest& ReceivedRequest::operator=(ReceivedRequest&& AOther) noexcept
{
    if (this != &AOther) {
        Finish();
        FBuffer = std::move(AOther.FBuffer);
        FQueue = std::move(AOther.FQueue);
        FAnswered = AOther.FAnswered;
    }
    return *this;
}

void ReceivedRequest::Finish() noexcept
{
    if (FBuffer && !FAnswered && HttpApi.ZnHttpDropRequest != nullptr)
        HttpApi.ZnHttpDropRequest(FQueue.Get(), FBuffer->RequestId);
    FBuffer.reset();
    FQueue = {};
    FAnswered = false;
}

} // namespace Zn
