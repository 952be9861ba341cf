#include "platform/httpclient/Connection.h"

#include <algorithm>

#include <openssl/crypto.h>

#include "platform/httpclient/Request.h"

namespace Zn::HttpClient
{

Connection::Connection(std::shared_ptr<Session> ASession, std::string AHost, std::uint16_t APort)
    : FSession(std::move(ASession)),
      FHost(std::move(AHost)),
      FPort(APort),
      FConnectTime(FSession->Defaults().Patience.Connect)
{
    FClosed = !FSession->Add(*this);
}

Connection::~Connection()
{
    FSession->Remove(*this);
    for (Account* Each : {&FServerAccount, &FProxyAccount})
        OPENSSL_cleanse(Each->Password.data(), Each->Password.size());
}

void Connection::SetConnectTime(std::uint32_t AMilliseconds)
{
    FConnectTime.store(AMilliseconds);
}

Settings Connection::Defaults() const
{
    Settings Result = FSession->Defaults();
    Result.Patience.Connect = FConnectTime.load();
    return Result;
}

std::unique_ptr<Transfer> Connection::Take(const TlsPolicy& APolicy)
{
    {
        MutexLock Lock(FLock);
        for (auto Each = FIdle.rbegin(); Each != FIdle.rend(); ++Each) {
            if ((*Each)->Policy() == APolicy) {
                std::unique_ptr<Transfer> Found = std::move(*Each);
                FIdle.erase(std::next(Each).base());
                return Found;
            }
        }
    }
    return Transfer::Create(APolicy, FSession->Cookies());
}

void Connection::Give(std::unique_ptr<Transfer> ATransfer, std::size_t AMostIdle)
{
    std::unique_ptr<Transfer> Surplus; // closed without the lock
    MutexLock Lock(FLock);
    if (FClosed) {
        Surplus = std::move(ATransfer);
    } else {
        FIdle.push_back(std::move(ATransfer));
        if (FIdle.size() > AMostIdle) {
            Surplus = std::move(FIdle.front());
            FIdle.erase(FIdle.begin());
        }
    }
    Lock.Unlock();
}

bool Connection::Add(Request& ARequest)
{
    MutexLock Lock(FLock);
    if (!FClosed)
        FRequests.push_back(&ARequest);
    return !FClosed;
}

void Connection::Remove(Request& ARequest)
{
    MutexLock Lock(FLock);
    const auto Found = std::ranges::find(FRequests, &ARequest);
    if (Found == FRequests.end())
        return;
    *Found = FRequests.back();
    FRequests.pop_back();
}

void Connection::Cancel()
{
    std::vector<std::unique_ptr<Transfer>> Idle; // closed without the lock
    MutexLock Lock(FLock);
    FClosed = true;
    Idle.swap(FIdle);
    for (Request* Each : FRequests)
        Each->Cancel();
    Lock.Unlock();
}

} // namespace Zn::HttpClient
