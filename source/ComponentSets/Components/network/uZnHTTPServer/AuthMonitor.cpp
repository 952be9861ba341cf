#include "uZnHTTPServer/AuthMonitor.h"

#include <iterator>
#include <limits>

#include "common/Hash.h"

namespace
{

constexpr std::size_t cLongestKey = 256;

/// Address, "-" and user name. Of a key that is longer than any honest one only a digest is kept.
std::string MakeKey(const std::string& ARemoteIPAddress, const std::string& AUserName)
{
    std::string Key;
    Key.reserve(ARemoteIPAddress.size() + 1 + AUserName.size());
    Key.append(ARemoteIPAddress).append(1, '-').append(AUserName);
    return Key.size() <= cLongestKey ? Key : '\0' + THashSHA2::GetHashString(Key);
}

} // namespace

TZnAuthMonitor::TZnAuthMonitor(TTickCount ATickCount) : TThread("AuthMonitor"), FTickCount(ATickCount)
{
    SetFreeOnTerminate(true);
}

std::unique_ptr<TZnAuthMonitor, TZnAuthMonitor::TTerminate> TZnAuthMonitor::Create()
{
    auto Monitor = std::make_unique<TZnAuthMonitor>();
    Monitor->Start();
    return std::unique_ptr<TZnAuthMonitor, TTerminate>(Monitor.release());
}

void TZnAuthMonitor::Terminate()
{
    FEvent.SetEvent(); // first: with the flag set the thread may end and free this object
    TThread::Terminate();
}

std::uint32_t TZnAuthMonitor::GetLastAuthAttempt(const std::string& ARemoteIPAddress,
                                                 const std::string& AUserName, std::int32_t& Cnt)
{
    const std::string Key = MakeKey(ARemoteIPAddress, AUserName);
    TZnLockGuard Guard(FLock);
    const auto Found = FAuthTries.find(Key);
    const TZnHTTPAuthAttempt Attempt =
        Found == FAuthTries.end() ? TZnHTTPAuthAttempt{} : Found->second->Attempt;
    Cnt = Attempt.Cnt;
    return Attempt.LastAttempt;
}

std::int32_t TZnAuthMonitor::ProcessAuthAttempt(const std::string& ARemoteIPAddress,
                                                const std::string& AUserName, bool AAuthenticated)
{
    std::string Key = MakeKey(ARemoteIPAddress, AUserName);
    TZnLockGuard Guard(FLock);
    const auto Found = FAuthTries.find(Key);
    if (AAuthenticated) {
        if (Found != FAuthTries.end())
            Forget(Found->second);
        return 0;
    }
    if (Found == FAuthTries.end()) {
        if (FAuthTries.size() == cMaxEntries)
            Forget(FByLastAttempt.begin());
        FByLastAttempt.push_back({std::move(Key), {1, FTickCount()}});
        FAuthTries.emplace(FByLastAttempt.back().Key, std::prev(FByLastAttempt.end()));
        return 1;
    }
    FByLastAttempt.splice(FByLastAttempt.end(), FByLastAttempt, Found->second);
    TZnHTTPAuthAttempt& Attempt = Found->second->Attempt;
    Attempt.LastAttempt = FTickCount();
    if (Attempt.Cnt < std::numeric_limits<std::int32_t>::max())
        ++Attempt.Cnt;
    return Attempt.Cnt;
}

void TZnAuthMonitor::Sweep()
{
    TZnLockGuard Guard(FLock);
    // A difference of unsigned numbers: right across the wrap of the tick count.
    while (!FByLastAttempt.empty() && FTickCount() - FByLastAttempt.front().Attempt.LastAttempt > cAgeLimit)
        Forget(FByLastAttempt.begin());
}

void TZnAuthMonitor::Forget(TEntries::iterator AEntry)
{
    FAuthTries.erase(AEntry->Key);
    FByLastAttempt.erase(AEntry);
}

void TZnAuthMonitor::Execute()
{
    while (!GetTerminated()) {
        FEvent.WaitFor(cSweepPeriod);
        Sweep();
    }
}
