#pragma once

#include "platform/Api.h"
#include "uZnHTTPTransport.h"

/// Versions of SSL and TLS; those before TLS 1.2 are not offered.
enum TWinHTTPSecureProtocol : std::uint8_t {
    sprotSSL2,
    sprotSSL3,
    sprotTLS1,
    sprotTLS1_1,
    sprotTLS1_2,
    sprotTLS1_3
};
/// Empty: TLS 1.2 and newer.
using TWinHTTPSecureProtocols = TZnSet<TWinHTTPSecureProtocol>;

/// A WinHTTP session with its connections, its open requests and its cookies, for one or several
/// TZnWinHTTPClients.
///
/// Use, threads, ownership: as TZnHTTPTransportSession. The default of UserAgent is "Tolmary WinHTTP Client".
/// Errors:    Open raises EZnWinHTTPInvalidArgument for a proxy that doesn't fit AccessType, and
///            EZnWinHTTPHException.
class ZN_API TZnWinHTTPSession : public TZnHTTPTransportSession
{
public:
    explicit TZnWinHTTPSession(TComponent* AOwner);
    /// Closes.
    ~TZnWinHTTPSession() override;

    /// Empty, the default: TLS 1.2 and newer. Those before 1.2 may be named and are not offered.
    TWinHTTPSecureProtocols GetSecureProtocols() const { return FSecureProtocols; }
    void SetSecureProtocols(TWinHTTPSecureProtocols AValue) { FSecureProtocols = AValue; }

    /// Sending and receiving; a connection's own time is set with it.
    void ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts) override;

protected:
    void ForgetSettings() override;

private:
    TWinHTTPSecureProtocols FSecureProtocols;
    std::atomic<bool> FProtocolsApplied{false};
};
