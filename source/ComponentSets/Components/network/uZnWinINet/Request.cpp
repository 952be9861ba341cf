#include "uZnWinINet/Request.h"

#include <utility>

#include "platform/text/Unicode.h"
#include "uZnWinINet/Response.h"

namespace Zn
{

WinINetRequest::WinINetRequest(TZnWinINetClient& AHTTPClient, TZnHTTPTransportSession& ASession,
                               TZnHTTPMethod AMethod, const std::string& AURL, TStream* ABody,
                               std::unique_ptr<TStream> AOwnBody, const std::string& ABodyContentType)
    : TransportRequest(AHTTPClient, ASession, AMethod, ABody, std::move(AOwnBody)),
      FDisableCache(AHTTPClient.GetDisableCache()),
      FErrorDlgParent(AHTTPClient.GetErrorDlgParent())
{
    Prepare(AHTTPClient, ASession, AURL, ABodyContentType);
}

/// Name and password are the connection's: a request that finds one open goes with those of its first.
void* WinINetRequest::OpenConnection(void* ASession, const TZnHTTPTimeOuts& ATimeOuts)
{
    InternetSetOption(nullptr, INTERNET_OPTION_CONNECT_TIMEOUT,
                      static_cast<std::uint32_t>(ATimeOuts.GetConnectTimeOut()));
    InternetSetOption(nullptr, INTERNET_OPTION_SEND_TIMEOUT,
                      static_cast<std::uint32_t>(ATimeOuts.GetSendTimeOut()));
    InternetSetOption(nullptr, INTERNET_OPTION_RECEIVE_TIMEOUT,
                      static_cast<std::uint32_t>(ATimeOuts.GetReceiveTimeOut()));
    return InternetConnect(ASession, URLData().Hostname, URLData().Port, FUserName, FPassword, stHTTP, false,
                           0);
}

std::uint32_t WinINetRequest::Flags() const
{
    std::uint32_t Result = INTERNET_FLAG_KEEP_CONNECTION;
    if (URLData().Scheme == "https")
        Result |= INTERNET_FLAG_SECURE;
    if (FRedirectPolicy == rdpNever)
        Result |= INTERNET_FLAG_NO_AUTO_REDIRECT;
    if (FRedirectPolicy == rdpDisallowHttpsToHttp)
        Result |= INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS;
    if (FCookieHandling == chManual)
        Result |= INTERNET_FLAG_NO_COOKIES;
    if (FDisableCache)
        Result |= INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_PRAGMA_NOCACHE;
    return Result;
}

void WinINetRequest::SetProxyCredentials(void* AConnection) const
{
    const auto Set = [AConnection](std::uint32_t AOption, const std::string& AText) {
        if (AText.empty())
            return;
        const std::u16string Text = Utf16FromUtf8(AText);
        InternetSetOption(AConnection, AOption, Text.data(), static_cast<std::uint32_t>(Text.size()));
    };
    Set(INTERNET_OPTION_PROXY_USERNAME, FProxyCredentials.GetUserName());
    Set(INTERNET_OPTION_PROXY_PASSWORD, FProxyCredentials.GetPassword());
}

void* WinINetRequest::OpenRequest(void* AConnection)
{
    SetProxyCredentials(AConnection);
    return HttpOpenRequest(AConnection, ZnHTTPMethod[FMethod], URLData().Resource, Flags(),
                           ZnHTTPVersion[FHTTPVersion], FReferer, FAccept, 0);
}

std::shared_ptr<TransportResponse> WinINetRequest::MakeResponse()
{
    return std::make_shared<WinINetResponse>(ClientLink(), shared_from_this(), SharedHandle(), FStatus);
}

} // namespace Zn
