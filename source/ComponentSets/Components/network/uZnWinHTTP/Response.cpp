#include "uZnWinHTTP/Response.h"

#include <utility>

#include "platform/errors/Errors.h"
#include "uZnWinHTTP/Binding.h"

namespace
{

constexpr const char* cNoKeepAlive =
    "The server requested a NTLM or NEGOTIATE authentication, however, it also responded with a HTTP/1.0!\r\n"
    "As both the NTLM and NEGOTIATE authentication need the Keep-Alive to work properly and as HTTP/1.0 does "
    "not support Keep-Alive, the authentication failed.\r\n"
    "The most common cause for this problem is the server you are trying to reach is located behind a "
    "proxy/firewall which doesn't support HTTP/1.0\r\n"
    "A pfSense firewall with Squid configured as reverse proxy is an example of such a firewall.";

bool IsConnectionLogon(TWINHTTP_AUTH_SCHEME AScheme)
{
    return AScheme == asNTLM || AScheme == asNEGOTIATE;
}

} // namespace

namespace Zn
{

WinHTTPResponse::WinHTTPResponse(std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> AHTTPClient,
                                 const std::shared_ptr<WinHTTPRequest>& ARequest,
                                 std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus)
    : TransportResponse(WinHTTPBinding(), std::move(AHTTPClient), ARequest, std::move(AHandle),
                        std::move(AStatus)),
      FRequest(*ARequest)
{
}

/// Logons that belong to a connection can't work where each request gets a new one.
bool WinHTTPResponse::BreaksConnectionLogon() const
{
    return (Status().StatusCode == cProxyAuthenticationRequired &&
            IsConnectionLogon(FRequest.GetFirstProxyAuthScheme())) ||
           (Status().StatusCode == cUnauthorized && IsConnectionLogon(FRequest.GetFirstAuthScheme()));
}

void WinHTTPResponse::CheckError()
{
    if (BreaksConnectionLogon()) {
        if (QueryText(WINHTTP_QUERY_VERSION, {}) == ZnHTTPVersion[HTTP1_0])
            throw EZnWinHTTPException(cNoKeepAlive);
        return;
    }
    if (Status().StatusCode >= 200 && Status().StatusCode <= 299)
        return;
    if (Status().StatusCode == cUnauthorized || Status().StatusCode == cProxyAuthenticationRequired)
        throw EZnWinHTTPHException(ShownURL(), ERROR_WINHTTP_LOGIN_FAILURE, "");
    throw EZnHTTPException(GetResponse(), Status().StatusCode);
}

} // namespace Zn
