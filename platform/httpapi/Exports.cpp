#include "platform/httpapi/Exports.h"

#include "platform/httpapi/Operations.h"

namespace
{

template <class T>
void* Address(T* AFunction)
{
    return reinterpret_cast<void*>(AFunction);
}

} // namespace

std::span<const TZnExport> HttpapiExports()
{
    static const TZnExport Table[] = {
        {"HttpInitialize", Address(HttpInitialize)},
        {"HttpTerminate", Address(HttpTerminate)},
        {"HttpCreateHttpHandle", Address(HttpCreateHttpHandle)},
        {"HttpCreateServerSession", Address(HttpCreateServerSession)},
        {"HttpCloseServerSession", Address(HttpCloseServerSession)},
        {"HttpSetServerSessionProperty", Address(HttpSetServerSessionProperty)},
        {"HttpCreateRequestQueue", Address(HttpCreateRequestQueue)},
        {"HttpCloseRequestQueue", Address(HttpCloseRequestQueue)},
        {"HttpCreateUrlGroup", Address(HttpCreateUrlGroup)},
        {"HttpCloseUrlGroup", Address(HttpCloseUrlGroup)},
        {"HttpAddUrlToUrlGroup", Address(HttpAddUrlToUrlGroup)},
        {"HttpRemoveUrlFromUrlGroup", Address(HttpRemoveUrlFromUrlGroup)},
        {"HttpSetUrlGroupProperty", Address(HttpSetUrlGroupProperty)},
        {"HttpSetRequestQueueProperty", Address(HttpSetRequestQueueProperty)},
        {"HttpQueryServiceConfiguration", Address(HttpQueryServiceConfiguration)},
        {"HttpSetServiceConfiguration", Address(HttpSetServiceConfiguration)},
        {"HttpDeleteServiceConfiguration", Address(HttpDeleteServiceConfiguration)},
        {"HttpAddUrl", Address(HttpAddUrl)},
        {"HttpRemoveUrl", Address(HttpRemoveUrl)},
        {"HttpSendHttpResponse", Address(HttpSendHttpResponse)},
        {"HttpSendResponseEntityBody", Address(HttpSendResponseEntityBody)},
        {"HttpReceiveHttpRequest", Address(HttpReceiveHttpRequest)},
        {"HttpReceiveRequestEntityBody", Address(HttpReceiveRequestEntityBody)},
        {"HttpWaitForDemandStart", Address(HttpWaitForDemandStart)},
        {"HttpWaitForDisconnect", Address(HttpWaitForDisconnect)},
        {"HttpWaitForDisconnectEx", Address(HttpWaitForDisconnectEx)},
        {"ZnHttpSetPortCertificate", Address(ZnHttpSetPortCertificate)},
        {"ZnHttpCreateCertificate", Address(ZnHttpCreateCertificate)},
        {"ZnHttpDeleteCertificate", Address(ZnHttpDeleteCertificate)},
        {"ZnHttpImportCertificate", Address(ZnHttpImportCertificate)},
        {"ZnHttpQueryCertificate", Address(ZnHttpQueryCertificate)},
        {"ZnHttpAddListenSocket", Address(ZnHttpAddListenSocket)},
        {"ZnHttpDrainQueue", Address(ZnHttpDrainQueue)},
        {"ZnHttpDropRequest", Address(ZnHttpDropRequest)},
        {"ZnHttpQueryStatistics", Address(ZnHttpQueryStatistics)},
        {"ZnHttpReloadConfiguration", Address(ZnHttpReloadConfiguration)},
        {"ZnHttpSetProxyProtocol", Address(ZnHttpSetProxyProtocol)},
        {"ZnHttpQueryServiceLimits", Address(ZnHttpQueryServiceLimits)},
        {"ZnHttpSetServiceLimits", Address(ZnHttpSetServiceLimits)},
    };
    return Table;
}
