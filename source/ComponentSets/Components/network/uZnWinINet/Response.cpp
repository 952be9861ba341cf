#include "uZnWinINet/Response.h"

#include <utility>

#include "platform/errors/Errors.h"
#include "uZnHTTPTransport/Request.h"
#include "uZnWinINet/Binding.h"
#include "uZnWinINetH.h"

namespace Zn
{

WinINetResponse::WinINetResponse(std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> AHTTPClient,
                                 std::shared_ptr<IZnHTTPRequestEx> ARequest,
                                 std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus)
    : TransportResponse(WinINetBinding(), std::move(AHTTPClient), std::move(ARequest), std::move(AHandle),
                        std::move(AStatus))
{
}

void WinINetResponse::CheckError()
{
    const std::uint16_t Code = Status().StatusCode;
    if (Code >= 200 && Code <= 299)
        return;
    if (Code == cUnauthorized || Code == cProxyAuthenticationRequired)
        throw EZnWinINetHException(ShownURL(), ERROR_WINHTTP_LOGIN_FAILURE, "");
    throw EZnHTTPException(GetResponse(), Code);
}

} // namespace Zn
