#pragma once

#include <mutex>

#include <curl/curl.h>

namespace Zn::HttpClient
{

/// The cookies of a session, shared by its transfers. The lock is held while cookies are looked up or stored,
/// never while a network call runs.
class CookieShare
{
public:
    CookieShare();
    ~CookieShare();
    CookieShare(const CookieShare&) = delete;
    CookieShare& operator=(const CookieShare&) = delete;

    /// nullptr without memory.
    CURLSH* Share() const { return FShare; }

private:
    static void OnLock(CURL* AEasy, curl_lock_data AData, curl_lock_access AAccess, void* ASelf);
    static void OnUnlock(CURL* AEasy, curl_lock_data AData, void* ASelf);

    CURLSH* FShare;
    std::mutex FShareLock;  // libcurl's counts of users
    std::mutex FCookieLock; // the cookies; taken alone
};

} // namespace Zn::HttpClient
