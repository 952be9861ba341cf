#include "uZnHTTPClient/Connections.h"

#include <algorithm>
#include <utility>

#include "common/Exceptions.h"

TZnHTTPConnection::TZnHTTPConnection(const void* AClientId, void* AConnection,
                                     const TZnHTTPTimeOuts& ATimeOuts, std::string AHostName)
    : FConnection(AConnection), FHostName(std::move(AHostName)), FClientId(AClientId)
{
    FTimeOuts.Assign(&ATimeOuts);
}

void TZnHTTPConnection::Close()
{
    if (void* const Connection = FConnection.exchange(nullptr))
        CloseConnection(Connection);
}

TZnHTTPConnections::TZnHTTPConnections(TZnHTTPConnectionClass AConnectionClass)
    : FConnectionClass(std::move(AConnectionClass))
{
}

TZnHTTPConnections::~TZnHTTPConnections()
{
    Clear();
}

int TZnHTTPConnections::Count() const
{
    const TZnLockGuard Guard(FCriticalSection);
    return static_cast<int>(FCache.size());
}

std::shared_ptr<TZnHTTPConnection> TZnHTTPConnections::GetConnection(int AIndex) const
{
    if (AIndex < 0 || static_cast<std::size_t>(AIndex) >= FCache.size())
        throw EListError(ZnFormat("List index out of bounds (%d)", AIndex));
    return FCache[static_cast<std::size_t>(AIndex)];
}

std::shared_ptr<TZnHTTPConnection> TZnHTTPConnections::FindConnection(const void* AClientId) const
{
    const TZnLockGuard Guard(FCriticalSection);
    for (const auto& Each : FCache) {
        if (Each->GetClientId() == AClientId)
            return Each;
    }
    return nullptr;
}

std::shared_ptr<TZnHTTPConnection> TZnHTTPConnections::AddConnection(const void* AClientId, void* AConnection,
                                                                     const TZnHTTPTimeOuts& ATimeOuts,
                                                                     std::string AHostName)
{
    const TZnLockGuard Guard(FCriticalSection);
    if (FindConnection(AClientId))
        throw EListError("The client already has a connection in the list!");
    FCache.push_back(FConnectionClass(AClientId, AConnection, ATimeOuts, std::move(AHostName)));
    return FCache.back();
}

/// From the last to the first. What is closed is closed behind the lock, unless the caller holds it.
template <class TCondition>
void TZnHTTPConnections::RemoveIf(TCondition ACondition)
{
    std::vector<std::shared_ptr<TZnHTTPConnection>> Removed;
    const TZnLockGuard Guard(FCriticalSection);
    for (std::size_t i = FCache.size(); i-- > 0;) {
        if (ACondition(*FCache[i])) {
            Removed.push_back(std::move(FCache[i]));
            FCache.erase(FCache.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

void TZnHTTPConnections::RemoveClient(const void* AClientId)
{
    RemoveIf([&](const TZnHTTPConnection& AEach) { return AEach.GetClientId() == AClientId; });
}

void TZnHTTPConnections::RemoveConnection(const TZnHTTPConnection* AConnection)
{
    RemoveIf([&](const TZnHTTPConnection& AEach) { return &AEach == AConnection; });
}

void TZnHTTPConnections::Clear()
{
    const TZnLockGuard Guard(FCriticalSection);
    for (const auto& Each : FCache)
        Each->Close();
    FCache.clear();
}
