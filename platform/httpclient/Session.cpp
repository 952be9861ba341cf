#include "platform/httpclient/Session.h"

#include <cstdlib>

#include "platform/httpclient/Connection.h"

namespace Zn::HttpClient
{

namespace
{

std::string AuthoritiesFromEnvironment()
{
    for (const char* Name : {"SSL_CERT_FILE", "CURL_CA_BUNDLE"})
        if (const char* File = std::getenv(Name); File != nullptr && *File != '\0')
            return File;
    return {};
}

} // namespace

Session::Session(const std::string& AUserAgent, ProxyRules AProxies)
    : FUserAgentLine(AUserAgent.empty() ? std::string() : "User-Agent: " + AUserAgent),
      FProxies(std::move(AProxies))
{
    FDefaults.Tls.AuthoritiesFile = AuthoritiesFromEnvironment();
}

Settings Session::Defaults() const
{
    MutexLock Lock(FLock);
    return FDefaults;
}

bool Session::Add(Connection& AConnection)
{
    MutexLock Lock(FLock);
    if (!FClosed)
        FConnections.push_back(&AConnection);
    return !FClosed;
}

void Session::Remove(Connection& AConnection)
{
    MutexLock Lock(FLock);
    std::erase(FConnections, &AConnection);
}

void Session::HandleClosed()
{
    MutexLock Lock(FLock);
    FClosed = true;
    for (Connection* Each : FConnections)
        Each->Cancel();
}

} // namespace Zn::HttpClient
