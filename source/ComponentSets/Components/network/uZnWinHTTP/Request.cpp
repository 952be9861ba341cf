#include "uZnWinHTTP/Request.h"

#include <utility>

#include "uZnWinHTTP/Response.h"

namespace Zn
{

WinHTTPRequest::WinHTTPRequest(TZnWinHTTPClient& AHTTPClient, TZnHTTPTransportSession& ASession,
                               TZnHTTPMethod AMethod, const std::string& AURL, TStream* ABody,
                               std::unique_ptr<TStream> AOwnBody, const std::string& ABodyContentType)
    : TransportRequest(AHTTPClient, ASession, AMethod, ABody, std::move(AOwnBody)),
      FAuthentication(AHTTPClient.GetAuthentication()),
      FProxyAuthentication(AHTTPClient.GetProxyAuthentication())
{
    Prepare(AHTTPClient, ASession, AURL, ABodyContentType);
}

void* WinHTTPRequest::OpenConnection(void* ASession, const TZnHTTPTimeOuts& ATimeOuts)
{
    WinHttpSetOption(ASession, WINHTTP_OPTION_CONNECT_TIMEOUT,
                     static_cast<std::uint32_t>(ATimeOuts.GetConnectTimeOut()));
    return WinHttpConnect(ASession, URLData().Hostname, URLData().Port);
}

void* WinHTTPRequest::OpenRequest(void* AConnection)
{
    TWINHTTP_OPENREQUEST_FLAGS Flags;
    if (URLData().Scheme == "https")
        Flags.Include(orSecure);
    return WinHttpOpenRequest(AConnection, ZnHTTPMethod[FMethod], URLData().Resource, Flags,
                              ZnHTTPVersion[FHTTPVersion], FReferer, FAccept);
}

std::shared_ptr<TransportResponse> WinHTTPRequest::MakeResponse()
{
    return std::make_shared<WinHTTPResponse>(
        ClientLink(), std::static_pointer_cast<WinHTTPRequest>(shared_from_this()), SharedHandle(), FStatus);
}

} // namespace Zn
