#pragma once

#include "platform/httpapi/Operations.h"
#include "uZnHTTPH.h"
#include "uZnHTTPServer/Server.h"

namespace Zn
{

/// One slot per function of the HTTP service; nil while the library isn't loaded, and for functions
/// of the version that isn't selected.
struct HttpApiSlots
{
    decltype(&::HttpInitialize) HttpInitialize = nullptr;
    decltype(&::HttpTerminate) HttpTerminate = nullptr;

    // HTTPServerV1
    decltype(&::HttpCreateHttpHandle) HttpCreateHttpHandle = nullptr;

    // HTTPServerV2
    decltype(&::HttpCreateServerSession) HttpCreateServerSession = nullptr;
    decltype(&::HttpCloseServerSession) HttpCloseServerSession = nullptr;
    decltype(&::HttpSetServerSessionProperty) HttpSetServerSessionProperty = nullptr;
    decltype(&::HttpCreateRequestQueue) HttpCreateRequestQueue = nullptr;
    decltype(&::HttpCloseRequestQueue) HttpCloseRequestQueue = nullptr;
    decltype(&::HttpCreateUrlGroup) HttpCreateUrlGroup = nullptr;
    decltype(&::HttpCloseUrlGroup) HttpCloseUrlGroup = nullptr;
    decltype(&::HttpAddUrlToUrlGroup) HttpAddUrlToUrlGroup = nullptr;
    decltype(&::HttpRemoveUrlFromUrlGroup) HttpRemoveUrlFromUrlGroup = nullptr;
    decltype(&::HttpSetUrlGroupProperty) HttpSetUrlGroupProperty = nullptr;
    decltype(&::HttpSetRequestQueueProperty) HttpSetRequestQueueProperty = nullptr;

    // Both
    decltype(&::HttpQueryServiceConfiguration) HttpQueryServiceConfiguration = nullptr;
    decltype(&::HttpSetServiceConfiguration) HttpSetServiceConfiguration = nullptr;
    decltype(&::HttpDeleteServiceConfiguration) HttpDeleteServiceConfiguration = nullptr;
    decltype(&::HttpAddUrl) HttpAddUrl = nullptr;
    decltype(&::HttpRemoveUrl) HttpRemoveUrl = nullptr;
    decltype(&::HttpSendHttpResponse) HttpSendHttpResponse = nullptr;
    decltype(&::HttpSendResponseEntityBody) HttpSendResponseEntityBody = nullptr;
    decltype(&::HttpReceiveHttpRequest) HttpReceiveHttpRequest = nullptr;
    decltype(&::HttpReceiveRequestEntityBody) HttpReceiveRequestEntityBody = nullptr;
    decltype(&::HttpWaitForDemandStart) HttpWaitForDemandStart = nullptr;
    decltype(&::HttpWaitForDisconnect) HttpWaitForDisconnect = nullptr;
    decltype(&::HttpWaitForDisconnectEx) HttpWaitForDisconnectEx = nullptr;

    // Optional: a service without it leaves a client waiting where a request gets no answer.
    decltype(&::ZnHttpDropRequest) ZnHttpDropRequest = nullptr;
    // Optional: needed only by a server that brings certificates of its own.
    decltype(&::ZnHttpSetPortCertificate) ZnHttpSetPortCertificate = nullptr;

    // Optional: operations of a running server.
    decltype(&::ZnHttpAddListenSocket) ZnHttpAddListenSocket = nullptr;
    decltype(&::ZnHttpSetProxyProtocol) ZnHttpSetProxyProtocol = nullptr;
    decltype(&::ZnHttpReloadConfiguration) ZnHttpReloadConfiguration = nullptr;
    decltype(&::ZnHttpQueryStatistics) ZnHttpQueryStatistics = nullptr;
    decltype(&::ZnHttpSetServiceLimits) ZnHttpSetServiceLimits = nullptr;
    decltype(&::ZnHttpDrainQueue) ZnHttpDrainQueue = nullptr;

    // Optional: the certificate store, for those who manage it.
    decltype(&::ZnHttpCreateCertificate) ZnHttpCreateCertificate = nullptr;
    decltype(&::ZnHttpDeleteCertificate) ZnHttpDeleteCertificate = nullptr;
    decltype(&::ZnHttpImportCertificate) ZnHttpImportCertificate = nullptr;
    decltype(&::ZnHttpQueryCertificate) ZnHttpQueryCertificate = nullptr;
};

/// Filled by LoadHttpApi. Read by every thread of a server: it stays as it is from the first
/// SetActive(true) to the last SetActive(false).
extern HttpApiSlots HttpApi;

/// Raises EAssertionFailed for an optional function that a replaced service lacks.
void RequireFunction(bool AIsThere, const char* AName);

/// Counts one more user of "Httpapi.dll"; the first one loads it, initialises it in the selected
/// version and fills the slots. Raises Exception where the system is too old, EAssertionFailed for
/// a missing function, EZnHTTPException where the service refuses. Not for several threads at once.
void LoadHttpApi();

/// Takes one user back; the last one ends the use of the service and frees the library. Never
/// raises.
void UnloadHttpApi() noexcept;

/// The service is initialised: its version can't change.
bool HttpApiInitialised();

TZnHTTPServerVersion SelectedServerVersion();
void SelectServerVersion(TZnHTTPServerVersion AVersion);

} // namespace Zn
