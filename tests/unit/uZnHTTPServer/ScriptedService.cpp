#include "ScriptedService.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>

#include "platform/errors/Errors.h"
#include "platform/sync/Event.h"

namespace
{

ScriptedService* Active = nullptr;

class ScriptedQueue : public KernelObject
{
public:
    void HandleClosed() override
    {
        if (Active)
            Active->QueueClosed(Handle);
    }
    THandle Handle = 0;
};

std::uint32_t Initialize(THTTPAPI_VERSION AVersion, std::uint32_t AFlags, void*)
{
    return Active->Note("HttpInitialize " + std::to_string(AVersion.HttpApiMajorVersion) + " " +
                        std::to_string(AFlags));
}

std::uint32_t Terminate(std::uint32_t AFlags, void*)
{
    return Active->Note("~HttpTerminate " + std::to_string(AFlags));
}

std::uint32_t CreateHttpHandle(THandle* AHandle, std::uint32_t)
{
    return Active->Open("HttpCreateHttpHandle", AHandle);
}

std::uint32_t AddUrl(THandle, const char* AUrl, void*)
{
    return Active->Note(std::string("HttpAddUrl ") + AUrl);
}

std::uint32_t RemoveUrl(THandle, const char* AUrl)
{
    return Active->Note(std::string("~HttpRemoveUrl ") + AUrl);
}

std::uint32_t CreateServerSession(THTTPAPI_VERSION, HTTP_SERVER_SESSION_ID* AId, std::uint32_t)
{
    const std::uint32_t Status = Active->Note("HttpCreateServerSession");
    *AId = Status == 0 ? 11 : 0;
    return Status;
}

std::uint32_t CloseServerSession(HTTP_SERVER_SESSION_ID AId)
{
    return Active->Note("~HttpCloseServerSession " + std::to_string(AId));
}

std::uint32_t SetServerSessionProperty(HTTP_SERVER_SESSION_ID, THTTP_SERVER_PROPERTY, const void*,
                                       std::uint32_t)
{
    return Active->Note("HttpSetServerSessionProperty");
}

std::uint32_t CreateUrlGroup(HTTP_SERVER_SESSION_ID, HTTP_URL_GROUP_ID* AId, std::uint32_t)
{
    const std::uint32_t Status = Active->Note("HttpCreateUrlGroup");
    *AId = Status == 0 ? 12 : 0;
    return Status;
}

std::uint32_t CloseUrlGroup(HTTP_URL_GROUP_ID AId)
{
    return Active->Note("~HttpCloseUrlGroup " + std::to_string(AId));
}

std::uint32_t AddUrlToUrlGroup(HTTP_URL_GROUP_ID, const char* AUrl, HTTP_URL_CONTEXT, std::uint32_t)
{
    return Active->Note(std::string("HttpAddUrlToUrlGroup ") + AUrl);
}

std::uint32_t RemoveUrlFromUrlGroup(HTTP_URL_GROUP_ID, const char* AUrl, std::uint32_t)
{
    return Active->Note(std::string("~HttpRemoveUrlFromUrlGroup ") + AUrl);
}

std::uint32_t SetUrlGroupProperty(HTTP_URL_GROUP_ID, THTTP_SERVER_PROPERTY AProperty, const void*,
                                  std::uint32_t)
{
    return Active->Note("HttpSetUrlGroupProperty " + std::to_string(AProperty));
}

std::uint32_t CreateRequestQueue(THTTPAPI_VERSION, const char* AName, const SECURITY_ATTRIBUTES*,
                                 std::uint32_t AFlags, THandle* AHandle)
{
    return Active->Open((AFlags == 1 ? "@HttpCreateRequestQueue " : "HttpCreateRequestQueue ") +
                            std::string(AName) + " " + std::to_string(AFlags),
                        AHandle);
}

std::uint32_t CloseRequestQueue(THandle AHandle)
{
    return Active->CloseQueue("~HttpCloseRequestQueue", AHandle);
}

std::uint32_t SetRequestQueueProperty(THandle, THTTP_SERVER_PROPERTY AProperty, const void* AInformation,
                                      std::uint32_t ALength, std::uint32_t, void*)
{
    std::uint32_t Value = 0;
    std::memcpy(&Value, AInformation, std::min<std::size_t>(ALength, sizeof Value));
    return Active->Note("HttpSetRequestQueueProperty " + std::to_string(AProperty) + "=" +
                        std::to_string(Value));
}

std::uint32_t Receive(THandle AQueue, HTTP_REQUEST_ID, std::uint32_t, PHTTP_REQUEST ABuffer,
                      std::uint32_t ALength, std::uint32_t* AReceived, OVERLAPPED*)
{
    return Active->Receive(AQueue, ABuffer, ALength, AReceived);
}

std::uint32_t ReceiveBody(THandle, HTTP_REQUEST_ID AId, std::uint32_t, void* ABuffer, std::uint32_t ALength,
                          std::uint32_t* ARead, OVERLAPPED*)
{
    return Active->ReceiveBody(AId, ABuffer, ALength, ARead);
}

std::uint32_t SendHead(THandle AQueue, HTTP_REQUEST_ID AId, std::uint32_t AFlags,
                       const THTTP_RESPONSE* AResponse, void*, std::uint32_t*, void*, std::uint32_t,
                       OVERLAPPED*, void*)
{
    SendCall Call{.IsHead = true, .Flags = AFlags, .Status = AResponse->StatusCode};
    Call.Reason.assign(AResponse->pReason ? AResponse->pReason : "", AResponse->ReasonLength);
    for (std::uint32_t Id = 0; Id < HttpHeaderResponseMaximum; ++Id) {
        const THTTP_KNOWN_HEADER& Header = AResponse->Headers.KnownHeaders[Id];
        if (Header.pRawValue != nullptr)
            Call.Known[Id].assign(Header.pRawValue, Header.RawValueLength);
    }
    for (std::uint16_t At = 0; At < AResponse->Headers.UnknownHeaderCount; ++At) {
        const THTTP_UNKNOWN_HEADER& Header = AResponse->Headers.pUnknownHeaders[At];
        Call.Unknown.emplace_back(std::string(Header.pName, Header.NameLength),
                                  std::string(Header.pRawValue, Header.RawValueLength));
    }
    return Active->Send(AQueue, AId, std::move(Call));
}

std::uint32_t SendBody(THandle AQueue, HTTP_REQUEST_ID AId, std::uint32_t AFlags, std::uint16_t ACount,
                       const THTTP_DATA_CHUNK* AChunks, std::uint32_t*, void*, std::uint32_t, OVERLAPPED*,
                       void*)
{
    SendCall Call{.Flags = AFlags};
    for (std::uint16_t At = 0; At < ACount; ++At) {
        if (AChunks[At].DataChunkType == HttpDataChunkFromFileHandle) {
            Call.FileRanges.push_back(AChunks[At].FromFileHandle.ByteRange);
            continue;
        }
        Call.ChunkLengths.push_back(AChunks[At].FromMemory.BufferLength);
        Call.Body.append(static_cast<const char*>(AChunks[At].FromMemory.pBuffer),
                         AChunks[At].FromMemory.BufferLength);
    }
    return Active->Send(AQueue, AId, std::move(Call));
}

std::uint32_t Drop(THandle, HTTP_REQUEST_ID AId)
{
    return Active->Drop(AId);
}

std::uint32_t WaitForDemandStart(THandle AQueue, OVERLAPPED*)
{
    return Active->WaitForDemand(AQueue);
}

std::uint32_t WaitForDisconnect(THandle, HTTP_CONNECTION_ID, OVERLAPPED* AOverlapped)
{
    return Active->ArmDisconnect(AOverlapped);
}

std::uint32_t WaitForDisconnectEx(THandle, HTTP_CONNECTION_ID, std::uint32_t, OVERLAPPED* AOverlapped)
{
    return Active->ArmDisconnect(AOverlapped);
}

std::uint32_t Configuration()
{
    return ERROR_NOT_SUPPORTED;
}

template <class TFunction>
TZnExport Export(const char* AName, TFunction* AFunction)
{
    return {AName, reinterpret_cast<void*>(AFunction)};
}

std::vector<TZnExport> Exports()
{
    return {Export("HttpInitialize", Initialize),
            Export("HttpTerminate", Terminate),
            Export("HttpCreateHttpHandle", CreateHttpHandle),
            Export("HttpCreateServerSession", CreateServerSession),
            Export("HttpCloseServerSession", CloseServerSession),
            Export("HttpSetServerSessionProperty", SetServerSessionProperty),
            Export("HttpCreateRequestQueue", CreateRequestQueue),
            Export("HttpCloseRequestQueue", CloseRequestQueue),
            Export("HttpCreateUrlGroup", CreateUrlGroup),
            Export("HttpCloseUrlGroup", CloseUrlGroup),
            Export("HttpAddUrlToUrlGroup", AddUrlToUrlGroup),
            Export("HttpRemoveUrlFromUrlGroup", RemoveUrlFromUrlGroup),
            Export("HttpSetUrlGroupProperty", SetUrlGroupProperty),
            Export("HttpSetRequestQueueProperty", SetRequestQueueProperty),
            Export("HttpQueryServiceConfiguration", Configuration),
            Export("HttpSetServiceConfiguration", Configuration),
            Export("HttpDeleteServiceConfiguration", Configuration),
            Export("HttpAddUrl", AddUrl),
            Export("HttpRemoveUrl", RemoveUrl),
            Export("HttpSendHttpResponse", SendHead),
            Export("HttpSendResponseEntityBody", SendBody),
            Export("HttpReceiveHttpRequest", Receive),
            Export("HttpReceiveRequestEntityBody", ReceiveBody),
            Export("HttpWaitForDemandStart", WaitForDemandStart),
            Export("HttpWaitForDisconnect", WaitForDisconnect),
            Export("HttpWaitForDisconnectEx", WaitForDisconnectEx),
            Export("ZnHttpDropRequest", Drop)};
}

/// Lays what a record points at behind it in the caller's buffer.
class RecordWriter
{
public:
    RecordWriter(PHTTP_REQUEST ABuffer, std::uint32_t ALength)
        : FNext(reinterpret_cast<char*>(ABuffer + 1)), FEnd(reinterpret_cast<char*>(ABuffer) + ALength)
    {
    }

    template <class TChar>
    const TChar* Put(const TChar* AData, std::size_t ACount)
    {
        const std::size_t Bytes = ACount * sizeof(TChar);
        FNext += (8 - reinterpret_cast<std::uintptr_t>(FNext) % 8) % 8;
        if (FNext + Bytes > FEnd)
            throw std::length_error("buffer");
        auto* const Place = reinterpret_cast<TChar*>(FNext);
        std::memcpy(Place, AData, Bytes);
        FNext += Bytes;
        return Place;
    }
    const char* Put(const std::string& AText) { return Put(AText.data(), AText.size()); }

private:
    char* FNext;
    char* FEnd;
};

void WriteRecord(const ScriptedRequest& AFrom, HTTP_REQUEST_ID AId, PHTTP_REQUEST ATo, std::uint32_t ALength)
{
    RecordWriter Writer(ATo, ALength);
    *ATo = {};
    ATo->RequestId = AId;
    ATo->ConnectionId = AId + 1000;
    ATo->Version = AFrom.Version;
    ATo->Verb = AFrom.Verb;
    ATo->CookedUrl.FullUrlLength = static_cast<std::uint16_t>(AFrom.Url.size() * 2);
    ATo->CookedUrl.pFullUrl = Writer.Put(AFrom.Url.data(), AFrom.Url.size());
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ATo->Address.pRemoteAddress = reinterpret_cast<const sockaddr*>(Writer.Put(&Address, 1));
    for (const auto& [Id, Value] : AFrom.Known)
        ATo->Headers.KnownHeaders[Id] = {static_cast<std::uint16_t>(Value.size()), Writer.Put(Value)};
    std::vector<THTTP_UNKNOWN_HEADER> Unknown;
    for (const auto& [Name, Value] : AFrom.Unknown)
        Unknown.push_back({static_cast<std::uint16_t>(Name.size()), static_cast<std::uint16_t>(Value.size()),
                           Writer.Put(Name), Writer.Put(Value)});
    ATo->Headers.UnknownHeaderCount = static_cast<std::uint16_t>(Unknown.size());
    ATo->Headers.pUnknownHeaders = Unknown.empty() ? nullptr : Writer.Put(Unknown.data(), Unknown.size());
}

} // namespace

ScriptedService::ScriptedService(std::vector<std::string> AMissing)
{
    FOuter = std::exchange(Active, this);
    std::vector<TZnExport> Offered = Exports();
    std::erase_if(Offered, [&](const TZnExport& Each) {
        return std::find(AMissing.begin(), AMissing.end(), Each.Name) != AMissing.end();
    });
    FLibrary = std::make_unique<TZnScopedLibrary>("Httpapi.dll", std::move(Offered));
}

ScriptedService::~ScriptedService()
{
    FLibrary.reset();
    Active = FOuter;
}

template <class TCondition>
void ScriptedService::WaitUntil(std::unique_lock<std::mutex>& ALock, const char* AWhat, TCondition ACondition)
{
    if (!FChanged.wait_for(ALock, std::chrono::seconds(60), ACondition))
        throw std::runtime_error(std::string("waited in vain for ") + AWhat);
}

HTTP_REQUEST_ID ScriptedService::Push(ScriptedRequest ARequest)
{
    const std::scoped_lock Lock(FMutex);
    FDisconnectEvent = 0;
    FPending.emplace_back(FNextId, std::move(ARequest));
    FChanged.notify_all();
    return FNextId++;
}

Exchange ScriptedService::Await(HTTP_REQUEST_ID AId)
{
    std::unique_lock Lock(FMutex);
    WaitUntil(Lock, "an answer", [&] { return FExchanges[AId].Complete || FExchanges[AId].Dropped; });
    return FExchanges[AId];
}

void ScriptedService::AwaitWait()
{
    std::unique_lock Lock(FMutex);
    WaitUntil(Lock, "a wait for the disconnect", [&] { return FDisconnectEvent != 0; });
}

void ScriptedService::Disconnect()
{
    const std::scoped_lock Lock(FMutex);
    LookupHandleAs<TZnKernelEvent>(std::exchange(FDisconnectEvent, 0))->Set();
}

std::vector<std::string> ScriptedService::Calls()
{
    const std::scoped_lock Lock(FMutex);
    return FCalls;
}

std::size_t ScriptedService::OpenHandles()
{
    const std::scoped_lock Lock(FMutex);
    return FQueueOf.size();
}

std::uint32_t ScriptedService::BodyCalls()
{
    const std::scoped_lock Lock(FMutex);
    return FBodyCalls;
}

/// "~" marks calls that close, "@" those of the listen thread: neither is counted as an opening call.
std::uint32_t ScriptedService::Note(const std::string& ACall)
{
    const std::scoped_lock Lock(FMutex);
    if (ACall.starts_with('@'))
        return 0;
    FCalls.push_back(ACall.starts_with('~') ? ACall.substr(1) : ACall);
    const bool Fails = !ACall.starts_with('~') && FOpeningCalls++ == FailCall;
    return Fails ? ERROR_ACCESS_DENIED : NO_ERROR;
}

/// A handle that is opened for one request belongs to the queue made last.
std::uint32_t ScriptedService::Open(const std::string& ACall, THandle* AHandle)
{
    const std::uint32_t Status = Note(ACall);
    *AHandle = 0;
    if (Status != 0)
        return Status;
    const auto Queue = std::make_shared<ScriptedQueue>();
    *AHandle = Queue->Handle = RegisterHandle(Queue);
    const std::scoped_lock Lock(FMutex);
    if (!ACall.starts_with('@'))
        FLastQueue = *AHandle;
    FQueueOf[*AHandle] = FLastQueue;
    return Status;
}

/// A handle that was opened for one request closes without a note.
std::uint32_t ScriptedService::CloseQueue(const std::string& ACall, THandle AHandle)
{
    const bool IsQueue = [&] {
        const std::scoped_lock Lock(FMutex);
        return FQueueOf[AHandle] == AHandle;
    }();
    if (IsQueue)
        Note(ACall);
    return CloseHandle(AHandle) ? NO_ERROR : ERROR_INVALID_HANDLE;
}

void ScriptedService::QueueClosed(THandle AHandle)
{
    const std::scoped_lock Lock(FMutex);
    FQueueOf.erase(AHandle);
    FChanged.notify_all();
}

/// Waits for a request; false once the handle or the queue behind it is closed.
bool ScriptedService::AwaitPending(std::unique_lock<std::mutex>& ALock, THandle AHandle)
{
    const auto IsOpen = [&] {
        const auto Found = FQueueOf.find(AHandle);
        return Found != FQueueOf.end() && FQueueOf.count(Found->second) > 0;
    };
    FChanged.wait(ALock, [&] { return !FPending.empty() || !IsOpen(); });
    return IsOpen();
}

std::uint32_t ScriptedService::WaitForDemand(THandle AQueue)
{
    std::unique_lock Lock(FMutex);
    return AwaitPending(Lock, AQueue) ? NO_ERROR : ERROR_OPERATION_ABORTED;
}

std::uint32_t ScriptedService::Receive(THandle AQueue, PHTTP_REQUEST ABuffer, std::uint32_t ALength,
                                       std::uint32_t* AReceived)
{
    std::unique_lock Lock(FMutex);
    if (!AwaitPending(Lock, AQueue))
        return ERROR_OPERATION_ABORTED;
    auto [Id, Request] = std::move(FPending.front());
    FPending.pop_front();
    std::uint32_t Status = NO_ERROR;
    try {
        WriteRecord(Request, Id, ABuffer, ALength);
        *AReceived = sizeof(THTTP_REQUEST);
    } catch (const std::length_error&) {
        FExchanges[Id].Dropped = true;
        Status = ERROR_MORE_DATA;
    }
    FReceived.emplace(Id, std::move(Request));
    FChanged.notify_all();
    return Status;
}

std::uint32_t ScriptedService::ReceiveBody(HTTP_REQUEST_ID AId, void* ABuffer, std::uint32_t ALength,
                                           std::uint32_t* ARead)
{
    const std::scoped_lock Lock(FMutex);
    ++FBodyCalls;
    auto& Script = FReceived.at(AId).Body;
    if (Script.empty())
        return ERROR_HANDLE_EOF;
    auto& [Status, Bytes] = Script.front();
    *ARead = static_cast<std::uint32_t>(std::min<std::size_t>(ALength, Bytes.size()));
    std::memcpy(ABuffer, Bytes.data(), *ARead);
    const std::uint32_t Result = Status;
    Bytes.erase(0, *ARead);
    if (Bytes.empty())
        Script.pop_front();
    return Result;
}

std::uint32_t ScriptedService::Send(THandle AQueue, HTTP_REQUEST_ID AId, SendCall ACall)
{
    const bool Final = (ACall.Flags & HTTP_SEND_RESPONSE_FLAG_MORE_DATA) == 0;
    if (ACall.IsHead && BeforeHeadReturns)
        BeforeHeadReturns();
    const std::scoped_lock Lock(FMutex);
    Exchange& Entry = FExchanges[AId];
    Entry.Calls.push_back(std::move(ACall));
    Entry.Queue = AQueue;
    Entry.Complete = Entry.Complete || (Final && SendResult == 0);
    FChanged.notify_all();
    return LookupHandle(AQueue) ? SendResult : ERROR_INVALID_HANDLE;
}

std::uint32_t ScriptedService::Drop(HTTP_REQUEST_ID AId)
{
    const std::scoped_lock Lock(FMutex);
    FExchanges[AId].Dropped = true;
    FChanged.notify_all();
    return NO_ERROR;
}

std::uint32_t ScriptedService::ArmDisconnect(OVERLAPPED* AOverlapped)
{
    const std::scoped_lock Lock(FMutex);
    if (WaitForDisconnectResult == ERROR_IO_PENDING)
        FDisconnectEvent = AOverlapped->hEvent;
    FChanged.notify_all();
    return WaitForDisconnectResult;
}
