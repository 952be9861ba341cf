#pragma once

#include <cstdint>

#include "platform/httpclient/Tls.h"
#include "platform/httpclient/Transfer.h"

namespace Zn::HttpClient
{

enum class RedirectPolicy : std::uint32_t { Never = 0, DisallowHttpsToHttp = 1, Always = 2 };

/// What may be set on a session, as the start of its requests, and on a request.
struct Settings
{
    HttpClient::Patience Patience;
    RedirectPolicy Redirects = RedirectPolicy::DisallowHttpsToHttp;
    std::uint32_t MaxRedirects = 10;
    ResponseHead::Limits HeadLimits{131072, 1000};
    std::uint32_t DrainBytes = 65536;
    std::uint32_t IdleConnections = 32;
    std::uint32_t AutologonPolicy = 0; // kept, and otherwise without meaning
    bool Cookies = true;
    bool Authentication = true;
    bool KeepAlive = true;
    TlsPolicy Tls;
};

} // namespace Zn::HttpClient
