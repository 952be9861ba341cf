#include "uZnHTTPServer/ConfigurationLists.h"

#include "uZnHTTPServer/ApiBinding.h"

TZnHTTPServerConfiguration::~TZnHTTPServerConfiguration()
{
    FSSLList.reset();
    FIPListenList.reset();
    FUrlAclList.reset();
    if (FInitialized)
        Zn::UnloadHttpApi();
}

void TZnHTTPServerConfiguration::CheckInitialized()
{
    if (FInitialized)
        return;
    Zn::LoadHttpApi();
    FInitialized = true;
}

TZnHTTPServerIPListenList& TZnHTTPServerConfiguration::GetIPListenList()
{
    if (!FIPListenList) {
        CheckInitialized();
        FIPListenList = std::make_unique<TZnHTTPServerIPListenList>(this);
    }
    return *FIPListenList;
}

TZnHTTPServerSSLList& TZnHTTPServerConfiguration::GetSSLList()
{
    if (!FSSLList) {
        CheckInitialized();
        FSSLList = std::make_unique<TZnHTTPServerSSLList>(this);
    }
    return *FSSLList;
}

TZnHTTPServerUrlAclList& TZnHTTPServerConfiguration::GetUrlAclList()
{
    if (!FUrlAclList) {
        CheckInitialized();
        FUrlAclList = std::make_unique<TZnHTTPServerUrlAclList>(this);
    }
    return *FUrlAclList;
}
