#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/Component.h"
#include "common/Locks.h"
#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "uZnHTTPClient/TimeOuts.h"

/// A transport's connection to a host: one platform handle with what it was opened for. Which client
/// opened it is its key in the cache.
///
/// Threads:   any; closing is done once.
/// Ownership: shared by the cache and the requests that are about to open their handle on it. A
///            transport derives a final class whose destructor calls Close.
class ZN_API TZnHTTPConnection : public TObject
{
public:
    /// Owns AConnection, a handle of the transport's, which CloseConnection closes. AClientId is compared and
    /// never followed.
    TZnHTTPConnection(const void* AClientId, void* AConnection, const TZnHTTPTimeOuts& ATimeOuts,
                      std::string AHostName);
    TZnHTTPConnection(const TZnHTTPConnection&) = delete;
    TZnHTTPConnection& operator=(const TZnHTTPConnection&) = delete;

    /// The client whose connection it is.
    const void* GetClientId() const { return FClientId; }
    /// nullptr when it was closed.
    void* GetConnection() const { return FConnection.load(); }
    /// A copy: those of the client when it was opened.
    const TZnHTTPTimeOuts& GetTimeOuts() const { return FTimeOuts; }
    /// The server that it leads to, without its port.
    const std::string& GetHostName() const { return FHostName; }

    /// Closes the platform's handle, unless it is closed.
    void Close();

protected:
    virtual void CloseConnection(void* AConnection) = 0;

private:
    std::atomic<void*> FConnection;
    TZnHTTPTimeOuts FTimeOuts;
    std::string FHostName;
    const void* FClientId;
};

/// Makes a transport's connections.
using TZnHTTPConnectionClass = std::function<std::shared_ptr<TZnHTTPConnection>(
    const void* AClientId, void* AConnection, const TZnHTTPTimeOuts& ATimeOuts, std::string AHostName)>;

/// A session's connections, one for each client at most, so that a client's requests can reuse it.
///
/// Threads:   any; it locks itself. Lock and Unlock hold it over a compound step, within which
///            the holder calls the other operations.
/// Ownership: shares its connections with the requests that use them. What is removed is closed, by its
///            last user; Clear closes at once.
/// Errors:    AddConnection raises EListError.
class ZN_API TZnHTTPConnections : public TObject
{
public:
    /// AConnectionClass makes the connections of one transport.
    explicit TZnHTTPConnections(TZnHTTPConnectionClass AConnectionClass);
    ~TZnHTTPConnections() override;

    /// Connections kept just now.
    int Count() const;
    /// Takes no lock: for holders of Lock. EListError for an index outside of the list.
    std::shared_ptr<TZnHTTPConnection> GetConnection(int AIndex) const ZN_NO_THREAD_SAFETY_ANALYSIS;
    /// The client's connection, or none.
    std::shared_ptr<TZnHTTPConnection> FindConnection(const void* AClientId) const;
    /// EListError, which leaves AConnection with the caller, when the client has one.
    std::shared_ptr<TZnHTTPConnection> AddConnection(const void* AClientId, void* AConnection,
                                                     const TZnHTTPTimeOuts& ATimeOuts, std::string AHostName);
    /// Forgets the connection of a client that goes.
    void RemoveClient(const void* AClientId);
    /// Forgets one connection, after a failure. Nothing happens for one that isn't there.
    void RemoveConnection(const TZnHTTPConnection* AConnection);
    /// Forgets all of them and closes them at once.
    void Clear();

    /// Holds the list still for a walk over it; nobody gets or gives back a connection meanwhile.
    void Lock() const ZN_ACQUIRE(FCriticalSection) { FCriticalSection.Enter(); }
    /// Once for each Lock, on the same thread.
    void Unlock() const ZN_RELEASE(FCriticalSection) { FCriticalSection.Leave(); }

private:
    template <class TCondition>
    void RemoveIf(TCondition ACondition);

    mutable TZnCriticalSection FCriticalSection;
    std::vector<std::shared_ptr<TZnHTTPConnection>> FCache ZN_GUARDED_BY(FCriticalSection);
    TZnHTTPConnectionClass FConnectionClass;
};
