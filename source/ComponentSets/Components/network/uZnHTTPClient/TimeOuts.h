#pragma once

#include "common/Component.h"
#include "platform/Api.h"

/// How long a client waits, in milliseconds. 0 waits for ever.
class ZN_API TZnHTTPTimeOuts : public TPersistent
{
public:
    /// Of ConnectTimeOut, in ms.
    static constexpr int cDefaultConnectTimeOut = 30000;
    /// Of SendTimeOut, in ms.
    static constexpr int cDefaultSendTimeOut = 120000;
    /// Of ReceiveTimeOut, in ms.
    static constexpr int cDefaultReceiveTimeOut = 120000;

    /// For a connection to stand, names looked up and TLS included. Default 30000.
    int GetConnectTimeOut() const { return FConnectTimeOut; }
    void SetConnectTimeOut(int AValue) { FConnectTimeOut = AValue; }

    /// For the request to go out. Default 120000.
    int GetSendTimeOut() const { return FSendTimeOut; }
    void SetSendTimeOut(int AValue) { FSendTimeOut = AValue; }

    /// For the response's head, and for each further piece of its body. Default 120000.
    int GetReceiveTimeOut() const { return FReceiveTimeOut; }
    void SetReceiveTimeOut(int AValue) { FReceiveTimeOut = AValue; }

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    int FConnectTimeOut = cDefaultConnectTimeOut;
    int FSendTimeOut = cDefaultSendTimeOut;
    int FReceiveTimeOut = cDefaultReceiveTimeOut;
};
