#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "platform/httpapi/Dispatcher.h"
#include "platform/httpapi/Listeners.h"
#include "platform/sync/Handle.h"

namespace Zn
{

class QueueHandle;

/// The HTTP service of the process: what is registered, on the dispatcher that does the work. Exists from the
/// first HttpInitialize to the last HttpTerminate; handles that are still open keep it alive.
///
/// Threads: any. Lock order: FConfigLock before the dispatcher's lock.
class Service : public std::enable_shared_from_this<Service>
{
public:
    static std::uint32_t Initialize();
    static std::uint32_t Terminate();
    /// Empty before HttpInitialize.
    static std::shared_ptr<Service> Current();

    Dispatcher& Requests() { return FDispatcher; }

    std::uint32_t CreateSession(HTTP_SERVER_SESSION_ID& AId);
    std::uint32_t CloseSession(HTTP_SERVER_SESSION_ID AId);
    std::uint32_t CreateGroup(HTTP_SERVER_SESSION_ID ASession, HTTP_URL_GROUP_ID& AId);
    std::uint32_t CloseGroup(HTTP_URL_GROUP_ID AId);
    std::shared_ptr<UrlGroup> FindGroup(HTTP_URL_GROUP_ID AId);

    std::uint32_t AddUrl(const std::shared_ptr<UrlGroup>& AGroup, const char* AUrl,
                         HTTP_URL_CONTEXT AContext);
    std::uint32_t RemoveUrl(UrlGroup& AGroup, const char* AUrl);
    void RemoveAllUrls(UrlGroup& AGroup);

    /// Ahead of the binding list, in this process. 1312 when the settings are unusable.
    std::uint32_t SetPortCertificate(std::uint16_t APort, const TlsPortSettings& ASettings);

    /// A queue with the handle that controls it. 183 when the name is taken.
    std::uint32_t CreateQueue(const std::string& AName, std::shared_ptr<UrlGroup> AOwnGroup,
                              THandle& AHandle);
    /// Another handle on a queue. 2 when there is none of that name.
    std::uint32_t OpenQueue(const std::string& AName, THandle& AHandle);
    void CloseQueue(RequestQueue& AQueue);

    /// See ZnHttpAddListenSocket.
    std::uint32_t AddListenSocket(int AFd);
    /// See ZnHttpReloadConfiguration.
    std::uint32_t ReloadConfiguration();
    /// See ZnHttpDrainQueue.
    std::uint32_t DrainQueue(const QueueHandle& AQueue, std::uint32_t AMilliseconds,
                             TZnHttpDrainResult& AResult);

private:
    struct Session
    {
        std::set<HTTP_URL_GROUP_ID> Groups;
    };

    void Unregister(UrlGroup& AGroup, const UrlPrefix& APrefix) ZN_REQUIRES(FConfigLock);
    std::uint32_t OpenPort(const UrlPrefix& APrefix) ZN_REQUIRES(FConfigLock);
    std::uint32_t SecurePort(std::uint16_t APort) ZN_REQUIRES(FConfigLock);
    void StopListening(UrlGroup& AGroup, std::set<std::uint16_t>& AClosed) ZN_REQUIRES(FConfigLock);
    void ClosePort(const UrlGroup& AGroup, const UrlPrefix& APrefix) ZN_REQUIRES(FConfigLock);
    void CloseGroupLocked(HTTP_URL_GROUP_ID AId) ZN_REQUIRES(FConfigLock);

    Dispatcher FDispatcher;
    Mutex FConfigLock;
    Listeners FListeners ZN_GUARDED_BY(FConfigLock){FDispatcher.Events()};
    std::map<std::uint16_t, bool> FPortsInUse ZN_GUARDED_BY(FConfigLock); // whether the port speaks TLS
    std::set<std::uint16_t> FOwnCertificates ZN_GUARDED_BY(FConfigLock);  // ports with SetPortCertificate
    std::uint64_t FNextId ZN_GUARDED_BY(FConfigLock) = 1;
    std::map<HTTP_SERVER_SESSION_ID, Session> FSessions ZN_GUARDED_BY(FConfigLock);
    std::map<HTTP_URL_GROUP_ID, std::shared_ptr<UrlGroup>> FGroups ZN_GUARDED_BY(FConfigLock);
    std::map<std::string, std::shared_ptr<RequestQueue>>
        FQueues ZN_GUARDED_BY(FConfigLock); // those with a name
};

/// What a queue handle stands for.
class QueueHandle : public KernelObject
{
public:
    QueueHandle(std::shared_ptr<Service> AService, std::shared_ptr<RequestQueue> AQueue)
        : Owner(std::move(AService)), Queue(std::move(AQueue))
    {
    }

    /// The controlling handle takes the queue with it.
    void HandleClosed() override;

    const std::shared_ptr<Service> Owner;
    const std::shared_ptr<RequestQueue> Queue;
    bool Controls = false;
    std::shared_ptr<UrlGroup> OwnGroup; // version 1: the prefixes added to the queue itself
};

} // namespace Zn
