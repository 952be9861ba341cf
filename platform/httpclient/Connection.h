#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/httpclient/Session.h"
#include "platform/httpclient/Transfer.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

namespace Zn::HttpClient
{

class Request;

/// Name and password for whatever a server or proxy asks for; wiped at the end.
struct Account
{
    std::string User;
    std::string Password;

    bool IsEmpty() const { return User.empty() && Password.empty(); }
};

/// A host, and the transfers that keep connections to it alive. A request takes one and gives it back; the
/// lock is held for that alone. Any thread.
class Connection final : public KernelObject
{
public:
    /// AHost as HostForUrl gives it; port 0 is the scheme's.
    Connection(std::shared_ptr<Session> ASession, std::string AHost, std::uint16_t APort);
    ~Connection() override;

    Session& Owner() const { return *FSession; }
    const std::string& Host() const { return FHost; }
    std::uint16_t Port() const { return FPort; }

    void SetConnectTime(std::uint32_t AMilliseconds);
    /// The session's defaults, with this connection's time for connecting.
    Settings Defaults() const;

    /// What the connection's requests answer challenges with, unless they have something of their own.
    template <class Change>
    void ChangeAccount(bool AProxy, Change AChange)
    {
        MutexLock Lock(FLock);
        AChange(AProxy ? FProxyAccount : FServerAccount);
    }

    /// One whose connections were made under the same policy, or a new one; nullptr without memory.
    std::unique_ptr<Transfer> Take(const TlsPolicy& APolicy);
    /// Of more than AMostIdle that wait, the longest unused goes.
    void Give(std::unique_ptr<Transfer> ATransfer, std::size_t AMostIdle);

    /// False when the connection is closed.
    bool Add(Request& ARequest);
    void Remove(Request& ARequest);
    /// Ends what runs below the connection, and closes the connections that wait for use.
    void Cancel();
    void HandleClosed() override { Cancel(); }

private:
    const std::shared_ptr<Session> FSession;
    const std::string FHost;
    const std::uint16_t FPort;
    std::atomic<std::uint32_t> FConnectTime; // milliseconds
    Mutex FLock;
    std::vector<std::unique_ptr<Transfer>> FIdle ZN_GUARDED_BY(FLock); // the last used one last
    std::vector<Request*> FRequests ZN_GUARDED_BY(FLock);
    Account FServerAccount ZN_GUARDED_BY(FLock);
    Account FProxyAccount ZN_GUARDED_BY(FLock);
    bool FClosed ZN_GUARDED_BY(FLock) = false;
};

} // namespace Zn::HttpClient
