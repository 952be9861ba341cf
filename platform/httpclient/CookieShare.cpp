#include "platform/httpclient/CookieShare.h"

namespace Zn::HttpClient
{

CookieShare::CookieShare() : FShare(curl_share_init())
{
    if (FShare == nullptr)
        return;
    curl_share_setopt(FShare, CURLSHOPT_LOCKFUNC, OnLock);
    curl_share_setopt(FShare, CURLSHOPT_UNLOCKFUNC, OnUnlock);
    curl_share_setopt(FShare, CURLSHOPT_USERDATA, this);
    curl_share_setopt(FShare, CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
}

CookieShare::~CookieShare()
{
    if (FShare != nullptr)
        curl_share_cleanup(FShare);
}

void CookieShare::OnLock(CURL* /*AEasy*/, curl_lock_data AData, curl_lock_access /*AAccess*/, void* ASelf)
{
    auto& Self = *static_cast<CookieShare*>(ASelf);
    (AData == CURL_LOCK_DATA_COOKIE ? Self.FCookieLock : Self.FShareLock).lock();
}

void CookieShare::OnUnlock(CURL* /*AEasy*/, curl_lock_data AData, void* ASelf)
{
    auto& Self = *static_cast<CookieShare*>(ASelf);
    (AData == CURL_LOCK_DATA_COOKIE ? Self.FCookieLock : Self.FShareLock).unlock();
}

} // namespace Zn::HttpClient
