#pragma once

#include <string>

#include "common/Thread.h"
#include "platform/Api.h"
#include "uZnHTTPServer/ReceivedRequest.h"

class TZnCustomHTTPServer;

/// Receives requests and hands each to the server, one after the other, until the queue is closed.
///
/// Threads: one per active server. Ends by Terminate and the end of the queue, which releases it from
///          the service; or by an exception: then nothing is received any more until the server
///          is stopped and started.
class ZN_API TZnHTTPServerListenThread : public TThread
{
public:
    /// For the server, which starts it.
    explicit TZnHTTPServerListenThread(TZnCustomHTTPServer& AHTTPServer);
    ~TZnHTTPServerListenThread() override;

protected:
    void Execute() override;

private:
    Zn::RequestQueueHandle OpenQueue();
    bool ReceiveOne();

    TZnCustomHTTPServer& FHTTPServer;
    const THandle FReqQueue;
    const std::string FQueueName;
};
