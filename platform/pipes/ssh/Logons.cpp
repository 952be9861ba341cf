#include "platform/pipes/ssh/Logons.h"

#include <map>

#include <string.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

namespace
{

struct Logon
{
    SshCredentials Credentials;
    int Count = 0;
    std::unique_ptr<SshSession> Unused;

    void Forget()
    {
        explicit_bzero(Credentials.Password.data(), Credentials.Password.size());
        Credentials.Password.clear();
    }
};

struct LogonTable
{
    Mutex Lock;
    std::map<std::string, Logon> Hosts ZN_GUARDED_BY(Lock);
};

/// Lives as long as the process: connections may end while static objects are destroyed.
LogonTable& Table()
{
    static auto* Instance = new LogonTable;
    return *Instance;
}

} // namespace

std::uint32_t AddLogon(const std::string& AHost, SshCredentials ACredentials)
{
    std::unique_ptr<SshSession> Session;
    if (const std::uint32_t Error = SshSession::Open(AHost, ACredentials, Session); Error != NO_ERROR)
        return Error;
    MutexLock Lock(Table().Lock);
    Logon& Entry = Table().Hosts[AHost];
    ++Entry.Count;
    Entry.Forget();
    Entry.Credentials = std::move(ACredentials);
    Entry.Unused.swap(Session); // one that nobody used dies behind the lock
    return NO_ERROR;
}

std::uint32_t CancelLogon(const std::string& AHost)
{
    std::unique_ptr<SshSession> Unused; // closed behind the lock
    MutexLock Lock(Table().Lock);
    const auto Found = Table().Hosts.find(AHost);
    if (Found == Table().Hosts.end())
        return ERROR_NOT_FOUND;
    Unused = std::move(Found->second.Unused);
    if (--Found->second.Count > 0)
        return NO_ERROR;
    Found->second.Forget();
    Table().Hosts.erase(Found);
    return NO_ERROR;
}

std::uint32_t OpenSession(const std::string& AHost, std::unique_ptr<SshSession>& ASession)
{
    SshCredentials Credentials;
    {
        MutexLock Lock(Table().Lock);
        if (const auto Found = Table().Hosts.find(AHost); Found != Table().Hosts.end()) {
            if ((ASession = std::move(Found->second.Unused)))
                return NO_ERROR;
            Credentials = Found->second.Credentials;
        }
    }
    return SshSession::Open(AHost, Credentials, ASession);
}

} // namespace Zn
