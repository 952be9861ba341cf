#include "platform/httpapi/Service.h"

#include <algorithm>

#include "platform/errors/Errors.h"
#include "platform/httpapi/config/Configuration.h"

namespace Zn
{
namespace
{

struct Running
{
    Mutex Lock;
    std::uint32_t Uses ZN_GUARDED_BY(Lock) = 0;
    std::shared_ptr<Service> Instance ZN_GUARDED_BY(Lock);
};

Running& TheRunning()
{
    static Running Instance;
    return Instance;
}

} // namespace

std::uint32_t Service::Initialize()
{
    Running& Run = TheRunning();
    const MutexLock Guard(Run.Lock);
    if (Run.Uses == 0) {
        auto New = std::make_shared<Service>();
        if (const int Error = New->FDispatcher.Events().Error(); Error != 0)
            return FromErrno(Error);
        Run.Instance = std::move(New);
    }
    ++Run.Uses;
    return NO_ERROR;
}

std::uint32_t Service::Terminate()
{
    std::shared_ptr<Service> Last; // dies outside the lock: its threads are waited for
    Running& Run = TheRunning();
    const MutexLock Guard(Run.Lock);
    if (Run.Uses == 0)
        return ERROR_INVALID_PARAMETER;
    if (--Run.Uses == 0)
        Last = std::move(Run.Instance);
    return NO_ERROR;
}

std::shared_ptr<Service> Service::Current()
{
    Running& Run = TheRunning();
    const MutexLock Guard(Run.Lock);
    return Run.Instance;
}

std::uint32_t Service::CreateSession(HTTP_SERVER_SESSION_ID& AId)
{
    const MutexLock Guard(FConfigLock);
    AId = FNextId++;
    FSessions.emplace(AId, Session{});
    return NO_ERROR;
}

std::uint32_t Service::CloseSession(HTTP_SERVER_SESSION_ID AId)
{
    const MutexLock Guard(FConfigLock);
    const auto Found = FSessions.find(AId);
    if (Found == FSessions.end())
        return ERROR_INVALID_PARAMETER;
    for (const HTTP_URL_GROUP_ID Each : Found->second.Groups)
        CloseGroupLocked(Each);
    FSessions.erase(Found);
    return NO_ERROR;
}

std::uint32_t Service::CreateGroup(HTTP_SERVER_SESSION_ID ASession, HTTP_URL_GROUP_ID& AId)
{
    const MutexLock Guard(FConfigLock);
    const auto Found = FSessions.find(ASession);
    if (Found == FSessions.end())
        return ERROR_INVALID_PARAMETER;
    AId = FNextId++;
    Found->second.Groups.insert(AId);
    FGroups.emplace(AId, std::make_shared<UrlGroup>());
    return NO_ERROR;
}

std::uint32_t Service::CloseGroup(HTTP_URL_GROUP_ID AId)
{
    const MutexLock Guard(FConfigLock);
    if (!FGroups.contains(AId))
        return ERROR_INVALID_PARAMETER;
    CloseGroupLocked(AId);
    for (auto& [Id, Each] : FSessions)
        Each.Groups.erase(AId);
    return NO_ERROR;
}

void Service::CloseGroupLocked(HTTP_URL_GROUP_ID AId)
{
    const auto Found = FGroups.find(AId);
    if (Found == FGroups.end())
        return;
    while (!Found->second->Urls.empty())
        Unregister(*Found->second, Found->second->Urls.back());
    FGroups.erase(Found);
}

std::shared_ptr<UrlGroup> Service::FindGroup(HTTP_URL_GROUP_ID AId)
{
    const MutexLock Guard(FConfigLock);
    const auto Found = FGroups.find(AId);
    return Found != FGroups.end() ? Found->second : nullptr;
}

std::uint32_t Service::AddUrl(const std::shared_ptr<UrlGroup>& AGroup, const char* AUrl,
                              HTTP_URL_CONTEXT AContext)
{
    const auto Prefix = AUrl != nullptr ? ParseUrlPrefix(AUrl) : std::nullopt;
    if (!Prefix || Prefix->Port == 0)
        return ERROR_INVALID_PARAMETER;
    const MutexLock Guard(FConfigLock);
    if (!AGroup->IsListening) // its queue ends
        return ERROR_INVALID_PARAMETER;
    if (!FDispatcher.AddRoute(*Prefix, {AGroup, AContext}))
        return ERROR_ALREADY_EXISTS;
    if (const std::uint32_t Result = OpenPort(*Prefix); Result != NO_ERROR) {
        FDispatcher.RemoveRoute(*Prefix);
        return Result;
    }
    AGroup->Urls.push_back(*Prefix);
    return NO_ERROR;
}

std::uint32_t Service::RemoveUrl(UrlGroup& AGroup, const char* AUrl)
{
    const auto Prefix = AUrl != nullptr ? ParseUrlPrefix(AUrl) : std::nullopt;
    if (!Prefix)
        return ERROR_INVALID_PARAMETER;
    const MutexLock Guard(FConfigLock);
    if (std::find(AGroup.Urls.begin(), AGroup.Urls.end(), *Prefix) == AGroup.Urls.end())
        return ERROR_FILE_NOT_FOUND;
    Unregister(AGroup, *Prefix);
    return NO_ERROR;
}

void Service::RemoveAllUrls(UrlGroup& AGroup)
{
    const MutexLock Guard(FConfigLock);
    while (!AGroup.Urls.empty())
        Unregister(AGroup, AGroup.Urls.back());
}

/// APrefix may be an element of AGroup.Urls: by value.
void Service::Unregister(UrlGroup& AGroup, const UrlPrefix& APrefix)
{
    const UrlPrefix Prefix = APrefix;
    FDispatcher.RemoveRoute(Prefix);
    ClosePort(AGroup, Prefix);
    std::erase(AGroup.Urls, Prefix);
}

std::uint32_t Service::OpenPort(const UrlPrefix& APrefix)
{
    const auto InUse = FPortsInUse.find(APrefix.Port);
    if (InUse != FPortsInUse.end() && InUse->second != APrefix.Secure)
        return ERROR_INVALID_PARAMETER; // a port speaks TLS or it doesn't
    if (APrefix.Secure && InUse == FPortsInUse.end())
        if (const std::uint32_t Result = SecurePort(APrefix.Port); Result != NO_ERROR)
            return Result;
    const std::uint32_t Result = FListeners.Add(APrefix.Host, APrefix.Port);
    if (Result == NO_ERROR)
        FPortsInUse[APrefix.Port] = APrefix.Secure;
    return Result;
}

/// Gives the port its certificates: those set for this process, else those of the binding list.
std::uint32_t Service::SecurePort(std::uint16_t APort)
{
    if (FOwnCertificates.contains(APort))
        return NO_ERROR;
    std::optional<CertificateBinding> Binding;
    if (const std::uint32_t Result = FindCertificateBinding(APort, Binding); Result != NO_ERROR)
        return Result;
    if (!Binding)
        return ERROR_NO_SUCH_LOGON_SESSION;
    TlsPortSettings Settings;
    PemFiles Files;
    if (const std::uint32_t Result = LoadCertificate(Binding->Store, Binding->Thumbprint, Files);
        Result != NO_ERROR)
        return Result;
    Settings.Default = {std::move(Files.Certificate), std::move(Files.Key)};
    for (PemFiles& Each : LoadAllCertificates(Binding->Store))
        Settings.Others.push_back({std::move(Each.Certificate), std::move(Each.Key)});
    Settings.AskForClientCertificate = Binding->NegotiateClientCertificate;
    std::shared_ptr<TlsPort> Port;
    const std::uint32_t Result = TlsPort::Make(Settings, Port);
    if (Result == NO_ERROR)
        FDispatcher.SecurePorts().Set(APort, std::move(Port));
    return Result;
}

std::uint32_t Service::SetPortCertificate(std::uint16_t APort, const TlsPortSettings& ASettings)
{
    std::shared_ptr<TlsPort> Port;
    if (const std::uint32_t Result = TlsPort::Make(ASettings, Port); Result != NO_ERROR)
        return Result;
    const MutexLock Guard(FConfigLock);
    const auto InUse = FPortsInUse.find(APort);
    if (InUse != FPortsInUse.end() && !InUse->second)
        return ERROR_INVALID_PARAMETER;
    FOwnCertificates.insert(APort);
    FDispatcher.SecurePorts().Set(APort, std::move(Port));
    return NO_ERROR;
}

void Service::ClosePort(const UrlGroup& AGroup, const UrlPrefix& APrefix)
{
    if (AGroup.IsListening)
        FListeners.Remove(APrefix.Host, APrefix.Port);
    if (FListeners.Wants(APrefix.Port))
        return;
    FDispatcher.CloseIdle(APrefix.Port);
    FPortsInUse.erase(APrefix.Port);
    FDispatcher.PortsOfProxies().Set(APrefix.Port, {});
    if (!FOwnCertificates.contains(APrefix.Port))
        FDispatcher.SecurePorts().Remove(APrefix.Port);
}

std::uint32_t Service::CreateQueue(const std::string& AName, std::shared_ptr<UrlGroup> AOwnGroup,
                                   THandle& AHandle)
{
    const MutexLock Guard(FConfigLock);
    if (!AName.empty() && FQueues.contains(AName))
        return ERROR_ALREADY_EXISTS;
    auto Queue = std::make_shared<RequestQueue>(AName);
    auto Object = std::make_shared<QueueHandle>(shared_from_this(), Queue);
    Object->Controls = true;
    Object->OwnGroup = std::move(AOwnGroup);
    if (Object->OwnGroup)
        FDispatcher.BindGroup(*Object->OwnGroup, Queue);
    AHandle = RegisterHandle(std::move(Object));
    if (AHandle == 0)
        return GetLastError();
    if (!AName.empty())
        FQueues.emplace(AName, std::move(Queue));
    return NO_ERROR;
}

std::uint32_t Service::OpenQueue(const std::string& AName, THandle& AHandle)
{
    const MutexLock Guard(FConfigLock);
    const auto Found = FQueues.find(AName);
    if (AName.empty() || Found == FQueues.end())
        return ERROR_FILE_NOT_FOUND;
    AHandle = RegisterHandle(std::make_shared<QueueHandle>(shared_from_this(), Found->second));
    return AHandle != 0 ? NO_ERROR : GetLastError();
}

void Service::CloseQueue(RequestQueue& AQueue)
{
    {
        const MutexLock Guard(FConfigLock);
        if (!AQueue.Name.empty())
            FQueues.erase(AQueue.Name);
    }
    FDispatcher.CloseQueue(AQueue);
}

std::uint32_t Service::AddListenSocket(int AFd)
{
    const MutexLock Guard(FConfigLock);
    return FListeners.Adopt(AFd);
}

std::uint32_t Service::ReloadConfiguration()
{
    const MutexLock Guard(FConfigLock);
    std::uint32_t First = NO_ERROR;
    const auto Note = [&](std::uint32_t AResult) { First = First == NO_ERROR ? AResult : First; };
    for (const auto& [Port, IsSecure] : FPortsInUse)
        if (IsSecure)
            Note(SecurePort(Port));
    Note(FListeners.Readdress(
        [this](const std::vector<int>& AClosing) { FDispatcher.AcceptWaiting(AClosing); }));
    return First;
}

void QueueHandle::HandleClosed()
{
    if (!Controls)
        return;
    if (OwnGroup)
        Owner->RemoveAllUrls(*OwnGroup);
    Owner->CloseQueue(*Queue);
}

} // namespace Zn
