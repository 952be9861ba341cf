#include "uZnNamedPipes/ConnectionList.h"

#include <algorithm>
#include <ranges>

#include "platform/errors/Errors.h"

std::size_t TZnNamedPipeConnectionList::GetCount()
{
    TZnLockGuard Guard(FLock);
    return FItems.size();
}

TZnNamedPipeConnection* TZnNamedPipeConnectionList::GetConnection(std::size_t AIndex)
{
    TZnLockGuard Guard(FLock);
    if (AIndex >= FItems.size())
        throw EListError("List index out of bounds (" + std::to_string(AIndex) + ")");
    return FItems[AIndex];
}

bool TZnNamedPipeConnectionList::HasConnection(TZnNamedPipeConnection* AConnection)
{
    TZnLockGuard Guard(FLock);
    return std::ranges::find(FItems, AConnection) != FItems.end();
}

TZnNamedPipeConnection* TZnNamedPipeConnectionList::FindConnection(TZnNamedPipeConnectionID AID)
{
    TZnLockGuard Guard(FLock);
    const auto Found = std::ranges::find(FItems, AID, &TZnNamedPipeConnection::GetID);
    return Found != FItems.end() ? *Found : nullptr;
}

TZnNamedPipeConnection* TZnNamedPipeConnectionList::ConnectionByID(TZnNamedPipeConnectionID AID)
{
    TZnNamedPipeConnection* const Found = FindConnection(AID);
    if (!Found)
        throw EZnNamedPipe(ERROR_INVALID_HANDLE, "There is no connection for the given ID!");
    return Found;
}

void TZnNamedPipeConnectionList::Add(TZnNamedPipeConnection* AConnection)
{
    TZnLockGuard Guard(FLock);
    FItems.push_back(AConnection);
}

void TZnNamedPipeConnectionList::Remove(TZnNamedPipeConnection* AConnection)
{
    TZnLockGuard Guard(FLock);
    std::erase(FItems, AConnection);
}

TZnNamedPipeConnection* TZnNamedPipeConnectionList::Last()
{
    TZnLockGuard Guard(FLock);
    return FItems.empty() ? nullptr : FItems.back();
}

TZnNamedPipeConnectionUse TZnNamedPipeConnectionList::Use(TZnNamedPipeConnectionID AID)
{
    TZnLockGuard Guard(FLock);
    return TZnNamedPipeConnectionUse(FindConnection(AID));
}

std::vector<TZnNamedPipeConnectionUse> TZnNamedPipeConnectionList::UseAll()
{
    TZnLockGuard Guard(FLock);
    std::vector<TZnNamedPipeConnectionUse> Result;
    Result.reserve(FItems.size());
    for (TZnNamedPipeConnection* Connection : FItems | std::views::reverse)
        Result.emplace_back(Connection);
    return Result;
}
