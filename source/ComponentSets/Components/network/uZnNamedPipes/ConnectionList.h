#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "common/Locks.h"
#include "platform/Api.h"
#include "uZnNamedPipes/Connection.h"

/// The connected clients of a server, the oldest first.
///
/// Threads:   any; a pointer stays valid on the owner thread, outside of a handler that closes it.
/// Ownership: none: connections belong to their server.
class ZN_API TZnNamedPipeConnectionList
{
public:
    /// The number of connections. Any thread; it may change at once.
    std::size_t GetCount();
    /// EListError for an index that isn't there.
    TZnNamedPipeConnection* GetConnection(std::size_t AIndex);
    /// The connection is in the list; compared, never followed. Any thread.
    bool HasConnection(TZnNamedPipeConnection* AConnection);
    /// nullptr when there is none.
    TZnNamedPipeConnection* FindConnection(TZnNamedPipeConnectionID AID);
    /// Raises EZnNamedPipe, 6, when there is none.
    TZnNamedPipeConnection* ConnectionByID(TZnNamedPipeConnectionID AID);

private:
    friend class TZnNamedPipeServer;

    void Add(TZnNamedPipeConnection* AConnection);
    void Remove(TZnNamedPipeConnection* AConnection);
    /// The newest one, or nullptr.
    TZnNamedPipeConnection* Last();

    /// The connection, kept from being freed; empty when there is none.
    TZnNamedPipeConnectionUse Use(TZnNamedPipeConnectionID AID);
    /// All of them, the newest first.
    std::vector<TZnNamedPipeConnectionUse> UseAll();

    TCriticalSection FLock; // order: before a connection's FWriteLock; not held while anything is sent
    std::vector<TZnNamedPipeConnection*> FItems ZN_GUARDED_BY(FLock);
};
