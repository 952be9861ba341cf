#pragma once

#include "platform/Api.h"
#include "uZnHTTPTransport.h"

/// A WinINet session with its connections, its open requests and its cookies, for one or several
/// TZnWinINetClients.
///
/// Use, threads, ownership: as TZnHTTPTransportSession. The default of UserAgent is "Tolmary WinINet Client".
/// Errors:    Open raises EZnWinINetHException; code 87 for a proxy that doesn't fit AccessType.
class ZN_API TZnWinINetSession : public TZnHTTPTransportSession
{
public:
    explicit TZnWinINetSession(TComponent* AOwner);
    /// Closes.
    ~TZnWinINetSession() override;

    /// Connecting, sending and receiving.
    void ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts) override;
};
