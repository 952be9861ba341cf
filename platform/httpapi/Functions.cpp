// The operations of Httpapi.h: arguments checked, objects found, work passed on.

#include "platform/httpapi/Httpapi.h"

#include "platform/errors/Errors.h"
#include "platform/httpapi/Guarded.h"
#include "platform/httpapi/Limits.h"
#include "platform/httpapi/OwnedRequest.h"
#include "platform/httpapi/RequestBody.h"
#include "platform/httpapi/ResponseSender.h"
#include "platform/httpapi/Service.h"
#include "platform/sync/Event.h"

using Zn::Guarded;
using Zn::QueueHandle;
using Zn::Service;

namespace
{

bool IsKnownVersion(THTTPAPI_VERSION AVersion)
{
    return (AVersion.HttpApiMajorVersion == 1 || AVersion.HttpApiMajorVersion == 2) &&
           AVersion.HttpApiMinorVersion == 0;
}

template <class T>
const T* Value(const void* AInformation, std::uint32_t ALength)
{
    return AInformation != nullptr && ALength >= sizeof(T) ? static_cast<const T*>(AInformation) : nullptr;
}

std::uint32_t CreateVersion1Queue(THandle& AHandle)
{
    const auto Now = Service::Current();
    return Now ? Now->CreateQueue({}, std::make_shared<Zn::UrlGroup>(), AHandle) : ERROR_INVALID_PARAMETER;
}

/// The tail of every send call.
std::uint32_t Conclude(QueueHandle& AQueue, Zn::Connection& AConnection, const Zn::SendResult& AResult,
                       std::uint32_t* ABytesSent)
{
    if (ABytesSent != nullptr)
        *ABytesSent = static_cast<std::uint32_t>(AResult.Sent);
    if (AResult.Complete)
        AQueue.Owner->Requests().Finish(AConnection);
    return AResult.Code;
}

} // namespace

std::uint32_t HttpInitialize(THTTPAPI_VERSION AVersion, std::uint32_t AFlags, void* AReserved)
{
    constexpr std::uint32_t Known = HTTP_INITIALIZE_SERVER | HTTP_INITIALIZE_CONFIG;
    if (!IsKnownVersion(AVersion) || (AFlags & ~Known) != 0 || AFlags == 0 || AReserved != nullptr)
        return ERROR_INVALID_PARAMETER;
    return Guarded([] { return Service::Initialize(); });
}

std::uint32_t HttpTerminate(std::uint32_t, void*)
{
    return Guarded([] { return Service::Terminate(); });
}

std::uint32_t HttpCreateHttpHandle(THandle* AReqQueueHandle, std::uint32_t)
{
    if (AReqQueueHandle == nullptr)
        return ERROR_INVALID_PARAMETER;
    return Guarded([&] { return CreateVersion1Queue(*AReqQueueHandle); });
}

std::uint32_t HttpAddUrl(THandle AReqQueueHandle, const char* AUrl, void*)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        return Queue->OwnGroup ? Queue->Owner->AddUrl(Queue->OwnGroup, AUrl, 0) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpRemoveUrl(THandle AReqQueueHandle, const char* AUrl)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        return Queue->OwnGroup ? Queue->Owner->RemoveUrl(*Queue->OwnGroup, AUrl) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpCreateServerSession(THTTPAPI_VERSION AVersion, HTTP_SERVER_SESSION_ID* ASessionId,
                                      std::uint32_t)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        if (!Now || ASessionId == nullptr ||
            !(AVersion.HttpApiMajorVersion == 2 && AVersion.HttpApiMinorVersion == 0))
            return ERROR_INVALID_PARAMETER;
        return Now->CreateSession(*ASessionId);
    });
}

std::uint32_t HttpCloseServerSession(HTTP_SERVER_SESSION_ID ASessionId)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        return Now ? Now->CloseSession(ASessionId) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpSetServerSessionProperty(HTTP_SERVER_SESSION_ID, THTTP_SERVER_PROPERTY, const void*,
                                           std::uint32_t)
{
    return ERROR_NOT_SUPPORTED; // what a session could set here is set by ZnHttpSetServiceLimits
}

std::uint32_t HttpCreateUrlGroup(HTTP_SERVER_SESSION_ID ASessionId, HTTP_URL_GROUP_ID* AGroupId,
                                 std::uint32_t)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        return Now && AGroupId != nullptr ? Now->CreateGroup(ASessionId, *AGroupId) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpCloseUrlGroup(HTTP_URL_GROUP_ID AGroupId)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        return Now ? Now->CloseGroup(AGroupId) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpAddUrlToUrlGroup(HTTP_URL_GROUP_ID AGroupId, const char* AUrl, HTTP_URL_CONTEXT AContext,
                                   std::uint32_t)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        const auto Group = Now ? Now->FindGroup(AGroupId) : nullptr;
        return Group ? Now->AddUrl(Group, AUrl, AContext) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpRemoveUrlFromUrlGroup(HTTP_URL_GROUP_ID AGroupId, const char* AUrl, std::uint32_t AFlags)
{
    constexpr std::uint32_t RemoveAll = 1;
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        const auto Group = Now ? Now->FindGroup(AGroupId) : nullptr;
        if (!Group)
            return ERROR_INVALID_PARAMETER;
        if ((AFlags & RemoveAll) == 0)
            return Now->RemoveUrl(*Group, AUrl);
        Now->RemoveAllUrls(*Group);
        return NO_ERROR;
    });
}

std::uint32_t HttpSetUrlGroupProperty(HTTP_URL_GROUP_ID AGroupId, THTTP_SERVER_PROPERTY AProperty,
                                      const void* AInformation, std::uint32_t ALength)
{
    if (AProperty != HttpServerBindingProperty)
        return ERROR_NOT_SUPPORTED;
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        const auto Group = Now ? Now->FindGroup(AGroupId) : nullptr;
        const auto* const Binding = Value<THTTP_BINDING_INFO>(AInformation, ALength);
        if (!Group || Binding == nullptr)
            return ERROR_INVALID_PARAMETER;
        const bool Present = (Binding->Flags & 1) != 0;
        const auto Queue = Present ? LookupHandleAs<QueueHandle>(Binding->RequestQueueHandle) : nullptr;
        if (Present && !Queue)
            return ERROR_INVALID_HANDLE;
        Now->Requests().BindGroup(*Group, Queue ? Queue->Queue : nullptr);
        return NO_ERROR;
    });
}

std::uint32_t HttpCreateRequestQueue(THTTPAPI_VERSION AVersion, const char* AName, const SECURITY_ATTRIBUTES*,
                                     std::uint32_t AFlags, THandle* AReqQueueHandle)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        if (!Now || AReqQueueHandle == nullptr || AVersion.HttpApiMajorVersion != 2)
            return ERROR_INVALID_PARAMETER;
        const std::string Name = AName != nullptr ? AName : "";
        if ((AFlags & HTTP_CREATE_REQUEST_QUEUE_FLAG_OPEN_EXISTING) != 0)
            return Now->OpenQueue(Name, *AReqQueueHandle);
        return Now->CreateQueue(Name, nullptr, *AReqQueueHandle);
    });
}

std::uint32_t HttpCloseRequestQueue(THandle AReqQueueHandle)
{
    return Guarded([&]() -> std::uint32_t {
        if (!LookupHandleAs<QueueHandle>(AReqQueueHandle) || !CloseHandle(AReqQueueHandle))
            return ERROR_INVALID_HANDLE;
        return NO_ERROR;
    });
}

std::uint32_t HttpSetRequestQueueProperty(THandle AReqQueueHandle, THTTP_SERVER_PROPERTY AProperty,
                                          const void* AInformation, std::uint32_t ALength, std::uint32_t,
                                          void*)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        const auto* const Number = Value<std::uint32_t>(AInformation, ALength);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        if (Number == nullptr)
            return ERROR_INVALID_PARAMETER;
        Zn::Dispatcher& Requests = Queue->Owner->Requests();
        switch (AProperty) {
        case HttpServerQueueLengthProperty:
            if (*Number < 1 || *Number > 65535)
                return ERROR_INVALID_PARAMETER;
            Requests.SetQueueLength(*Queue->Queue, *Number);
            return NO_ERROR;
        case HttpServerStateProperty:
            if (*Number > HttpEnabledStateInactive)
                return ERROR_INVALID_PARAMETER;
            Requests.SetQueueState(*Queue->Queue, static_cast<THTTP_ENABLED_STATE>(*Number));
            return NO_ERROR;
        case HttpServer503VerbosityProperty:
            if (*Number > Http503ResponseVerbosityFull)
                return ERROR_INVALID_PARAMETER;
            Requests.SetQueueVerbosity(*Queue->Queue, static_cast<THTTP_503_RESPONSE_VERBOSITY>(*Number));
            return NO_ERROR;
        default:
            return ERROR_NOT_SUPPORTED;
        }
    });
}

std::uint32_t HttpReceiveHttpRequest(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId, std::uint32_t,
                                     PHTTP_REQUEST ABuffer, std::uint32_t ABufferLength,
                                     std::uint32_t* ABytesReceived, OVERLAPPED* AOverlapped)
{
    if (ABytesReceived != nullptr)
        *ABytesReceived = 0;
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        // A request that did not fit is gone, so there is none to ask for by its id.
        if (ABuffer == nullptr || AOverlapped != nullptr || AReqId != 0)
            return ERROR_INVALID_PARAMETER;
        Zn::ReceiveBuffer Buffer{ABuffer, ABufferLength};
        const std::uint32_t Result = Queue->Owner->Requests().Receive(*Queue->Queue, Buffer);
        if (ABytesReceived != nullptr)
            *ABytesReceived = Buffer.Used;
        return Result;
    });
}

std::uint32_t HttpReceiveRequestEntityBody(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId, std::uint32_t,
                                           void* ABuffer, std::uint32_t ABufferLength,
                                           std::uint32_t* ABytesReceived, OVERLAPPED* AOverlapped)
{
    std::uint32_t Received = 0;
    const std::uint32_t Result = Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        if (ABuffer == nullptr || ABufferLength == 0 || AOverlapped != nullptr)
            return ERROR_INVALID_PARAMETER;
        const Zn::OwnedRequest Request(Queue->Owner->Requests(), Queue->Queue.get(), AReqId);
        return Request ? Zn::ReceiveBody(*Request, Zn::CurrentLimits(), ABuffer, ABufferLength, Received)
                       : ERROR_CONNECTION_INVALID;
    });
    if (ABytesReceived != nullptr)
        *ABytesReceived = Received;
    return Result;
}

std::uint32_t HttpSendHttpResponse(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId, std::uint32_t AFlags,
                                   const THTTP_RESPONSE* AResponse, void*, std::uint32_t* ABytesSent, void*,
                                   std::uint32_t, OVERLAPPED* AOverlapped, void*)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        if (AResponse == nullptr || AOverlapped != nullptr)
            return ERROR_INVALID_PARAMETER;
        const Zn::OwnedRequest Request(Queue->Owner->Requests(), Queue->Queue.get(), AReqId);
        if (!Request)
            return ERROR_CONNECTION_INVALID;
        return Conclude(*Queue, *Request, Zn::SendResponse(*Request, Zn::CurrentLimits(), AFlags, *AResponse),
                        ABytesSent);
    });
}

std::uint32_t HttpSendResponseEntityBody(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId,
                                         std::uint32_t AFlags, std::uint16_t AEntityChunkCount,
                                         const THTTP_DATA_CHUNK* AEntityChunks, std::uint32_t* ABytesSent,
                                         void*, std::uint32_t, OVERLAPPED* AOverlapped, void*)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        if ((AEntityChunks == nullptr && AEntityChunkCount > 0) || AOverlapped != nullptr)
            return ERROR_INVALID_PARAMETER;
        const Zn::OwnedRequest Request(Queue->Owner->Requests(), Queue->Queue.get(), AReqId);
        if (!Request)
            return ERROR_CONNECTION_INVALID;
        return Conclude(
            *Queue, *Request,
            Zn::SendBody(*Request, Zn::CurrentLimits(), AFlags, {AEntityChunks, AEntityChunkCount}),
            ABytesSent);
    });
}

std::uint32_t ZnHttpSetPortCertificate(const TZnHttpPortCertificate* ACertificate)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        if (!Now || ACertificate == nullptr || ACertificate->Port == 0 ||
            ACertificate->Certificate == nullptr || ACertificate->Key == nullptr)
            return ERROR_INVALID_PARAMETER;
        Zn::TlsPortSettings Settings;
        Settings.Default = {ACertificate->Certificate, ACertificate->Key};
        Settings.AskForClientCertificate = ACertificate->ClientAuthorities != nullptr;
        if (Settings.AskForClientCertificate)
            Settings.ClientAuthorities = ACertificate->ClientAuthorities;
        return Now->SetPortCertificate(ACertificate->Port, Settings);
    });
}

std::uint32_t ZnHttpAddListenSocket(int AFd)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Now = Service::Current();
        return Now ? Now->AddListenSocket(AFd) : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t ZnHttpSetProxyProtocol(std::uint16_t APort, const char* ATrusted)
{
    return Guarded([&]() -> std::uint32_t {
        std::string Problem;
        auto Ranges = Zn::ParseAddressRanges(ATrusted != nullptr ? ATrusted : "", Problem);
        const auto Now = Service::Current();
        if (!Now || !Ranges || APort == 0)
            return ERROR_INVALID_PARAMETER;
        Now->Requests().PortsOfProxies().Set(APort, std::move(*Ranges));
        return NO_ERROR;
    });
}

std::uint32_t ZnHttpReloadConfiguration()
{
    return Guarded([]() -> std::uint32_t {
        const auto Now = Service::Current();
        return Now ? Now->ReloadConfiguration() : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t ZnHttpQueryStatistics(THandle AReqQueueHandle, TZnHttpStatistics* AStatistics)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        if (AStatistics == nullptr)
            return ERROR_INVALID_PARAMETER;
        *AStatistics = Queue->Owner->Requests().Statistics(*Queue->Queue);
        return NO_ERROR;
    });
}

std::uint32_t ZnHttpDrainQueue(THandle AReqQueueHandle, std::uint32_t AMilliseconds,
                               TZnHttpDrainResult* AResult)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        return AResult != nullptr ? Queue->Owner->DrainQueue(*Queue, AMilliseconds, *AResult)
                                  : ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t ZnHttpDropRequest(THandle AReqQueueHandle, HTTP_REQUEST_ID AReqId)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        const Zn::OwnedRequest Request(Queue->Owner->Requests(), Queue->Queue.get(), AReqId);
        if (Request)
            Queue->Owner->Requests().Drop(*Request);
        return NO_ERROR;
    });
}

std::uint32_t HttpWaitForDemandStart(THandle AReqQueueHandle, OVERLAPPED* AOverlapped)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        if (AOverlapped != nullptr)
            return ERROR_INVALID_PARAMETER;
        return Queue->Owner->Requests().WaitForDemand(*Queue->Queue);
    });
}

std::uint32_t HttpWaitForDisconnect(THandle AReqQueueHandle, HTTP_CONNECTION_ID AConnectionId,
                                    OVERLAPPED* AOverlapped)
{
    return Guarded([&]() -> std::uint32_t {
        const auto Queue = LookupHandleAs<QueueHandle>(AReqQueueHandle);
        if (!Queue)
            return ERROR_INVALID_HANDLE;
        Zn::Connection* const Found = Queue->Owner->Requests().Connections().BySlotOf(AConnectionId);
        if (Found == nullptr || AConnectionId == 0 ||
            Found->ConnectionId.load(std::memory_order_acquire) != AConnectionId)
            return ERROR_CONNECTION_INVALID;
        if (AOverlapped != nullptr)
            return Found->ArmHangUp(AOverlapped->hEvent) ? ERROR_IO_PENDING : ERROR_CONNECTION_INVALID;
        const auto Gone = std::make_shared<TZnKernelEvent>();
        const THandle Event = RegisterHandle(Gone);
        if (Event == 0)
            return GetLastError();
        if (Found->ArmHangUp(Event))
            Gone->WaitFor(0xFFFFFFFF); // the peer's end, or that of the request, sets it
        CloseHandle(Event);
        return NO_ERROR;
    });
}

std::uint32_t HttpWaitForDisconnectEx(THandle AReqQueueHandle, HTTP_CONNECTION_ID AConnectionId,
                                      std::uint32_t, OVERLAPPED* AOverlapped)
{
    return HttpWaitForDisconnect(AReqQueueHandle, AConnectionId, AOverlapped);
}
